#include "ManyDevices.h"

#include "../capture/Usage.h"

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/SoundServer.h>

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <functional>
#include <numeric>
#include <stdexcept>

namespace corvane::bench {
namespace {

const QVector<int> kDevices{2, 4, 8, 16};
constexpr int kMeasuredMs = 4000;
constexpr int kStartTimeoutMs = 30000;

QStringList devices(int count)
{
    QStringList modules;
    for (int i = 0; i < count; ++i) {
        const QString sink = QString("device%1").arg(i, 2, 10, QLatin1Char('0'));
        modules << "module-null-sink format=s16le channels=2 rate=44100 sink_name=" + sink;
    }
    return modules;
}

/// Listens to the first devices while it lives.
class Listeners : public QObject {
public:
    explicit Listeners(int count)
        : m_ids(AudioCapManagerMac::instance()->allCapturers().mid(0, count))
        , m_spectra(count, 0)
    {
        if (m_ids.size() != count)
            throw std::runtime_error("there are too few sound devices");
        for (int i = 0; i < count; ++i)
            listen(i);
    }
    ~Listeners() override
    {
        for (const QString &id : m_ids)
            AudioCapManagerMac::instance()->releaseCapturer(id);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Until each has been heard once more.
    void awaitAll()
    {
        const QVector<int> before = m_spectra;
        const auto allHeard = [&] {
            return std::equal(m_spectra.begin(), m_spectra.end(), before.begin(),
                              std::greater<int>());
        };
        if (!QTest::qWaitFor(allHeard, kStartTimeoutMs))
            throw std::runtime_error("a sound device is silent");
    }
    int spectra() const { return std::accumulate(m_spectra.begin(), m_spectra.end(), 0); }

private:
    void listen(int index)
    {
        const auto capturer = AudioCapManagerMac::instance()->acquireCapturer(m_ids[index]);
        connect(capturer.data(), &IAudioCapture::spectrumsChanged, this,
                [this, index] { ++m_spectra[index]; });
    }

    const QStringList m_ids;
    QVector<int> m_spectra;
};

/// For all spectra of a second, however many have come while it was measured.
std::chrono::nanoseconds timeOfASecond(Listeners &listeners, int count)
{
    constexpr double kSpectraPerSecond = 44100.0 / 2048;
    const int before = listeners.spectra();
    const auto used = processTime();
    QTest::qWait(kMeasuredMs);
    const double seconds = (listeners.spectra() - before) / kSpectraPerSecond / count;
    listeners.awaitAll();
    return std::chrono::nanoseconds(qint64(double((processTime() - used).count()) / seconds));
}

} // namespace

QVector<Series> manyDevices()
{
    const test::SoundServer server(devices(kDevices.last()));
    if (!server.isRunning())
        throw std::runtime_error("the sound server does not run");
    Series start{"starting a sound device", {}};
    Series listen{"a second of a sound device, with its spectra", {}};
    for (const int count : kDevices) {
        const auto before = processTime();
        Listeners listeners(count);
        listeners.awaitAll();
        start.points << Point{count, processTime() - before};
        listen.points << Point{count, timeOfASecond(listeners, count)};
    }
    return {start, listen};
}

} // namespace corvane::bench
