#ifndef LIBCORVANE_SPECTRUMEMITTER_P_H
#define LIBCORVANE_SPECTRUMEMITTER_P_H

#include "IAudioCapture.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace corvane {

/// Emits a capturer's spectra on Qt's global thread pool: in the order of their submission and one
/// at a time, although every submission is a task of its own. Outlives the capturer as long as
/// tasks are queued.
class SpectrumEmitter : public std::enable_shared_from_this<SpectrumEmitter> {
public:
    explicit SpectrumEmitter(IAudioCapture *capturer);

    /// Queues one task that emits spectrumsChanged() for each block. May be called on any thread;
    /// never waits for an emission.
    void submit(const QVector<QVector<SoundChannel>> &blocks);

    /// Drops what is not emitted yet and waits for a running emission, unless that is what calls.
    /// Afterwards the capturer is not used any more.
    void close();

private:
    void emitQueued();

    std::mutex m_mutex; // guards what follows; never held while emitting
    std::condition_variable m_idle;
    IAudioCapture *m_capturer; // null once closed
    QVector<QVector<SoundChannel>> m_blocks;
    std::thread::id m_emittingThread;
};

} // namespace corvane

#endif
