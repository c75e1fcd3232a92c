#ifndef LIBCORVANE_FRAMESCALER_P_H
#define LIBCORVANE_FRAMESCALER_P_H

#include "../common/FFmpegHandles_p.h"

#include <QImage>
#include <QSize>

namespace corvane {

/// What a scaler has to know of the pictures that it gets.
struct PictureShape {
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;

    bool operator==(const PictureShape &other) const noexcept
    {
        return width == other.width && height == other.height && format == other.format;
    }
};

PictureShape shapeOf(const AVFrame &frame);
PictureShape shapeOf(const AVCodecContext &decoder);

/// Turns decoded frames into RGBA images of one size, with bilinear scaling. Not locked.
class FrameScaler {
public:
    /// From now on images are of the size \a target; frames are expected in the shape \a source.
    void prepare(const PictureShape &source, QSize target);

    /// The frame as an image of its own; null when the target is empty, when the frame holds no
    /// picture or one that cannot be converted, and when there is no memory. A frame of another
    /// shape than expected costs a new preparation.
    QImage scale(const AVFrame &frame);

private:
    PictureShape m_source;
    QSize m_target;
    ScalerHandle m_context;
};

} // namespace corvane

#endif
