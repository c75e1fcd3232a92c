#include <LibCorvane/deskCapturers/x11/PixelUnpacking_p.h>

#include <QImage>
#include <QTest>

using namespace corvane;

namespace {

constexpr PixelLayout k565{16, 16, 32, 0xf800, 0x07e0, 0x001f};
constexpr PixelLayout k888{24, 32, 32, 0xff0000, 0x00ff00, 0x0000ff};
constexpr PixelLayout k888Reversed{24, 32, 32, 0x0000ff, 0x00ff00, 0xff0000};
constexpr PixelLayout k101010{30, 32, 32, 0x3ff00000, 0x000ffc00, 0x000003ff};

} // namespace

Q_DECLARE_METATYPE(corvane::PixelLayout)

class TestPixelUnpacking : public QObject {
    Q_OBJECT
private slots:
    void knowsWhatItCanRead();
    void rowsArePadded();
    void colours_data();
    void colours();
    void everyColourOf16BitsIsWidenedAsQtDoes();
    void paddingIsSkipped();
};

void TestPixelUnpacking::knowsWhatItCanRead()
{
    QVERIFY(isBgr(k888));
    QVERIFY(!isBgr(k888Reversed));
    QVERIFY(!isBgr(k101010));
    QVERIFY(!isBgr(k565));
    QVERIFY(canUnpack(k565));
    QVERIFY(canUnpack(k101010));
    QVERIFY(!canUnpack({8, 8, 32, 0xe0, 0x1c, 0x03}));
    QVERIFY(!canUnpack({24, 24, 32, 0xff0000, 0xff00, 0xff}));
}

void TestPixelUnpacking::rowsArePadded()
{
    QCOMPARE(k565.bytesPerLine(2), std::size_t(4));
    QCOMPARE(k565.bytesPerLine(3), std::size_t(8));
    QCOMPARE(k888.bytesPerLine(3), std::size_t(12));
}

void TestPixelUnpacking::colours_data()
{
    QTest::addColumn<PixelLayout>("layout");
    QTest::addColumn<uint>("pixel");
    QTest::addColumn<QRgb>("expected");

    QTest::newRow("24 bits") << k888 << 0x00102030u << qRgb(0x10, 0x20, 0x30);
    QTest::newRow("24 bits with something in the unused byte")
        << k888 << 0x77102030u << qRgb(0x10, 0x20, 0x30);
    QTest::newRow("24 bits in the other order")
        << k888Reversed << 0x00102030u << qRgb(0x30, 0x20, 0x10);
    QTest::newRow("30 bits lose their lowest two") << k101010 << 0x3ff007ffu << qRgb(255, 0, 255);
    QTest::newRow("30 bits, middle") << k101010 << 0x20080200u << qRgb(128, 128, 128);
    QTest::newRow("16 bits, white is white") << k565 << 0xffffu << qRgb(255, 255, 255);
    QTest::newRow("16 bits, red") << k565 << 0xf800u << qRgb(255, 0, 0);
}

void TestPixelUnpacking::colours()
{
    QFETCH(PixelLayout, layout);
    QFETCH(uint, pixel);
    QFETCH(QRgb, expected);
    std::vector<uint8_t> bgra;
    unpack(reinterpret_cast<const uint8_t *>(&pixel), layout, 1, 1, bgra);
    QCOMPARE(bgra.size(), std::size_t(4));
    QCOMPARE(qRgba(bgra[2], bgra[1], bgra[0], bgra[3]), expected);
}

void TestPixelUnpacking::everyColourOf16BitsIsWidenedAsQtDoes()
{
    QImage all(256, 256, QImage::Format_RGB16);
    for (int value = 0; value < 65536; ++value)
        reinterpret_cast<quint16 *>(all.scanLine(value / 256))[value % 256] = quint16(value);
    std::vector<uint8_t> bgra;
    unpack(all.constBits(), k565, 256, 256, bgra);
    const QImage unpacked(bgra.data(), 256, 256, QImage::Format_RGB32);
    QCOMPARE(unpacked, all.convertToFormat(QImage::Format_RGB32));
}

void TestPixelUnpacking::paddingIsSkipped()
{
    QImage odd(3, 5, QImage::Format_RGB16);
    odd.fill(Qt::black);
    odd.setPixelColor(2, 4, Qt::green);
    odd.setPixelColor(0, 1, Qt::red);
    std::vector<uint8_t> bgra;
    unpack(odd.constBits(), k565, 3, 5, bgra);
    QCOMPARE(bgra.size(), std::size_t(3 * 5 * 4));
    QCOMPARE(QImage(bgra.data(), 3, 5, QImage::Format_RGB32),
             odd.convertToFormat(QImage::Format_RGB32));
}

QTEST_APPLESS_MAIN(TestPixelUnpacking)
#include "tst_pixelunpacking.moc"
