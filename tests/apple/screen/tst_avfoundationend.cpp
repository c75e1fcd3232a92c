// Frames that arrive while their record is being freed, and later.

#include "TestPictures.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <QTest>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

using namespace corvane::test;

namespace {

constexpr unsigned int kDisplay = 5;
const char *const kLock = "CVPixelBufferLockBaseAddress";
const char *const kUnlock = "CVPixelBufferUnlockBaseAddress";
const char *const kStop = "-[AVCaptureSession stopRunning]";

/// Delivers frames as fast as they are taken while it lives.
class Deliveries {
public:
    Deliveries()
        : m_thread([this] {
            const auto picture = plainPicture(Qt::red, 40, 30);
            int rounds = 0;
            while (!m_ended) {
                m_count += deliverFrame(kDisplay, picture);
                deliverLateFrame(picture);
                if (++rounds % 4 == 0) // several wait in a queue at a time
                    waitForQueues();
            }
        })
    {
    }
    ~Deliveries()
    {
        m_ended = true;
        m_thread.join();
    }

    int count() const { return m_count; }

private:
    std::atomic<bool> m_ended{false};
    std::atomic<int> m_count{0};
    std::thread m_thread; // the last member: it uses the others
};

} // namespace

class TestAVFoundationEnd : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void endWaitsForTheFrameUnderWay();
    void endWaitsForFramesInTheQueue();
    void framesOfTheLastMomentAreTaken_data();
    void framesOfTheLastMomentAreTaken();
    void framesAfterTheEndAreDropped();
    void recordsComeAndGoUnderFrames();
    void readersAndFramesShareARecord();

private:
    Simulation &m_simulation = Simulation::instance();
};

void TestAVFoundationEnd::init()
{
    m_simulation.reset();
    m_simulation.attachDisplay(kDisplay, {0, 0, 1920, 1080});
}

void TestAVFoundationEnd::cleanup()
{
    waitForQueues();
    forgetFormerDelegates();
    const QMap<QString, int> none;
    QCOMPARE(liveObjects(), none);
}

void TestAVFoundationEnd::endWaitsForTheFrameUnderWay()
{
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
    std::promise<void> isUnderWay;
    std::promise<void> isEnding;
    m_simulation.onCall(kLock, [&] {
        isUnderWay.set_value();
        isEnding.get_future().wait();
    });
    m_simulation.onCall("dispatch_sync", [&] { isEnding.set_value(); });
    deliverFrame(kDisplay, plainPicture(Qt::red));
    isUnderWay.get_future().wait();
    m_simulation.takeCalls();
    freeAVFoundationCapture(record);
    const QStringList calls = m_simulation.takeCalls();
    QCOMPARE(calls.first(), QString(kStop));
    QCOMPARE(calls.last(), QString("CVPixelBufferUnlockBaseAddress 1"));
}

void TestAVFoundationEnd::endWaitsForFramesInTheQueue()
{
    constexpr int kFrames = 5;
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
    std::promise<void> isEnding;
    const auto ending = isEnding.get_future().share();
    m_simulation.onCall(kLock, [ending] { ending.wait(); });
    m_simulation.onCall("dispatch_sync", [&] { isEnding.set_value(); });
    for (int i = 0; i < kFrames; ++i)
        deliverFrame(kDisplay, plainPicture(Qt::red));
    freeAVFoundationCapture(record);
    QCOMPARE(m_simulation.takeCalls().filter(kUnlock).size(), kFrames);
}

void TestAVFoundationEnd::framesOfTheLastMomentAreTaken_data()
{
    QTest::addColumn<QString>("moment");
    QTest::newRow("while the session is being stopped") << kStop;
    QTest::newRow("after the delegate was taken away") << "dispatch_sync";
}

void TestAVFoundationEnd::framesOfTheLastMomentAreTaken()
{
    QFETCH(QString, moment);
    m_simulation.keepFormerDelegates(true);
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
    int receivers = 0;
    m_simulation.onCall(moment, [&] {
        const auto picture = plainPicture(Qt::red);
        receivers += deliverFrame(kDisplay, picture) + deliverLateFrame(picture);
    });
    m_simulation.takeCalls();
    freeAVFoundationCapture(record);
    waitForQueues();
    QCOMPARE(receivers, 1);
    QCOMPARE(m_simulation.takeCalls().filter(kUnlock).size(), 1);
}

void TestAVFoundationEnd::framesAfterTheEndAreDropped()
{
    m_simulation.keepFormerDelegates(true);
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
    freeAVFoundationCapture(record);
    m_simulation.takeCalls();
    QCOMPARE(deliverFrame(kDisplay, plainPicture(Qt::red)), 0);
    QCOMPARE(deliverLateFrame(plainPicture(Qt::red)), 1);
    waitForQueues();
    QCOMPARE(m_simulation.takeCalls(), QStringList());
}

void TestAVFoundationEnd::recordsComeAndGoUnderFrames()
{
    constexpr int kRecords = 60;
    m_simulation.keepFormerDelegates(true);
    int seen = 0;
    const Deliveries deliveries;
    for (int i = 0; i < kRecords; ++i) {
        AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
        if (i % 2 == 0) {
            while (AVCaptureNextFrame(record).isNull())
                std::this_thread::yield();
            ++seen;
        }
        freeAVFoundationCapture(record);
        if (i % 10 == 9)
            forgetFormerDelegates();
    }
    QCOMPARE(seen, kRecords / 2);
    QVERIFY(deliveries.count() >= seen);
}

void TestAVFoundationEnd::readersAndFramesShareARecord()
{
    constexpr int kReaders = 3;
    constexpr int kReads = 300;
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kDisplay);
    std::atomic<int> wrong{0};
    {
        const Deliveries deliveries;
        while (AVCaptureNextFrame(record).isNull())
            std::this_thread::yield();
        std::vector<std::thread> readers;
        for (int i = 0; i < kReaders; ++i) {
            readers.emplace_back([&, i] {
                for (int read = 0; read < kReads; ++read) {
                    AVCaptureSetOutputSize(record, QSize(30 + i, 20 + i));
                    const QColor seen = AVCaptureNextFrame(record).pixelColor(10, 10);
                    wrong += seen == QColor(Qt::red) ? 0 : 1;
                    wrong += AVCaptureOriginSize(record) == QSize(1920, 1080) ? 0 : 1;
                }
            });
        }
        for (std::thread &reader : readers)
            reader.join();
    }
    freeAVFoundationCapture(record);
    QCOMPARE(wrong.load(), 0);
}

QTEST_GUILESS_MAIN(TestAVFoundationEnd)
#include "tst_avfoundationend.moc"
