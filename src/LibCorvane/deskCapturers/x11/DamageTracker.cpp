#include "DamageTracker_p.h"

#include <algorithm>
#include <iterator>

namespace corvane {

std::unique_ptr<DamageTracker> DamageTracker::make(const XDisplay &display)
{
    if (!display.hasDamage())
        return nullptr;
    return std::unique_ptr<DamageTracker>(new DamageTracker(display));
}

DamageTracker::DamageTracker(const XDisplay &display)
    : m_connection(display.connection())
    , m_eventType(xcb_get_extension_data(m_connection, &xcb_damage_id)->first_event
                  + XCB_DAMAGE_NOTIFY)
{
    const auto damage = xcb_generate_id(m_connection);
    xcb_damage_create(m_connection, damage, display.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    m_damage = {m_connection, damage};
    const auto region = xcb_generate_id(m_connection);
    xcb_xfixes_create_region(m_connection, region, 0, nullptr);
    m_region = {m_connection, region};
}

bool DamageTracker::isDamageEvent(const xcb_generic_event_t &event) const
{
    return (event.response_type & 0x7f) == m_eventType;
}

std::optional<std::vector<QRect>> DamageTracker::takeParts() const
{
    xcb_damage_subtract(m_connection, m_damage.id(), XCB_XFIXES_REGION_NONE, m_region.id());
    const auto cookie = xcb_xfixes_fetch_region(m_connection, m_region.id());
    const auto reply = owned(xcb_xfixes_fetch_region_reply(m_connection, cookie, nullptr));
    if (!reply)
        return std::nullopt;
    const xcb_rectangle_t *rectangles = xcb_xfixes_fetch_region_rectangles(reply.get());
    std::vector<QRect> parts;
    std::transform(rectangles, rectangles + xcb_xfixes_fetch_region_rectangles_length(reply.get()),
                   std::back_inserter(parts),
                   [](const xcb_rectangle_t &r) { return QRect(r.x, r.y, r.width, r.height); });
    return parts;
}

} // namespace corvane
