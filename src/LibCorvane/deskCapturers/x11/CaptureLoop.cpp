#include "CaptureLoop_p.h"

#include <QDebug>

#include <algorithm>
#include <chrono>

namespace corvane {
namespace {

using namespace std::chrono_literals;

constexpr auto kFrameInterval = 40ms;
constexpr auto kRetryInterval = 1s;

} // namespace

CaptureLoop::CaptureLoop(uint32_t displayId, LatestFrame &frame, SocketWaiter &waiter,
                         bool &isFailureReported)
    : m_displayId(displayId)
    , m_frame(frame)
    , m_waiter(waiter)
    , m_isFailureReported(isFailureReported)
{
    m_waiter.open();
}

CaptureLoop::~CaptureLoop()
{
    disconnect();
    m_waiter.close();
}

CaptureLoop::Clock::time_point CaptureLoop::step()
{
    const auto now = Clock::now();
    if (!m_session && !connect())
        return now + kRetryInterval;
    if (m_session->takeEvents())
        m_retryTime = now;
    if (m_session->isLost()) {
        reportFailure("[AVFoundationCaptureImpl]: Lost the X server, display:");
        disconnect();
        return now + kRetryInterval;
    }
    if (!m_session->hasChanged(m_frame.outputSize()))
        return Clock::time_point::max();
    const auto due = std::max(m_nextCapture, m_retryTime);
    if (now < due)
        return due;
    capture();
    return now;
}

bool CaptureLoop::connect()
{
    m_session = MonitorSession::open(m_displayId);
    if (!m_session) {
        reportFailure("[AVFoundationCaptureImpl]: Lost the X server, display:");
        return false;
    }
    m_waiter.setSocket(m_session->socket());
    return true;
}

void CaptureLoop::disconnect()
{
    m_waiter.setSocket(-1);
    m_session.reset();
}

void CaptureLoop::capture()
{
    const auto now = Clock::now();
    m_nextCapture = now + kFrameInterval;
    if (m_session->capture(m_frame)) {
        m_failingSince.reset();
        m_isFailureReported = false;
        return;
    }
    m_retryTime = now + kRetryInterval;
    if (!m_failingSince)
        m_failingSince = now;
    // A monitor that changes is away for a moment: only a lasting failure is worth a line.
    if (now - *m_failingSince >= kRetryInterval && !m_session->isLost())
        reportFailure("[AVFoundationCaptureImpl]: Cannot capture the monitor, display:");
}

void CaptureLoop::reportFailure(const char *text)
{
    // An interrupted connection was not lost: the capture is being ended.
    if (m_isFailureReported || m_waiter.isInterrupted())
        return;
    m_isFailureReported = true;
    qWarning() << text << m_displayId;
}

} // namespace corvane
