#ifndef LIBCORVANE_XCBHANDLES_P_H
#define LIBCORVANE_XCBHANDLES_P_H

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace corvane {

struct FreeReply {
    void operator()(void *reply) const
    {
        std::free(reply); // XCB's replies, events and errors come from malloc()
    }
};

/// A reply, event or error of XCB.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>;

template <typename T>
XcbReply<T> owned(T *reply)
{
    return XcbReply<T>(reply);
}

/// A resource of the X server that is freed with this object, as long as the connection lives.
template <typename Id, xcb_void_cookie_t (*release)(xcb_connection_t *, Id)>
class XcbResource {
public:
    XcbResource() = default;
    XcbResource(xcb_connection_t *connection, Id id)
        : m_connection(connection)
        , m_id(id)
    {
    }
    XcbResource(XcbResource &&other) noexcept
        : m_connection(std::exchange(other.m_connection, nullptr))
        , m_id(other.m_id)
    {
    }
    XcbResource &operator=(XcbResource &&other) noexcept
    {
        std::swap(m_connection, other.m_connection);
        std::swap(m_id, other.m_id);
        return *this;
    }
    ~XcbResource()
    {
        if (m_connection)
            release(m_connection, m_id);
    }

    Id id() const { return m_id; }

private:
    xcb_connection_t *m_connection = nullptr;
    Id m_id = 0;
};

using PixmapHandle = XcbResource<xcb_pixmap_t, xcb_free_pixmap>;

/// Whether the server carried a checked request out.
inline bool succeeded(xcb_connection_t *connection, xcb_void_cookie_t cookie)
{
    return owned(xcb_request_check(connection, cookie)) == nullptr
        && xcb_connection_has_error(connection) == 0;
}

} // namespace corvane

#endif
