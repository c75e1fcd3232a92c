#include "AwakeCaptures_p.h"

#include "ScreenCapture_p.h"

#include <algorithm>

namespace corvane {
namespace {

constexpr std::size_t kMaxAwake = 32;

} // namespace

AwakeCaptures &AwakeCaptures::instance()
{
    static AwakeCaptures captures;
    return captures;
}

AwakeCaptures::~AwakeCaptures()
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
    m_captures.insert(&capture);
    if (m_captures.size() <= kMaxAwake)
        return;
    const auto idlest =
        std::min_element(m_captures.begin(), m_captures.end(), [](const auto *a, const auto *b) {
            return a->lastRead() < b->lastRead();
        });
    (*idlest)->sleep();
}

void AwakeCaptures::remove(ScreenCapture &capture)
{
    const std::lock_guard lock(m_mutex);
    m_captures.erase(&capture);
}

} // namespace corvane
