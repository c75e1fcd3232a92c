#ifndef LIBCORVANE_FRAMECONVERSION_P_H
#define LIBCORVANE_FRAMECONVERSION_P_H

#include <QImage>
#include <QSize>

#include <cstddef>

namespace corvane {

/// Frames are this wide unless the host asks for another size.
constexpr int kWorkingWidth = 300;

/// No frame has more pixels, one gigabyte: a larger size is a mistake, and on a system that
/// promises more memory than it has it would be the end of the process.
constexpr qint64 kMostPixels = qint64(16384) * 16384;

/// Whether frames of this size can be made.
bool isFrameSize(QSize size);

/// The whole pixels of a display's bounds, fractions cut off.
QSize originSize(double width, double height);

/// The size that a display's frames have at first: kWorkingWidth wide, in the display's shape, the
/// height cut off to whole pixels. Empty when the display has no width.
QSize workingSize(double width, double height);

/// Pixels that belong to somebody else: 32 bits each, blue in the first byte, then green, red and
/// alpha. A row has at least 4 × width bytes.
struct BgraPixels {
    const uchar *bits;
    int width;
    int height;
    std::size_t bytesPerLine;
};

/// Whether the fourth byte of a pixel counts or the picture has no alpha.
enum class Alpha { Keep, Opaque };

/// The picture in Format_RGBA8888, scaled to the size with bilinear interpolation. Null when the
/// picture is empty, when isFrameSize() denies the size, and when memory is short.
QImage convertedFrame(const BgraPixels &pixels, QSize size, Alpha alpha);

} // namespace corvane

#endif
