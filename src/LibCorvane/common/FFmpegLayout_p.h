#ifndef LIBCORVANE_FFMPEGLAYOUT_P_H
#define LIBCORVANE_FFMPEGLAYOUT_P_H

#include <cstdint>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

/// Channel layouts as bit masks over every supported FFmpeg: the layout became a structure in
/// 5.1, and the mask fields and options went in 7.0. Nothing else in the library knows.
namespace corvane {

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
    return av_get_channel_layout_nb_channels(frame->channel_layout);
}

inline uint64_t defaultLayoutMask(int channelCount) noexcept
{
    return static_cast<uint64_t>(av_get_default_channel_layout(channelCount));
}

#endif

} // namespace corvane

#endif
