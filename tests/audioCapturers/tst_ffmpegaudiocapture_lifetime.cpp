// The capturer ends, or begins anew, while a device is being opened or in the middle of a frame.

#include "AudioCaptureFixture.h"

#include <support/LogCapture.h>
#include <support/ScriptedInput.h>

#include <QPointer>
#include <QTest>
#include <QThreadPool>

#include <condition_variable>
#include <mutex>

using namespace corvane::test;

namespace {

const QByteArray kSine = "sine=frequency=440:samples_per_frame=8192";

/// Holds the opening thread until it is let go.
class Gate {
public:
    void pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isReached = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_isOpen; });
    }
    void waitUntilReached()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isReached; });
    }
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isReached = false;
    bool m_isOpen = false;
};

void settlePool()
{
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestFFMpegAudioCaptureLifetime : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void destroyedWhileTheDeviceIsBeingOpened();
    void destroyedWhileAFailingDeviceIsBeingOpened();
    void destroyedBeforeTheEventLoopTellsOfTheDevice();
    void destroyedRightAfterTheStart();
    void destroyedInASlotOfItsOwnSignal();
    void destroyedInASlotWhileTheTimerTicks();
    void anotherDeviceTakesThePlaceOfTheFirst();
    void anotherDeviceWhileTheFirstIsBeingOpened();
    void failingDeviceEndsTheFirst();
    void anotherDeviceInASlotOfItsOwnSignal();
    void nothingIsReadWhileTheDeviceIsBeingOpened();

private:
    std::unique_ptr<NestedDirectory> m_directory;
};

void TestFFMpegAudioCaptureLifetime::init()
{
    m_directory = std::make_unique<NestedDirectory>();
}

void TestFFMpegAudioCaptureLifetime::cleanup()
{
    settlePool();
    m_directory.reset();
}

void TestFFMpegAudioCaptureLifetime::destroyedWhileTheDeviceIsBeingOpened()
{
    Gate gate;
    InputScript script{kSine};
    script.whileOpening = [&gate] { gate.pass(); };
    const ScriptedInput input(script);
    const LogCapture log;
    auto capture = std::make_unique<ListenedCapture>();
    const QFuture<bool> future = capture->init(0);
    gate.waitUntilReached();
    capture.reset(); // does not wait
    QVERIFY(!future.isFinished());
    gate.open();
    settlePool();
    QVERIFY(future.result());
    QCOMPARE(input.openedInputs(), 1);
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureLifetime::destroyedWhileAFailingDeviceIsBeingOpened()
{
    Gate gate;
    InputScript script{kSine};
    script.whileOpening = [&gate] { gate.pass(); };
    script.openError = -1;
    const ScriptedInput input(script);
    const LogCapture log;
    auto capture = std::make_unique<ListenedCapture>();
    const QFuture<bool> future = capture->init(0);
    gate.waitUntilReached();
    capture.reset();
    gate.open();
    settlePool();
    QVERIFY(!future.result());
    QCOMPARE(log.messages().size(), 1);
}

void TestFFMpegAudioCaptureLifetime::destroyedBeforeTheEventLoopTellsOfTheDevice()
{
    const ScriptedInput input({kSine});
    auto capture = std::make_unique<ListenedCapture>();
    QVERIFY(capture->init(0).result());
    QCOMPARE(input.openInputs(), 1);
    capture.reset();
    settlePool();
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegAudioCaptureLifetime::destroyedRightAfterTheStart()
{
    const ScriptedInput input({kSine});
    for (int i = 0; i < 50; ++i) {
        ListenedCapture capture;
        capture.init(i);
    }
    settlePool();
    QCOMPARE(input.openedInputs(), 50);
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegAudioCaptureLifetime::destroyedInASlotOfItsOwnSignal()
{
    const ScriptedInput input({kSine});
    auto *capture = new FFMpegAudioCapture;
    const QPointer<FFMpegAudioCapture> exists = capture;
    int blocks = 0;
    connect(capture, &IAudioCapture::spectrumsChanged, this, [&] {
        ++blocks;
        delete capture;
    });
    QVERIFY(capture->init(0).result());
    QVERIFY(capture->nextFrame()); // four blocks in one packet
    QVERIFY(!exists);
    QCOMPARE(blocks, 1);
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegAudioCaptureLifetime::destroyedInASlotWhileTheTimerTicks()
{
    const ScriptedInput input({kSine});
    const LogCapture log;
    auto *capture = new FFMpegAudioCapture;
    const QPointer<FFMpegAudioCapture> exists = capture;
    connect(capture, &IAudioCapture::spectrumsChanged, this, [capture] { delete capture; });
    QVERIFY(capture->init(0).result());
    QTRY_VERIFY(!exists);
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureLifetime::anotherDeviceTakesThePlaceOfTheFirst()
{
    const ScriptedInput input({kSine});
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(!capture.blocks.isEmpty());
    QVERIFY(capture.init(1).result());
    QCOMPARE(input.deviceName(), QString(":1"));
    QCOMPARE(input.openInputs(), 1);
    QVERIFY(timersOf(&capture).isEmpty());
    capture.blocks.clear();
    QTRY_VERIFY(!capture.blocks.isEmpty());
    QCOMPARE(timersOf(&capture).size(), 1);
}

void TestFFMpegAudioCaptureLifetime::anotherDeviceWhileTheFirstIsBeingOpened()
{
    Gate gate;
    std::once_flag once;
    InputScript script{kSine};
    script.whileOpening = [&] { std::call_once(once, [&gate] { gate.pass(); }); };
    const ScriptedInput input(script);
    ListenedCapture capture;
    const QFuture<bool> first = capture.init(0);
    gate.waitUntilReached();
    const QFuture<bool> second = capture.init(1);
    gate.open();
    QVERIFY(first.result());
    QVERIFY(second.result());
    settlePool();
    QCOMPARE(input.openedInputs(), 2);
    QCOMPARE(input.openInputs(), 1);
    QTRY_VERIFY(!capture.blocks.isEmpty());
    QCOMPARE(timersOf(&capture).size(), 1);
    QVERIFY(m_directory->files().contains("audioShot_1.pcm"));
    QVERIFY(!m_directory->files().contains("audioShot_0.pcm"));
}

void TestFFMpegAudioCaptureLifetime::failingDeviceEndsTheFirst()
{
    ScriptedInput input({kSine});
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(!capture.blocks.isEmpty());
    input.fail("av_find_best_stream", -1);
    QVERIFY(!capture.init(1).result());
    settlePool();
    QVERIFY(timersOf(&capture).isEmpty());
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(log.messages().size(), 1);
}

void TestFFMpegAudioCaptureLifetime::anotherDeviceInASlotOfItsOwnSignal()
{
    const ScriptedInput input({kSine});
    FFMpegAudioCapture capture;
    int blocks = 0;
    const auto connection = connect(&capture, &IAudioCapture::spectrumsChanged, this, [&] {
        if (++blocks == 1)
            capture.init(1);
    });
    QVERIFY(capture.init(0).result());
    QVERIFY(capture.nextFrame());
    QCOMPARE(blocks, 1); // the rest of the first device's packet is dropped
    QTRY_VERIFY(blocks > 4);
    disconnect(connection);
    QCOMPARE(input.openedInputs(), 2);
    QCOMPARE(input.openInputs(), 1);
}

void TestFFMpegAudioCaptureLifetime::nothingIsReadWhileTheDeviceIsBeingOpened()
{
    Gate gate;
    InputScript script{kSine};
    script.whileOpening = [&gate] { gate.pass(); };
    const ScriptedInput input(script);
    ListenedCapture capture;
    const QFuture<bool> future = capture.init(0);
    gate.waitUntilReached();
    QVERIFY(capture.nextFrame());
    QVERIFY(!input.calls().contains("av_read_frame"));
    gate.open();
    QVERIFY(future.result());
    QVERIFY(capture.nextFrame());
    QCOMPARE(capture.blocks.size(), 4);
}

QTEST_GUILESS_MAIN(TestFFMpegAudioCaptureLifetime)
#include "tst_ffmpegaudiocapture_lifetime.moc"
