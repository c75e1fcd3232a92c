// The file of the first ten seconds. The clock is the test's own: no test waits for it.

#include "AudioCaptureFixture.h"
#include "PcmSignals.h"

#include <support/ConfigurationSupport.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>
#include <support/MediaFiles.h>
#include <support/ScriptedInput.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <csignal>

using namespace corvane::test;

namespace {

const QString kWritten = "debug|default|FFMpegAudioCapture::nextFrame|[FFMpegAudioCapture]: The "
                         "audio capture shot has been written:  %1";
constexpr int kPacketBytes = 4096;

/// What a clock that was started by the library shows; below 0 it is the real one.
qint64 shownMs = -1;

QVector<QByteArray> inPackets(const QByteArray &pcm)
{
    QVector<QByteArray> packets;
    for (int at = 0; at < pcm.size(); at += kPacketBytes)
        packets << pcm.mid(at, kPacketBytes);
    return packets;
}

} // namespace

// Stands before Qt's function.
qint64 QElapsedTimer::elapsed() const noexcept
{
    if (shownMs >= 0)
        return shownMs;
    return nextFunction<qint64(const QElapsedTimer *)>("_ZNK13QElapsedTimer7elapsedEv")(this);
}

class TestFFMpegAudioCaptureDump : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void growsByTheBytesThatAreAnalysed();
    void endsAfterTenSecondsForGood();
    void overwritesAnOlderFile();
    void isNamedByTheDevice();
    void isNotMadeAfterTenSeconds();
    void unwritableFileIsPassedOver();
    void fullDiskIsPassedOver_data();
    void fullDiskIsPassedOver();
    void isReleasedWithTheCapturer();
    void nextCaptureHasItsOwn();

private:
    void open(ListenedCapture &capture, int device);

    QByteArray m_pcm = noise<int16_t>(20 * kPacketBytes / 2, 1);
    std::unique_ptr<NestedDirectory> m_directory;
    std::unique_ptr<ScriptedInput> m_input;
};

void TestFFMpegAudioCaptureDump::init()
{
    m_directory = std::make_unique<NestedDirectory>();
    const QString path = m_directory->filePath("device.wav");
    InputScript script{writtenTo(path, wavFile(m_pcm, 1, 44100)), "wav"};
    // How long FFmpeg's own packets are depends on its version.
    script.read = reading(inPackets(m_pcm));
    m_input = std::make_unique<ScriptedInput>(std::move(script));
}

void TestFFMpegAudioCaptureDump::cleanup()
{
    shownMs = -1;
    m_input.reset();
    m_directory.reset();
}

/// Without the timer: the tests take the steps, and the clock runs.
void TestFFMpegAudioCaptureDump::open(ListenedCapture &capture, int device)
{
    QVERIFY(capture.init(device).result());
    QTRY_COMPARE(timersOf(&capture).size(), 1);
    QAbstractEventDispatcher::instance()->unregisterTimers(&capture);
    shownMs = 0;
}

void TestFFMpegAudioCaptureDump::growsByTheBytesThatAreAnalysed()
{
    const LogCapture log;
    ListenedCapture capture;
    open(capture, 0);
    // The timer may have ticked before it was stopped.
    const qint64 before = QFileInfo(m_directory->dumpPath(0)).size();
    for (int packet = 1; packet <= 6; ++packet) {
        shownMs = packet * 1000;
        QVERIFY(capture.nextFrame());
        QCOMPARE(QFileInfo(m_directory->dumpPath(0)).size(), before + packet * kPacketBytes);
        QCOMPARE(capture.blocks.size(), m_directory->dump(0).size() / kPacketBytes);
    }
    QVERIFY(m_pcm.startsWith(m_directory->dump(0)));
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureDump::endsAfterTenSecondsForGood()
{
    const LogCapture log;
    ListenedCapture capture;
    open(capture, 0);
    shownMs = 9999;
    QVERIFY(capture.nextFrame());
    const QByteArray complete = m_directory->dump(0);
    QVERIFY(complete.size() >= kPacketBytes);
    QCOMPARE(logged(log), QStringList());

    const int blocks = capture.blocks.size();
    shownMs = 10000;
    QVERIFY(capture.nextFrame());
    QCOMPARE(m_directory->dump(0), complete);
    QCOMPARE(logged(log), QStringList(kWritten.arg(0)));
    QCOMPARE(capture.blocks.size(), blocks + 1); // the sound itself goes on

    QVERIFY(QFile::remove(m_directory->dumpPath(0)));
    for (const qint64 ms : {10015, 20000, 3600000}) {
        shownMs = ms;
        QVERIFY(capture.nextFrame());
    }
    QCOMPARE(m_directory->dump(0), QByteArray("(no file)"));
    QCOMPARE(logged(log), QStringList(kWritten.arg(0)));
    QCOMPARE(capture.blocks.size(), blocks + 4);
}

void TestFFMpegAudioCaptureDump::overwritesAnOlderFile()
{
    writtenTo(m_directory->dumpPath(0), QByteArray(1000000, 'x'));
    ListenedCapture capture;
    open(capture, 0);
    QVERIFY(capture.nextFrame());
    QVERIFY(m_pcm.startsWith(m_directory->dump(0)));
}

void TestFFMpegAudioCaptureDump::isNamedByTheDevice()
{
    const LogCapture log;
    ListenedCapture capture;
    open(capture, 17);
    QVERIFY(capture.nextFrame());
    QCOMPARE(m_directory->files(), QStringList({"audioShot_17.pcm", "device.wav"}));
    shownMs = 10000;
    QVERIFY(capture.nextFrame());
    QCOMPARE(logged(log), QStringList(kWritten.arg(17)));
}

void TestFFMpegAudioCaptureDump::isNotMadeAfterTenSeconds()
{
    const LogCapture log;
    shownMs = 10000;
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(capture.blocks.size() >= 2);
    QCOMPARE(m_directory->files(), QStringList("device.wav"));
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureDump::unwritableFileIsPassedOver()
{
    QVERIFY(QDir().mkdir(m_directory->dumpPath(0))); // a folder in the file's place
    const LogCapture log;
    ListenedCapture capture;
    open(capture, 0);
    for (const qint64 ms : {1, 2, 10000, 10015}) {
        const int blocks = capture.blocks.size();
        shownMs = ms;
        QVERIFY(capture.nextFrame());
        QCOMPARE(capture.blocks.size(), blocks + 1);
    }
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureDump::fullDiskIsPassedOver_data()
{
    QTest::addColumn<int>("room");
    QTest::newRow("no byte fits") << 0;
    QTest::newRow("one byte fits") << 1;
    QTest::newRow("all but one byte of a packet fits") << kPacketBytes - 1;
    QTest::newRow("a packet fits") << kPacketBytes;
    QTest::newRow("a packet and a byte fit") << kPacketBytes + 1;
}

void TestFFMpegAudioCaptureDump::fullDiskIsPassedOver()
{
    QFETCH(int, room);
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    const LogCapture log;
    {
        const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
        ListenedCapture capture;
        open(capture, 0);
        for (const qint64 ms : {1, 2, 3, 10000, 10015}) {
            const int blocks = capture.blocks.size();
            shownMs = ms;
            QVERIFY(capture.nextFrame());
            QCOMPARE(capture.blocks.size(), blocks + 1); // the sound itself goes on
        }
    }
    QCOMPARE(m_directory->dump(0), m_pcm.left(room));
    QCOMPARE(logged(log), QStringList(kWritten.arg(0)));
}

void TestFFMpegAudioCaptureDump::isReleasedWithTheCapturer()
{
    const LogCapture log;
    const auto openFiles = [] { return QDir("/proc/self/fd").entryList(QDir::System).size(); };
    const int before = openFiles();
    {
        ListenedCapture capture;
        open(capture, 0);
        QVERIFY(capture.nextFrame());
    }
    QCOMPARE(openFiles(), before);
    QVERIFY(m_directory->dump(0).size() >= kPacketBytes);
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureDump::nextCaptureHasItsOwn()
{
    const LogCapture log;
    ListenedCapture capture;
    open(capture, 0);
    QVERIFY(capture.nextFrame());
    const QByteArray first = m_directory->dump(0);
    open(capture, 1);
    QVERIFY(capture.nextFrame());
    QCOMPARE(m_directory->dump(0), first);
    QVERIFY(m_directory->dump(1).size() >= kPacketBytes);
    QCOMPARE(logged(log), QStringList());
    QTRY_COMPARE(m_input->openInputs(), 1);
}

QTEST_GUILESS_MAIN(TestFFMpegAudioCaptureDump)
#include "tst_ffmpegaudiocapture_dump.moc"
