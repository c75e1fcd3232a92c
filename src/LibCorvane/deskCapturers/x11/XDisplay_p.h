#ifndef LIBCORVANE_XDISPLAY_P_H
#define LIBCORVANE_XDISPLAY_P_H

#include "PixelUnpacking_p.h"
#include "XcbHandles_p.h"

#include <QRect>

#include <cstdint>
#include <optional>
#include <vector>

namespace corvane {

/// A part of the screen that is shown on one monitor.
struct Monitor {
    QRect area;
    bool isPrimary = false;
};

/// Finds a monitor by its display id: 1 plus its index, or 0 for the primary one (the first where
/// none is primary). Null when there is none.
const Monitor *findMonitor(const std::vector<Monitor> &monitors, uint32_t displayId);

/// A private connection to the X server that the environment names, and what that server can do.
class XDisplay {
public:
    /// Null when there is no server, or none whose pixels can be read here.
    static std::unique_ptr<XDisplay> open();

    xcb_connection_t *connection() const { return m_connection.get(); }
    xcb_window_t root() const { return m_screen->root; }
    bool isLost() const { return xcb_connection_has_error(connection()) != 0; }

    /// The layout of the root window's pixels.
    const PixelLayout &rootLayout() const { return m_rootLayout; }
    xcb_visualid_t rootVisual() const { return m_screen->root_visual; }
    /// Whether pixmaps of the depth hold 32 bits for a pixel.
    bool hasWidePixels(int depth) const;

    bool hasShm() const { return m_hasShm; }
    bool hasRender() const { return m_hasRender; }
    bool hasDamage() const { return m_hasDamage; }
    bool hasMonitors() const { return m_hasMonitors; }

    /// The active monitors, in the server's order, with what lies outside of the screen cut off.
    /// The whole screen is the only one where the server knows no monitors.
    std::vector<Monitor> monitors() const;

    /// Asks for events that tell of changed monitors; see isLayoutEvent().
    void watchLayout() const;
    bool isLayoutEvent(const xcb_generic_event_t &event) const;

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    XDisplay() = default;
    bool readScreen(int screenNumber);
    void readExtensions();
    std::optional<QRect> rootArea() const;
    std::vector<Monitor> listedMonitors() const;

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    const xcb_screen_t *m_screen = nullptr;
    PixelLayout m_rootLayout;
    uint8_t m_firstRandrEvent = 0;
    bool m_hasShm = false;
    bool m_hasRender = false;
    bool m_hasDamage = false;
    bool m_hasMonitors = false;
};

} // namespace corvane

#endif
