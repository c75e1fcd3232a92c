#ifndef LIBCORVANE_PICTURESOURCE_P_H
#define LIBCORVANE_PICTURESOURCE_P_H

#include "../FrameConversion_p.h"
#include "XDisplay_p.h"

#include <QRect>
#include <QSize>

#include <memory>
#include <optional>
#include <vector>

namespace corvane {

/// Gives one monitor's picture in a small size.
class PictureSource {
public:
    /// The best that the server can do: scaled on its side, or else on ours. Null when it can do
    /// neither.
    /// \param target the size wanted; the pictures are not larger than the monitor.
    static std::unique_ptr<PictureSource> make(const XDisplay &display, const QRect &monitor,
                                               QSize target);
    virtual ~PictureSource() = default;

    /// The picture as it is now, valid until the next call; nothing after a failure.
    /// \param changed the parts of the monitor's area that differ from the picture before; the
    ///        whole area in the first call.
    virtual std::optional<BgraPixels> picture(const std::vector<QRect> &changed) = 0;
};

} // namespace corvane

#endif
