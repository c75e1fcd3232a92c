#include "SpectrumEmitter_p.h"

#include <QThreadPool>

#include <utility>

namespace corvane {

SpectrumEmitter::SpectrumEmitter(IAudioCapture *capturer)
    : m_capturer(capturer)
{
}

void SpectrumEmitter::submit(const QVector<QVector<SoundChannel>> &blocks)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_capturer)
            return;
        m_blocks += blocks;
    }
    QThreadPool *const pool = QThreadPool::globalInstance();
    if (pool) // gone when the process ends
        pool->start([self = shared_from_this()] { self->emitQueued(); });
}

void SpectrumEmitter::close()
{
    std::unique_lock lock(m_mutex);
    m_capturer = nullptr;
    m_blocks.clear();
    // A receiver that deletes the capturer inside its slot must not wait for that slot's end.
    if (m_emittingThread != std::this_thread::get_id())
        m_idle.wait(lock, [this] { return m_emittingThread == std::thread::id(); });
}

void SpectrumEmitter::emitQueued()
{
    std::unique_lock lock(m_mutex);
    if (m_emittingThread != std::thread::id())
        return; // that task emits these blocks too, which keeps their order
    m_emittingThread = std::this_thread::get_id();
    while (!m_blocks.isEmpty()) {
        const QVector<SoundChannel> block = m_blocks.takeFirst();
        IAudioCapture *const capturer = m_capturer;
        lock.unlock();
        emit capturer->spectrumsChanged(block);
        lock.lock();
    }
    m_emittingThread = std::thread::id();
    m_idle.notify_all();
}

} // namespace corvane
