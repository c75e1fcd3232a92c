#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QDir>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <private/qhooks_p.h>

#include <algorithm>
#include <atomic>
#include <memory>

using namespace corvane::test;

namespace {

constexpr int kSoundTimeoutMs = 30000;
const char kTone[] = "cd.monitor";

// ALSA devices, unlike PulseAudio's, may have any name.
const char kAlsaDevices[] = R"(
pcm."two words" { type null hint { show on description "Blank" } }
pcm."Küche" { type null hint { show on description "Letter" } }
pcm."load %1 of %2" { type null hint { show on description "Marks" } }
defaults.namehint.showall off
defaults.namehint.basic on
defaults.namehint.extended off
)";

std::atomic<int> livingObjects{0};

int entries(const QString &directory)
{
    return QDir(directory)
        .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
        .size();
}

void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

QString reference(const QString &id, int count)
{
    return QString("[AudioCapManagerMac]: The capturer  \"%1\"  references count is  %2")
        .arg(id)
        .arg(count);
}

/// A manager of its own with what subclasses may call.
class OpenManager : public AudioCapManagerMac {
public:
    using AudioCapManagerMac::makeCapturer;
};

} // namespace

class TestAudioCapManager : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void devicesAreListedInOrder();
    void enumerationIsLoggedAndSignalled();
    void instanceIsOne();
    void unknownIdIsAnsweredWithNothing();
    void unknownIdIsNotMade();
    void usersAreCounted();
    void releasingTooOftenStaysAtZero();
    void capturerIsMadeAnewAfterTheLastRelease();
    void toneArrives();
    void namesMayHoldAnything_data();
    void namesMayHoldAnything();
    void releaseInASlotOfItsOwnSignal();
    void hundredCyclesLeaveNothingBehind();
    void deviceListOfOneNameKeepsOneDevice();

private:
    QString idLike(const QString &part) const;

    std::unique_ptr<SoundServer> m_server;
    AudioCapManagerMac *m_manager = nullptr;
};

void TestAudioCapManager::initTestCase()
{
    m_server = std::make_unique<SoundServer>(
        QStringList{"module-null-sink sink_name=cd format=s16le channels=2 rate=44100",
                    "module-sine sink=cd frequency=440",
                    "module-sine-source source_name=a-source rate=44100 frequency=440"},
        QString::fromUtf8(kAlsaDevices));
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_manager = AudioCapManagerMac::instance();
}

void TestAudioCapManager::init()
{
    settle();
    for (const QString &id : m_manager->allCapturers())
        QVERIFY(m_manager->capturer(id).isNull());
}

QString TestAudioCapManager::idLike(const QString &part) const
{
    const QStringList found = m_manager->allCapturers().filter(part);
    return found.isEmpty() ? QString() : found.first();
}

void TestAudioCapManager::devicesAreListedInOrder()
{
    const QStringList ids = m_manager->allCapturers();
    QVERIFY(ids.contains("a-source"));
    QVERIFY(ids.contains(kTone));
    QVERIFY(ids.contains("two words"));
    QVERIFY(std::is_sorted(ids.begin(), ids.end()));
    QCOMPARE(m_manager->defaultCapturer(), ids.first());
    for (const QString &id : ids)
        QCOMPARE(m_manager->capturerDesc(id), id);
}

void TestAudioCapManager::enumerationIsLoggedAndSignalled()
{
    OpenManager manager;
    const QSignalSpy ready(&manager, &AudioCapManagerMac::capturerReady);
    const QSignalSpy lost(&manager, &AudioCapManagerMac::capturerLost);
    const LogCapture log;
    manager.enumAudioDevices();
    QStringList expectedLines;
    QStringList signalled;
    for (const QAudioDeviceInfo &info : QAudioDeviceInfo::availableDevices(QAudio::AudioInput)) {
        expectedLines << "[AudioCapManagerMac]: Audio device has already started capture:  \""
                + info.deviceName() + '"';
    }
    for (const QList<QVariant> &emission : ready)
        signalled << emission[0].toString();
    QCOMPARE(log.messages(QtInfoMsg), expectedLines);
    QVERIFY(log.lines().first().function.contains("AudioCapManagerMac::enumAudioDevices()"));
    QCOMPARE(log.lines().first().category, QString("default"));
    signalled.sort();
    QCOMPARE(signalled, manager.allCapturers());
    QCOMPARE(lost.size(), 0);
}

void TestAudioCapManager::instanceIsOne()
{
    QCOMPARE(AudioCapManagerMac::instance(), m_manager);
    QVERIFY(!m_manager->parent());
}

void TestAudioCapManager::unknownIdIsAnsweredWithNothing()
{
    const LogCapture log;
    QVERIFY(m_manager->acquireCapturer("no such").isNull());
    m_manager->releaseCapturer("no such");
    QVERIFY(m_manager->capturer("no such").isNull());
    QVERIFY(m_manager->capturerDesc("no such").isNull());
    const QString line = "[AudioCapManagerMac]: Not found capturer  \"no such\"";
    QCOMPARE(log.messages(QtWarningMsg), QStringList({line, line}));
    QCOMPARE(log.lines().size(), 2);
    QVERIFY(log.lines()[0].function.contains("AudioCapManagerMac::acquireCapturer("));
    QVERIFY(log.lines()[1].function.contains("AudioCapManagerMac::releaseCapturer("));
}

void TestAudioCapManager::unknownIdIsNotMade()
{
    OpenManager manager;
    const LogCapture log;
    manager.makeCapturer("no such");
    QCOMPARE(log.messages(QtCriticalMsg),
             QStringList("[AudioCapManagerMac]: Not found capturer  \"no such\"  in "
                         "AudioCapManagerMac"));
    QVERIFY(log.lines().first().function.contains("AudioCapManagerMac::makeCapturer("));
}

void TestAudioCapManager::usersAreCounted()
{
    LogCapture log;
    const QSharedPointer<IAudioCapture> first = m_manager->acquireCapturer(kTone);
    QVERIFY(first);
    QCOMPARE(m_manager->capturer(kTone), first);
    QCOMPARE(log.messages(QtInfoMsg),
             QStringList({"[AudioCapManagerMac]: The capturer  \"cd.monitor\"  has been created",
                          reference(kTone, 1)}));
    QVERIFY(log.lines()[0].function.contains("AudioCapManagerMac::makeCapturer("));
    QVERIFY(log.lines()[1].function.contains("AudioCapManagerMac::acquireCapturer("));

    log.clear();
    QCOMPARE(m_manager->acquireCapturer(kTone), first);
    QCOMPARE(log.messages(QtInfoMsg), QStringList(reference(kTone, 2)));

    log.clear();
    m_manager->releaseCapturer(kTone);
    QCOMPARE(log.messages(QtInfoMsg), QStringList(reference(kTone, 1)));
    QCOMPARE(m_manager->capturer(kTone), first);

    log.clear();
    m_manager->releaseCapturer(kTone);
    QCOMPARE(log.messages(QtInfoMsg),
             QStringList({reference(kTone, 0),
                          "[AudioCapManagerMac]: The capturer  \"cd.monitor\"  has been "
                          "released"}));
    QVERIFY(log.lines()[1].function.contains("AudioCapManagerMac::releaseCapturer("));
    QVERIFY(m_manager->capturer(kTone).isNull());
}

void TestAudioCapManager::releasingTooOftenStaysAtZero()
{
    const LogCapture log;
    m_manager->releaseCapturer(kTone);
    m_manager->releaseCapturer(kTone);
    QCOMPARE(log.messages(), QStringList({reference(kTone, 0), reference(kTone, 0)}));
    QVERIFY(m_manager->acquireCapturer(kTone));
    QCOMPARE(log.messages().last(), reference(kTone, 1));
    m_manager->releaseCapturer(kTone);
}

void TestAudioCapManager::capturerIsMadeAnewAfterTheLastRelease()
{
    QPointer<IAudioCapture> first;
    {
        const auto held = m_manager->acquireCapturer(kTone);
        first = held.data();
        m_manager->releaseCapturer(kTone);
        settle();
        QVERIFY(first); // a copy of the pointer keeps it
    }
    QVERIFY(first); // destroyed by the event loop, not at once
    const auto second = m_manager->acquireCapturer(kTone);
    QVERIFY(second.data() != first);
    settle();
    QVERIFY(!first);
    m_manager->releaseCapturer(kTone);
}

void TestAudioCapManager::toneArrives()
{
    const auto capturer = m_manager->acquireCapturer(kTone);
    const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
    const auto amplitude = [&](int bin) {
        return spectra.last()[0].value<QVector<SoundChannel>>()[1].spectrums[bin].amplitude;
    };
    QTRY_VERIFY_WITH_TIMEOUT(!spectra.isEmpty() && amplitude(20) > 100.0F, kSoundTimeoutMs);
    m_manager->releaseCapturer(kTone);
}

void TestAudioCapManager::namesMayHoldAnything_data()
{
    QTest::addColumn<QString>("part");
    QTest::newRow("a blank") << "two words";
    QTest::newRow("a letter that is not ASCII") << "che";
    QTest::newRow("marks of QString::arg") << "load %1 of %2";
}

void TestAudioCapManager::namesMayHoldAnything()
{
    QFETCH(QString, part);
    const QString id = idLike(part);
    QVERIFY(!id.isEmpty());
    LogCapture log;
    const auto capturer = m_manager->acquireCapturer(id);
    QVERIFY(capturer);
    QVERIFY(log.messages(QtInfoMsg).contains("[AudioCapManagerMac]: The capturer  \"" + id
                                             + "\"  references count is  1"));
    const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
    QTRY_VERIFY_WITH_TIMEOUT(!spectra.isEmpty(), kSoundTimeoutMs);
    m_manager->releaseCapturer(id);
    QCOMPARE(log.messages(QtCriticalMsg), QStringList());
}

void TestAudioCapManager::releaseInASlotOfItsOwnSignal()
{
    const LogCapture log;
    auto capturer = m_manager->acquireCapturer(kTone);
    const QPointer<IAudioCapture> watched(capturer.data());
    connect(capturer.data(), &IAudioCapture::spectrumsChanged, this, [&] {
        if (!capturer)
            return;
        capturer.reset();
        m_manager->releaseCapturer(kTone);
    });
    QTRY_VERIFY_WITH_TIMEOUT(!watched, kSoundTimeoutMs);
    QCOMPARE(log.messages(QtWarningMsg), QStringList());
    QCOMPARE(log.messages(QtInfoMsg).last(),
             QString("[AudioCapManagerMac]: The capturer  \"cd.monitor\"  has been released"));
}

void TestAudioCapManager::hundredCyclesLeaveNothingBehind()
{
    const auto cycle = [&](bool untilHeard) {
        const auto capturer = m_manager->acquireCapturer(kTone);
        const QSignalSpy spectra(capturer.data(), &IAudioCapture::spectrumsChanged);
        if (untilHeard)
            QTRY_VERIFY_WITH_TIMEOUT(!spectra.isEmpty(), kSoundTimeoutMs);
        m_manager->releaseCapturer(kTone);
    };
    const LogCapture log;
    cycle(true); // what Qt's back-end keeps for good is made now
    settle();
    qtHookData[QHooks::AddQObject] =
        reinterpret_cast<quintptr>(+[](QObject *) { ++livingObjects; });
    qtHookData[QHooks::RemoveQObject] =
        reinterpret_cast<quintptr>(+[](QObject *) { --livingObjects; });
    const int threads = entries("/proc/self/task");
    const int descriptors = entries("/proc/self/fd");

    for (int i = 0; i < 100; ++i) {
        cycle(i % 20 == 0);
        settle();
    }

    settle();
    qtHookData[QHooks::AddQObject] = 0;
    qtHookData[QHooks::RemoveQObject] = 0;
    // The system takes a moment to bury a thread that has ended, before the cycles and after.
    QTRY_VERIFY(entries("/proc/self/task") <= threads);
    QTRY_VERIFY(entries("/proc/self/fd") <= descriptors);
    QCOMPARE(livingObjects.load(), 0);
    QCOMPARE(log.messages(QtWarningMsg), QStringList());
}

void TestAudioCapManager::deviceListOfOneNameKeepsOneDevice()
{
    OpenManager manager;
    const QStringList once = manager.allCapturers();
    manager.enumAudioDevices(); // every name a second time
    QCOMPARE(manager.allCapturers(), once);
}

QTEST_GUILESS_MAIN(TestAudioCapManager)
#include "tst_audiocapmanager.moc"
