#include "AwakeCaptures_p.h"

#include "ScreenCapture_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace corvane {
namespace {

constexpr std::ptrdiff_t kMaxAwake = 32;
constexpr std::size_t kMaxAsleepWithFrame = 32;

struct StopAtExit {
    ~StopAtExit() { AwakeCaptures::instance().stop(); }
};

} // namespace

AwakeCaptures &AwakeCaptures::instance()
{
    // Lives as long as the process: a host's own static objects may hold captures.
    static auto *const captures = new AwakeCaptures;
    static const StopAtExit stopAtExit;
    return *captures;
}

void AwakeCaptures::stop()
{
    std::unique_lock lock(m_mutex);
    const auto captures = m_captures;
    lock.unlock();
    for (ScreenCapture *capture : captures)
        capture->stop();
}

void AwakeCaptures::add(ScreenCapture &capture)
{
    const std::lock_guard lock(m_mutex);
    forgetAsleep(capture);
    m_captures.insert(&capture);
    // Noted down first, as captures are read at any time.
    std::vector<std::pair<int64_t, ScreenCapture *>> awake;
    for (ScreenCapture *one : m_captures)
        // One that was put to sleep stays here until its thread has ended.
        if (const int64_t lastRead = one->lastRead(); lastRead > 0)
            awake.emplace_back(lastRead, one);
    if (static_cast<std::ptrdiff_t>(awake.size()) <= kMaxAwake)
        return;
    const auto mostRecent = awake.end() - kMaxAwake;
    std::nth_element(awake.begin(), mostRecent, awake.end());
    std::for_each(awake.begin(), mostRecent, [](const auto &one) { one.second->sleep(); });
}

void AwakeCaptures::noteAsleep(ScreenCapture &capture)
{
    const std::lock_guard lock(m_mutex);
    m_captures.erase(&capture);
    m_asleep.push_back(&capture);
    if (m_asleep.size() <= kMaxAsleepWithFrame)
        return;
    m_asleep.front()->forgetFrame();
    m_asleep.pop_front();
}

void AwakeCaptures::remove(ScreenCapture &capture)
{
    const std::lock_guard lock(m_mutex);
    m_captures.erase(&capture);
    forgetAsleep(capture);
}

void AwakeCaptures::forgetAsleep(ScreenCapture &capture)
{
    m_asleep.erase(std::remove(m_asleep.begin(), m_asleep.end(), &capture), m_asleep.end());
}

} // namespace corvane
