#include "PictureSource_p.h"

#include "PixelFetcher_p.h"
#include "PixelUnpacking_p.h"
#include "RenderScaler_p.h"

#include <opencv2/imgproc.hpp>

namespace corvane {
namespace {

std::size_t pixelBytes(QSize size)
{
    return 4 * static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
}

// Only the small picture leaves the server.
class ServerScaledPicture : public PictureSource {
public:
    ServerScaledPicture(const XDisplay &display, std::unique_ptr<RenderScaler> scaler)
        : m_scaler(std::move(scaler))
        , m_fetcher(display, pixelBytes(m_scaler->size()))
    {
    }

    std::optional<BgraPixels> picture(const std::vector<QRect> &changed) override
    {
        m_scaler->scale(changed);
        const QSize size = m_scaler->size();
        const QRect all(QPoint(0, 0), size);
        const uint8_t *bits = m_fetcher.fetch(m_scaler->pixmap(), all, pixelBytes(size));
        if (!bits)
            return std::nullopt;
        return BgraPixels{bits, size.width(), size.height(), pixelBytes({size.width(), 1})};
    }

private:
    std::unique_ptr<RenderScaler> m_scaler;
    PixelFetcher m_fetcher;
};

// For servers without Render: the whole monitor is fetched and averaged here.
class LocallyScaledPicture : public PictureSource {
public:
    LocallyScaledPicture(const XDisplay &display, const QRect &monitor, QSize target)
        : m_root(display.root())
        , m_layout(display.rootLayout())
        , m_monitor(monitor)
        , m_target(target.boundedTo(monitor.size()))
        , m_fetcher(display, monitorBytes())
    {
    }

    std::optional<BgraPixels> picture(const std::vector<QRect> &) override
    {
        const uint8_t *bits = m_fetcher.fetch(m_root, m_monitor, monitorBytes());
        if (!bits)
            return std::nullopt;
        cv::resize(monitorPixels(bits), m_scaled, {m_target.width(), m_target.height()}, 0, 0,
                   cv::INTER_AREA);
        return BgraPixels{m_scaled.data, m_scaled.cols, m_scaled.rows, m_scaled.step[0]};
    }

private:
    std::size_t monitorBytes() const
    {
        return m_layout.bytesPerLine(m_monitor.width())
            * static_cast<std::size_t>(m_monitor.height());
    }

    cv::Mat monitorPixels(const uint8_t *bits)
    {
        std::size_t bytesPerLine = m_layout.bytesPerLine(m_monitor.width());
        if (!isBgr(m_layout)) {
            unpack(bits, m_layout, m_monitor.width(), m_monitor.height(), m_unpacked);
            bits = m_unpacked.data();
            bytesPerLine = pixelBytes({m_monitor.width(), 1});
        }
        return {m_monitor.height(), m_monitor.width(), CV_8UC4, const_cast<uint8_t *>(bits),
                bytesPerLine};
    }

    xcb_window_t m_root;
    PixelLayout m_layout;
    QRect m_monitor;
    QSize m_target;
    PixelFetcher m_fetcher;
    std::vector<uint8_t> m_unpacked;
    cv::Mat m_scaled;
};

} // namespace

std::unique_ptr<PictureSource> PictureSource::make(const XDisplay &display, const QRect &monitor,
                                                   QSize target)
{
    if (auto scaler = RenderScaler::make(display, monitor, target))
        return std::make_unique<ServerScaledPicture>(display, std::move(scaler));
    if (display.isLost() || target.isEmpty() || !canUnpack(display.rootLayout()))
        return nullptr;
    return std::make_unique<LocallyScaledPicture>(display, monitor, target);
}

} // namespace corvane
