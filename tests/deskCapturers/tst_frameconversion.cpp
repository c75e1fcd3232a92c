#include <LibCorvane/deskCapturers/FrameConversion_p.h>

#include <opencv2/imgproc.hpp>

#include <QTest>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

using corvane::Alpha;
using corvane::BgraPixels;
using corvane::convertedFrame;

Q_DECLARE_METATYPE(corvane::Alpha)

namespace {

// Where the bytes of a channel stand in a pixel that is delivered, in the order of a frame's bytes.
constexpr int kBgraOffsets[] = {2, 1, 0, 3};

// The scaler weighs in steps of 1/2048 and cuts bits off between its two passes: on the scale of
// 255 that is less than half a step away from the exact value, which then is rounded.
constexpr double kTolerance = 1.0;

struct Picture {
    Picture(int pictureWidth, int pictureHeight, int padding = 0)
        : width(pictureWidth)
        , height(pictureHeight)
        , bytesPerLine(4 * pictureWidth + padding)
        , bytes(std::size_t(bytesPerLine) * pictureHeight, 0xee)
    {
    }

    uchar &at(int x, int y, int byte)
    {
        return bytes[std::size_t(y) * bytesPerLine + 4 * x + byte];
    }
    uchar at(int x, int y, int byte) const
    {
        return bytes[std::size_t(y) * bytesPerLine + 4 * x + byte];
    }
    BgraPixels pixels() const
    {
        return {bytes.data(), width, height, static_cast<std::size_t>(bytesPerLine)};
    }

    int width;
    int height;
    int bytesPerLine;
    std::vector<uchar> bytes;
};

Picture noise(int width, int height, int padding = 0)
{
    Picture picture(width, height, padding);
    std::mt19937 random(12345);
    std::generate(picture.bytes.begin(), picture.bytes.end(), [&] { return uchar(random()); });
    return picture;
}

/// Where the centre of a target pixel lies in the source: between two of its pixels, or on its
/// edge.
struct Position {
    Position(int target, int targetLength, int sourceLength)
    {
        const double centre = (target + 0.5) * sourceLength / targetLength - 0.5;
        const double inside = std::clamp(centre, 0.0, sourceLength - 1.0);
        first = static_cast<int>(std::floor(inside));
        second = std::min(first + 1, sourceLength - 1);
        weight = inside - first;
    }

    int first;
    int second;
    double weight;
};

double bilinear(const Picture &picture, const Position &x, const Position &y, int byte)
{
    const auto row = [&](int line) {
        return (1.0 - x.weight) * picture.at(x.first, line, byte)
            + x.weight * picture.at(x.second, line, byte);
    };
    return (1.0 - y.weight) * row(y.first) + y.weight * row(y.second);
}

/// The largest difference from plain bilinear interpolation, each byte of the frame compared.
double largestDifference(const Picture &picture, const QImage &frame, Alpha alpha)
{
    double largest = 0.0;
    for (int line = 0; line < frame.height(); ++line) {
        const Position y(line, frame.height(), picture.height);
        for (int column = 0; column < frame.width(); ++column) {
            const Position x(column, frame.width(), picture.width);
            for (int channel = 0; channel < 4; ++channel) {
                const bool opaque = channel == 3 && alpha == Alpha::Opaque;
                const double exact =
                    opaque ? 255.0 : bilinear(picture, x, y, kBgraOffsets[channel]);
                const double found = frame.constScanLine(line)[4 * column + channel];
                largest = std::max(largest, std::abs(found - exact));
            }
        }
    }
    return largest;
}

} // namespace

class TestFrameConversion : public QObject {
    Q_OBJECT
private slots:
    void sizesOfADisplay_data();
    void sizesOfADisplay();
    void interpolatesBilinearly_data();
    void interpolatesBilinearly();
    void unscaledPictureIsExact_data();
    void unscaledPictureIsExact();
    void readsNothingButThePicture();
    void refusesWhatHasNoPixels_data();
    void refusesWhatHasNoPixels();
    void refusesWhatNeedsTooMuchMemory_data();
    void refusesWhatNeedsTooMuchMemory();
    void exceptionsStayInside();
    void frameOwnsItsPixels();
};

void TestFrameConversion::sizesOfADisplay_data()
{
    constexpr double kNothing = 0.0;
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    constexpr int kMost = std::numeric_limits<int>::max();
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("height");
    QTest::addColumn<QSize>("origin");
    QTest::addColumn<QSize>("working");
    QTest::newRow("full HD: 168.75 lines are cut off")
        << 1920.0 << 1080.0 << QSize(1920, 1080) << QSize(300, 168);
    QTest::newRow("4K has the same shape")
        << 3840.0 << 2160.0 << QSize(3840, 2160) << QSize(300, 168);
    QTest::newRow("an upright display") << 1080.0 << 1920.0 << QSize(1080, 1920) << QSize(300, 533);
    QTest::newRow("a display smaller than a frame")
        << 200.0 << 100.0 << QSize(200, 100) << QSize(300, 150);
    QTest::newRow("fractions of the bounds are cut off")
        << 1512.9 << 982.9 << QSize(1512, 982) << QSize(300, 194);
    QTest::newRow("the height is scaled before it is cut off")
        << 1000.0 << 999.99 << QSize(1000, 999) << QSize(300, 299);
    QTest::newRow("a very wide display has frames without lines")
        << 10000.0 << 1.0 << QSize(10000, 1) << QSize(300, 0);
    QTest::newRow("no height") << 1920.0 << kNothing << QSize(1920, 0) << QSize(300, 0);
    QTest::newRow("no width") << kNothing << 1080.0 << QSize(0, 1080) << QSize();
    QTest::newRow("less than no width") << -1.5 << 1080.0 << QSize(-1, 1080) << QSize();
    QTest::newRow("no numbers") << kNoNumber << kNoNumber << QSize(0, 0) << QSize();
    QTest::newRow("more than an int holds")
        << 1e-9 << kEndless << QSize(0, kMost) << QSize(300, kMost);
}

void TestFrameConversion::sizesOfADisplay()
{
    QFETCH(double, width);
    QFETCH(double, height);
    QTEST(corvane::originSize(width, height), "origin");
    QTEST(corvane::workingSize(width, height), "working");
}

void TestFrameConversion::interpolatesBilinearly_data()
{
    QTest::addColumn<QSize>("from");
    QTest::addColumn<int>("padding");
    QTest::addColumn<QSize>("to");
    QTest::addColumn<Alpha>("alpha");
    QTest::newRow("full HD") << QSize(1920, 1080) << 0 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("full HD without alpha")
        << QSize(1920, 1080) << 0 << QSize(300, 168) << Alpha::Opaque;
    QTest::newRow("padded rows") << QSize(641, 359) << 28 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("rows of an odd length") << QSize(641, 359) << 3 << QSize(301, 7) << Alpha::Keep;
    QTest::newRow("exactly half") << QSize(600, 336) << 0 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("exactly a third") << QSize(900, 504) << 0 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("another shape") << QSize(320, 200) << 0 << QSize(50, 190) << Alpha::Opaque;
    QTest::newRow("larger") << QSize(31, 17) << 0 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("larger without alpha") << QSize(31, 17) << 0 << QSize(300, 168) << Alpha::Opaque;
    QTest::newRow("wider and lower") << QSize(100, 100) << 0 << QSize(333, 11) << Alpha::Keep;
    QTest::newRow("down to one pixel") << QSize(333, 221) << 0 << QSize(1, 1) << Alpha::Keep;
    QTest::newRow("down to one line") << QSize(333, 221) << 0 << QSize(300, 1) << Alpha::Keep;
    QTest::newRow("up from one pixel") << QSize(1, 1) << 0 << QSize(300, 168) << Alpha::Keep;
    QTest::newRow("up from one column") << QSize(1, 100) << 12 << QSize(20, 168) << Alpha::Opaque;
}

void TestFrameConversion::interpolatesBilinearly()
{
    QFETCH(QSize, from);
    QFETCH(int, padding);
    QFETCH(QSize, to);
    QFETCH(Alpha, alpha);
    const Picture picture = noise(from.width(), from.height(), padding);
    const QImage frame = convertedFrame(picture.pixels(), to, alpha);
    QCOMPARE(frame.size(), to);
    QCOMPARE(frame.format(), QImage::Format_RGBA8888);
    const double difference = largestDifference(picture, frame, alpha);
    QVERIFY2(difference <= kTolerance, qPrintable(QString::number(difference)));
}

void TestFrameConversion::unscaledPictureIsExact_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("padding");
    QTest::addColumn<Alpha>("alpha");
    for (const int width : {1, 2, 7, 8, 9, 15, 16, 17, 300, 301}) {
        for (const Alpha alpha : {Alpha::Keep, Alpha::Opaque}) {
            QTest::addRow("%d pixels wide, %s", width,
                          alpha == Alpha::Keep ? "with alpha" : "without alpha")
                << QSize(width, 5) << width % 3 << alpha;
        }
    }
}

void TestFrameConversion::unscaledPictureIsExact()
{
    QFETCH(QSize, size);
    QFETCH(int, padding);
    QFETCH(Alpha, alpha);
    const Picture picture = noise(size.width(), size.height(), padding);
    const QImage frame = convertedFrame(picture.pixels(), size, alpha);
    QCOMPARE(frame.size(), size);
    QCOMPARE(largestDifference(picture, frame, alpha), 0.0);
}

void TestFrameConversion::readsNothingButThePicture()
{
    // The last row ends where its pixels end; a sanitizer sees a byte too many.
    const Picture picture = noise(33, 9);
    std::vector<uchar> exact(picture.bytes.begin(), picture.bytes.end());
    exact.shrink_to_fit();
    const BgraPixels pixels{exact.data() + 4, 32, 9, 33 * 4};
    for (const QSize size : {QSize(32, 9), QSize(300, 168), QSize(5, 3)})
        QCOMPARE(convertedFrame(pixels, size, Alpha::Keep).size(), size);
    QCOMPARE(exact, picture.bytes); // nor is it written to
}

void TestFrameConversion::refusesWhatHasNoPixels_data()
{
    QTest::addColumn<QSize>("from");
    QTest::addColumn<QSize>("to");
    QTest::newRow("a picture without width") << QSize(0, 9) << QSize(16, 9);
    QTest::newRow("a picture without height") << QSize(16, 0) << QSize(16, 9);
    QTest::newRow("a picture of less than nothing") << QSize(-16, -9) << QSize(16, 9);
    QTest::newRow("a frame without width") << QSize(16, 9) << QSize(0, 9);
    QTest::newRow("a frame without height") << QSize(16, 9) << QSize(16, 0);
    QTest::newRow("a frame of less than nothing") << QSize(16, 9) << QSize(-16, -9);
    QTest::newRow("an invalid size") << QSize(16, 9) << QSize();
}

void TestFrameConversion::refusesWhatHasNoPixels()
{
    QFETCH(QSize, from);
    QFETCH(QSize, to);
    const Picture picture = noise(16, 9);
    const BgraPixels pixels{picture.bytes.data(), from.width(), from.height(), 16 * 4};
    QVERIFY(convertedFrame(pixels, to, Alpha::Keep).isNull());
    QVERIFY(convertedFrame({nullptr, 16, 9, 16 * 4}, {16, 9}, Alpha::Keep).isNull());
}

void TestFrameConversion::refusesWhatNeedsTooMuchMemory_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("fits");
    QTest::newRow("a square of one gigabyte is the most") << QSize(16384, 16384) << true;
    QTest::newRow("one column more") << QSize(16385, 16384) << false;
    QTest::newRow("a line of that many pixels") << QSize(16384 * 16384, 1) << true;
    QTest::newRow("40 gigabytes") << QSize(100000, 100000) << false;
    QTest::newRow("the largest numbers") << QSize(INT_MAX, INT_MAX) << false;
    QTest::newRow("nothing") << QSize(0, 0) << false;
}

void TestFrameConversion::refusesWhatNeedsTooMuchMemory()
{
    QFETCH(QSize, size);
    QFETCH(bool, fits);
    QCOMPARE(corvane::isFrameSize(size), fits);
    if (!fits) // a gigabyte is permitted, but not to a test
        QVERIFY(convertedFrame(noise(16, 9).pixels(), size, Alpha::Keep).isNull());
}

void TestFrameConversion::exceptionsStayInside()
{
    // OpenCV refuses rows that are longer than the distance between them.
    const Picture picture = noise(16, 9);
    const BgraPixels overlapping{picture.bytes.data(), 16, 9, 15 * 4};
    cv::redirectError([](int, const char *, const char *, const char *, int, void *) { return 0; });
    QVERIFY_EXCEPTION_THROWN(
        cv::Mat(9, 16, CV_8UC4, const_cast<uchar *>(overlapping.bits), overlapping.bytesPerLine),
        cv::Exception);
    QVERIFY(convertedFrame(overlapping, {300, 168}, Alpha::Keep).isNull());
    cv::redirectError(nullptr);
}

void TestFrameConversion::frameOwnsItsPixels()
{
    Picture picture = noise(300, 168);
    const QImage frame = convertedFrame(picture.pixels(), {300, 168}, Alpha::Keep);
    const QImage before = frame.copy();
    std::fill(picture.bytes.begin(), picture.bytes.end(), 0);
    QCOMPARE(frame, before);
}

QTEST_APPLESS_MAIN(TestFrameConversion)
#include "tst_frameconversion.moc"
