// What becomes of a delivered sample.

#include "TestPictures.h"

#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <support/LogCapture.h>

#include <QTest>

#include <future>

using namespace corvane::test;

Q_DECLARE_METATYPE(std::shared_ptr<SimulatedPicture>)

namespace {

constexpr unsigned int kDisplay = 5;
constexpr QSize kFrame(300, 168);
const char *const kLock = "CVPixelBufferLockBaseAddress";
const char *const kUnlock = "CVPixelBufferUnlockBaseAddress";

/// Each pixel differs from its neighbours, and each channel from the others.
QColor gradientAt(int x, int y)
{
    return {x % 251, y % 251, (x + y) % 251, 200 + (x & 7)};
}

/// Four quarters, each of one colour.
std::shared_ptr<SimulatedPicture> quarters(int width, int height, std::size_t padding)
{
    return pictureOf(width, height, padding, [=](int x, int y) {
        if (y < height / 2)
            return x < width / 2 ? QColor(200, 100, 50) : QColor(10, 20, 255);
        return x < width / 2 ? QColor(0, 255, 0, 128) : QColor(255, 255, 255);
    });
}

std::shared_ptr<SimulatedPicture> changed(std::shared_ptr<SimulatedPicture> picture,
                                          const std::function<void(SimulatedPicture &)> &change)
{
    change(*picture);
    return picture;
}

} // namespace

class TestAVFoundationFrames : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void thereIsNoFrameAtFirst();
    void capturerGivesNothingBeforeTheFirstFrame();
    void bufferIsLockedForReadingOnly();
    void pixelsOfTheSameSizeAreKept_data();
    void pixelsOfTheSameSizeAreKept();
    void largePicturesAreScaled_data();
    void largePicturesAreScaled();
    void chosenSizeCountsForTheNextFrame();
    void emptySizeKeepsTheFrame();
    void laterFrameReplacesTheEarlier();
    void formatIsAssumed();
    void unreadableSamplesAreDropped_data();
    void unreadableSamplesAreDropped();
    void failedLockIsNotUndone();
    void framesComeOnTheQueueInOrder();
    void readersGetTheFrameThroughTheCapturer();

private:
    void deliver(const std::shared_ptr<const SimulatedPicture> &picture);

    Simulation &m_simulation = Simulation::instance();
    AVFoundationCaptureImpl *m_record = nullptr;
};

void TestAVFoundationFrames::init()
{
    m_simulation.reset();
    m_simulation.attachDisplay(kDisplay, {0, 0, 1920, 1080});
    m_record = allocAVFoundationCapture(kDisplay);
    QVERIFY(m_record);
    m_simulation.takeCalls();
}

void TestAVFoundationFrames::cleanup()
{
    freeAVFoundationCapture(m_record);
    waitForQueues();
    const QMap<QString, int> none;
    QCOMPARE(liveObjects(), none);
}

void TestAVFoundationFrames::deliver(const std::shared_ptr<const SimulatedPicture> &picture)
{
    QCOMPARE(deliverFrame(kDisplay, picture), 1);
    waitForQueues();
}

void TestAVFoundationFrames::thereIsNoFrameAtFirst()
{
    QVERIFY(AVCaptureNextFrame(m_record).isNull());
}

void TestAVFoundationFrames::capturerGivesNothingBeforeTheFirstFrame()
{
    const LogCapture log;
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(kDisplay));
    QVERIFY(capture.nextFrame().empty());
    QCOMPARE(capture.originSize(), QSize(1920, 1080));
    QCOMPARE(capture.outputSize(), QSize(1920, 1080));
    QCOMPARE(logged(log), QStringList());
    for (AVFoundationCaptureImpl *record : runningRecords()) {
        if (record != m_record)
            freeAVFoundationCapture(record);
    }
}

void TestAVFoundationFrames::bufferIsLockedForReadingOnly()
{
    deliver(plainPicture(Qt::red));
    const QStringList calls = m_simulation.takeCalls();
    QCOMPARE(calls.mid(0, 2),
             QStringList({"CMSampleBufferGetImageBuffer", "CVPixelBufferLockBaseAddress 1"}));
    QCOMPARE(calls.last(), QString("CVPixelBufferUnlockBaseAddress 1"));
    QCOMPARE(calls.filter(kLock).size(), 1);
    QCOMPARE(calls.filter(kUnlock).size(), 1);
}

void TestAVFoundationFrames::pixelsOfTheSameSizeAreKept_data()
{
    QTest::addColumn<int>("padding");
    QTest::newRow("rows one after the other") << 0;
    QTest::newRow("rows aligned to 64 bytes") << 16;
    QTest::newRow("rows with an odd end") << 3;
    QTest::newRow("rows twice as long as they need be") << 1200;
}

void TestAVFoundationFrames::pixelsOfTheSameSizeAreKept()
{
    QFETCH(int, padding);
    deliver(pictureOf(300, 168, static_cast<std::size_t>(padding), gradientAt));
    const QImage frame = AVCaptureNextFrame(m_record);
    QCOMPARE(frame.size(), kFrame);
    QCOMPARE(frame.format(), QImage::Format_RGBA8888);
    for (int y = 0; y < frame.height(); ++y) {
        for (int x = 0; x < frame.width(); ++x)
            QCOMPARE(frame.pixelColor(x, y), gradientAt(x, y));
    }
}

void TestAVFoundationFrames::largePicturesAreScaled_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("padding");
    QTest::newRow("a picture that was scaled by the source") << QSize(300, 169) << 16;
    QTest::newRow("a picture of the whole display") << QSize(1920, 1080) << 0;
    QTest::newRow("a picture with padded rows") << QSize(1366, 768) << 40;
    QTest::newRow("a picture that is smaller than a frame") << QSize(64, 36) << 0;
}

void TestAVFoundationFrames::largePicturesAreScaled()
{
    QFETCH(QSize, size);
    QFETCH(int, padding);
    deliver(quarters(size.width(), size.height(), static_cast<std::size_t>(padding)));
    const QImage frame = AVCaptureNextFrame(m_record);
    QCOMPARE(frame.size(), kFrame);
    QCOMPARE(frame.pixelColor(0, 0), QColor(200, 100, 50));
    QCOMPARE(frame.pixelColor(299, 0), QColor(10, 20, 255));
    QCOMPARE(frame.pixelColor(0, 167), QColor(0, 255, 0, 128));
    QCOMPARE(frame.pixelColor(299, 167), QColor(255, 255, 255));
    QCOMPARE(frame.pixelColor(100, 60), QColor(200, 100, 50));
}

void TestAVFoundationFrames::chosenSizeCountsForTheNextFrame()
{
    deliver(plainPicture(Qt::red));
    AVCaptureSetOutputSize(m_record, {64, 36});
    QCOMPARE(AVCaptureNextFrame(m_record).size(), kFrame);
    deliver(plainPicture(Qt::blue));
    QCOMPARE(AVCaptureNextFrame(m_record).size(), QSize(64, 36));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(63, 35), QColor(Qt::blue));
    QCOMPARE(AVCaptureOutputSize(m_record), QSize(1920, 1080));
    QCOMPARE(AVCaptureOriginSize(m_record), QSize(1920, 1080));
}

void TestAVFoundationFrames::emptySizeKeepsTheFrame()
{
    deliver(plainPicture(Qt::red));
    AVCaptureSetOutputSize(m_record, {});
    deliver(plainPicture(Qt::blue));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::red));
    AVCaptureSetOutputSize(m_record, kFrame);
    deliver(plainPicture(Qt::green));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::green));
}

void TestAVFoundationFrames::laterFrameReplacesTheEarlier()
{
    deliver(plainPicture(Qt::red));
    const QImage earlier = AVCaptureNextFrame(m_record);
    QCOMPARE(AVCaptureNextFrame(m_record).constBits(), earlier.constBits()); // shared, not copied
    deliver(plainPicture(Qt::blue));
    QCOMPARE(earlier.pixelColor(150, 84), QColor(Qt::red));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(150, 84), QColor(Qt::blue));
}

void TestAVFoundationFrames::formatIsAssumed()
{
    deliver(changed(plainPicture(Qt::red), [](SimulatedPicture &picture) {
        picture.pixelFormat = 0x00000020; // ARGB
    }));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::red));
}

void TestAVFoundationFrames::unreadableSamplesAreDropped_data()
{
    using Samples = std::shared_ptr<SimulatedPicture>;
    QTest::addColumn<Samples>("sample");
    QTest::newRow("a sample without an image") << Samples();
    QTest::newRow("an empty buffer") << std::make_shared<SimulatedPicture>();
    QTest::newRow("rows of another format, shorter than BGRA needs")
        << changed(plainPicture(Qt::blue), [](SimulatedPicture &picture) {
               picture.pixelFormat = 0x34323076; // 420v
               picture.bytesPerRow = static_cast<std::size_t>(picture.width);
               picture.bytes.resize(picture.bytesPerRow * static_cast<std::size_t>(picture.height)
                                    * 3 / 2);
           });
    QTest::newRow("one row of another format")
        << changed(plainPicture(Qt::blue, 320, 1), [](SimulatedPicture &picture) {
               picture.bytesPerRow = 320;
               picture.bytes.resize(320);
           });
}

void TestAVFoundationFrames::unreadableSamplesAreDropped()
{
    QFETCH(std::shared_ptr<SimulatedPicture>, sample);
    const LogCapture log;
    deliver(plainPicture(Qt::red));
    m_simulation.takeCalls();
    deliver(sample);
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::red));
    const QStringList calls = m_simulation.takeCalls();
    QCOMPARE(calls.filter(kUnlock).size(), calls.filter(kLock).size());
    QCOMPARE(logged(log), QStringList());
}

void TestAVFoundationFrames::failedLockIsNotUndone()
{
    m_simulation.fail(kLock, 2, -6660);
    deliver(plainPicture(Qt::red));
    deliver(plainPicture(Qt::blue));
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::red));
    const QStringList calls = m_simulation.takeCalls();
    QCOMPARE(calls.filter(kLock).size(), 2);
    QCOMPARE(calls.filter(kUnlock).size(), 1);
    QCOMPARE(calls.last(), QString("CVPixelBufferLockBaseAddress 1"));
}

void TestAVFoundationFrames::framesComeOnTheQueueInOrder()
{
    std::promise<void> firstIsUnderWay;
    std::promise<void> mayGoOn;
    int delivered = 0;
    m_simulation.onCall(kLock, [&] {
        if (delivered++ > 0)
            return;
        firstIsUnderWay.set_value();
        mayGoOn.get_future().wait();
    });
    deliverFrame(kDisplay, plainPicture(Qt::red));
    deliverFrame(kDisplay, plainPicture(Qt::green));
    deliverFrame(kDisplay, plainPicture(Qt::blue));
    firstIsUnderWay.get_future().wait();
    QVERIFY(AVCaptureNextFrame(m_record).isNull()); // and no reader waits for it
    mayGoOn.set_value();
    waitForQueues();
    QCOMPARE(AVCaptureNextFrame(m_record).pixelColor(0, 0), QColor(Qt::blue));
    QCOMPARE(delivered, 3);
}

void TestAVFoundationFrames::readersGetTheFrameThroughTheCapturer()
{
    freeAVFoundationCapture(std::exchange(m_record, nullptr));
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(kDisplay));
    m_record = runningRecords().front();
    QMetaObject::invokeMethod(&capture, "setOutputSize", Q_ARG(QSize, QSize(64, 36)));
    deliver(quarters(1920, 1080, 64));
    const cv::Mat frame = capture.nextFrame();
    QCOMPARE(frame.type(), CV_8UC4);
    QCOMPARE(QSize(frame.cols, frame.rows), QSize(64, 36));
    QCOMPARE(frame.at<cv::Vec4b>(0, 0), cv::Vec4b(200, 100, 50, 255));
    QCOMPARE(frame.at<cv::Vec4b>(35, 0), cv::Vec4b(0, 255, 0, 128));
    QCOMPARE(capture.outputSize(), QSize(1920, 1080));
}

QTEST_APPLESS_MAIN(TestAVFoundationFrames)
#include "tst_avfoundationframes.moc"
