#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QTest>

using namespace corvane::test;

class TestAudioCapManagerNoDevices : public QObject {
    Q_OBJECT
private slots:
    void withoutSoundServerThereAreNoDevices();
};

void TestAudioCapManagerNoDevices::withoutSoundServerThereAreNoDevices()
{
    SoundServer server({});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.crash();

    const LogCapture log;
    const AudioCapManagerMac *manager = AudioCapManagerMac::instance();
    QCOMPARE(manager->allCapturers(), QStringList());
    QVERIFY(manager->defaultCapturer().isNull());
    QVERIFY(log.messages(QtWarningMsg)
                .contains("[AudioCapManagerMac]: Not found any audio input sources"));
    QCOMPARE(log.messages(QtCriticalMsg), QStringList());
}

QTEST_GUILESS_MAIN(TestAudioCapManagerNoDevices)
#include "tst_audiocapmanager_nodevices.moc"
