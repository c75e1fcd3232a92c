#ifndef LIBCORVANE_SOCKETWAITER_P_H
#define LIBCORVANE_SOCKETWAITER_P_H

#include <chrono>
#include <mutex>

namespace corvane {

/// Lets one thread wait for its socket, a time or another thread, whichever comes first. Takes a
/// descriptor only from open() to close(): captures that sleep may be many.
class SocketWaiter {
public:
    using Clock = std::chrono::steady_clock;

    SocketWaiter() = default;
    ~SocketWaiter();
    SocketWaiter(const SocketWaiter &) = delete;
    SocketWaiter &operator=(const SocketWaiter &) = delete;

    /// The waiting thread: before its first wait, and after its last one.
    void open();
    void close();

    /// The waiting thread: the socket that it reads from now on; none is -1. A socket must be given
    /// up here before it is closed.
    void setSocket(int socket);
    /// The waiting thread: returns when the socket can be read, at the time, or after a wakeUp().
    void waitUntil(Clock::time_point time);

    /// Any thread: ends the present wait, or else the next. Nothing before open().
    void wakeUp();
    /// Any thread: also ends a read or write that the waiting thread is stuck in, and all later
    /// ones on the socket.
    void interrupt();
    bool isInterrupted() const;

private:
    mutable std::mutex m_mutex;
    int m_socket = -1;
    bool m_isInterrupted = false;
    int m_wakeUps = -1;
};

} // namespace corvane

#endif
