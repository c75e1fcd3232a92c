#ifndef CORVANE_TESTS_SPECTRALISTENER_H
#define CORVANE_TESTS_SPECTRALISTENER_H

#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <QObject>
#include <QThread>

#include <algorithm>
#include <mutex>

namespace corvane::test {

using Block = QVector<SoundChannel>;

/// Keeps what a capturer emits, on whatever thread.
class SpectraListener {
public:
    explicit SpectraListener(IAudioCapture *capture)
    {
        QObject::connect(capture, &IAudioCapture::spectrumsChanged, [this](const Block &block) {
            const std::lock_guard lock(m_mutex);
            m_blocks << block;
            m_threads << QThread::currentThread();
        });
    }

    QVector<Block> blocks() const
    {
        const std::lock_guard lock(m_mutex);
        return m_blocks;
    }
    QVector<QThread *> threads() const
    {
        const std::lock_guard lock(m_mutex);
        return m_threads;
    }

private:
    mutable std::mutex m_mutex;
    QVector<Block> m_blocks;
    QVector<QThread *> m_threads;
};

/// Whether every number is the same, bit for bit but for the sign of zeros.
inline bool isSame(const Block &one, const Block &other)
{
    const auto sameBin = [](const Spectrum &a, const Spectrum &b) {
        return a.frequency == b.frequency && a.amplitude == b.amplitude && a.decibel == b.decibel;
    };
    const auto sameChannel = [&](const SoundChannel &a, const SoundChannel &b) {
        return a.channel == b.channel
            && std::equal(a.spectrums.begin(), a.spectrums.end(), b.spectrums.begin(),
                          b.spectrums.end(), sameBin);
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), sameChannel);
}

/// The bin with the largest amplitude of the first channel.
inline int loudestBin(const Block &block)
{
    const auto &bins = block.first().spectrums;
    const auto quieter = [](const Spectrum &a, const Spectrum &b) {
        return a.amplitude < b.amplitude;
    };
    return int(std::max_element(bins.begin(), bins.end(), quieter) - bins.begin());
}

} // namespace corvane::test

#endif
