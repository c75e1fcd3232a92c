#include "SoundWork.h"

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>

#include <QCoreApplication>

#include <utility>

namespace corvane::test {
namespace {

constexpr int kDevices = 4;
constexpr int kTickMs = 100;
/// A visit ends with the first sound, or without.
constexpr int kTicksPerVisit = 30;

QStringList tones()
{
    QStringList modules;
    for (int i = 0; i < kDevices; ++i) {
        const QString sink = QString("tone%1").arg(i);
        modules << "module-null-sink format=s16le channels=2 rate=44100 sink_name=" + sink
                << QString("module-sine sink=%1 frequency=%2").arg(sink).arg(220 * (i + 1));
    }
    return modules;
}

AudioCapManagerMac &manager()
{
    return *AudioCapManagerMac::instance();
}

/// Two channels of as many bins, none of which is a number that no sound has.
bool isSane(const QVector<SoundChannel> &spectra)
{
    return spectra.size() == 2 && !spectra[0].spectrums.isEmpty()
        && spectra[0].spectrums.size() == spectra[1].spectrums.size()
        && qIsFinite(spectra[0].spectrums.first().amplitude);
}

} // namespace

SoundWork::SoundWork()
    : m_server(tones())
    , m_devices(manager().allCapturers())
{
    connect(&m_timer, &QTimer::timeout, this, &SoundWork::listen);
    m_timer.setInterval(kTickMs);
    if (m_devices.size() != kDevices)
        return;
    m_held = manager().acquireCapturer(m_devices.takeFirst());
    connect(m_held.data(), &IAudioCapture::spectrumsChanged, this,
            [this](const QVector<SoundChannel> &spectra) {
                ++m_spectra;
                m_badSpectra += isSane(spectra) ? 0 : 1;
            });
}

// The device is given back while its server still runs.
SoundWork::~SoundWork()
{
    giveBack();
    if (std::exchange(m_held, {}))
        manager().releaseCapturer(manager().defaultCapturer());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void SoundWork::begin()
{
    m_timer.start();
}

void SoundWork::end()
{
    m_timer.stop();
    giveBack();
}

void SoundWork::listen()
{
    if (!m_isHeard && !m_visited.isEmpty() && ++m_ticks < kTicksPerVisit)
        return;
    giveBack();
    takeNext();
}

void SoundWork::takeNext()
{
    m_visited = m_devices.value(m_next++ % m_devices.size());
    ++m_visits;
    m_isHeard = false;
    m_ticks = 0;
    const auto capturer = manager().acquireCapturer(m_visited);
    connect(capturer.data(), &IAudioCapture::spectrumsChanged, this,
            [this] { m_visitsWithSound += std::exchange(m_isHeard, true) ? 0 : 1; });
}

void SoundWork::giveBack()
{
    if (!m_visited.isEmpty())
        manager().releaseCapturer(std::exchange(m_visited, QString()));
}

QMap<QString, qint64> SoundWork::takeDone()
{
    return {{"spectra", std::exchange(m_spectra, 0)},
            {"devices started", std::exchange(m_visits, 0)},
            {"devices heard", std::exchange(m_visitsWithSound, 0)}};
}

QString SoundWork::failure() const
{
    if (!m_server.isRunning())
        return "The sound server does not run: " + m_server.log();
    if (!m_held)
        return "The sound server does not have its devices";
    return m_badSpectra == 0 ? QString() : QString("%1 spectra are wrong").arg(m_badSpectra);
}

} // namespace corvane::test
