// The conversion of pictures into images, which needs no device.

#include "ScreenReader.h"

#include <support/Interpose.h>

#include <QTest>

#include <malloc.h>

#include <cmath>
#include <cstring>

extern "C" {
#include <libswscale/swscale.h>
}

using namespace corvane::test;

namespace {

constexpr QSize kSize(48, 32);
const QVector<QRgb> kColours{qRgb(255, 0, 0),     qRgb(0, 255, 0), qRgb(0, 0, 255),
                             qRgb(255, 255, 255), qRgb(0, 0, 0),   qRgb(200, 100, 50)};

/// Bytes behind the end of the image that the conversion may write to.
size_t roomBehindImage = 0;

/// Luma and chroma of a colour after BT.601, in studio swing.
struct Yuv {
    uchar y, u, v;
    explicit Yuv(QRgb colour)
    {
        const double r = qRed(colour) / 255.0;
        const double g = qGreen(colour) / 255.0;
        const double b = qBlue(colour) / 255.0;
        const double luma = 0.299 * r + 0.587 * g + 0.114 * b;
        y = uchar(std::lround(16 + 219 * luma));
        u = uchar(std::lround(128 + 224 * (b - luma) / 1.772));
        v = uchar(std::lround(128 + 224 * (r - luma) / 1.402));
    }
};

/// The bytes that are repeated over a plane.
QByteArray patternOf(AVPixelFormat format, int plane, QRgb colour)
{
    const char r = char(qRed(colour));
    const char g = char(qGreen(colour));
    const char b = char(qBlue(colour));
    const Yuv yuv(colour);
    const char y = char(yuv.y);
    const char u = char(yuv.u);
    const char v = char(yuv.v);
    switch (format) {
    case AV_PIX_FMT_BGR0:
        return {std::initializer_list<char>{b, g, r, 0x55}.begin(), 4};
    case AV_PIX_FMT_0RGB:
        return {std::initializer_list<char>{0x55, r, g, b}.begin(), 4};
    case AV_PIX_FMT_RGB24:
        return {std::initializer_list<char>{r, g, b}.begin(), 3};
    case AV_PIX_FMT_UYVY422:
        return {std::initializer_list<char>{u, y, v, y}.begin(), 4};
    case AV_PIX_FMT_YUYV422:
        return {std::initializer_list<char>{y, u, y, v}.begin(), 4};
    case AV_PIX_FMT_NV12:
        return plane == 0 ? QByteArray(1, y)
                          : QByteArray(std::initializer_list<char>{u, v}.begin(), 2);
    case AV_PIX_FMT_YUV420P:
        return QByteArray(1, plane == 0 ? y : plane == 1 ? u : v);
    default:
        return {};
    }
}

Picture filled(QSize size, AVPixelFormat format, QRgb colour)
{
    Picture picture = makePicture(size.width(), size.height(), format);
    for (int plane = 0; plane < 3 && picture->data[plane]; ++plane) {
        const QByteArray pattern = patternOf(format, plane, colour);
        const int lines = plane == 0 || format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_NV12
            ? (plane == 0 ? size.height() : (size.height() + 1) / 2)
            : 0;
        for (int i = 0; i < picture->linesize[plane] * lines; ++i)
            picture->data[plane][i] = uchar(pattern[i % picture->linesize[plane] % pattern.size()]);
    }
    return picture;
}

bool isNear(QRgb a, QRgb b, int tolerance)
{
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance
        && qAbs(qBlue(a) - qBlue(b)) <= tolerance && qAlpha(a) == qAlpha(b);
}

/// A grey picture whose brightness is given for each pixel.
template <typename Brightness>
Picture greyPicture(QSize size, Brightness brightness)
{
    Picture picture = makePicture(size.width(), size.height(), AV_PIX_FMT_BGR0);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            std::memset(picture->data[0] + y * picture->linesize[0] + x * 4, brightness(x, y), 4);
    }
    return picture;
}

} // namespace

// Stands before FFmpeg's function.
extern "C" int sws_scale(SwsContext *context, const uint8_t *const source[],
                         const int sourceLines[], int y, int height, uint8_t *const target[],
                         const int targetLines[])
{
    const int lines = nextFunction<decltype(sws_scale)>("sws_scale")(
        context, source, sourceLines, y, height, target, targetLines);
    roomBehindImage = malloc_usable_size(target[0]) - size_t(targetLines[0] * lines);
    return lines;
}

class TestFFMpegCaptureImages : public QObject {
    Q_OBJECT
private slots:
    void coloursAreKept_data();
    void coloursAreKept();
    void alphaIsKept();
    void scalingIsBilinear_data();
    void scalingIsBilinear();
    void upStaysUp();
    void sizeIsExact_data();
    void sizeIsExact();
    void emptySizesGiveNullImages_data();
    void emptySizesGiveNullImages();
    void picturesOfAnyShapeMayFollowEachOther();
    void pictureThatCannotBeConvertedGivesANullImage();
    void imagesAreIndependent();
    void vectorsMayRunPastTheEnd();
};

void TestFFMpegCaptureImages::coloursAreKept_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("tolerance");

    // What "avfoundation" delivers, and what decoders do. Chroma in 8 bits is off by up to half a
    // step, which is a bit more than one in red and blue; luma adds up to one, the integer
    // arithmetic of the conversion the rest.
    QTest::newRow("bgr0") << int(AV_PIX_FMT_BGR0) << 0;
    QTest::newRow("0rgb") << int(AV_PIX_FMT_0RGB) << 0;
    QTest::newRow("rgb24") << int(AV_PIX_FMT_RGB24) << 0;
    QTest::newRow("uyvy422") << int(AV_PIX_FMT_UYVY422) << 4;
    QTest::newRow("yuyv422") << int(AV_PIX_FMT_YUYV422) << 4;
    QTest::newRow("nv12") << int(AV_PIX_FMT_NV12) << 4;
    QTest::newRow("yuv420p") << int(AV_PIX_FMT_YUV420P) << 4;
}

void TestFFMpegCaptureImages::coloursAreKept()
{
    QFETCH(int, format);
    QFETCH(int, tolerance);
    ScreenReader capture;
    for (const QSize size : {kSize, QSize(24, 16), QSize(100, 75)}) {
        capture.setOutputSize(size);
        for (const QRgb colour : kColours) {
            const Picture picture = filled(kSize, AVPixelFormat(format), colour);
            const QImage image = capture.resize(picture.get());
            QCOMPARE(image.size(), size);
            for (int y = 0; y < size.height(); ++y) {
                for (int x = 0; x < size.width(); ++x) {
                    const QString text = QString("%1 at %2, %3 for %4")
                                             .arg(image.pixel(x, y), 0, 16)
                                             .arg(x)
                                             .arg(y)
                                             .arg(colour, 0, 16);
                    QVERIFY2(isNear(image.pixel(x, y), colour, tolerance), qPrintable(text));
                }
            }
        }
    }
}

void TestFFMpegCaptureImages::alphaIsKept()
{
    Picture picture = makePicture(16, 16, AV_PIX_FMT_BGRA);
    std::memset(picture->data[0], 0x40, size_t(picture->linesize[0] * 16));
    ScreenReader capture;
    capture.setOutputSize({16, 16});
    const QImage image = capture.resize(picture.get());
    QCOMPARE(int(image.constScanLine(3)[7 * 4 + 3]), 0x40);
}

void TestFFMpegCaptureImages::scalingIsBilinear_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("half the size") << QSize(128, 64);
    QTest::newRow("a quarter") << QSize(64, 32);
    QTest::newRow("the same size") << QSize(256, 128);
    QTest::newRow("twice the size") << QSize(512, 256);
    QTest::newRow("another shape") << QSize(100, 100);
}

void TestFFMpegCaptureImages::scalingIsBilinear()
{
    QFETCH(QSize, size);
    const QSize source(256, 128);
    const Picture picture = greyPicture(source, [](int x, int y) { return x / 2 + y; });
    ScreenReader capture;
    capture.setOutputSize(size);
    const QImage image = capture.resize(picture.get());
    // A plane stays one, but for the edges: each pixel has the value at its middle.
    const double dx = double(source.width()) / size.width();
    const double dy = double(source.height()) / size.height();
    for (int y = 4; y < size.height() - 4; ++y) {
        for (int x = 4; x < size.width() - 4; ++x) {
            const double wanted = ((x + 0.5) * dx - 0.5) / 2 + (y + 0.5) * dy - 0.5;
            const int found = qRed(image.pixel(x, y));
            // The source is rounded down by a quarter on average, and the result is rounded, too.
            const QString text = QString("%1, not %2").arg(found).arg(wanted);
            QVERIFY2(std::abs(found - wanted + 0.25) <= 1.5, qPrintable(text));
        }
    }
}

void TestFFMpegCaptureImages::upStaysUp()
{
    const Picture picture = greyPicture(
        {64, 32}, [](int x, int y) { return y < 16 ? (x < 32 ? 0 : 60) : (x < 32 ? 120 : 180); });
    ScreenReader capture;
    capture.setOutputSize({20, 10});
    const QImage image = capture.resize(picture.get());
    QCOMPARE(qRed(image.pixel(2, 2)), 0);
    QCOMPARE(qRed(image.pixel(17, 2)), 60);
    QCOMPARE(qRed(image.pixel(2, 8)), 120);
    QCOMPARE(qRed(image.pixel(17, 8)), 180);
}

void TestFFMpegCaptureImages::sizeIsExact_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("usual") << QSize(320, 180);
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("odd") << QSize(301, 167);
    QTest::newRow("one line") << QSize(333, 1);
    QTest::newRow("one column") << QSize(1, 333);
    QTest::newRow("large") << QSize(4001, 17);
}

void TestFFMpegCaptureImages::sizeIsExact()
{
    QFETCH(QSize, size);
    const Picture picture = filled(kSize, AV_PIX_FMT_BGR0, qRgb(1, 2, 3));
    ScreenReader capture;
    capture.setOutputSize(size);
    QCOMPARE(capture.outputSize(), size);
    const QImage image = capture.resize(picture.get());
    QCOMPARE(image.size(), size);
    QCOMPARE(image.format(), QImage::Format_RGBA8888);
    QCOMPARE(image.pixel(0, 0), qRgb(1, 2, 3));
    QCOMPARE(image.pixel(size.width() - 1, size.height() - 1), qRgb(1, 2, 3));
}

void TestFFMpegCaptureImages::emptySizesGiveNullImages_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("invalid") << QSize();
    QTest::newRow("nothing") << QSize(0, 0);
    QTest::newRow("no width") << QSize(0, 10);
    QTest::newRow("no height") << QSize(10, 0);
    QTest::newRow("negative") << QSize(-5, 10);
    QTest::newRow("too large for memory") << QSize(2000000000, 2000000000);
    QTest::newRow("too wide for a line") << QSize(2000000000, 1);
}

void TestFFMpegCaptureImages::emptySizesGiveNullImages()
{
    QFETCH(QSize, size);
    const Picture picture = filled(kSize, AV_PIX_FMT_YUV420P, qRgb(1, 2, 3));
    ScreenReader capture;
    capture.setOutputSize(size);
    QCOMPARE(capture.outputSize(), size);
    QVERIFY(capture.resize(picture.get()).isNull());
    QVERIFY(capture.nextFrame().empty());
    capture.setOutputSize({20, 10});
    QCOMPARE(capture.resize(picture.get()).size(), QSize(20, 10));
}

void TestFFMpegCaptureImages::picturesOfAnyShapeMayFollowEachOther()
{
    ScreenReader capture;
    capture.setOutputSize({40, 30});
    for (const QSize size : {QSize(8, 8), QSize(640, 480), QSize(33, 17), QSize(8, 8)}) {
        for (const AVPixelFormat format :
             {AV_PIX_FMT_YUV420P, AV_PIX_FMT_BGR0, AV_PIX_FMT_UYVY422}) {
            const Picture picture = filled(size, format, qRgb(0, 0, 255));
            const QImage image = capture.resize(picture.get());
            QCOMPARE(image.size(), QSize(40, 30));
            const QString text = QString("%1 of format %2 at width %3")
                                     .arg(image.pixel(20, 15), 0, 16)
                                     .arg(format)
                                     .arg(size.width());
            // Over a reduction this strong FFmpeg's integer filters add up to a few steps.
            QVERIFY2(isNear(image.pixel(20, 15), qRgb(0, 0, 255), 8), qPrintable(text));
        }
    }
}

void TestFFMpegCaptureImages::pictureThatCannotBeConvertedGivesANullImage()
{
    ScreenReader capture;
    capture.setOutputSize({40, 30});
    const Picture empty(av_frame_alloc());
    QVERIFY(capture.resize(empty.get()).isNull());
    const Picture sound = filled(kSize, AV_PIX_FMT_BGR0, 0);
    sound->format = AV_PIX_FMT_NONE;
    QVERIFY(capture.resize(sound.get()).isNull());
    sound->format = AV_PIX_FMT_VAAPI; // in the memory of a graphics card
    QVERIFY(capture.resize(sound.get()).isNull());
    sound->format = AV_PIX_FMT_BGR0;
    QVERIFY(!capture.resize(sound.get()).isNull());
}

void TestFFMpegCaptureImages::imagesAreIndependent()
{
    ScreenReader capture;
    capture.setOutputSize(kSize);
    const Picture red = filled(kSize, AV_PIX_FMT_BGR0, qRgb(255, 0, 0));
    const Picture blue = filled(kSize, AV_PIX_FMT_BGR0, qRgb(0, 0, 255));
    QImage first = capture.resize(red.get());
    const QImage second = capture.resize(blue.get());
    QCOMPARE(first.pixel(1, 1), qRgb(255, 0, 0));
    first.fill(Qt::green);
    QCOMPARE(second.pixel(1, 1), qRgb(0, 0, 255));
    QCOMPARE(capture.resize(red.get()).pixel(1, 1), qRgb(255, 0, 0));
}

void TestFFMpegCaptureImages::vectorsMayRunPastTheEnd()
{
    // A vector of the widest registers, less the one pixel that it was for.
    constexpr size_t kOverrun = 60;
    ScreenReader capture;
    for (const QSize size : {QSize(1, 1), QSize(3, 1), QSize(17, 5), QSize(301, 167)}) {
        capture.setOutputSize(size);
        const Picture picture = filled(size, AV_PIX_FMT_YUV420P, qRgb(9, 9, 9));
        QVERIFY(!capture.resize(picture.get()).isNull());
        QVERIFY2(roomBehindImage >= kOverrun, qPrintable(QString::number(roomBehindImage)));
    }
}

QTEST_GUILESS_MAIN(TestFFMpegCaptureImages)
#include "tst_ffmpegcapture_images.moc"
