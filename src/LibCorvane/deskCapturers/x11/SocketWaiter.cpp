#include "SocketWaiter_p.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>

namespace corvane {
namespace {

timespec timeLeft(SocketWaiter::Clock::time_point until)
{
    using namespace std::chrono;
    const auto left = std::max<nanoseconds>(until - SocketWaiter::Clock::now(), nanoseconds(0));
    const auto whole = duration_cast<seconds>(left);
    return {static_cast<time_t>(whole.count()), static_cast<long>((left - whole).count())};
}

} // namespace

SocketWaiter::~SocketWaiter()
{
    close();
}

void SocketWaiter::open()
{
    const std::lock_guard lock(m_mutex);
    if (m_wakeUps < 0)
        m_wakeUps = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

void SocketWaiter::close()
{
    const std::lock_guard lock(m_mutex);
    if (m_wakeUps >= 0)
        ::close(m_wakeUps);
    m_wakeUps = -1;
}

void SocketWaiter::setSocket(int socket)
{
    const std::lock_guard lock(m_mutex);
    m_socket = socket;
    if (m_isInterrupted && m_socket >= 0)
        shutdown(m_socket, SHUT_RDWR);
}

void SocketWaiter::waitUntil(Clock::time_point time)
{
    // poll() skips descriptors below 0.
    std::array<pollfd, 2> descriptors{{{m_wakeUps, POLLIN, 0}, {m_socket, POLLIN, 0}}};
    const timespec left = timeLeft(time);
    ppoll(descriptors.data(), descriptors.size(), &left, nullptr);
    eventfd_t count = 0;
    if (descriptors[0].revents != 0)
        eventfd_read(m_wakeUps, &count);
}

void SocketWaiter::wakeUp()
{
    const std::lock_guard lock(m_mutex);
    if (m_wakeUps >= 0)
        eventfd_write(m_wakeUps, 1);
}

void SocketWaiter::interrupt()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isInterrupted = true;
        if (m_socket >= 0)
            shutdown(m_socket, SHUT_RDWR);
    }
    wakeUp();
}

bool SocketWaiter::isInterrupted() const
{
    const std::lock_guard lock(m_mutex);
    return m_isInterrupted;
}

} // namespace corvane
