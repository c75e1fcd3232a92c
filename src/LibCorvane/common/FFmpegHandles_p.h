#ifndef LIBCORVANE_FFMPEGHANDLES_P_H
#define LIBCORVANE_FFMPEGHANDLES_P_H

#include <memory>

extern "C" {
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
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

} // namespace corvane

#endif
