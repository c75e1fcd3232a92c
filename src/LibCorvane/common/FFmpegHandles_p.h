#ifndef LIBCORVANE_FFMPEGHANDLES_P_H
#define LIBCORVANE_FFMPEGHANDLES_P_H

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

/// Owning handles of FFmpeg's objects.
namespace corvane {

struct FrameDeleter {
    void operator()(AVFrame *frame) const noexcept { av_frame_free(&frame); }
};
using FrameHandle = std::unique_ptr<AVFrame, FrameDeleter>;

struct ResamplerDeleter {
    void operator()(SwrContext *context) const noexcept { swr_free(&context); }
};
using ResamplerHandle = std::unique_ptr<SwrContext, ResamplerDeleter>;

struct ScalerDeleter {
    void operator()(SwsContext *context) const noexcept { sws_freeContext(context); }
};
using ScalerHandle = std::unique_ptr<SwsContext, ScalerDeleter>;

struct PacketDeleter {
    void operator()(AVPacket *packet) const noexcept { av_packet_free(&packet); }
};
using PacketHandle = std::unique_ptr<AVPacket, PacketDeleter>;

struct DecoderDeleter {
    void operator()(AVCodecContext *context) const noexcept { avcodec_free_context(&context); }
};
using DecoderHandle = std::unique_ptr<AVCodecContext, DecoderDeleter>;

struct DictionaryDeleter {
    void operator()(AVDictionary *dictionary) const noexcept { av_dict_free(&dictionary); }
};
using DictionaryHandle = std::unique_ptr<AVDictionary, DictionaryDeleter>;

/// A format context that nothing has been opened with: closing it would be a mistake.
struct UnopenedInputDeleter {
    void operator()(AVFormatContext *context) const noexcept { avformat_free_context(context); }
};
using UnopenedInputHandle = std::unique_ptr<AVFormatContext, UnopenedInputDeleter>;

struct InputDeleter {
    void operator()(AVFormatContext *context) const noexcept { avformat_close_input(&context); }
};
using InputHandle = std::unique_ptr<AVFormatContext, InputDeleter>;

} // namespace corvane

#endif
