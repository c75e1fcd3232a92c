#ifndef LIBCORVANE_SOCKETWAITER_P_H
#define LIBCORVANE_SOCKETWAITER_P_H

#include <chrono>
#include <mutex>

namespace corvane {

/// Lets one thread wait for its socket, a time or another thread, whichever comes first.
class SocketWaiter {
public:
    using Clock = std::chrono::steady_clock;

    SocketWaiter();
    ~SocketWaiter();
    SocketWaiter(const SocketWaiter &) = delete;
    SocketWaiter &operator=(const SocketWaiter &) = delete;

    /// The waiting thread: the socket that it reads from now on; none is -1. A socket must be given
    /// up here before it is closed.
    void setSocket(int socket);
    /// The waiting thread: returns when the socket can be read, at the time, or after a wakeUp().
    void waitUntil(Clock::time_point time);

    /// Any thread: ends the present wait, or else the next.
    void wakeUp();
    /// Any thread: also ends a read or write that the waiting thread is stuck in, and all later
    /// ones on the socket.
    void interrupt();

private:
    std::mutex m_mutex;
    int m_socket = -1;
    bool m_isInterrupted = false;
    int m_wakeUps;
};

} // namespace corvane

#endif
