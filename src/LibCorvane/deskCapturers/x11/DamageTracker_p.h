#ifndef LIBCORVANE_DAMAGETRACKER_P_H
#define LIBCORVANE_DAMAGETRACKER_P_H

#include "XDisplay_p.h"

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <QRect>

#include <optional>
#include <vector>

namespace corvane {

/// Knows what has changed on the screen, with the Damage extension.
class DamageTracker {
public:
    /// Nothing is known to have changed at first. Null when the server lacks the extension.
    static std::unique_ptr<DamageTracker> make(const XDisplay &display);

    /// Whether the event tells that something has changed. There is one such event until the parts
    /// are taken.
    bool isDamageEvent(const xcb_generic_event_t &event) const;

    /// The parts of the screen that have changed since they were last taken; nothing after a
    /// failure.
    std::optional<std::vector<QRect>> takeParts() const;

private:
    using Damage = XcbResource<xcb_damage_damage_t, xcb_damage_destroy>;
    using Region = XcbResource<xcb_xfixes_region_t, xcb_xfixes_destroy_region>;

    explicit DamageTracker(const XDisplay &display);

    xcb_connection_t *m_connection;
    int m_eventType;
    Damage m_damage;
    Region m_region;
};

} // namespace corvane

#endif
