#ifndef CORVANE_BENCHMARKS_SERVERSCREEN_H
#define CORVANE_BENCHMARKS_SERVERSCREEN_H

#include <support/XReply.h>

#include <QSize>

#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace corvane::bench {

using test::owned;

/// A connection to the X server, and memory that both share for pictures up to the size of the
/// screen.
class ServerScreen {
public:
    /// The largest picture that is going to be fetched; the whole screen where it is empty.
    explicit ServerScreen(QSize largest = {});
    ~ServerScreen();
    ServerScreen(const ServerScreen &) = delete;
    ServerScreen &operator=(const ServerScreen &) = delete;

    xcb_connection_t *connection() const { return m_connection; }
    const xcb_screen_t *screen() const { return m_screen; }
    QSize size() const { return {m_screen->width_in_pixels, m_screen->height_in_pixels}; }

    /// 32 bits for a pixel, blue first, row after row; null after a failure.
    uint8_t *fetch(xcb_drawable_t drawable, QSize size);

private:
    void share(QSize largest);

    xcb_connection_t *m_connection;
    const xcb_screen_t *m_screen = nullptr;
    void *m_memory = nullptr;
    xcb_shm_seg_t m_segment = XCB_NONE;
};

} // namespace corvane::bench

#endif
