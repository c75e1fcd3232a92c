#include "XClient.h"

#include "XReply.h"

namespace corvane::test {
namespace {

const xcb_visualtype_t *rootVisual(const xcb_screen_t *screen)
{
    auto depths = xcb_screen_allowed_depths_iterator(screen);
    for (; depths.rem; xcb_depth_next(&depths)) {
        auto visuals = xcb_depth_visuals_iterator(depths.data);
        for (; visuals.rem; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == screen->root_visual)
                return visuals.data;
        }
    }
    return nullptr;
}

/// The layout that QImage and the screen share.
QImage::Format formatOf(const xcb_visualtype_t *visual)
{
    constexpr struct {
        quint32 red, green, blue;
        QImage::Format format;
    } layouts[] = {{0xf800, 0x7e0, 0x1f, QImage::Format_RGB16},
                   {0xff0000, 0xff00, 0xff, QImage::Format_RGB32},
                   {0x3ff00000, 0xffc00, 0x3ff, QImage::Format_RGB30}};
    for (const auto &layout : layouts) {
        if (visual && visual->red_mask == layout.red && visual->green_mask == layout.green
            && visual->blue_mask == layout.blue)
            return layout.format;
    }
    return QImage::Format_Invalid;
}

quint32 pixelOf(const QColor &colour, QImage::Format format)
{
    QImage dot(1, 1, format);
    dot.fill(colour);
    if (dot.depth() == 16)
        return *reinterpret_cast<const quint16 *>(dot.constBits());
    return *reinterpret_cast<const quint32 *>(dot.constBits());
}

xcb_rectangle_t rectangleOf(const QRect &area)
{
    return {qint16(area.x()), qint16(area.y()), quint16(area.width()), quint16(area.height())};
}

} // namespace

XClient::XClient(const QString &display)
    : m_connection(xcb_connect(display.toLatin1().constData(), nullptr))
{
    if (xcb_connection_has_error(connection()))
        return;
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(connection())).data;
    m_format = formatOf(rootVisual(m_screen));
    prepareDrawing();
    askForMonitors();
}

XClient::~XClient() = default;

bool XClient::isConnected() const
{
    return m_format != QImage::Format_Invalid && !xcb_connection_has_error(connection());
}

xcb_connection_t *XClient::connection() const
{
    return m_connection.get();
}

xcb_window_t XClient::root() const
{
    return m_screen ? m_screen->root : XCB_NONE;
}

bool XClient::sync() const
{
    return owned(
               xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr))
        != nullptr;
}

void XClient::prepareDrawing()
{
    const quint32 noExposures = 0;
    m_context = xcb_generate_id(connection());
    xcb_create_gc(connection(), m_context, root(), XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
}

xcb_gcontext_t XClient::setColour(const QColor &colour)
{
    const quint32 pixel = pixelOf(colour, m_format);
    xcb_change_gc(connection(), m_context, XCB_GC_FOREGROUND, &pixel);
    return m_context;
}

void XClient::fill(const QRect &area, const QColor &colour)
{
    const xcb_rectangle_t rectangle = rectangleOf(area);
    xcb_poly_fill_rectangle(connection(), root(), setColour(colour), 1, &rectangle);
    xcb_flush(connection());
}

void XClient::draw(const QPoint &position, const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(m_format);
    const int rowBytes = pixels.bytesPerLine();
    const int room = int(xcb_get_maximum_request_length(connection())) * 4 - 64;
    const int rowsAtOnce = room / rowBytes;
    for (int row = 0; row < pixels.height(); row += rowsAtOnce) {
        const int rows = qMin(rowsAtOnce, pixels.height() - row);
        xcb_put_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(), m_context,
                      quint16(pixels.width()), quint16(rows), qint16(position.x()),
                      qint16(position.y() + row), 0, m_screen->root_depth, quint32(rows * rowBytes),
                      pixels.constScanLine(row));
    }
    xcb_flush(connection());
}

xcb_window_t XClient::addWindow(const QRect &area, const QColor &colour)
{
    const xcb_window_t window = xcb_generate_id(connection());
    const xcb_rectangle_t place = rectangleOf(area);
    const quint32 values[] = {pixelOf(colour, m_format), true};
    xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window, root(), place.x, place.y,
                      place.width, place.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection(), window);
    xcb_flush(connection());
    return window;
}

void XClient::removeWindow(xcb_window_t window)
{
    xcb_destroy_window(connection(), window);
    xcb_flush(connection());
}

QImage XClient::grab(const QRect &area) const
{
    const xcb_rectangle_t place = rectangleOf(area);
    const auto reply =
        owned(xcb_get_image_reply(connection(),
                                  xcb_get_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(),
                                                place.x, place.y, place.width, place.height, ~0u),
                                  nullptr));
    if (!reply)
        return {};
    // Rows of both kinds of picture end at whole 32 bits.
    const int rowBytes = xcb_get_image_data_length(reply.get()) / area.height();
    return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), rowBytes, m_format)
        .convertToFormat(QImage::Format_RGB32)
        .copy();
}

QSize XClient::screenSize() const
{
    const auto reply = owned(
        xcb_get_geometry_reply(connection(), xcb_get_geometry(connection(), root()), nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

} // namespace corvane::test
