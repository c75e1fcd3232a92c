#include "FrameConversion_p.h"

#include <opencv2/imgproc.hpp>

namespace corvane {
namespace {

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

// Through three channels: the way back to four sets alpha to 255.
void swapRedAndBlue(const cv::Mat &bgra, cv::Mat &rgba, Alpha alpha)
{
    cv::cvtColor(bgra, rgba, cv::COLOR_BGRA2RGBA);
    if (alpha == Alpha::Opaque)
        rgba |= cv::Scalar(0, 0, 0, 255);
}

} // namespace

QSize originSize(double width, double height)
{
    return {static_cast<int>(width), static_cast<int>(height)};
}

QSize workingSize(double width, double height)
{
    if (width <= 0.0)
        return {};
    return {kWorkingWidth, static_cast<int>(height * kWorkingWidth / width)};
}

QImage convertedFrame(const BgraPixels &pixels, QSize size, Alpha alpha)
{
    if (!pixels.bits || pixels.width <= 0 || pixels.height <= 0 || size.isEmpty())
        return {};
    QImage frame(size, QImage::Format_RGBA8888);
    if (frame.isNull())
        return {};
    cv::Mat target = viewOf(frame);
    const cv::Mat source = viewOf(pixels);
    if (source.size() == target.size()) {
        swapRedAndBlue(source, target, alpha);
        return frame;
    }
    cv::resize(source, target, target.size(), 0, 0, cv::INTER_LINEAR);
    swapRedAndBlue(target, target, alpha);
    return frame;
}

} // namespace corvane
