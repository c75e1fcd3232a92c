#include "BrokenPipe_p.h"

#include <ctime>

namespace corvane {
namespace {

sigset_t brokenPipeOnly()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool isPending()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

BrokenPipeGuard::BrokenPipeGuard()
    : m_wasPending(isPending())
{
    const sigset_t signal = brokenPipeOnly();
    pthread_sigmask(SIG_BLOCK, &signal, &m_previousMask);
}

BrokenPipeGuard::~BrokenPipeGuard()
{
    // What was raised meanwhile is taken back before the thread can see it.
    const sigset_t signal = brokenPipeOnly();
    const timespec now{};
    if (!m_wasPending && isPending())
        sigtimedwait(&signal, nullptr, &now);
    pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

} // namespace corvane
