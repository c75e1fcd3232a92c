#ifndef LIBCORVANE_BROKENPIPE_P_H
#define LIBCORVANE_BROKENPIPE_P_H

#include <csignal>

namespace corvane {

/// Keeps SIGPIPE, which a write to a lost X server raises, from ending the process: the calling
/// thread does not get it while this object lives. The host's own handling stays as it is.
class BrokenPipeGuard {
public:
    BrokenPipeGuard();
    ~BrokenPipeGuard();
    BrokenPipeGuard(const BrokenPipeGuard &) = delete;
    BrokenPipeGuard &operator=(const BrokenPipeGuard &) = delete;

private:
    sigset_t m_previousMask{};
    bool m_wasPending;
};

} // namespace corvane

#endif
