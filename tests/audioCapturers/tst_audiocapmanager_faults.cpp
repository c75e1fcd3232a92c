// The device list, the devices' names and the capturer's start are replaced by scripted ones.

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <LibCorvane/audioCapturers/QtAudioCapture.h>
#include <support/LogCapture.h>

#include <QTest>

using namespace corvane::test;

namespace {

struct Script {
    int devices = 0;
    QString deviceName = "twin %1";
    bool startSucceeds = false;
    int starts = 0;
};

Script &script()
{
    static Script instance;
    return instance;
}

} // namespace

QList<QAudioDeviceInfo> QAudioDeviceInfo::availableDevices(QAudio::Mode)
{
    QList<QAudioDeviceInfo> devices;
    for (int i = 0; i < script().devices; ++i)
        devices.append(QAudioDeviceInfo());
    return devices;
}

QString QAudioDeviceInfo::deviceName() const
{
    return script().deviceName;
}

bool QtAudioCapture::start(const QAudioDeviceInfo &)
{
    ++script().starts;
    return script().startSucceeds;
}

/// A manager of its own, so that each case begins with an empty one.
class FreshManager : public AudioCapManagerMac { };

class TestAudioCapManagerFaults : public QObject {
    Q_OBJECT
private slots:
    void init();
    void emptyListIsAWarning();
    void deviceWithoutANameIsNone();
    void twoDevicesOfOneNameAreOneEntry();
    void failedStartGivesNullButCounts();
};

void TestAudioCapManagerFaults::init()
{
    script() = {};
}

void TestAudioCapManagerFaults::emptyListIsAWarning()
{
    const LogCapture log;
    const FreshManager manager;
    QCOMPARE(manager.allCapturers(), QStringList());
    QVERIFY(manager.defaultCapturer().isNull());
    QCOMPARE(log.messages(),
             QStringList("[AudioCapManagerMac]: Not found any audio input sources"));
    QCOMPARE(log.lines().first().type, QtWarningMsg);
    QVERIFY(log.lines().first().function.contains("AudioCapManagerMac::enumAudioDevices()"));
}

void TestAudioCapManagerFaults::deviceWithoutANameIsNone()
{
    script().devices = 1;
    script().deviceName.clear();
    const LogCapture log;
    const FreshManager manager;
    QCOMPARE(manager.allCapturers(), QStringList());
    QCOMPARE(log.messages(),
             QStringList("[AudioCapManagerMac]: Not found any audio input sources"));
}

void TestAudioCapManagerFaults::twoDevicesOfOneNameAreOneEntry()
{
    script().devices = 2;
    const LogCapture log;
    const FreshManager manager;
    QCOMPARE(manager.allCapturers(), QStringList("twin %1"));
    QCOMPARE(log.messages(QtInfoMsg).size(), 2);
}

void TestAudioCapManagerFaults::failedStartGivesNullButCounts()
{
    script().devices = 1;
    FreshManager manager;
    const QString id = manager.defaultCapturer();
    LogCapture log;
    QVERIFY(manager.acquireCapturer(id).isNull());
    QCOMPARE(
        log.messages(),
        QStringList({"[AudioCapManagerMac]: Failed to start capture audio device \"twin %1\"",
                     "[AudioCapManagerMac]: The capturer  \"twin %1\"  references count is  1"}));
    QCOMPARE(log.lines()[0].type, QtCriticalMsg);
    QVERIFY(log.lines()[0].function.contains("AudioCapManagerMac::makeCapturer("));

    // No new try before everyone has released.
    script().startSucceeds = true;
    QVERIFY(manager.acquireCapturer(id).isNull());
    QCOMPARE(script().starts, 1);
    manager.releaseCapturer(id);
    manager.releaseCapturer(id);
    QVERIFY(!log.messages().last().contains("has been released"));
    QVERIFY(manager.acquireCapturer(id));
    QCOMPARE(script().starts, 2);
    manager.releaseCapturer(id);
}

QTEST_GUILESS_MAIN(TestAudioCapManagerFaults)
#include "tst_audiocapmanager_faults.moc"
