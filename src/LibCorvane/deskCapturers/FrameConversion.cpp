#include "FrameConversion_p.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>

namespace corvane {
namespace {

int truncated(double value)
{
    using Limits = std::numeric_limits<int>;
    if (std::isnan(value))
        return 0;
    return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

cv::Mat viewOf(const BgraPixels &pixels)
{
    return {pixels.height, pixels.width, CV_8UC4, const_cast<uchar *>(pixels.bits),
            pixels.bytesPerLine};
}

cv::Mat viewOf(QImage &image)
{
    return {image.height(), image.width(), CV_8UC4, image.bits(),
            static_cast<std::size_t>(image.bytesPerLine())};
}

std::uint32_t withRedAndBlueSwapped(std::uint32_t pixel)
{
    return (pixel & 0xff00ff00U) | (pixel >> 16 & 0xffU) | (pixel & 0xffU) << 16;
}

template <std::ptrdiff_t Pixels>
void convertPixels(const uchar *bgra, uchar *rgba, std::uint32_t alphaBits)
{
    std::uint32_t block[Pixels];
    std::memcpy(block, bgra, sizeof block);
    for (std::uint32_t &pixel : block)
        pixel = withRedAndBlueSwapped(pixel) | alphaBits;
    std::memcpy(rgba, block, sizeof block);
}

// In blocks of a fixed length, which compilers vectorise at every optimisation level.
void convertRow(const uchar *bgra, uchar *rgba, int width, std::uint32_t alphaBits)
{
    constexpr std::ptrdiff_t kBlock = 8;
    std::ptrdiff_t x = 0;
    for (; x + kBlock <= width; x += kBlock)
        convertPixels<kBlock>(bgra + 4 * x, rgba + 4 * x, alphaBits);
    for (; x < width; ++x)
        convertPixels<1>(bgra + 4 * x, rgba + 4 * x, alphaBits);
}

// Source and target may be the same pixels: unlike cvtColor this needs no copy then, and alpha
// costs no second pass.
void convertColours(const cv::Mat &bgra, cv::Mat &rgba, Alpha alpha)
{
    const std::uint32_t alphaBits = alpha == Alpha::Opaque ? 0xff000000U : 0;
    for (int y = 0; y < rgba.rows; ++y)
        convertRow(bgra.ptr(y), rgba.ptr(y), rgba.cols, alphaBits);
}

QImage converted(const BgraPixels &pixels, QSize size, Alpha alpha)
{
    QImage frame(size, QImage::Format_RGBA8888);
    if (frame.isNull()) // no memory
        return {};
    cv::Mat target = viewOf(frame);
    const cv::Mat source = viewOf(pixels);
    if (source.size() == target.size()) {
        convertColours(source, target, alpha);
        return frame;
    }
    // Most frames shrink: the colours come second.
    cv::resize(source, target, target.size(), 0, 0, cv::INTER_LINEAR);
    convertColours(target, target, alpha);
    return frame;
}

} // namespace

QSize originSize(double width, double height)
{
    return {truncated(width), truncated(height)};
}

QSize workingSize(double width, double height)
{
    if (!(width > 0.0))
        return {};
    return {kWorkingWidth, truncated(height * kWorkingWidth / width)};
}

bool isFrameSize(QSize size)
{
    return !size.isEmpty() && qint64(size.width()) * size.height() <= kMostPixels;
}

QImage convertedFrame(const BgraPixels &pixels, QSize size, Alpha alpha)
{
    if (!pixels.bits || pixels.width <= 0 || pixels.height <= 0 || !isFrameSize(size))
        return {};
    try {
        return converted(pixels, size, alpha);
    } catch (const std::exception &) { // OpenCV or the system found no memory
        return {};
    }
}

} // namespace corvane
