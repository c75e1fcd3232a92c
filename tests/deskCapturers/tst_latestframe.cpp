#include <LibCorvane/deskCapturers/LatestFrame_p.h>

#include <QTest>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using corvane::Alpha;
using corvane::BgraPixels;
using corvane::LatestFrame;

namespace {

constexpr QSize kDisplay(1920, 1080);
constexpr QSize kWorking(300, 168);

/// A picture of one colour; blue, green, red and alpha in its bytes.
class Picture {
public:
    explicit Picture(uchar value)
        : m_bytes(4 * kWidth * kHeight, value)
    {
    }
    BgraPixels pixels() const { return {m_bytes.data(), kWidth, kHeight, 4 * kWidth}; }

private:
    static constexpr int kWidth = 32;
    static constexpr int kHeight = 18;

    std::vector<uchar> m_bytes;
};

/// The value of all bytes; -1 when they differ.
int onlyValue(const QImage &image)
{
    const uchar first = image.constBits()[0];
    const auto *end = image.constBits() + image.sizeInBytes();
    return std::all_of(image.constBits(), end, [=](uchar byte) { return byte == first; }) ? first
                                                                                          : -1;
}

} // namespace

class TestLatestFrame : public QObject {
    Q_OBJECT
private slots:
    void hasNoFrameAtFirst();
    void deliveredPictureIsTheFrame();
    void laterFrameLeavesTheEarlierAlone();
    void sizeCountsForTheNextFrame();
    void refusedSizeKeepsTheFrame_data();
    void refusedSizeKeepsTheFrame();
    void emptyPictureKeepsTheFrame();
    void outputFollowsTheDisplay();
    void chosenOutputStays();
    void readersSeeWholeFrames();
};

void TestLatestFrame::hasNoFrameAtFirst()
{
    const LatestFrame latest(kDisplay, kWorking);
    QVERIFY(latest.image().isNull());
    QCOMPARE(latest.originSize(), kDisplay);
    QCOMPARE(latest.outputSize(), kWorking);
}

void TestLatestFrame::deliveredPictureIsTheFrame()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver(Picture(7).pixels(), Alpha::Keep);
    const QImage frame = latest.image();
    QCOMPARE(frame.size(), kWorking);
    QCOMPARE(frame.format(), QImage::Format_RGBA8888);
    QCOMPARE(onlyValue(frame), 7);
    latest.deliver(Picture(7).pixels(), Alpha::Opaque);
    QCOMPARE(latest.image().pixelColor(299, 167), QColor(7, 7, 7, 255));
}

void TestLatestFrame::laterFrameLeavesTheEarlierAlone()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver(Picture(1).pixels(), Alpha::Keep);
    const QImage earlier = latest.image();
    QCOMPARE(latest.image().constBits(), earlier.constBits()); // shared, not copied
    latest.deliver(Picture(2).pixels(), Alpha::Keep);
    QCOMPARE(onlyValue(earlier), 1);
    QCOMPARE(onlyValue(latest.image()), 2);
}

void TestLatestFrame::sizeCountsForTheNextFrame()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver(Picture(1).pixels(), Alpha::Keep);
    latest.setOutputSize({64, 36});
    QCOMPARE(latest.outputSize(), QSize(64, 36));
    QCOMPARE(latest.originSize(), kDisplay);
    QCOMPARE(latest.image().size(), kWorking);
    latest.deliver(Picture(1).pixels(), Alpha::Keep);
    QCOMPARE(latest.image().size(), QSize(64, 36));
}

void TestLatestFrame::refusedSizeKeepsTheFrame_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("no width") << QSize(0, 36);
    QTest::newRow("no height") << QSize(64, 0);
    QTest::newRow("less than nothing") << QSize(-64, -36);
    QTest::newRow("an invalid size") << QSize();
    QTest::newRow("far too large") << QSize(100000, 100000);
}

void TestLatestFrame::refusedSizeKeepsTheFrame()
{
    QFETCH(QSize, size);
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver(Picture(1).pixels(), Alpha::Keep);
    latest.setOutputSize(size);
    latest.deliver(Picture(2).pixels(), Alpha::Keep);
    QCOMPARE(latest.outputSize(), size);
    QCOMPARE(onlyValue(latest.image()), 1);
    latest.setOutputSize({64, 36});
    latest.deliver(Picture(2).pixels(), Alpha::Keep);
    QCOMPARE(onlyValue(latest.image()), 2);
}

void TestLatestFrame::emptyPictureKeepsTheFrame()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver({}, Alpha::Keep);
    QVERIFY(latest.image().isNull());
    latest.deliver(Picture(1).pixels(), Alpha::Keep);
    latest.deliver({}, Alpha::Keep);
    QCOMPARE(onlyValue(latest.image()), 1);
}

void TestLatestFrame::outputFollowsTheDisplay()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.setOriginSize({1280, 1024});
    QCOMPARE(latest.originSize(), QSize(1280, 1024));
    QCOMPARE(latest.outputSize(), QSize(300, 240));
}

void TestLatestFrame::chosenOutputStays()
{
    LatestFrame latest(kDisplay, kWorking);
    latest.setOutputSize({64, 36});
    latest.setOriginSize({1280, 1024});
    QCOMPARE(latest.originSize(), QSize(1280, 1024));
    QCOMPARE(latest.outputSize(), QSize(64, 36));
}

void TestLatestFrame::readersSeeWholeFrames()
{
    constexpr int kFrames = 200;
    const Picture pictures[] = {Picture(10), Picture(20)};
    LatestFrame latest(kDisplay, kWorking);
    latest.deliver(pictures[0].pixels(), Alpha::Keep);
    std::atomic<bool> ended{false};
    std::atomic<int> torn{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!ended) {
                latest.setOutputSize({64, 36});
                const QImage frame = latest.image();
                const bool sized = frame.size() == kWorking || frame.size() == QSize(64, 36);
                torn += sized && onlyValue(frame) > 0 ? 0 : 1;
            }
        });
    }
    for (int i = 0; i < kFrames; ++i) {
        latest.setOutputSize(kWorking);
        latest.deliver(pictures[i % 2].pixels(), Alpha::Keep);
    }
    ended = true;
    for (std::thread &reader : readers)
        reader.join();
    QCOMPARE(torn.load(), 0);
}

QTEST_APPLESS_MAIN(TestLatestFrame)
#include "tst_latestframe.moc"
