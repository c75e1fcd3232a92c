#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using namespace corvane::test;

class TestSoundServerLoss : public QObject {
    Q_OBJECT
private slots:
    void serverThatDiesInMidCaptureHarmsNobody();
};

void TestSoundServerLoss::serverThatDiesInMidCaptureHarmsNobody()
{
    SoundServer server({"module-null-sink sink_name=cd format=s16le channels=2 rate=44100",
                        "module-sine sink=cd frequency=440"});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    AudioCapManagerMac *manager = AudioCapManagerMac::instance();
    const QString id = "cd.monitor";
    QPointer<IAudioCapture> watched;
    {
        const auto capturer = manager->acquireCapturer(id);
        watched = capturer.data();
        const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
        QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 3, 30000);
        server.crash();
        // The host's loop goes on turning; the stream runs dry.
        int heard = -1;
        QTRY_VERIFY_WITH_TIMEOUT(std::exchange(heard, spectra.size()) == spectra.size(), 30000);
    }
    manager->releaseCapturer(id);
    QTRY_VERIFY_WITH_TIMEOUT(!watched, 30000);

    // Without a server the device is still listed; it stays silent.
    const auto again = manager->acquireCapturer(id);
    QVERIFY(again);
    manager->releaseCapturer(id);
}

QTEST_GUILESS_MAIN(TestSoundServerLoss)
#include "tst_soundserverloss.moc"
