// More sound devices than a host listens to: each is heard on its own, all at once.
#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/LogCapture.h>
#include <support/SoundServer.h>

#include <QTest>

#include <algorithm>

using namespace corvane::test;

namespace {

constexpr int kDevices = 16;
constexpr int kSoundTimeoutMs = 60000;
/// The nominal frequencies of bins are twice the physical ones and 43 Hz apart.
constexpr float kNominal = 2.0F;
constexpr float kNearHz = 30.0F;

float toneOf(int device)
{
    return 200.0F + 50.0F * float(device);
}

QString idOf(int device)
{
    return QString("tone%1.monitor").arg(device, 2, 10, QLatin1Char('0'));
}

QStringList modules()
{
    QStringList modules;
    for (int i = 0; i < kDevices; ++i) {
        const QString sink = idOf(i).section('.', 0, 0);
        modules << "module-null-sink format=s16le channels=2 rate=44100 sink_name=" + sink
                << QString("module-sine sink=%1 frequency=%2").arg(sink).arg(toneOf(i));
    }
    return modules;
}

/// The nominal frequency of the loudest bin of the first channel; 0 in silence.
float loudest(const QVector<SoundChannel> &spectra)
{
    const QVector<Spectrum> &bins = spectra.first().spectrums;
    const auto bin = std::max_element(bins.begin(), bins.end(), [](const auto &a, const auto &b) {
        return a.amplitude < b.amplitude;
    });
    return bin != bins.end() && bin->amplitude > 1 ? bin->frequency : 0;
}

} // namespace

class TestAudioCapManagerMany : public QObject {
    Q_OBJECT
private slots:
    void sixteenDevicesAreHeardAtOnce();
};

void TestAudioCapManagerMany::sixteenDevicesAreHeardAtOnce()
{
    const SoundServer server(modules());
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    const LogCapture log;
    auto *manager = AudioCapManagerMac::instance();
    QCOMPARE(manager->allCapturers().size(), kDevices);
    QVector<float> heard(kDevices, 0);
    for (int i = 0; i < kDevices; ++i) {
        const auto capturer = manager->acquireCapturer(idOf(i));
        QVERIFY(capturer);
        connect(capturer.data(), &IAudioCapture::spectrumsChanged, this,
                [&heard, i](const QVector<SoundChannel> &spectra) { heard[i] = loudest(spectra); });
    }
    for (int i = 0; i < kDevices; ++i)
        QTRY_VERIFY2_WITH_TIMEOUT(qAbs(heard[i] - kNominal * toneOf(i)) < kNearHz,
                                  qPrintable(QString("%1: %2 Hz").arg(idOf(i)).arg(heard[i])),
                                  kSoundTimeoutMs);
    for (int i = 0; i < kDevices; ++i)
        manager->releaseCapturer(idOf(i));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(log.messages(QtWarningMsg) + log.messages(QtCriticalMsg), QStringList());
}

QTEST_GUILESS_MAIN(TestAudioCapManagerMany)
#include "tst_audiocapmanager_many.moc"
