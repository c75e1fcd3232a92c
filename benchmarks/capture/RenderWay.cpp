#include "CaptureWay.h"
#include "ServerScreen.h"

#include <opencv2/imgproc.hpp>
#include <xcb/render.h>

#include <cmath>
#include <string_view>

namespace corvane::bench {
namespace {

/// The format of the screen's own pixels.
xcb_render_pictformat_t formatOf(const ServerScreen &server)
{
    xcb_connection_t *const c = server.connection();
    const auto reply =
        owned(xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
    auto depths = xcb_render_pictscreen_depths_iterator(
        xcb_render_query_pict_formats_screens_iterator(reply.get()).data);
    for (; depths.rem; xcb_render_pictdepth_next(&depths)) {
        auto visuals = xcb_render_pictdepth_visuals_iterator(depths.data);
        for (; visuals.rem; xcb_render_pictvisual_next(&visuals)) {
            if (visuals.data->visual == server.screen()->root_visual)
                return visuals.data->format;
        }
    }
    return XCB_NONE;
}

/// What is the server's ends with the connection.
class RenderWay : public CaptureWay {
public:
    explicit RenderWay(const std::vector<QSize> &sizes)
        : m_server(sizes.back())
        , m_format(formatOf(m_server))
    {
        xcb_drawable_t source = m_server.screen()->root;
        QSize sourceSize = m_server.size();
        for (const QSize size : sizes) {
            source = addPass(source, sourceSize, size);
            sourceSize = size;
        }
    }

    QImage frame() override
    {
        for (const Pass &pass : m_passes)
            xcb_render_composite(m_server.connection(), XCB_RENDER_PICT_OP_SRC, pass.from, XCB_NONE,
                                 pass.to, 0, 0, 0, 0, 0, 0, uint16_t(pass.size.width()),
                                 uint16_t(pass.size.height()));
        const Pass &last = m_passes.back();
        uint8_t *const pixels = m_server.fetch(last.pixmap, last.size);
        if (!pixels)
            return {};
        QImage picture(last.size, QImage::Format_RGBA8888);
        cv::cvtColor(cv::Mat(last.size.height(), last.size.width(), CV_8UC4, pixels),
                     cv::Mat(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                             std::size_t(picture.bytesPerLine())),
                     cv::COLOR_BGRA2RGBA);
        return picture;
    }

private:
    struct Pass {
        QSize size;
        xcb_pixmap_t pixmap;
        xcb_render_picture_t from;
        xcb_render_picture_t to;
    };

    xcb_drawable_t addPass(xcb_drawable_t source, QSize sourceSize, QSize size)
    {
        xcb_connection_t *const c = m_server.connection();
        const xcb_pixmap_t pixmap = xcb_generate_id(c);
        xcb_create_pixmap(c, m_server.screen()->root_depth, pixmap, m_server.screen()->root,
                          uint16_t(size.width()), uint16_t(size.height()));
        const Pass pass{size, pixmap, makePicture(source), makePicture(pixmap)};
        setScaling(pass.from, sourceSize, size);
        m_passes.push_back(pass);
        return pixmap;
    }

    xcb_render_picture_t makePicture(xcb_drawable_t drawable)
    {
        const uint32_t values[] = {XCB_RENDER_REPEAT_PAD, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
        const xcb_render_picture_t picture = xcb_generate_id(m_server.connection());
        xcb_render_create_picture(m_server.connection(), picture, drawable, m_format,
                                  XCB_RENDER_CP_REPEAT | XCB_RENDER_CP_SUBWINDOW_MODE, values);
        return picture;
    }

    void setScaling(xcb_render_picture_t picture, QSize from, QSize to)
    {
        constexpr std::string_view filter = "bilinear";
        xcb_render_transform_t transform{};
        transform.matrix11 = int((qint64(from.width()) << 16) / to.width());
        transform.matrix22 = int((qint64(from.height()) << 16) / to.height());
        transform.matrix33 = 1 << 16;
        xcb_render_set_picture_transform(m_server.connection(), picture, transform);
        xcb_render_set_picture_filter(m_server.connection(), picture, uint16_t(filter.size()),
                                      filter.data(), 0, nullptr);
    }

    ServerScreen m_server;
    xcb_render_pictformat_t m_format;
    std::vector<Pass> m_passes;
};

} // namespace

std::unique_ptr<CaptureWay> makeRenderWay(const std::vector<QSize> &sizes)
{
    return std::make_unique<RenderWay>(sizes);
}

std::vector<QSize> onePass(QSize screen)
{
    return {pictureSize(screen)};
}

std::vector<QSize> twoEqualPasses(QSize screen)
{
    const QSize last = pictureSize(screen);
    const auto between = [](int from, int to) {
        return int(std::lround(std::sqrt(double(from) * to)));
    };
    return {{between(screen.width(), last.width()), between(screen.height(), last.height())}, last};
}

std::vector<QSize> halvingChain(QSize screen)
{
    const QSize last = pictureSize(screen);
    std::vector<QSize> sizes;
    for (QSize half = screen / 2; half.width() > last.width() && half.height() > last.height();
         half /= 2)
        sizes.push_back(half);
    sizes.push_back(last);
    return sizes;
}

} // namespace corvane::bench
