#include "XDisplay_p.h"

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <QtEndian>

#include <algorithm>

namespace corvane {
namespace {

constexpr xcb_image_order_t kHostOrder =
    Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? XCB_IMAGE_ORDER_LSB_FIRST : XCB_IMAGE_ORDER_MSB_FIRST;

constexpr int kMostLayoutTries = 10;

bool isPresent(xcb_connection_t *connection, xcb_extension_t &extension)
{
    const auto *data = xcb_get_extension_data(connection, &extension);
    return data && data->present;
}

bool hasDamageExtension(xcb_connection_t *c)
{
    if (!isPresent(c, xcb_damage_id) || !isPresent(c, xcb_xfixes_id))
        return false;
    // Requests of either are refused until the server has been told the version.
    const auto fixes = xcb_xfixes_query_version(c, 2, 0);
    const auto damage = xcb_damage_query_version(c, 1, 1);
    return owned(xcb_xfixes_query_version_reply(c, fixes, nullptr))
        && owned(xcb_damage_query_version_reply(c, damage, nullptr));
}

bool hasRandrMonitors(xcb_connection_t *c)
{
    if (!isPresent(c, xcb_randr_id))
        return false;
    const auto version =
        owned(xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
    return version
        && (version->major_version > 1
            || (version->major_version == 1 && version->minor_version >= 5));
}

const xcb_screen_t *screenOf(const xcb_setup_t *setup, int number)
{
    auto screens = xcb_setup_roots_iterator(setup);
    for (; number > 0 && screens.rem > 0; --number)
        xcb_screen_next(&screens);
    return screens.rem > 0 ? screens.data : nullptr;
}

const xcb_format_t *pixmapFormat(const xcb_setup_t *setup, int depth)
{
    const xcb_format_t *formats = xcb_setup_pixmap_formats(setup);
    const auto *end = formats + xcb_setup_pixmap_formats_length(setup);
    const auto *found = std::find_if(
        formats, end, [depth](const xcb_format_t &format) { return format.depth == depth; });
    return found != end ? found : nullptr;
}

const xcb_visualtype_t *visualType(const xcb_screen_t *screen, xcb_visualid_t id)
{
    auto depths = xcb_screen_allowed_depths_iterator(screen);
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        const xcb_visualtype_t *visuals = xcb_depth_visuals(depths.data);
        const auto *end = visuals + xcb_depth_visuals_length(depths.data);
        const auto *found = std::find_if(
            visuals, end, [id](const xcb_visualtype_t &visual) { return visual.visual_id == id; });
        if (found != end)
            return found;
    }
    return nullptr;
}

std::optional<QRect> areaOf(xcb_connection_t *c, xcb_get_geometry_cookie_t cookie)
{
    const auto geometry = owned(xcb_get_geometry_reply(c, cookie, nullptr));
    if (!geometry)
        return std::nullopt;
    return QRect(0, 0, geometry->width, geometry->height);
}

std::vector<Monitor> monitorsWithin(const QRect &screen,
                                    const xcb_randr_get_monitors_reply_t &reply)
{
    std::vector<Monitor> monitors;
    auto infos = xcb_randr_get_monitors_monitors_iterator(&reply);
    for (; infos.rem > 0; xcb_randr_monitor_info_next(&infos)) {
        const QRect area(infos.data->x, infos.data->y, infos.data->width, infos.data->height);
        monitors.push_back({area & screen, infos.data->primary != 0});
    }
    return monitors;
}

} // namespace

const Monitor *findMonitor(const std::vector<Monitor> &monitors, uint32_t displayId)
{
    if (monitors.empty() || displayId > monitors.size())
        return nullptr;
    if (displayId > 0)
        return &monitors[displayId - 1];
    const auto primary = std::find_if(monitors.begin(), monitors.end(),
                                      [](const Monitor &monitor) { return monitor.isPrimary; });
    return primary != monitors.end() ? &*primary : &monitors.front();
}

std::unique_ptr<XDisplay> XDisplay::open()
{
    int screenNumber = 0;
    std::unique_ptr<XDisplay> display(new XDisplay);
    display->m_connection.reset(xcb_connect(nullptr, &screenNumber));
    if (display->isLost() || !display->readScreen(screenNumber))
        return nullptr;
    display->readExtensions();
    return display->isLost() ? nullptr : std::move(display);
}

bool XDisplay::readScreen(int screenNumber)
{
    const xcb_setup_t *setup = xcb_get_setup(connection());
    m_screen = screenOf(setup, screenNumber);
    if (!m_screen || setup->image_byte_order != kHostOrder)
        return false;
    const auto *format = pixmapFormat(setup, m_screen->root_depth);
    const auto *visual = visualType(m_screen, m_screen->root_visual);
    if (!format || !visual || visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR)
        return false;
    m_rootLayout = {m_screen->root_depth, format->bits_per_pixel, format->scanline_pad,
                    visual->red_mask,     visual->green_mask,     visual->blue_mask};
    return true;
}

void XDisplay::readExtensions()
{
    xcb_connection_t *c = connection();
    for (auto *extension :
         {&xcb_randr_id, &xcb_shm_id, &xcb_render_id, &xcb_xfixes_id, &xcb_damage_id})
        xcb_prefetch_extension_data(c, extension);
    m_hasShm = isPresent(c, xcb_shm_id);
    m_hasRender = isPresent(c, xcb_render_id);
    m_hasDamage = hasDamageExtension(c);
    m_hasMonitors = hasRandrMonitors(c);
    if (m_hasMonitors)
        m_firstRandrEvent = xcb_get_extension_data(c, &xcb_randr_id)->first_event;
}

bool XDisplay::hasWidePixels(int depth) const
{
    const auto *format = pixmapFormat(xcb_get_setup(connection()), depth);
    return format && format->bits_per_pixel == 32;
}

std::optional<QRect> XDisplay::rootArea() const
{
    return areaOf(connection(), xcb_get_geometry(connection(), root()));
}

std::vector<Monitor> XDisplay::monitors() const
{
    if (m_hasMonitors)
        return listedMonitors();
    const auto screen = rootArea();
    return screen ? std::vector<Monitor>{{*screen, true}} : std::vector<Monitor>();
}

/// The screen may change between two of the answers: they belong together when its size is the same
/// before and after. Otherwise a monitor would be given a size that it never had.
std::vector<Monitor> XDisplay::listedMonitors() const
{
    xcb_connection_t *c = connection();
    for (int tries = 1;; ++tries) {
        const auto before = xcb_get_geometry(c, root());
        const auto list = xcb_randr_get_monitors(c, root(), true);
        const auto after = xcb_get_geometry(c, root());
        const auto former = areaOf(c, before);
        const auto reply = owned(xcb_randr_get_monitors_reply(c, list, nullptr));
        const auto screen = areaOf(c, after);
        if (!reply || !screen)
            return {};
        if (former == screen || tries == kMostLayoutTries)
            return monitorsWithin(*screen, *reply);
    }
}

void XDisplay::watchLayout() const
{
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection(), root(), XCB_CW_EVENT_MASK, &events);
    if (m_hasMonitors)
        xcb_randr_select_input(connection(), root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE
                                   | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE
                                   | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

bool XDisplay::isLayoutEvent(const xcb_generic_event_t &event) const
{
    const int type = event.response_type & 0x7f;
    return type == XCB_CONFIGURE_NOTIFY
        || (m_hasMonitors
            && (type == m_firstRandrEvent + XCB_RANDR_SCREEN_CHANGE_NOTIFY
                || type == m_firstRandrEvent + XCB_RANDR_NOTIFY));
}

} // namespace corvane
