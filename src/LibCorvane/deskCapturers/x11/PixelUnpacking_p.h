#ifndef LIBCORVANE_PIXELUNPACKING_P_H
#define LIBCORVANE_PIXELUNPACKING_P_H

#include "XDisplay_p.h"

#include <vector>

namespace corvane {

/// Whether the pixels are 32 bits each with blue, green and red in the lowest bytes, so that they
/// need no unpacking.
bool isBgr(const PixelLayout &layout);

/// Whether unpack() knows the layout: 16 or 32 bits for a pixel.
bool canUnpack(const PixelLayout &layout);

/// The picture as blue, green, red and a byte of 255, without padding between rows. Channels of
/// fewer than 8 bits are widened by repeating their bits, wider ones lose their lowest.
void unpack(const uint8_t *pixels, const PixelLayout &layout, int width, int height,
            std::vector<uint8_t> &bgra);

} // namespace corvane

#endif
