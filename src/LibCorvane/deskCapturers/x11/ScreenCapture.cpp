#include "ScreenCapture_p.h"

#include "AwakeCaptures_p.h"
#include "BrokenPipe_p.h"
#include "CaptureLoop_p.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

namespace corvane {
namespace {

using namespace std::chrono_literals;

constexpr auto kSleepAfter = 2s;

} // namespace

ScreenCapture::ScreenCapture(uint32_t displayId, LatestFrame &frame)
    : m_displayId(displayId)
    , m_frame(frame)
    , m_lastRead(0)
{
    noteRead();
}

ScreenCapture::~ScreenCapture()
{
    stop();
    AwakeCaptures::instance().remove(*this);
}

int64_t ScreenCapture::lastRead() const
{
    return m_lastRead.load();
}

ScreenCapture::Clock::time_point ScreenCapture::sleepTime() const
{
    return Clock::time_point(Clock::duration(m_lastRead.load())) + kSleepAfter;
}

bool ScreenCapture::isWanted() const
{
    return !m_isStopped && Clock::now() < sleepTime();
}

void ScreenCapture::noteRead()
{
    m_lastRead.store(Clock::now().time_since_epoch().count());
    const std::lock_guard lock(m_mutex);
    if (!m_hasThread && !m_isStopped)
        startThread();
}

void ScreenCapture::noteNewSize()
{
    m_waiter.wakeUp();
}

void ScreenCapture::sleep()
{
    m_lastRead.store(0);
    m_waiter.wakeUp();
}

void ScreenCapture::forgetFrame()
{
    m_frame.forget();
}

void ScreenCapture::stop()
{
    m_isStopped = true;
    m_waiter.interrupt();
    std::unique_lock lock(m_mutex);
    m_threadHasEnded.wait(lock, [this] { return !m_hasThread; });
}

void ScreenCapture::startThread()
{
    try {
        // Detached, as nobody comes to join the thread of a capture that is never read again.
        std::thread([this] { run(); }).detach();
        m_hasThread = true;
    } catch (const std::system_error &) {
        return; // the next read tries again
    }
    AwakeCaptures::instance().add(*this);
}

void ScreenCapture::run()
{
    pthread_setname_np(pthread_self(), "screen-capture");
    const BrokenPipeGuard guard;
    do
        captureWhileWanted();
    while (!endsThread());
    // This object may be gone now.
}

void ScreenCapture::captureWhileWanted()
{
    CaptureLoop loop(m_displayId, m_frame, m_waiter, m_isFailureReported);
    while (isWanted())
        m_waiter.waitUntil(std::min(loop.step(), sleepTime()));
}

// Not when a read has come while the connection was being closed.
bool ScreenCapture::endsThread()
{
    const std::lock_guard lock(m_mutex);
    if (isWanted())
        return false;
    AwakeCaptures::instance().noteAsleep(*this);
    m_hasThread = false;
    m_threadHasEnded.notify_all();
    return true;
}

} // namespace corvane
