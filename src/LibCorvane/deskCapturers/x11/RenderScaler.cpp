#include "RenderScaler_p.h"

#include "ScalingPlan_p.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace corvane {
namespace {

using Formats = XcbReply<xcb_render_query_pict_formats_reply_t>;

struct PixmapFormat {
    xcb_render_pictformat_t id = 0;
    int depth = 0;
};

bool isBgr(const xcb_render_directformat_t &direct)
{
    return direct.red_shift == 16 && direct.red_mask == 0xff && direct.green_shift == 8
        && direct.green_mask == 0xff && direct.blue_shift == 0 && direct.blue_mask == 0xff;
}

// Depth 24 is what most screens have, and the server's scaling is fastest between equal formats.
PixmapFormat bgrFormat(const XDisplay &display, const xcb_render_query_pict_formats_reply_t *reply)
{
    PixmapFormat best;
    auto infos = xcb_render_query_pict_formats_formats_iterator(reply);
    for (; infos.rem > 0; xcb_render_pictforminfo_next(&infos)) {
        const auto &info = *infos.data;
        const bool fits = info.type == XCB_RENDER_PICT_TYPE_DIRECT && isBgr(info.direct)
            && (info.depth == 24 || info.depth == 32) && display.hasWidePixels(info.depth);
        if (fits && (best.id == 0 || info.depth < best.depth))
            best = {info.id, info.depth};
    }
    return best;
}

xcb_render_pictformat_t formatOfVisual(xcb_render_pictdepth_iterator_t depths,
                                       xcb_visualid_t visual)
{
    for (; depths.rem > 0; xcb_render_pictdepth_next(&depths)) {
        auto visuals = xcb_render_pictdepth_visuals_iterator(depths.data);
        for (; visuals.rem > 0; xcb_render_pictvisual_next(&visuals))
            if (visuals.data->visual == visual)
                return visuals.data->format;
    }
    return 0;
}

xcb_render_pictformat_t formatOfVisual(const xcb_render_query_pict_formats_reply_t *reply,
                                       xcb_visualid_t visual)
{
    auto screens = xcb_render_query_pict_formats_screens_iterator(reply);
    for (; screens.rem > 0; xcb_render_pictscreen_next(&screens)) {
        const auto format =
            formatOfVisual(xcb_render_pictscreen_depths_iterator(screens.data), visual);
        if (format != 0)
            return format;
    }
    return 0;
}

Formats queryFormats(xcb_connection_t *c)
{
    const auto version =
        owned(xcb_render_query_version_reply(c, xcb_render_query_version(c, 0, 11), nullptr));
    // Filters came with 0.6, the repetition of edge pixels with 0.10.
    if (!version || (version->major_version == 0 && version->minor_version < 10))
        return nullptr;
    return owned(xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
}

PictureHandle rootPicture(const XDisplay &display, xcb_render_pictformat_t format)
{
    xcb_connection_t *c = display.connection();
    const auto id = xcb_generate_id(c);
    const std::array<uint32_t, 2> values = {XCB_RENDER_REPEAT_PAD,
                                            XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
    xcb_render_create_picture(c, id, display.root(), format,
                              XCB_RENDER_CP_REPEAT | XCB_RENDER_CP_SUBWINDOW_MODE, values.data());
    return {c, id};
}

PictureHandle pixmapPicture(xcb_connection_t *c, xcb_pixmap_t pixmap,
                            xcb_render_pictformat_t format)
{
    const auto id = xcb_generate_id(c);
    const uint32_t repeat = XCB_RENDER_REPEAT_PAD;
    xcb_render_create_picture(c, id, pixmap, format, XCB_RENDER_CP_REPEAT, &repeat);
    return {c, id};
}

void setScaling(xcb_connection_t *c, xcb_render_picture_t picture, const QRect &from, QSize to)
{
    constexpr std::string_view filter = "bilinear";
    xcb_render_transform_t transform{};
    transform.matrix11 = fixedPointRatio(from.width(), to.width());
    transform.matrix22 = fixedPointRatio(from.height(), to.height());
    transform.matrix13 = from.x() * 65536;
    transform.matrix23 = from.y() * 65536;
    transform.matrix33 = 65536;
    xcb_render_set_picture_transform(c, picture, transform);
    xcb_render_set_picture_filter(c, picture, static_cast<uint16_t>(filter.size()), filter.data(),
                                  0, nullptr);
}

void composite(xcb_connection_t *c, xcb_render_picture_t source, xcb_render_picture_t target,
               const QRect &part)
{
    const auto x = static_cast<int16_t>(part.x());
    const auto y = static_cast<int16_t>(part.y());
    xcb_render_composite(c, XCB_RENDER_PICT_OP_SRC, source, XCB_RENDER_PICTURE_NONE, target, x, y,
                         0, 0, x, y, static_cast<uint16_t>(part.width()),
                         static_cast<uint16_t>(part.height()));
}

} // namespace

std::unique_ptr<RenderScaler> RenderScaler::make(const XDisplay &display, const QRect &monitor,
                                                 QSize target)
{
    if (!display.hasRender())
        return nullptr;
    std::unique_ptr<RenderScaler> scaler(new RenderScaler(display.connection(), monitor.size()));
    const auto sizes = scalingSteps(monitor.size(), target);
    return !sizes.empty() && scaler->addSteps(display, monitor, sizes) ? std::move(scaler)
                                                                       : nullptr;
}

bool RenderScaler::addSteps(const XDisplay &display, const QRect &monitor,
                            const std::vector<QSize> &sizes)
{
    const Formats formats = queryFormats(m_connection);
    if (!formats)
        return false;
    const PixmapFormat format = bgrFormat(display, formats.get());
    const auto rootFormat = formatOfVisual(formats.get(), display.rootVisual());
    if (format.id == 0 || rootFormat == 0)
        return false;
    m_depth = format.depth;

    PictureHandle source = rootPicture(display, rootFormat);
    QRect sourceArea = monitor;
    for (const QSize size : sizes) {
        const auto pixmap = xcb_generate_id(m_connection);
        const auto made = xcb_create_pixmap_checked(
            m_connection, static_cast<uint8_t>(m_depth), pixmap, display.root(),
            static_cast<uint16_t>(size.width()), static_cast<uint16_t>(size.height()));
        if (!succeeded(m_connection, made))
            return false;
        setScaling(m_connection, source.id(), sourceArea, size);
        m_steps.push_back({size, PixmapHandle(m_connection, pixmap), std::move(source),
                           pixmapPicture(m_connection, pixmap, format.id)});
        source = pixmapPicture(m_connection, pixmap, format.id);
        sourceArea = QRect(QPoint(0, 0), size);
    }
    return true;
}

void RenderScaler::scale(const std::vector<QRect> &parts) const
{
    for (QRect part : parts) {
        QSize sourceSize = m_monitorSize;
        for (const Step &step : m_steps) {
            part = affectedPart(part, sourceSize, step.size);
            composite(m_connection, step.source.id(), step.target.id(), part);
            sourceSize = step.size;
        }
    }
}

} // namespace corvane
