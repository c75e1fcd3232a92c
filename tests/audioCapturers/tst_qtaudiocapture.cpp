#include <LibCorvane/audioCapturers/QtAudioCapture.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QAudioFormat>
#include <QAudioInput>
#include <QMutex>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>

using namespace corvane::test;
using Spectra = QVector<SoundChannel>;
using Peaks = QVector<QVector<QString>>;

namespace {

constexpr int kSoundTimeoutMs = 30000;

/// Where the audio input and the reader were used, noted by the functions below.
class Trace {
public:
    bool refuseToOpen = false;

    void note(const QString &call)
    {
        const QMutexLocker lock(&m_mutex);
        m_calls.insert(call);
        m_threads.insert(QThread::currentThread());
    }
    void clear()
    {
        const QMutexLocker lock(&m_mutex);
        m_calls.clear();
        m_threads.clear();
    }
    QSet<QString> calls() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_calls;
    }
    QSet<QThread *> threads() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_threads;
    }
    bool has(const QString &call) const { return calls().contains(call); }

private:
    mutable QMutex m_mutex;
    QSet<QString> m_calls;
    QSet<QThread *> m_threads;
};

Trace &trace()
{
    static Trace instance;
    return instance;
}

template <typename Result, typename... Arguments>
Result callNext(const char *symbol, Arguments... arguments)
{
    return nextFunction<Result(Arguments...)>(symbol)(arguments...);
}

} // namespace

// These stand before Qt's and the library's own functions and pass on to them.

void QAudioInput::setBufferSize(int bytes)
{
    trace().note(QString("setBufferSize %1").arg(bytes));
    trace().note(QThread::currentThread() == thread() ? "born here" : "born elsewhere");
    callNext<void, QAudioInput *, int>("_ZN11QAudioInput13setBufferSizeEi", this, bytes);
}

void QAudioInput::start(QIODevice *device)
{
    trace().note("start");
    callNext<void, QAudioInput *, QIODevice *>("_ZN11QAudioInput5startEP9QIODevice", this, device);
}

void QAudioInput::stop()
{
    trace().note("stop");
    callNext<void, QAudioInput *>("_ZN11QAudioInput4stopEv", this);
}

qint64 AudioReader::writeData(const char *data, qint64 len)
{
    trace().note("writeData");
    return callNext<qint64, AudioReader *, const char *, qint64>("_ZN11AudioReader9writeDataEPKcx",
                                                                 this, data, len);
}

bool QIODevice::open(OpenMode mode)
{
    if (trace().refuseToOpen)
        return false;
    return callNext<bool, QIODevice *, OpenMode>("_ZN9QIODevice4openE6QFlagsINS_12OpenModeFlagEE",
                                                 this, mode);
}

class TestQtAudioCapture : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void toneIsHeardInBothChannels();
    void sineSourceIsHeard();
    void everythingRunsOnTheWorker();
    void signalsReachTheOwnersThread();
    void stoppedCapturerIsSilent();
    void restartWithoutEventLoopKeepsTheNewReader();
    void startReplacesARunningRecording();
    void stopMayBeCalledAnyTime();
    void deviceOf24BitsIsRefused();
    void noDeviceIsRefused();
    void readerThatDoesNotOpenIsReported();
    void destructionStopsARunningRecording();
    void destructionMayComeBeforeTheFirstSound();
    void connectionsDecideWhetherItIsEmpty();

private:
    QAudioDeviceInfo device(const QString &name) const;

    std::unique_ptr<SoundServer> m_server;
    std::unique_ptr<LogCapture> m_log;
};

void TestQtAudioCapture::initTestCase()
{
    m_server = std::make_unique<SoundServer>(
        QStringList{"module-null-sink sink_name=cd format=s16le channels=2 rate=44100",
                    "module-sine sink=cd frequency=440",
                    "module-null-sink sink_name=studio format=s24le channels=2 rate=48000",
                    "module-sine-source source_name=tone rate=44100 frequency=440"});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    QVERIFY(!device("cd.monitor").isNull());
    QVERIFY(!device("tone").isNull());
}

void TestQtAudioCapture::init()
{
    trace().clear();
    m_log = std::make_unique<LogCapture>();
}

void TestQtAudioCapture::cleanup()
{
    trace().refuseToOpen = false;
    // Qt warns when timers or objects are used across threads.
    const QStringList warnings = m_log->messages(QtWarningMsg);
    m_log.reset();
    QCOMPARE(warnings, QStringList());
}

QAudioDeviceInfo TestQtAudioCapture::device(const QString &name) const
{
    for (const QAudioDeviceInfo &info : QAudioDeviceInfo::availableDevices(QAudio::AudioInput)) {
        if (info.deviceName() == name)
            return info;
    }
    return {};
}

void TestQtAudioCapture::toneIsHeardInBothChannels()
{
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    const QSignalSpy peaks(&capture, &IAudioCapture::channelsPeakValuesChanged);
    QVERIFY(capture.start(device("cd.monitor")));
    // The sink may begin with a moment of silence.
    const auto loudest = [&](int channel) {
        const auto block = spectra.last()[0].value<Spectra>();
        int best = 0;
        for (int i = 0; i < block[channel].spectrums.size(); ++i) {
            if (block[channel].spectrums[i].amplitude > block[channel].spectrums[best].amplitude)
                best = i;
        }
        return best;
    };
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 5 && loudest(0) == 20, kSoundTimeoutMs);
    QCOMPARE(loudest(1), 20); // 440 ÷ 44100 · 2048 = 20.4
    QVERIFY(peaks.size() >= spectra.size());
    int pairs = 0;
    for (const QList<QVariant> &emission : peaks) {
        for (const QVector<QString> &pair : emission[0].value<Peaks>()) {
            QCOMPARE(pair.size(), 2);
            ++pairs;
        }
    }
    QCOMPARE(pairs, 2 * spectra.size());
}

void TestQtAudioCapture::sineSourceIsHeard()
{
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    QVERIFY(capture.start(device("tone")));
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 1, kSoundTimeoutMs);
    const auto block = spectra.last()[0].value<Spectra>();
    QVERIFY(block[0].spectrums[20].amplitude > block[0].spectrums[10].amplitude);
    QVERIFY(block[0].spectrums[20].amplitude > block[0].spectrums[30].amplitude);
}

void TestQtAudioCapture::everythingRunsOnTheWorker()
{
    {
        QtAudioCapture capture;
        const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
        capture.start(device("cd.monitor"));
        QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 0, kSoundTimeoutMs);
        capture.stop();
    }
    QCOMPARE(trace().calls(),
             (QSet<QString>{"setBufferSize 2048", "born here", "start", "stop", "writeData"}));
    QCOMPARE(trace().threads().size(), 1);
    QVERIFY(!trace().threads().contains(QThread::currentThread()));
}

void TestQtAudioCapture::signalsReachTheOwnersThread()
{
    QThread owner;
    owner.start();
    QObject context;
    context.moveToThread(&owner);
    QAtomicInteger<int> blocks = 0;
    QAtomicInteger<int> strayed = 0;
    std::unique_ptr<QtAudioCapture> capture;
    QMetaObject::invokeMethod(
        &context,
        [&] {
            capture = std::make_unique<QtAudioCapture>();
            connect(
                capture.get(), &IAudioCapture::spectrumsChanged, &context,
                [&] {
                    ++blocks;
                    strayed += QThread::currentThread() == &owner ? 0 : 1;
                },
                Qt::DirectConnection);
            capture->start(device("cd.monitor"));
        },
        Qt::BlockingQueuedConnection);
    QTRY_VERIFY_WITH_TIMEOUT(blocks.loadAcquire() > 2, kSoundTimeoutMs);
    QMetaObject::invokeMethod(
        &context, [&] { capture.reset(); }, Qt::BlockingQueuedConnection);
    owner.quit();
    QVERIFY(owner.wait());
    QCOMPARE(strayed.loadAcquire(), 0);
}

void TestQtAudioCapture::stoppedCapturerIsSilent()
{
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    const QSignalSpy peaks(&capture, &IAudioCapture::channelsPeakValuesChanged);
    capture.start(device("cd.monitor"));
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 0, kSoundTimeoutMs);
    trace().clear();
    // The worker goes on while this thread does not look: what it sent is on its way.
    while (!trace().has("writeData"))
        QThread::yieldCurrentThread();
    capture.stop();
    const int before = spectra.size();
    const int peaksBefore = peaks.size();
    trace().clear();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(spectra.size(), before);
    QCOMPARE(peaks.size(), peaksBefore);
    QVERIFY(!trace().has("writeData"));
}

void TestQtAudioCapture::restartWithoutEventLoopKeepsTheNewReader()
{
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    capture.start(device("cd.monitor"));
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 0, kSoundTimeoutMs);
    for (int i = 0; i < 3; ++i) {
        capture.stop();
        capture.start();
    }
    QCoreApplication::processEvents();
    const int before = spectra.size();
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > before + 5, kSoundTimeoutMs);
}

void TestQtAudioCapture::startReplacesARunningRecording()
{
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    capture.start(device("tone"));
    QVERIFY(!trace().has("stop"));
    capture.start(device("cd.monitor"));
    QVERIFY(trace().has("stop"));
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 5, kSoundTimeoutMs);
}

void TestQtAudioCapture::stopMayBeCalledAnyTime()
{
    QtAudioCapture capture;
    capture.stop();
    capture.start(device("cd.monitor"));
    capture.stop();
    capture.stop();
    QCOMPARE(m_log->messages(), QStringList());
}

void TestQtAudioCapture::deviceOf24BitsIsRefused()
{
    const QAudioDeviceInfo studio = device("studio.monitor");
    QCOMPARE(studio.preferredFormat().sampleSize(), 24);
    QtAudioCapture capture;
    const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
    QVERIFY(capture.start(studio));
    QCOMPARE(m_log->messages(QtCriticalMsg),
             QStringList("[QtAudioCapture]: Unknown sample format"));
    QCOMPARE(m_log->lines().first().category, QString("default"));
    QVERIFY(m_log->lines().first().function.contains("QtAudioCapture::start()"));
    QVERIFY(!trace().has("start"));
    QVERIFY(trace().has("born here")); // the input is there, as after a good start
    capture.stop();
    QVERIFY(trace().has("stop"));
    QVERIFY(capture.start(device("cd.monitor")));
    QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 0, kSoundTimeoutMs);
}

void TestQtAudioCapture::noDeviceIsRefused()
{
    QtAudioCapture capture;
    capture.start();
    QVERIFY(capture.start(QAudioDeviceInfo()));
    QCOMPARE(m_log->messages(QtCriticalMsg),
             QStringList({"[QtAudioCapture]: Unknown sample format",
                          "[QtAudioCapture]: Unknown sample format"}));
}

void TestQtAudioCapture::readerThatDoesNotOpenIsReported()
{
    QtAudioCapture capture;
    trace().refuseToOpen = true;
    QVERIFY(capture.start(device("cd.monitor")));
    trace().refuseToOpen = false;
    QCOMPARE(m_log->messages(QtCriticalMsg),
             QStringList("[QtAudioCapture]: Failed to open the QtAudioReader instance"));
    QVERIFY(m_log->lines().first().function.contains("QtAudioCapture::start()"));
    QVERIFY(!trace().has("start"));
}

void TestQtAudioCapture::destructionStopsARunningRecording()
{
    {
        QtAudioCapture capture;
        const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
        capture.start(device("cd.monitor"));
        QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 0, kSoundTimeoutMs);
    }
    QVERIFY(trace().has("stop"));
    trace().clear();
    QCoreApplication::processEvents();
    QVERIFY(trace().calls().isEmpty());
}

void TestQtAudioCapture::destructionMayComeBeforeTheFirstSound()
{
    for (int turns = 0; turns < 12; ++turns) {
        trace().clear();
        auto capture = std::make_unique<QtAudioCapture>();
        capture->start(device("cd.monitor"));
        for (int i = 0; i < turns; ++i)
            QCoreApplication::processEvents();
        capture.reset();
        QVERIFY(trace().has("stop"));
    }
}

void TestQtAudioCapture::connectionsDecideWhetherItIsEmpty()
{
    QtAudioCapture capture;
    QVERIFY(capture.isEmptyConnection());
    {
        const QSignalSpy peaks(&capture, &IAudioCapture::channelsPeakValuesChanged);
        QVERIFY(capture.isEmptyConnection());
        const QSignalSpy spectra(&capture, &IAudioCapture::spectrumsChanged);
        QVERIFY(!capture.isEmptyConnection());
    }
    QVERIFY(capture.isEmptyConnection());
}

QTEST_GUILESS_MAIN(TestQtAudioCapture)
#include "tst_qtaudiocapture.moc"
