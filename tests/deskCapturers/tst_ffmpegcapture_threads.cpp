// Frames are decoded, converted, and given other sizes at the same time.

#include "ScreenReader.h"

#include <support/ScriptedInput.h>

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace corvane::test;

namespace {

constexpr int kRounds = 400;
constexpr QSize kSizes[] = {{64, 36}, {33, 19}, {320, 180}, {0, 0}};

struct Findings {
    std::atomic<int> frames{0};
    std::atomic<int> badFrames{0};
    std::atomic<int> badSizes{0};
};

bool isKnown(QSize size)
{
    return std::find(std::begin(kSizes), std::end(kSizes), size) != std::end(kSizes);
}

bool isRed(const cv::Mat &frame)
{
    for (int y = 0; y < frame.rows; y += 5) {
        for (int x = 0; x < frame.cols; x += 7) {
            const auto pixel = frame.at<cv::Vec4b>(y, x);
            if (pixel[0] < 250 || pixel[1] > 5 || pixel[2] > 5 || pixel[3] != 255)
                return false;
        }
    }
    return true;
}

void readFrames(ScreenReader &capture, Findings &findings)
{
    for (int i = 0; i < kRounds; ++i) {
        cv::Mat frame = capture.nextFrame();
        if (!isKnown({frame.cols, frame.rows}) || !isRed(frame))
            ++findings.badFrames;
        if (!frame.empty())
            ++findings.frames;
        frame = cv::Scalar::all(0); // nobody else sees this
    }
}

void changeSizes(ScreenReader &capture, Findings &findings)
{
    for (int i = 0; i < kRounds; ++i) {
        capture.setOutputSize(kSizes[i % 4]);
        if (!isKnown(capture.outputSize()) || capture.originSize() != QSize(320, 180))
            ++findings.badSizes;
    }
    capture.setOutputSize(kSizes[0]);
}

} // namespace

class TestFFMpegCaptureThreads : public QObject {
    Q_OBJECT
private slots:
    void framesStayWhole();
};

void TestFFMpegCaptureThreads::framesStayWhole()
{
    const ScriptedInput input({"color=c=red:size=320x180:rate=25,format=bgr0"});
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.tick();
    Findings findings;
    std::atomic<int> left{4};
    std::vector<std::thread> threads;
    for (const auto work : {readFrames, readFrames, changeSizes, changeSizes}) {
        threads.emplace_back([&, work] {
            work(capture, findings);
            --left;
        });
    }
    while (left > 0)
        capture.tick();
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(findings.badFrames.load(), 0);
    QCOMPARE(findings.badSizes.load(), 0);
    QVERIFY(findings.frames > 0);
    QCOMPARE(capture.outputSize(), kSizes[0]);
    const cv::Mat frame = capture.nextFrame();
    QCOMPARE(QSize(frame.cols, frame.rows), kSizes[0]);
}

QTEST_GUILESS_MAIN(TestFFMpegCaptureThreads)
#include "tst_ffmpegcapture_threads.moc"
