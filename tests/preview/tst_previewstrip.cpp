#include <QtTest>

#include "Strip.h"
#include "StripSamples.h"
#include "Theme.h"

#include <opencv2/core.hpp>

using namespace corvane::test;

namespace {

constexpr float kFullScale = 512.0F;
const QSize kFrameSize(40, 20);

/// Each pixel tells its place.
cv::Mat chart()
{
    cv::Mat frame(kFrameSize.height(), kFrameSize.width(), CV_8UC4);
    for (int y = 0; y < frame.rows; ++y)
        for (int x = 0; x < frame.cols; ++x)
            frame.at<cv::Vec4b>(y, x) =
                cv::Vec4b(static_cast<uchar>(4 * x), static_cast<uchar>(8 * y), 7, 255);
    return frame;
}

cv::Mat uniform(const QSize &size, QRgb colour)
{
    return {size.height(), size.width(), CV_8UC4,
            cv::Scalar(qRed(colour), qGreen(colour), qBlue(colour), 255)};
}

SoundChannel channelWith(int bins, int loudBin, float amplitude)
{
    SoundChannel channel;
    for (int bin = 0; bin < bins; ++bin)
        channel.spectrums.append({static_cast<float>(bin), bin == loudBin ? amplitude : 0.0F, 0});
    return channel;
}

SoundChannel silence()
{
    return channelWith(8, 0, 0.0F);
}

bool isDark(const QVector<QRgb> &colours)
{
    return std::all_of(colours.cbegin(), colours.cend(),
                       [](QRgb colour) { return colour == qRgb(0, 0, 0); });
}

} // namespace

class TestPreviewStrip : public QObject {
    Q_OBJECT
private slots:
    void takesTheMeanOfACell_data();
    void takesTheMeanOfACell();
    void countsEachPixelOnce();
    void takesOnePixelAtLeast();
    void staysInsideTheFrame();
    void isBlackWithoutAFrame();
    void readsFramesWithPaddedRows();
    void lightsBothKeysOfACornerAlike();
    void lightsTheKeysOfATone_data();
    void lightsTheKeysOfATone();
    void hearsTheChannelsApart();
    void isDarkInSilence();
    void spreadsFewBinsOverManyKeys();
    void coloursAsBrightAsItIsLoud();
    void switchesBetweenScreenAndSound();
    void fallsSlowlyAfterASound();
    void darkensWithoutADisplay();
};

void TestPreviewStrip::takesTheMeanOfACell_data()
{
    QTest::addColumn<QPoint>("cell");
    QTest::addColumn<QRgb>("colour");
    // The chart rises by 4 per column and 8 per row; a cell has 10 columns and 5 rows.
    QTest::newRow("the top left corner") << QPoint(0, 0) << qRgb(18, 16, 7);
    QTest::newRow("the top right corner") << QPoint(3, 0) << qRgb(138, 16, 7);
    QTest::newRow("the bottom left corner") << QPoint(0, 3) << qRgb(18, 136, 7);
    QTest::newRow("the middle") << QPoint(2, 1) << qRgb(98, 56, 7);
}

void TestPreviewStrip::takesTheMeanOfACell()
{
    QFETCH(QPoint, cell);
    QFETCH(QRgb, colour);
    QCOMPARE(cellColour(chart(), {4, 4}, cell), colour);
}

void TestPreviewStrip::countsEachPixelOnce()
{
    // 7 columns and 3 rows do not divide the frame evenly.
    const QSize grid(7, 3);
    for (int y = 0; y < kFrameSize.height(); ++y) {
        for (int x = 0; x < kFrameSize.width(); ++x) {
            cv::Mat frame = uniform(kFrameSize, qRgb(0, 0, 0));
            frame.at<cv::Vec4b>(y, x) = cv::Vec4b(255, 255, 255, 255);
            int lit = 0;
            for (int cell = 0; cell < grid.width() * grid.height(); ++cell)
                lit += cellColour(frame, grid, {cell % 7, cell / 7}) != qRgb(0, 0, 0) ? 1 : 0;
            QCOMPARE(lit, 1);
        }
    }
}

void TestPreviewStrip::takesOnePixelAtLeast()
{
    cv::Mat frame = uniform({2, 1}, qRgb(1, 2, 3));
    frame.at<cv::Vec4b>(0, 1) = cv::Vec4b(200, 100, 50, 255);
    QCOMPARE(cellColour(frame, {9, 9}, {0, 8}), qRgb(1, 2, 3));
    QCOMPARE(cellColour(frame, {9, 9}, {8, 0}), qRgb(200, 100, 50));
}

void TestPreviewStrip::staysInsideTheFrame()
{
    const cv::Mat frame = chart();
    QCOMPARE(cellColour(frame, {4, 4}, {-1, 9}), cellColour(frame, {4, 4}, {0, 3}));
    QCOMPARE(cellColour(frame, {4, 4}, {4, -3}), cellColour(frame, {4, 4}, {3, 0}));
}

void TestPreviewStrip::isBlackWithoutAFrame()
{
    QCOMPARE(cellColour(cv::Mat(), {4, 4}, {0, 0}), qRgb(0, 0, 0));
    QCOMPARE(cellColour(chart(), {}, {0, 0}), qRgb(0, 0, 0));
    QCOMPARE(meanColour(cv::Mat()), qRgb(0, 0, 0));
}

void TestPreviewStrip::readsFramesWithPaddedRows()
{
    const cv::Mat wide = chart();
    const cv::Mat part = wide(cv::Rect(10, 5, 20, 10));
    QVERIFY(!part.isContinuous());
    QCOMPARE(meanColour(part), meanColour(part.clone()));
    QCOMPARE(cellColour(part, {2, 2}, {1, 1}), cellColour(part.clone(), {2, 2}, {1, 1}));
}

void TestPreviewStrip::lightsBothKeysOfACornerAlike()
{
    const cv::Mat frame = chart();
    const QVector<QRgb> colours = screenColours(stripLayout(smallFile(4)), frame);
    QCOMPARE(colours.size(), 12);
    QCOMPARE(colours[1], colours[2]);
    QCOMPARE(colours[5], colours[6]);
    QCOMPARE(colours[7], colours[8]);
    QVERIFY(colours[1] != colours[5]);
    QCOMPARE(colours[3], cellColour(frame, {4, 2}, {1, 0}));
}

void TestPreviewStrip::lightsTheKeysOfATone_data()
{
    QTest::addColumn<int>("loudBin");
    QTest::addColumn<QVector<int>>("keys");
    QTest::newRow("a low tone lights the roots") << 1 << QVector<int>{0, 3, 4, 7, 9, 10};
    QTest::newRow("a high tone lights the far ends") << 6 << QVector<int>{1, 2, 5, 6, 8, 11};
}

void TestPreviewStrip::lightsTheKeysOfATone()
{
    QFETCH(int, loudBin);
    QFETCH(QVector<int>, keys);
    const SoundChannel tone = channelWith(8, loudBin, kFullScale);
    const QVector<float> levels = soundLevels(stripLayout(smallFile(4)), {tone, tone});
    QCOMPARE(litKeys(levels), keys);
    QCOMPARE(levels[keys.first()], 1.0F);
}

void TestPreviewStrip::hearsTheChannelsApart()
{
    const StripLayout layout = stripLayout(smallFile(4));
    const SoundChannel tone = channelWith(8, 1, kFullScale);
    QCOMPARE(litKeys(soundLevels(layout, {tone, silence()})), QVector<int>({0, 3, 10}));
    QCOMPARE(litKeys(soundLevels(layout, {silence(), tone})), QVector<int>({4, 7, 9}));
}

void TestPreviewStrip::isDarkInSilence()
{
    const StripLayout layout = stripLayout(smallFile(4));
    for (const QVector<SoundChannel> &block :
         {QVector<SoundChannel>{silence(), silence()}, QVector<SoundChannel>{}}) {
        const QVector<float> levels = soundLevels(layout, block);
        QCOMPARE(levels.size(), 12);
        QVERIFY(litKeys(levels).isEmpty());
        QVERIFY(isDark(soundColours(layout, levels)));
    }
}

void TestPreviewStrip::spreadsFewBinsOverManyKeys()
{
    QVector<QPoint> cells;
    for (int y = 9; y >= 0; --y)
        cells.append({0, y});
    const StripLayout layout = stripLayout(layoutFile({30, 10}, cells, {{1, 1, 10}}));
    const SoundChannel tone = channelWith(2, 1, kFullScale);
    QCOMPARE(litKeys(soundLevels(layout, {tone, tone})), QVector<int>({5, 6, 7, 8, 9}));
}

void TestPreviewStrip::coloursAsBrightAsItIsLoud()
{
    const StripLayout layout = stripLayout(smallFile(0));
    const QVector<QRgb> colours = soundColours(layout, {1.0F, 0.5F, 0.0F, 0.0F, 1.0F});
    QCOMPARE(colours.size(), 8);
    QCOMPARE(colours[0], theme::kLeft);
    QVERIFY(qAbs(2 * qGreen(colours[1]) - qGreen(theme::kLeft)) <= 1);
    QCOMPARE(colours[2], qRgb(0, 0, 0));
    QCOMPARE(colours[4], theme::kRight);
    QCOMPARE(colours[7], qRgb(0, 0, 0));
}

void TestPreviewStrip::switchesBetweenScreenAndSound()
{
    Strip strip(stripLayout(smallFile(4)));
    const SoundChannel tone = channelWith(8, 1, kFullScale);
    strip.takeFrame(uniform(kFrameSize, qRgb(200, 10, 20)));
    strip.takeBlock({tone, tone}, 0.05F);
    QCOMPARE(strip.colours(), QVector<QRgb>(12, qRgb(200, 10, 20)));
    strip.setMode(Mode::Sound);
    QCOMPARE(strip.colours()[0], theme::kLeft);
    QCOMPARE(strip.colours()[1], qRgb(0, 0, 0));
}

void TestPreviewStrip::fallsSlowlyAfterASound()
{
    Strip strip(stripLayout(smallFile(4)));
    strip.setMode(Mode::Sound);
    const SoundChannel tone = channelWith(8, 1, kFullScale);
    strip.takeBlock({tone, tone}, 0.05F);
    const int loud = qGreen(strip.colours()[0]);
    strip.takeBlock({silence(), silence()}, 0.05F);
    const int later = qGreen(strip.colours()[0]);
    QVERIFY(later < loud && later > loud / 2);
    strip.takeBlock({silence(), silence()}, 60.0F);
    QVERIFY(isDark(strip.colours()));

    strip.takeBlock({tone, tone}, 0.05F);
    strip.forgetSound();
    QVERIFY(isDark(strip.colours()));
}

void TestPreviewStrip::darkensWithoutADisplay()
{
    Strip strip(stripLayout(smallFile(4)));
    QVERIFY(isDark(strip.colours()));
    strip.takeFrame(uniform(kFrameSize, qRgb(200, 10, 20)));
    strip.takeFrame(cv::Mat());
    QVERIFY(isDark(strip.colours()));
}

QTEST_APPLESS_MAIN(TestPreviewStrip)
#include "tst_previewstrip.moc"
