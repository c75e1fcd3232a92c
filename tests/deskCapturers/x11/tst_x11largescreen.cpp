#include "CaptureRecord.h"

#include "support/XClient.h"
#include "support/XServer.h"

#include <QRandomGenerator>

using namespace corvane::test;

namespace {

// Beside it is as much that belongs to nobody's picture.
constexpr QSize kScreen(4000, 2200);
constexpr QRect kMonitor(100, 20, 3840, 2160);
constexpr QSize kFrame(300, 168);

QImage checks(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            row[x] = (x + y) % 2 ? qRgb(200, 100, 0) : qRgb(0, 100, 200);
    }
    return picture;
}

QImage noise(QSize size, QRandomGenerator &random)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            row[x] = random.generate() | 0xff000000;
    }
    return picture;
}

} // namespace

/// A screen so large that not each of its pixels is looked at.
class TestX11LargeScreen : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void onlyTheMonitorIsSeenUpToItsEdges();
    void checksOfOnePixelAreEven();
    void changesOfPartsLeaveNoTrace();

private:
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    CaptureRecord m_record;
};

void TestX11LargeScreen::initTestCase()
{
    m_server = std::make_unique<XServer>(XServerOptions{kScreen, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors({kMonitor}));
}

void TestX11LargeScreen::init()
{
    m_client->fill({{0, 0}, kScreen}, Qt::red);
    m_client->fill(kMonitor, Qt::green);
    QVERIFY(m_client->sync());
    m_record = captureOf(1);
    QVERIFY(m_record);
}

void TestX11LargeScreen::onlyTheMonitorIsSeenUpToItsEdges()
{
    for (const QSize size : {kFrame, QSize(299, 167), QSize(64, 36), QSize(1, 1)}) {
        AVCaptureSetOutputSize(m_record.get(), size);
        const QImage frame =
            frameThat(m_record, [size](const QImage &image) { return image.size() == size; });
        QCOMPARE(frame.size(), size);
        QVERIFY(isFilled(frame, Qt::green));
    }
}

// Each sample lies just between four pixels: there is no pattern of brighter and darker places.
void TestX11LargeScreen::checksOfOnePixelAreEven()
{
    m_client->draw(kMonitor.topLeft(), checks(kMonitor.size()));
    QVERIFY(m_client->sync());
    const QColor mean(100, 100, 100);
    QVERIFY(isFilled(frameIn(m_record, mean), mean));
}

// After many small changes the picture is the same as that of a record that has seen none of them.
void TestX11LargeScreen::changesOfPartsLeaveNoTrace()
{
    QRandomGenerator random(815);
    QVERIFY(isFilled(firstFrame(m_record), Qt::green));
    for (int round = 0; round < 8; ++round) {
        for (int i = 0; i <= round; ++i) {
            const QPoint place(random.bounded(kScreen.width()), random.bounded(kScreen.height()));
            const QSize size(1 + random.bounded(200), 1 + random.bounded(100));
            m_client->draw(place, noise(size, random));
        }
        QVERIFY(m_client->sync());
        const auto fresh = captureOf(1);
        const QImage expected = firstFrame(fresh);
        const QImage frame =
            frameThat(m_record, [&expected](const QImage &image) { return image == expected; });
        QCOMPARE(frame, expected);
    }
}

QTEST_GUILESS_MAIN(TestX11LargeScreen)
#include "tst_x11largescreen.moc"
