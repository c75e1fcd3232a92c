#ifndef LIBCORVANE_PIXELFETCHER_P_H
#define LIBCORVANE_PIXELFETCHER_P_H

#include "XDisplay_p.h"

#include <xcb/shm.h>

#include <QRect>

#include <memory>

namespace corvane {

/// Brings pixels of a drawable from the X server into this process: through shared memory where
/// the server can, else over the connection.
class PixelFetcher {
public:
    /// For pictures of at most this many bytes.
    PixelFetcher(const XDisplay &display, std::size_t capacity);
    ~PixelFetcher();
    PixelFetcher(const PixelFetcher &) = delete;
    PixelFetcher &operator=(const PixelFetcher &) = delete;

    /// The pixels of a part of the drawable, valid until the next call; null after a failure.
    const uint8_t *fetch(xcb_drawable_t drawable, const QRect &part, std::size_t bytes);

private:
    void share(std::size_t capacity);
    bool attach(int sharedMemory);
    const uint8_t *fetchShared(xcb_drawable_t drawable, const QRect &part);
    const uint8_t *fetchPlain(xcb_drawable_t drawable, const QRect &part, std::size_t bytes);

    xcb_connection_t *m_connection;
    void *m_memory = nullptr;
    xcb_shm_seg_t m_segment = 0;
    XcbReply<xcb_get_image_reply_t> m_plainImage;
};

} // namespace corvane

#endif
