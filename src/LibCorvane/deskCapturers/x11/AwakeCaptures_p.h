#ifndef LIBCORVANE_AWAKECAPTURES_P_H
#define LIBCORVANE_AWAKECAPTURES_P_H

#include <deque>
#include <mutex>
#include <unordered_set>

namespace corvane {

class ScreenCapture;

/// The captures of this process that hold a thread and a connection. Keeps them few, as an X server
/// serves a limited number of clients, and ends them before static objects are destroyed under
/// them. Of those that sleep it keeps few with their frames: nobody may ever read them again.
class AwakeCaptures {
public:
    static AwakeCaptures &instance();

    /// When there are too many, those that were not read for longest go to sleep.
    void add(ScreenCapture &capture);
    /// When too many sleep, those that have done so for longest forget their frames.
    void noteAsleep(ScreenCapture &capture);
    /// Before a capture is destroyed.
    void remove(ScreenCapture &capture);
    /// Ends all of them.
    void stop();

private:
    AwakeCaptures() = default;
    void forgetAsleep(ScreenCapture &capture);

    std::mutex m_mutex;
    std::unordered_set<ScreenCapture *> m_captures;
    /// Those that sleep and have their frames, the latest last.
    std::deque<ScreenCapture *> m_asleep;
};

} // namespace corvane

#endif
