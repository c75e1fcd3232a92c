#ifndef LIBCORVANE_CAPTURELOOP_P_H
#define LIBCORVANE_CAPTURELOOP_P_H

#include "../LatestFrame_p.h"
#include "MonitorSession_p.h"
#include "SocketWaiter_p.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace corvane {

/// What the thread of a capture does step by step: connects, looks what has changed, captures at
/// most 25 times a second, and connects again when the server was lost.
class CaptureLoop {
public:
    using Clock = SocketWaiter::Clock;

    /// \param waiter is told of the socket to wait for.
    /// \param isFailureReported whether the present failure has been logged already; outlives this
    ///        object, so that a failure that lasts is logged once.
    CaptureLoop(uint32_t displayId, LatestFrame &frame, SocketWaiter &waiter,
                bool &isFailureReported);
    ~CaptureLoop();
    CaptureLoop(const CaptureLoop &) = delete;
    CaptureLoop &operator=(const CaptureLoop &) = delete;

    /// Does what is due, and tells when the next step is, unless the socket can be read before.
    Clock::time_point step();

private:
    bool connect();
    void disconnect();
    void capture();
    void reportFailure(const char *text);

    const uint32_t m_displayId;
    LatestFrame &m_frame;
    SocketWaiter &m_waiter;
    bool &m_isFailureReported;
    std::unique_ptr<MonitorSession> m_session;
    Clock::time_point m_nextCapture;
    Clock::time_point m_retryTime;
    std::optional<Clock::time_point> m_failingSince;
};

} // namespace corvane

#endif
