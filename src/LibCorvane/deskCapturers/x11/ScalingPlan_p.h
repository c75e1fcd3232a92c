#ifndef LIBCORVANE_SCALINGPLAN_P_H
#define LIBCORVANE_SCALINGPLAN_P_H

#include <QRect>
#include <QSize>

#include <vector>

namespace corvane {

/// The sizes that a picture is scaled to one after another, each from the one before with bilinear
/// interpolation; the last is the target. Empty when the source or the target is.
///
/// Bilinear interpolation sees four pixels, however many it reduces to one. So the first step goes
/// to a multiple of the target, and the others halve that, which averages exactly. The multiple is
/// a power of two on each axis: the largest that is not larger than the source and keeps the first
/// step, which costs most, below about a million pixels. The picture is never enlarged: where the
/// target is larger than the source, the last size is the source's.
///
/// Where that multiple still skips pixels of the source, the first step goes to a smaller size
/// instead, if there is one that sees as much with fewer samples: blocks of an even number of
/// pixels, each sampled just between the two in its middle. From there the way goes on to half the
/// multiple.
std::vector<QSize> scalingSteps(QSize source, QSize target);

/// How far one goes in the source for one pixel of the scaled picture, as the 16.16 fixed-point
/// number that the X server takes; cut off, so that no sample lies beyond the last pixel.
int fixedPointRatio(int source, int scaled);

/// The pixels of the scaled picture that may change when a part of the source does.
QRect affectedPart(const QRect &sourcePart, QSize source, QSize scaled);

/// The parts that lie in the frame, relative to its corner; their bounding rectangle alone when
/// they are too many to be worth handling one by one.
std::vector<QRect> partsWithin(const QRect &frame, const std::vector<QRect> &parts);

} // namespace corvane

#endif
