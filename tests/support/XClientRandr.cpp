#include "XClient.h"
#include "XReply.h"

#include <xcb/randr.h>
#include <xcb/xcbext.h>

#include <sys/uio.h>

#include <algorithm>

namespace corvane::test {
namespace {

/// Keeps other clients waiting while it lives.
class ServerGrab {
public:
    explicit ServerGrab(xcb_connection_t *connection)
        : m_connection(connection)
    {
        xcb_grab_server(m_connection);
    }
    ~ServerGrab()
    {
        xcb_ungrab_server(m_connection);
        xcb_flush(m_connection);
    }
    ServerGrab(const ServerGrab &) = delete;
    ServerGrab &operator=(const ServerGrab &) = delete;

private:
    xcb_connection_t *m_connection;
};

bool succeeds(const XClient &client, xcb_void_cookie_t request)
{
    return !owned(xcb_request_check(client.connection(), request))
        && !xcb_connection_has_error(client.connection());
}

xcb_atom_t atom(const XClient &client, const QByteArray &name)
{
    const auto reply = owned(xcb_intern_atom_reply(
        client.connection(),
        xcb_intern_atom(client.connection(), false, quint16(name.size()), name.constData()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

auto monitorList(const XClient &client, bool activeOnly)
{
    return owned(xcb_randr_get_monitors_reply(
        client.connection(), xcb_randr_get_monitors(client.connection(), client.root(), activeOnly),
        nullptr));
}

auto resources(const XClient &client)
{
    return owned(xcb_randr_get_screen_resources_current_reply(
        client.connection(),
        xcb_randr_get_screen_resources_current(client.connection(), client.root()), nullptr));
}

/// The server has one output, on one controller.
xcb_randr_output_t output(const XClient &client)
{
    const auto reply = resources(client);
    return reply ? *xcb_randr_get_screen_resources_current_outputs(reply.get()) : XCB_NONE;
}

xcb_randr_crtc_t controller(const XClient &client)
{
    const auto reply = resources(client);
    return reply ? *xcb_randr_get_screen_resources_current_crtcs(reply.get()) : XCB_NONE;
}

void deleteMonitors(const XClient &client)
{
    const auto list = monitorList(client, false);
    if (!list)
        return;
    auto next = xcb_randr_get_monitors_monitors_iterator(list.get());
    for (; next.rem; xcb_randr_monitor_info_next(&next)) {
        if (!next.data->automatic)
            xcb_randr_delete_monitor(client.connection(), client.root(), next.data->name);
    }
}

quint16 millimetres(int pixels)
{
    return quint16(qMax(1, pixels * 254 / 960)); // none at all is refused
}

xcb_randr_monitor_info_t monitorInfo(xcb_atom_t name, const QRect &area, bool primary)
{
    xcb_randr_monitor_info_t info{};
    info.name = name;
    info.primary = primary;
    info.x = qint16(area.x());
    info.y = qint16(area.y());
    info.width = quint16(area.width());
    info.height = quint16(area.height());
    info.width_in_millimeters = millimetres(area.width());
    info.height_in_millimeters = millimetres(area.height());
    return info;
}

/// With an output the monitor takes the place of the automatic one; with none it has just its area.
/// XCB's own function for this request miscounts its bytes and ends the program.
bool addMonitor(const XClient &client, xcb_randr_monitor_info_t info, xcb_randr_output_t output)
{
    xcb_randr_set_monitor_request_t head{};
    head.window = client.root();
    info.nOutput = output == XCB_NONE ? 0 : 1;
    iovec parts[5]{}; // the first two are the sender's
    parts[2] = {&head, sizeof head};
    parts[3] = {&info, sizeof info};
    parts[4] = {&output, info.nOutput * sizeof output};
    const xcb_protocol_request_t request{3, &xcb_randr_id, XCB_RANDR_SET_MONITOR, true};
    return succeeds(
        client, {xcb_send_request(client.connection(), XCB_REQUEST_CHECKED, parts + 2, &request)});
}

QVector<XMonitor> inServersOrder(const QVector<QRect> &areas, int primary)
{
    QVector<XMonitor> monitors;
    for (int i = 0; i < areas.size(); ++i)
        monitors.append({areas[i], i == primary});
    std::stable_partition(monitors.begin(), monitors.end(),
                          [](const XMonitor &monitor) { return monitor.primary; });
    return monitors;
}

bool isPossible(const XClient &client, const QSize &size)
{
    const auto range = owned(xcb_randr_get_screen_size_range_reply(
        client.connection(), xcb_randr_get_screen_size_range(client.connection(), client.root()),
        nullptr));
    return range && size.width() >= range->min_width && size.width() <= range->max_width
        && size.height() >= range->min_height && size.height() <= range->max_height;
}

xcb_randr_mode_t knownMode(const XClient &client, const QSize &size)
{
    const auto reply = resources(client);
    if (!reply)
        return XCB_NONE;
    auto next = xcb_randr_get_screen_resources_current_modes_iterator(reply.get());
    for (; next.rem; xcb_randr_mode_info_next(&next)) {
        if (QSize(next.data->width, next.data->height) == size)
            return next.data->id;
    }
    return XCB_NONE;
}

xcb_randr_mode_t newMode(const XClient &client, const QSize &size)
{
    const QByteArray name =
        QByteArray::number(size.width()) + 'x' + QByteArray::number(size.height());
    xcb_randr_mode_info_t info{};
    info.width = info.htotal = quint16(size.width());
    info.height = info.vtotal = quint16(size.height());
    info.dot_clock = 60u * info.width * info.height;
    info.name_len = quint16(name.size());
    const auto reply = owned(
        xcb_randr_create_mode_reply(client.connection(),
                                    xcb_randr_create_mode(client.connection(), client.root(), info,
                                                          quint32(name.size()), name.constData()),
                                    nullptr));
    if (!reply)
        return XCB_NONE;
    xcb_randr_add_output_mode(client.connection(), output(client), reply->mode);
    return reply->mode;
}

xcb_randr_mode_t modeOf(const XClient &client, const QSize &size)
{
    const xcb_randr_mode_t mode = knownMode(client, size);
    return mode == XCB_NONE ? newMode(client, size) : mode;
}

/// XCB_NONE for the mode turns the output off.
bool showMode(const XClient &client, xcb_randr_mode_t mode)
{
    const xcb_randr_output_t shown = output(client);
    const auto reply = owned(xcb_randr_set_crtc_config_reply(
        client.connection(),
        xcb_randr_set_crtc_config(client.connection(), controller(client), XCB_CURRENT_TIME,
                                  XCB_CURRENT_TIME, 0, 0, mode, XCB_RANDR_ROTATION_ROTATE_0,
                                  mode == XCB_NONE ? 0 : 1, &shown),
        nullptr));
    return reply && reply->status == XCB_RANDR_SET_CONFIG_SUCCESS;
}

bool setScreenSize(const XClient &client, const QSize &size)
{
    return succeeds(client,
                    xcb_randr_set_screen_size_checked(client.connection(), client.root(),
                                                      quint16(size.width()), quint16(size.height()),
                                                      millimetres(size.width()),
                                                      millimetres(size.height())));
}

} // namespace

bool XClient::hasRandr() const
{
    const xcb_query_extension_reply_t *extension =
        xcb_get_extension_data(connection(), &xcb_randr_id);
    return extension && extension->present;
}

void XClient::askForMonitors()
{
    if (hasRandr()) // which offers only what the version asked for has
        owned(xcb_randr_query_version_reply(connection(),
                                            xcb_randr_query_version(connection(), 1, 5), nullptr));
}

QVector<XMonitor> XClient::monitors() const
{
    QVector<XMonitor> monitors;
    const auto list = hasRandr() ? monitorList(*this, true) : nullptr;
    if (!list)
        return monitors;
    auto next = xcb_randr_get_monitors_monitors_iterator(list.get());
    for (; next.rem; xcb_randr_monitor_info_next(&next)) {
        const xcb_randr_monitor_info_t &info = *next.data;
        monitors.append({QRect(info.x, info.y, info.width, info.height), info.primary != 0});
    }
    return monitors;
}

bool XClient::setMonitors(const QVector<QRect> &areas, int primary)
{
    if (!hasRandr())
        return false;
    const ServerGrab grab(connection());
    deleteMonitors(*this);
    if (areas.isEmpty())
        showMode(*this, XCB_NONE);
    for (int i = 0; i < areas.size(); ++i) {
        const xcb_atom_t name = atom(*this, "monitor " + QByteArray::number(i));
        const xcb_randr_output_t real = i == 0 ? output(*this) : XCB_NONE;
        if (!addMonitor(*this, monitorInfo(name, areas[i], i == primary), real))
            return false;
    }
    return monitors() == inServersOrder(areas, primary);
}

bool XClient::resizeScreen(const QSize &size)
{
    if (!hasRandr() || !isPossible(*this, size))
        return false;
    const ServerGrab grab(connection());
    return showMode(*this, XCB_NONE) && setScreenSize(*this, size)
        && showMode(*this, modeOf(*this, size)) && screenSize() == size;
}

} // namespace corvane::test
