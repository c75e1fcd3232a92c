#ifndef LIBCORVANE_FFMPEGLAYOUT_P_H
#define LIBCORVANE_FFMPEGLAYOUT_P_H

#include <cstdint>
#include <type_traits>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

/// What differs between the supported versions of FFmpeg; nothing else in the library knows.
///
/// Channel layouts are bit masks here: the layout became a structure in 5.1, and the mask fields
/// and options went in 7.0.
namespace corvane {

/// Const since FFmpeg 5.
using InputFormat = std::remove_pointer_t<decltype(av_find_input_format(nullptr))>;

enum class ResamplerSide { Input, Output };

#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 28, 100)

/// The layout of a mask; the mask 0 gives the layout without channels, which FFmpeg rejects where
/// it is used. A native layout owns no memory, so there is nothing to release.
inline AVChannelLayout layoutFromMask(uint64_t mask) noexcept
{
    AVChannelLayout layout = {};
    av_channel_layout_from_mask(&layout, mask);
    return layout;
}

inline int setResamplerLayout(SwrContext *context, ResamplerSide side, uint64_t mask) noexcept
{
    const AVChannelLayout layout = layoutFromMask(mask);
    const char *option = side == ResamplerSide::Input ? "in_chlayout" : "out_chlayout";
    return av_opt_set_chlayout(context, option, &layout, 0);
}

inline void setFrameLayout(AVFrame *frame, uint64_t mask) noexcept
{
    frame->ch_layout = layoutFromMask(mask);
}

inline int frameChannelCount(const AVFrame *frame) noexcept
{
    return frame->ch_layout.nb_channels;
}

inline uint64_t defaultLayoutMask(int channelCount) noexcept
{
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, channelCount);
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

/// The mask of a layout; that of the usual layout of so many channels when it names none.
inline uint64_t layoutMask(const AVChannelLayout &layout) noexcept
{
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask
                                                   : defaultLayoutMask(layout.nb_channels);
}

inline uint64_t frameLayoutMask(const AVFrame *frame) noexcept
{
    return layoutMask(frame->ch_layout);
}

inline uint64_t decoderLayoutMask(const AVCodecContext *decoder) noexcept
{
    return layoutMask(decoder->ch_layout);
}

#else

inline int setResamplerLayout(SwrContext *context, ResamplerSide side, uint64_t mask) noexcept
{
    const char *option = side == ResamplerSide::Input ? "in_channel_layout" : "out_channel_layout";
    return av_opt_set_int(context, option, static_cast<int64_t>(mask), 0);
}

inline void setFrameLayout(AVFrame *frame, uint64_t mask) noexcept
{
    frame->channel_layout = mask;
}

inline int frameChannelCount(const AVFrame *frame) noexcept
{
    return frame->channels;
}

inline uint64_t defaultLayoutMask(int channelCount) noexcept
{
    return static_cast<uint64_t>(av_get_default_channel_layout(channelCount));
}

inline uint64_t frameLayoutMask(const AVFrame *frame) noexcept
{
    return frame->channel_layout ? frame->channel_layout : defaultLayoutMask(frame->channels);
}

inline uint64_t decoderLayoutMask(const AVCodecContext *decoder) noexcept
{
    return decoder->channel_layout ? decoder->channel_layout : defaultLayoutMask(decoder->channels);
}

#endif

} // namespace corvane

#endif
