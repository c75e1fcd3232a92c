#include "CaptureWay.h"

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <array>

namespace corvane::bench {
namespace {

struct CloseInput {
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};
using Input = std::unique_ptr<AVFormatContext, CloseInput>;

struct FreePacket {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

struct FreeScaler {
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

Input openX11Grab(const QString &display, QSize screen)
{
    avdevice_register_all();
    AVDictionary *options = nullptr;
    av_dict_set(&options, "framerate", "25", 0);
    av_dict_set(&options, "draw_mouse", "0", 0);
    av_dict_set(&options, "video_size",
                qPrintable(QString("%1x%2").arg(screen.width()).arg(screen.height())), 0);
    AVFormatContext *context = nullptr;
    avformat_open_input(&context, qPrintable(display), av_find_input_format("x11grab"), &options);
    av_dict_free(&options);
    return Input(context);
}

class X11GrabWay : public CaptureWay {
public:
    X11GrabWay(const QString &display, QSize screen, SwsFilter filter)
        : m_size(screen)
        , m_target(pictureSize(screen))
        , m_input(openX11Grab(display, screen))
        , m_packet(av_packet_alloc())
    {
        if (!m_input)
            return;
        m_format = AVPixelFormat(m_input->streams[0]->codecpar->format);
        m_scaler.reset(sws_getContext(
            m_size.width(), m_size.height(), m_format, m_target.width(), m_target.height(),
            AV_PIX_FMT_RGBA, filter == SwsFilter::Bilinear ? SWS_BILINEAR : SWS_FAST_BILINEAR,
            nullptr, nullptr, nullptr));
    }

    // The packet holds raw pixels: a decoder would only pass them on.
    QImage frame() override
    {
        if (!m_input || !m_scaler || av_read_frame(m_input.get(), m_packet.get()) < 0)
            return {};
        QImage picture(m_target, QImage::Format_RGBA8888);
        scale(picture);
        av_packet_unref(m_packet.get());
        return picture;
    }

private:
    void scale(QImage &picture) const
    {
        std::array<uint8_t *, 4> planes{};
        std::array<int, 4> strides{};
        av_image_fill_arrays(planes.data(), strides.data(), m_packet->data, m_format,
                             m_size.width(), m_size.height(), 1);
        uint8_t *target = picture.bits();
        const int targetStride = int(picture.bytesPerLine());
        sws_scale(m_scaler.get(), planes.data(), strides.data(), 0, m_size.height(), &target,
                  &targetStride);
    }

    QSize m_size;
    QSize m_target;
    Input m_input;
    std::unique_ptr<AVPacket, FreePacket> m_packet;
    AVPixelFormat m_format = AV_PIX_FMT_NONE;
    std::unique_ptr<SwsContext, FreeScaler> m_scaler;
};

} // namespace

std::unique_ptr<CaptureWay> makeX11GrabWay(const QString &display, QSize screen, SwsFilter filter)
{
    return std::make_unique<X11GrabWay>(display, screen, filter);
}

} // namespace corvane::bench
