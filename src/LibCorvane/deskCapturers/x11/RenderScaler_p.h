#ifndef LIBCORVANE_RENDERSCALER_P_H
#define LIBCORVANE_RENDERSCALER_P_H

#include "XDisplay_p.h"

#include <xcb/render.h>

#include <QSize>

#include <memory>
#include <vector>

namespace corvane {

using PictureHandle = XcbResource<xcb_render_picture_t, xcb_render_free_picture>;

/// Scales one monitor's part of the screen inside the X server, with the Render extension. Windows
/// are seen as they are on the screen, and the picture's edges are those of the monitor: nothing
/// from beside it is mixed in.
class RenderScaler {
public:
    /// Null when the server lacks Render, a pixmap with 32 bits for a pixel, or the memory.
    static std::unique_ptr<RenderScaler> make(const XDisplay &display, const QRect &monitor,
                                              QSize target);

    /// Scales again what these parts of the monitor's area show. Only sends requests.
    void scale(const std::vector<QRect> &parts) const;

    /// The scaled picture.
    xcb_pixmap_t pixmap() const { return m_steps.back().pixmap.id(); }
    QSize size() const { return m_steps.back().size; }
    /// Its pixels: 32 bits each, blue in the lowest byte, the highest undefined.
    int depth() const { return m_depth; }

private:
    struct Step {
        QSize size;
        PixmapHandle pixmap;
        PictureHandle source;
        PictureHandle target;
    };

    RenderScaler(xcb_connection_t *connection, QSize monitor)
        : m_connection(connection)
        , m_monitorSize(monitor)
    {
    }
    bool addSteps(const XDisplay &display, const QRect &monitor, const std::vector<QSize> &sizes);

    xcb_connection_t *m_connection;
    QSize m_monitorSize;
    int m_depth = 0;
    std::vector<Step> m_steps;
};

} // namespace corvane

#endif
