#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <memory>
#include <utility>

using namespace corvane::test;

namespace {

const QStringList kDevices{"module-null-sink sink_name=cd format=s16le channels=2 rate=44100",
                           "module-sine sink=cd frequency=440"};
const QString kId = "cd.monitor";

/// Whether a user who comes now hears something.
bool isHeard(int timeoutMs)
{
    AudioCapManagerMac *manager = AudioCapManagerMac::instance();
    bool isHeard = false;
    {
        const auto capturer = manager->acquireCapturer(kId);
        const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
        isHeard = QTest::qWaitFor([&spectra] { return spectra.size() > 3; }, timeoutMs);
    }
    manager->releaseCapturer(kId);
    return isHeard;
}

} // namespace

class TestSoundServerLoss : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void serverThatComesBackIsHeardByTheNextUser();
    void serverThatDiesInMidCaptureHarmsNobody(); // the last one: Qt may ask for no other server

private:
    std::unique_ptr<SoundServer> m_server;
};

void TestSoundServerLoss::initTestCase()
{
    m_server = std::make_unique<SoundServer>(kDevices);
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
}

// Qt asks for the new server some seconds after it has lost the old one.
void TestSoundServerLoss::serverThatComesBackIsHeardByTheNextUser()
{
    {
        const auto capturer = AudioCapManagerMac::instance()->acquireCapturer(kId);
        const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
        QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 3, 30000);
        m_server->crash();
        QVERIFY2(m_server->restart(), qPrintable(m_server->log()));
    }
    AudioCapManagerMac::instance()->releaseCapturer(kId);
    QTRY_VERIFY_WITH_TIMEOUT(isHeard(8000), 60000);
}

void TestSoundServerLoss::serverThatDiesInMidCaptureHarmsNobody()
{
    AudioCapManagerMac *manager = AudioCapManagerMac::instance();
    QPointer<IAudioCapture> watched;
    {
        const auto capturer = manager->acquireCapturer(kId);
        watched = capturer.data();
        const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
        QTRY_VERIFY_WITH_TIMEOUT(spectra.size() > 3, 30000);
        m_server->crash();
        // The host's loop goes on turning; the stream runs dry.
        int heard = -1;
        QTRY_VERIFY_WITH_TIMEOUT(std::exchange(heard, spectra.size()) == spectra.size(), 30000);
    }
    manager->releaseCapturer(kId);
    QTRY_VERIFY_WITH_TIMEOUT(!watched, 30000);

    // Without a server the device is still listed; it stays silent.
    const auto again = manager->acquireCapturer(kId);
    QVERIFY(again);
    manager->releaseCapturer(kId);
}

QTEST_GUILESS_MAIN(TestSoundServerLoss)
#include "tst_soundserverloss.moc"
