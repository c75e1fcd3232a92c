// The lives of a capturer, of Core Audio's callbacks and of emissions end in every order.

#include "CoreAudioRoom.h"
#include "SpectraListener.h"

#include <LibCorvane/audioCapturers/CoreAudioCapture.h>
#include <LibCorvane/audioCapturers/CoreAudioSink_p.h>
#include <audioCapturers/PcmSignals.h>

#include <QFileInfo>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <future>
#include <memory>

using namespace corvane::test;

namespace {

constexpr int kRate = 44100;
constexpr int kBlockFrames = 1024; // of stereo
constexpr int kPoolThreads = 4;

QThreadPool &pool()
{
    return *QThreadPool::globalInstance();
}

QByteArray block()
{
    return stereoSine(kBlockFrames, kRate, 440, 440);
}

qint64 dumpSize()
{
    return QFileInfo("audio.pcm").size();
}

/// A block whose loudest bin is the given one, above 0.
QByteArray blockOfBin(int bin)
{
    const double hz = 2.0 * bin * kRate / 2048;
    return stereoSine(kBlockFrames, kRate, hz, hz);
}

/// Keeps the only thread of the pool busy while it lives.
class BusyPool {
public:
    BusyPool()
    {
        pool().setMaxThreadCount(1);
        pool().start([this] {
            m_isBusy.set_value();
            m_end.get_future().wait();
        });
        m_isBusy.get_future().wait();
    }
    ~BusyPool()
    {
        m_end.set_value();
        pool().waitForDone();
    }
    BusyPool(const BusyPool &) = delete;
    BusyPool &operator=(const BusyPool &) = delete;

private:
    std::promise<void> m_isBusy;
    std::promise<void> m_end;
};

std::unique_ptr<CoreAudioCapture> started()
{
    auto capture = std::make_unique<CoreAudioCapture>();
    return capture->init() ? std::move(capture) : nullptr;
}

} // namespace

class TestCoreAudioThreads : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void emissionsWaitForThePool();
    void emissionsKeepTheirOrder();
    void callbacksOfTwoUnitsMayMeet();
    void callbacksRunWhileTheCapturerGoes();
    void callbacksComeWhileTheUnitIsReleased_data();
    void callbacksComeWhileTheUnitIsReleased();
    void lateCallbackMayHaveFoundItsCapturer();
    void initReplacesTheUnitOfARunningStream();
    void queuedBlocksGoWithTheCapturer();
    void destructorWaitsForTheRunningEmission();
    void receiverMayDeleteTheCapturer();
    void queuedReceiverMayDeleteTheCapturer();
    void poolThreadMayDeleteTheCapturer();

private:
    std::unique_ptr<CoreAudioRoom> m_room;
};

void TestCoreAudioThreads::init()
{
    pool().setMaxThreadCount(kPoolThreads);
    m_room = std::make_unique<CoreAudioRoom>();
}

void TestCoreAudioThreads::cleanup()
{
    const QStringList leftovers = m_room->leftovers();
    m_room.reset();
    QCOMPARE(leftovers, QStringList());
}

void TestCoreAudioThreads::emissionsWaitForThePool()
{
    const auto capture = started();
    const SpectraListener listener(capture.get());
    {
        const BusyPool busy;
        deliver(core().callback(), {block() + block()});
        QCOMPARE(listener.blocks().size(), 0);
    }
    QCOMPARE(listener.blocks().size(), 2);
    QVERIFY(listener.threads()[0] != thread());
}

void TestCoreAudioThreads::emissionsKeepTheirOrder()
{
    constexpr int kBins = 40;
    constexpr int kRounds = 10;
    const auto capture = started();
    const SpectraListener listener(capture.get());
    std::atomic<int> inside{0};
    std::atomic<int> meetings{0};
    connect(
        capture.get(), &IAudioCapture::spectrumsChanged, this,
        [&] {
            meetings += inside++ > 0;
            std::this_thread::yield();
            --inside;
        },
        Qt::DirectConnection);
    QVector<QByteArray> sounds;
    for (int bin = 1; bin <= kBins; ++bin)
        sounds << blockOfBin(bin);
    for (int i = 0; i < kRounds * kBins; i += 2)
        deliver(core().callback(), {sounds[i % kBins], sounds[(i + 1) % kBins]});
    pool().waitForDone();
    const QVector<Block> blocks = listener.blocks();
    QCOMPARE(blocks.size(), kRounds * kBins);
    for (int i = 0; i < blocks.size(); ++i)
        QCOMPARE(loudestBin(blocks[i]), 1 + i % kBins);
    QCOMPARE(meetings.load(), 0);
}

void TestCoreAudioThreads::callbacksOfTwoUnitsMayMeet()
{
    const auto capture = started();
    const SpectraListener listener(capture.get());
    {
        const AudioStream one(core().callback(), {block()});
        const AudioStream other(core().callback(), {block()});
        one.waitFor(30);
        other.waitFor(30);
    }
    pool().waitForDone();
    QVERIFY(listener.blocks().size() >= 60);
    QCOMPARE(listener.blocks().size() * block().size(), int(dumpSize()));
}

void TestCoreAudioThreads::callbacksRunWhileTheCapturerGoes()
{
    constexpr int kRounds = 30;
    std::atomic<int> emissions{0};
    for (int round = 0; round < kRounds; ++round) {
        auto capture = started();
        connect(
            capture.get(), &IAudioCapture::spectrumsChanged, this, [&] { ++emissions; },
            Qt::DirectConnection);
        const AudioStream stream(core().callback(), {block()});
        stream.waitFor(2);
        capture.reset();
        const qint64 size = dumpSize();
        const int emitted = emissions;
        stream.waitFor(3);
        pool().waitForDone();
        QCOMPARE(dumpSize(), size);
        QCOMPARE(emissions.load(), emitted);
        QVERIFY(size >= 2 * block().size());
    }
}

void TestCoreAudioThreads::callbacksComeWhileTheUnitIsReleased_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::newRow("while it stops") << QByteArray("AudioOutputUnitStop");
    QTest::newRow("while it is uninitialised") << QByteArray("AudioUnitUninitialize");
    QTest::newRow("while it is disposed of") << QByteArray("AudioComponentInstanceDispose");
}

void TestCoreAudioThreads::callbacksComeWhileTheUnitIsReleased()
{
    QFETCH(QByteArray, function);
    auto capture = started();
    const SpectraListener listener(capture.get());
    OSStatus status = kAudio_UnimplementedError;
    // The system may wait for its callback; so does deliver().
    core().duringCall(function, [&] { status = deliver(core().callback(), {block()}); });
    capture.reset();
    pool().waitForDone();
    QCOMPARE(status, OSStatus(noErr));
    QCOMPARE(dumpSize(), qint64(0));
    QCOMPARE(listener.blocks().size(), 0);
}

void TestCoreAudioThreads::lateCallbackMayHaveFoundItsCapturer()
{
    auto capture = started();
    const SpectraListener listener(capture.get());
    // What a callback gets first, when it is then held up until the capturer is gone.
    const auto sink = corvane::CoreAudioSinks::find(capture.get());
    QVERIFY(sink);
    capture.reset();
    QByteArray bytes = block();
    const AudioBufferList buffers{1, {{2, UInt32(bytes.size()), bytes.data()}}};
    sink->take(&buffers);
    pool().waitForDone();
    QVERIFY(!QFileInfo::exists("audio.pcm"));
    QCOMPARE(listener.blocks().size(), 0);
}

void TestCoreAudioThreads::initReplacesTheUnitOfARunningStream()
{
    const auto capture = started();
    const SpectraListener listener(capture.get());
    {
        const AudioStream stream(core().callback(), {block()});
        for (int round = 0; round < 10; ++round) {
            stream.waitFor(2);
            QVERIFY(capture->init());
        }
        stream.waitFor(2);
    }
    pool().waitForDone();
    QCOMPARE(core().liveUnits(), 1);
    QVERIFY(listener.blocks().size() >= 22);
    QCOMPARE(listener.blocks().size() * block().size(), int(dumpSize()));
}

void TestCoreAudioThreads::queuedBlocksGoWithTheCapturer()
{
    auto capture = started();
    const SpectraListener listener(capture.get());
    {
        const BusyPool busy;
        deliver(core().callback(), {block() + block()});
        deliver(core().callback(), {block()});
        capture.reset(); // does not wait for the pool
    }
    QCOMPARE(listener.blocks().size(), 0);
}

void TestCoreAudioThreads::destructorWaitsForTheRunningEmission()
{
    auto capture = started();
    std::promise<void> inside;
    std::promise<void> end;
    std::atomic<int> emissions{0};
    std::atomic<bool> hasEnded{false};
    connect(
        capture.get(), &IAudioCapture::spectrumsChanged, this,
        [&] {
            if (++emissions > 1)
                return;
            inside.set_value();
            end.get_future().wait();
            hasEnded = true;
        },
        Qt::DirectConnection);
    deliver(core().callback(), {block() + block()});
    inside.get_future().wait();
    core().duringCall("AudioComponentInstanceDispose", [&] { end.set_value(); });
    capture.reset();
    QVERIFY(hasEnded);
    const int emitted = emissions;
    pool().waitForDone();
    QCOMPARE(emissions.load(), emitted);
}

void TestCoreAudioThreads::receiverMayDeleteTheCapturer()
{
    auto capture = started();
    std::atomic<int> emissions{0};
    connect(
        capture.get(), &IAudioCapture::spectrumsChanged, this,
        [&] {
            ++emissions;
            capture.reset();
        },
        Qt::DirectConnection);
    const AURenderCallbackStruct callback = core().callback();
    deliver(callback, {block() + block() + block()});
    pool().waitForDone();
    QCOMPARE(emissions.load(), 1);
    QVERIFY(!capture);
    QCOMPARE(deliver(callback, {block()}), OSStatus(noErr));
    QCOMPARE(dumpSize(), qint64(3 * block().size()));
}

void TestCoreAudioThreads::queuedReceiverMayDeleteTheCapturer()
{
    auto capture = started();
    int calls = 0;
    connect(capture.get(), &IAudioCapture::spectrumsChanged, this, [&] {
        ++calls;
        capture.reset();
    });
    const AudioStream stream(core().callback(), {block() + block()});
    QTRY_VERIFY(!capture);
    const qint64 size = dumpSize();
    stream.waitFor(2);
    QCOMPARE(dumpSize(), size);
    QVERIFY(calls >= 1);
}

void TestCoreAudioThreads::poolThreadMayDeleteTheCapturer()
{
    auto capture = started();
    const SpectraListener listener(capture.get());
    pool().setMaxThreadCount(1);
    pool().start([&] {
        deliver(core().callback(), {block() + block()}); // queued behind this very task
        capture.reset();
    });
    pool().waitForDone();
    QVERIFY(!capture);
    QCOMPARE(listener.blocks().size(), 0);
    QCOMPARE(dumpSize(), qint64(2 * block().size()));
}

QTEST_GUILESS_MAIN(TestCoreAudioThreads)
#include "tst_coreaudiothreads.moc"
