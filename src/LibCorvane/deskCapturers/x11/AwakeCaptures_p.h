#ifndef LIBCORVANE_AWAKECAPTURES_P_H
#define LIBCORVANE_AWAKECAPTURES_P_H

#include <mutex>
#include <unordered_set>

namespace corvane {

class ScreenCapture;

/// The captures of this process that hold a thread and a connection. Keeps them few, as an X server
/// serves a limited number of clients, and ends them before static objects are destroyed under
/// them.
class AwakeCaptures {
public:
    static AwakeCaptures &instance();
    ~AwakeCaptures();

    /// When there are too many, those that were not read for longest go to sleep.
    void add(ScreenCapture &capture);
    void remove(ScreenCapture &capture);

private:
    AwakeCaptures() = default;

    std::mutex m_mutex;
    std::unordered_set<ScreenCapture *> m_captures;
};

} // namespace corvane

#endif
