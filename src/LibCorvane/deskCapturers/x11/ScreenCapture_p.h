#ifndef LIBCORVANE_SCREENCAPTURE_P_H
#define LIBCORVANE_SCREENCAPTURE_P_H

#include "../LatestFrame_p.h"
#include "SocketWaiter_p.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace corvane {

/// Keeps the latest frame of one display up to date, on a thread and a connection of its own, as
/// long as somebody reads. All operations may be called from any thread.
class ScreenCapture {
public:
    /// Starts at once.
    /// \param frame must outlive this object.
    ScreenCapture(uint32_t displayId, LatestFrame &frame);
    ~ScreenCapture();
    ScreenCapture(const ScreenCapture &) = delete;
    ScreenCapture &operator=(const ScreenCapture &) = delete;

    /// To be called when the frame is read: puts off sleep, or ends it.
    void noteRead();
    /// To be called when the frame's output size has been set: lets it be captured again soon.
    void noteNewSize();

    /// Lets the thread and the connection go until the next noteRead().
    void sleep();
    /// The same for good; returns when both are gone.
    void stop();

    /// Lets the frame itself go; the next one comes after the next noteRead().
    void forgetFrame();

    /// When the frame was last read, only to be compared; 0 since sleep().
    int64_t lastRead() const;

private:
    using Clock = SocketWaiter::Clock;

    void startThread();
    void run();
    void captureWhileWanted();
    bool endsThread();
    bool isWanted() const;
    Clock::time_point sleepTime() const;

    const uint32_t m_displayId;
    LatestFrame &m_frame;
    SocketWaiter m_waiter;
    std::atomic<Clock::rep> m_lastRead;
    std::atomic<bool> m_isStopped = false;
    // Touched by the thread only, while there is one.
    bool m_isFailureReported = false;

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_threadHasEnded;
    bool m_hasThread = false;
};

} // namespace corvane

#endif
