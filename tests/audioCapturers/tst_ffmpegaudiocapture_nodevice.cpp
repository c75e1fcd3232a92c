// The real FFmpeg of a system whose FFmpeg has no "avfoundation" input.

#include "AudioCaptureFixture.h"

#include <support/LogCapture.h>
#include <support/MediaFiles.h>

#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

using namespace corvane::test;

namespace {

const QString kNoDevice = "critical|default|FFMpegAudioCapture::init|[FFMpegAudioCapture]: "
                          "Failed to open avfoundation device";

} // namespace

class TestFFMpegAudioCaptureNoDevice : public QObject {
    Q_OBJECT
private slots:
    void missingDeviceIsReportedAndNothingStarts();
    void fileOfTheDevicesNameIsNotOpened();
    void capturerWithoutDeviceHasNoFrames();
    void failedOpeningMayBeRepeated();
};

void TestFFMpegAudioCaptureNoDevice::missingDeviceIsReportedAndNothingStarts()
{
    const NestedDirectory directory;
    const LogCapture log;
    ListenedCapture capture;
    QFutureWatcher<bool> watcher;
    const QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
    const QFuture<bool> future = capture.init(0);
    watcher.setFuture(future);
    QTRY_COMPARE(finished.size(), 1);
    QCoreApplication::sendPostedEvents();

    QVERIFY(!future.result());
    QCOMPARE(logged(log), QStringList(kNoDevice));
    QVERIFY(timersOf(&capture).isEmpty());
    QCOMPARE(directory.files(), QStringList());
}

void TestFFMpegAudioCaptureNoDevice::fileOfTheDevicesNameIsNotOpened()
{
    const NestedDirectory directory;
    const LogCapture log;
    writtenTo(QDir::current().filePath("./:0"), wavFile(QByteArray(100000, 0), 2, 44100));
    ListenedCapture capture;
    QVERIFY(!capture.init(0).result());
    QVERIFY(capture.nextFrame());
    QCOMPARE(logged(log), QStringList(kNoDevice));
    QCOMPARE(directory.files(), QStringList());
}

void TestFFMpegAudioCaptureNoDevice::capturerWithoutDeviceHasNoFrames()
{
    const NestedDirectory directory;
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(capture.nextFrame());
    capture.init(1).waitForFinished();
    QVERIFY(capture.nextFrame());
    QCOMPARE(logged(log), QStringList(kNoDevice));
    QCOMPARE(capture.blocks.size(), 0);
    QCOMPARE(directory.files(), QStringList());
}

void TestFFMpegAudioCaptureNoDevice::failedOpeningMayBeRepeated()
{
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(!capture.init(0).result());
    QVERIFY(!capture.init(-1).result());
    QCOMPARE(logged(log), QStringList({kNoDevice, kNoDevice}));
    QVERIFY(timersOf(&capture).isEmpty());
}

QTEST_GUILESS_MAIN(TestFFMpegAudioCaptureNoDevice)
#include "tst_ffmpegaudiocapture_nodevice.moc"
