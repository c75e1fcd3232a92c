// A host that destroys what captures sound at any moment of the work. What is wrong here shows
// under a sanitizer at the latest.

#include "AudioCaptureFixture.h"
#include "CaptureListener.h"

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <LibCorvane/audioCapturers/QtAudioCapture.h>
#include <support/Interpose.h>
#include <support/ScriptedInput.h>
#include <support/SoundServer.h>

#include <QPointer>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <memory>
#include <random>
#include <vector>

using namespace corvane::test;

namespace {

constexpr int kTimeoutMs = 30000;
const char kTone[] = "cd.monitor";
const QByteArray kFFmpegTone = "sine=frequency=440:samples_per_frame=8192";

/// How often capturers have got sound, whether the host was told of it already or not.
std::atomic<int> writes{0};

/// A manager that ends, unlike the one that hosts share.
class OwnManager : public AudioCapManagerMac { };

} // namespace

// Stands before the library's own and passes on to it.
qint64 AudioReader::writeData(const char *data, qint64 len)
{
    ++writes;
    using Write = qint64(AudioReader *, const char *, qint64);
    return nextFunction<Write>("_ZN11AudioReader9writeDataEPKcx")(this, data, len);
}

class TestAudioDestruction : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void captureGoesWhileItStarts_data() { addSeeds(25); }
    void captureGoesWhileItStarts();
    void captureGoesWhileSoundArrives_data() { addSeeds(10); }
    void captureGoesWhileSoundArrives();
    void captureGoesWithSoundOnItsWay_data() { addSeeds(8); }
    void captureGoesWithSoundOnItsWay();
    void captureGoesInASlotOfItsSignal_data();
    void captureGoesInASlotOfItsSignal();
    void captureGoesWithItsOwner_data() { addSeeds(6); }
    void captureGoesWithItsOwner();
    void managerGoesAtAnyMoment_data() { addSeeds(12); }
    void managerGoesAtAnyMoment();
    void managerGoesInASlotOfItsCapturer();
    void ffmpegCaptureGoesAtAnyMoment_data() { addSeeds(40); }
    void ffmpegCaptureGoesAtAnyMoment();
    void ffmpegCaptureGoesInASlotOfItsSignal_data() { addSeeds(8); }
    void ffmpegCaptureGoesInASlotOfItsSignal();
    void ffmpegCaptureGoesWithItsOwner();
    void captureGoesWithTheSoundServer(); // the last one: Qt may ask for no other server

private:
    /// Whether another capturer of that device works.
    bool isHeard();

    std::unique_ptr<SoundServer> m_server;
    QAudioDeviceInfo m_device;
    std::unique_ptr<Belongings> m_belongings;
};

void TestAudioDestruction::initTestCase()
{
    m_server = std::make_unique<SoundServer>(
        QStringList{"module-null-sink sink_name=cd format=s16le channels=2 rate=44100",
                    "module-sine sink=cd frequency=440",
                    // Somebody who wants the sound at once, so that nobody waits for it.
                    "module-null-sink sink_name=drain",
                    "module-loopback source=cd.monitor sink=drain latency_msec=10"});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    for (const QAudioDeviceInfo &info : QAudioDeviceInfo::availableDevices(QAudio::AudioInput)) {
        if (info.deviceName() == kTone)
            m_device = info;
    }
    m_belongings = std::make_unique<Belongings>(); // with Qt's thread for the sound server
    QVERIFY(isHeard());
}

void TestAudioDestruction::cleanup()
{
    QThreadPool::globalInstance()->waitForDone(); // which ends its threads, too
    QTRY_VERIFY_WITH_TIMEOUT(m_belongings->areBack(), kTimeoutMs);
}

bool TestAudioDestruction::isHeard()
{
    QtAudioCapture capture;
    const CaptureListener listener(&capture);
    capture.start(m_device);
    return waitForBlocks(listener, 2);
}

void TestAudioDestruction::captureGoesWhileItStarts()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const LogCapture log;
    auto capture = std::make_unique<QtAudioCapture>();
    const CaptureListener listener(capture.get());
    for (unsigned starts = seed % 4; starts > 0; --starts) // or none
        capture->start(m_device);
    turn(int(random() % 200));
    if (seed % 5 == 0)
        capture->stop();
    capture.reset();
    QVERIFY(isSilent(log, listener));
    QCOMPARE(logged(log), QStringList());
}

void TestAudioDestruction::captureGoesWhileSoundArrives()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const LogCapture log;
    auto capture = std::make_unique<QtAudioCapture>();
    const CaptureListener listener(capture.get());
    capture->start(m_device);
    QVERIFY(waitForBlocks(listener, 1 + int(random() % 4)));
    turn(int(random() % 50));
    if (seed % 3 == 0)
        capture->stop();
    if (seed % 3 == 1)
        capture->start(m_device);
    turn(int(random() % 3));
    capture.reset();
    QVERIFY(isSilent(log, listener));
    QCOMPARE(logged(log), QStringList());
}

// The worker goes on while this thread does not look.
void TestAudioDestruction::captureGoesWithSoundOnItsWay()
{
    QFETCH(unsigned, seed);
    const LogCapture log;
    auto capture = std::make_unique<QtAudioCapture>();
    const CaptureListener listener(capture.get());
    capture->start(m_device);
    QVERIFY(waitForBlocks(listener, 1));
    const int missed = writes + 1 + int(seed);
    while (writes < missed)
        QThread::yieldCurrentThread();
    if (seed % 2 == 0)
        capture->stop();
    capture.reset();
    const int last = writes;
    QVERIFY(isSilent(log, listener));
    QCOMPARE(writes.load(), last);
    QCOMPARE(logged(log), QStringList());
}

void TestAudioDestruction::captureGoesInASlotOfItsSignal_data()
{
    QTest::addColumn<bool>("isLater");
    QTest::addColumn<bool>("isOfPeaks");
    QTest::addColumn<int>("block");
    for (const int block : {1, 2, 5}) {
        QTest::addRow("at once, in block %d", block) << false << false << block;
        QTest::addRow("later, in block %d", block) << true << false << block;
        QTest::addRow("at once, in the peaks after block %d", block) << false << true << block;
        QTest::addRow("later, in the peaks after block %d", block) << true << true << block;
    }
}

void TestAudioDestruction::captureGoesInASlotOfItsSignal()
{
    QFETCH(bool, isLater);
    QFETCH(bool, isOfPeaks);
    QFETCH(int, block);
    const LogCapture log;
    QPointer<QtAudioCapture> capture(new QtAudioCapture);
    CaptureListener listener(capture);
    const auto leave = [&] { isLater ? capture->deleteLater() : delete capture; };
    if (isOfPeaks) {
        connect(capture, &IAudioCapture::channelsPeakValuesChanged, &listener, [&] {
            if (listener.blocks >= block)
                leave();
        });
    } else {
        listener.onBlock = [&](int number) {
            if (number == block)
                leave();
        };
    }
    int atTheEnd = 0;
    connect(capture, &QObject::destroyed, this, [&] { atTheEnd = listener.blocks; });
    capture->start(m_device);
    QTRY_VERIFY_WITH_TIMEOUT(!capture, kTimeoutMs);
    QVERIFY(isSilent(log, listener));
    QVERIFY(atTheEnd >= block);
    QCOMPARE(listener.blocks, atTheEnd);
    QCOMPARE(logged(log), QStringList());
}

void TestAudioDestruction::captureGoesWithItsOwner()
{
    QFETCH(unsigned, seed);
    const LogCapture log;
    auto owner = std::make_unique<QObject>();
    auto *first = new QtAudioCapture(owner.get());
    auto *second = new QtAudioCapture(first);
    const CaptureListener listener(first);
    first->start(m_device);
    second->start(m_device);
    QVERIFY(waitForBlocks(listener, int(seed % 3)));
    turn(int(seed));
    owner.reset();
    QVERIFY(isSilent(log, listener));
    QCOMPARE(logged(log), QStringList());
    QVERIFY(seed > 1 || isHeard());
}

void TestAudioDestruction::managerGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const bool isKept = seed % 2 == 0;
    const LogCapture log;
    auto manager = std::make_unique<OwnManager>();
    QPointer<IAudioCapture> watched;
    for (unsigned users = 1 + seed % 3; users > 0; --users)
        watched = manager->acquireCapturer(kTone).data();
    QSharedPointer<IAudioCapture> kept = manager->capturer(kTone);
    const CaptureListener listener(kept.data());
    if (!isKept)
        kept.reset();
    QVERIFY(waitForBlocks(listener, int(seed % 4)));
    turn(int(random() % 50));
    if (seed % 5 == 0)
        manager->releaseCapturer(kTone);
    const int lines = log.lines().size();
    manager.reset();
    // Who keeps a capturer goes on to hear it.
    QVERIFY(!isKept || waitForBlocks(listener, listener.blocks + 2));
    kept.reset();
    turn(1);
    QVERIFY(!watched);
    QVERIFY(isSilent(log, listener));
    QCOMPARE(log.lines().size(), lines);
}

void TestAudioDestruction::managerGoesInASlotOfItsCapturer()
{
    for (const int block : {1, 2, 3}) {
        const LogCapture log;
        auto manager = std::make_unique<OwnManager>();
        const QPointer<IAudioCapture> watched(manager->acquireCapturer(kTone).data());
        CaptureListener listener(watched);
        int lines = 0;
        listener.onBlock = [&](int number) {
            if (number == block) {
                lines = log.lines().size();
                manager.reset();
            }
        };
        QTRY_VERIFY_WITH_TIMEOUT(!watched, kTimeoutMs);
        QVERIFY(isSilent(log, listener));
        QCOMPARE(log.lines().size(), lines);
        QVERIFY(listener.blocks >= block);
    }
}

void TestAudioDestruction::ffmpegCaptureGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const NestedDirectory directory;
    const ScriptedInput input({kFFmpegTone});
    const LogCapture log;
    auto capture = std::make_unique<FFMpegAudioCapture>();
    const CaptureListener listener(capture.get());
    for (unsigned openings = 1 + seed % 3; openings > 0; --openings) {
        capture->init(int(openings));
        turn(int(random() % 20));
    }
    if (seed % 4 == 0)
        QVERIFY(waitForBlocks(listener, 1 + int(random() % 9)));
    capture.reset();
    QVERIFY(isSilent(log, listener));
    QThreadPool::globalInstance()->waitForDone();
    QVERIFY(isSilent(log, listener));
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestAudioDestruction::ffmpegCaptureGoesInASlotOfItsSignal()
{
    QFETCH(unsigned, seed);
    const NestedDirectory directory;
    const ScriptedInput input({kFFmpegTone});
    const LogCapture log;
    QPointer<FFMpegAudioCapture> capture(new FFMpegAudioCapture);
    CaptureListener listener(capture);
    const int last = 1 + int(seed); // four blocks come at a time
    const bool isLater = seed % 2 == 0;
    listener.onBlock = [&](int block) {
        if (block == last)
            isLater ? capture->deleteLater() : delete capture;
    };
    capture->init(0);
    QTRY_VERIFY_WITH_TIMEOUT(!capture, kTimeoutMs);
    QVERIFY(isSilent(log, listener));
    QVERIFY(isLater ? listener.blocks < last + 4 : listener.blocks == last);
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestAudioDestruction::ffmpegCaptureGoesWithItsOwner()
{
    const NestedDirectory directory;
    const ScriptedInput input({kFFmpegTone});
    for (int i = 0; i < 10; ++i) {
        const LogCapture log;
        auto owner = std::make_unique<QObject>();
        auto *capture = new FFMpegAudioCapture(owner.get());
        const CaptureListener listener(capture);
        capture->init(0);
        QVERIFY(waitForBlocks(listener, i % 3));
        owner.reset();
        QVERIFY(isSilent(log, listener));
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(logged(log), QStringList());
    }
    QCOMPARE(input.openedInputs(), 10);
    QCOMPARE(input.openInputs(), 0);
}

// They go before the event loop turns: then Qt gives up what their threads may be using.
void TestAudioDestruction::captureGoesWithTheSoundServer()
{
    constexpr int kCaptures = 8;
    const LogCapture log;
    std::vector<std::unique_ptr<QtAudioCapture>> captures;
    std::vector<std::unique_ptr<CaptureListener>> listeners;
    for (int i = 0; i < kCaptures; ++i) {
        captures.push_back(std::make_unique<QtAudioCapture>());
        listeners.push_back(std::make_unique<CaptureListener>(captures.back().get()));
        captures.back()->start(m_device);
    }
    for (const auto &listener : listeners)
        QVERIFY(waitForBlocks(*listener, 1));
    captures.pop_back();
    m_server->crash();
    captures.front()->stop();
    captures.clear();
    for (const auto &listener : listeners)
        QVERIFY(isSilent(log, *listener));
    QCOMPARE(libraryLines(log), 0);
}

QTEST_GUILESS_MAIN(TestAudioDestruction)
#include "tst_audiodestruction.moc"
