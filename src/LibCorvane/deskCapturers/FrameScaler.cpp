#include "FrameScaler_p.h"

extern "C" {
#include <libavutil/mem.h>
}

namespace corvane {
namespace {

constexpr QImage::Format kImageFormat = QImage::Format_RGBA8888;
constexpr AVPixelFormat kPixelFormat = AV_PIX_FMT_RGBA;
constexpr int kBytesPerPixel = 4;

/// FFmpeg's vectorised loops write whole vectors, up to 60 bytes past the end of the last line.
constexpr size_t kOverrunBytes = 256;

struct BytesDeleter {
    void operator()(uchar *bytes) const noexcept { av_free(bytes); }
};

QImage roomyImage(QSize size)
{
    const size_t lineBytes = static_cast<size_t>(size.width()) * kBytesPerPixel;
    const size_t imageBytes = lineBytes * static_cast<size_t>(size.height());
    std::unique_ptr<uchar, BytesDeleter> bytes(
        static_cast<uchar *>(av_malloc(imageBytes + kOverrunBytes)));
    if (!bytes)
        return {};
    QImage image(bytes.get(), size.width(), size.height(), static_cast<int>(lineBytes),
                 kImageFormat, av_free, bytes.get());
    if (!image.isNull())
        static_cast<void>(bytes.release()); // the image frees them now
    return image;
}

} // namespace

PictureShape shapeOf(const AVFrame &frame)
{
    return {frame.width, frame.height, static_cast<AVPixelFormat>(frame.format)};
}

PictureShape shapeOf(const AVCodecContext &decoder)
{
    return {decoder.width, decoder.height, decoder.pix_fmt};
}

void FrameScaler::prepare(const PictureShape &source, QSize target)
{
    m_source = source;
    m_target = target;
    m_context.reset();
    if (source.format == AV_PIX_FMT_NONE || target.isEmpty())
        return;
    m_context.reset(sws_getContext(source.width, source.height, source.format, target.width(),
                                   target.height(), kPixelFormat, SWS_BILINEAR, nullptr, nullptr,
                                   nullptr));
}

QImage FrameScaler::scale(const AVFrame &frame)
{
    if (!frame.data[0])
        return {};
    if (!(shapeOf(frame) == m_source))
        prepare(shapeOf(frame), m_target);
    if (!m_context)
        return {};
    QImage image = roomyImage(m_target);
    if (image.isNull())
        return {};
    uint8_t *const planes[] = {image.bits(), nullptr, nullptr, nullptr};
    const int lineBytes[] = {image.bytesPerLine(), 0, 0, 0};
    const int lines =
        sws_scale(m_context.get(), frame.data, frame.linesize, 0, frame.height, planes, lineBytes);
    return lines > 0 ? image : QImage();
}

} // namespace corvane
