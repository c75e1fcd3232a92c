// A delivered picture to the frame that hosts get: blue first to red first, scaled to 300 pixels
// width, beside the straightforward way with OpenCV, and swscale.
#include "RunBenchmarks.h"

#include <LibCorvane/deskCapturers/FrameConversion_p.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

namespace {

using corvane::BgraPixels;

/// The ways weigh neighbours differently. Swapped channels, or a shift by a target pixel, are
/// beyond this.
constexpr double kTolerance = 1.0;
/// swscale's fast bilinear scaling shifts the picture by about two target pixels.
constexpr double kShiftTolerance = 12.0;

/// Waves in each channel, with alpha 255.
class Picture {
public:
    Picture(int width, int height)
        : m_width(width)
        , m_height(height)
        , m_bytes(std::size_t(width) * std::size_t(height) * 4)
    {
        uchar *at = m_bytes.data();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x, at += 4)
                setPixel(at, 20.0 * x / width, 13.0 * y / height);
    }

    BgraPixels pixels() const
    {
        return {m_bytes.data(), m_width, m_height, std::size_t(m_width) * 4};
    }

private:
    static void setPixel(uchar *bgra, double x, double y)
    {
        bgra[0] = wave(x);
        bgra[1] = wave(y);
        bgra[2] = wave(x + y);
        bgra[3] = 255;
    }
    static uchar wave(double at) { return uchar(std::lround(127.5 + 127.5 * std::sin(at))); }

    int m_width;
    int m_height;
    std::vector<uchar> m_bytes;
};

template <corvane::Alpha alpha>
class Library {
public:
    Library(const BgraPixels &, QSize target)
        : m_target(target)
    {
    }
    QImage convert(const BgraPixels &pixels) const
    {
        return corvane::convertedFrame(pixels, m_target, alpha);
    }

private:
    QSize m_target;
};

class OpenCv {
public:
    OpenCv(const BgraPixels &, QSize target)
        : m_target(target)
    {
    }
    QImage convert(const BgraPixels &pixels) const
    {
        const cv::Mat source(pixels.height, pixels.width, CV_8UC4, const_cast<uchar *>(pixels.bits),
                             pixels.bytesPerLine);
        cv::Mat scaled;
        cv::Mat swapped;
        cv::resize(source, scaled, {m_target.width(), m_target.height()}, 0, 0, cv::INTER_LINEAR);
        cv::cvtColor(scaled, swapped, cv::COLOR_BGRA2RGBA);
        return QImage(swapped.data, swapped.cols, swapped.rows, int(swapped.step[0]),
                      QImage::Format_RGBA8888)
            .copy();
    }

private:
    QSize m_target;
};

template <int flags>
class Swscale {
public:
    Swscale(const BgraPixels &pixels, QSize target)
        : m_target(target)
        , m_context(sws_getContext(pixels.width, pixels.height, AV_PIX_FMT_BGRA, target.width(),
                                   target.height(), AV_PIX_FMT_RGBA, flags, nullptr, nullptr,
                                   nullptr))
    {
    }
    QImage convert(const BgraPixels &pixels) const
    {
        QImage frame(m_target, QImage::Format_RGBA8888);
        const uint8_t *source[] = {pixels.bits};
        const int sourceStride[] = {int(pixels.bytesPerLine)};
        uint8_t *target[] = {frame.bits()};
        const int targetStride[] = {int(frame.bytesPerLine())};
        sws_scale(m_context.get(), source, sourceStride, 0, pixels.height, target, targetStride);
        return frame;
    }

private:
    struct Free {
        void operator()(SwsContext *context) const { sws_freeContext(context); }
    };
    QSize m_target;
    std::unique_ptr<SwsContext, Free> m_context;
};

/// The root of the mean square difference of red, green and blue.
double difference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size() || a.format() != b.format() || a.isNull())
        return INFINITY;
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            sum += std::pow(qRed(p) - qRed(q), 2) + std::pow(qGreen(p) - qGreen(q), 2)
                + std::pow(qBlue(p) - qBlue(q), 2);
        }
    }
    return std::sqrt(sum / (3.0 * a.width() * a.height()));
}

template <class Converter>
void conversion(benchmark::State &state, double tolerance)
{
    const Picture picture(int(state.range(0)), int(state.range(1)));
    const BgraPixels pixels = picture.pixels();
    const QSize target = corvane::workingSize(pixels.width, pixels.height);
    const Converter converter(pixels, target);
    QImage frame;
    for (auto _ : state)
        frame = converter.convert(pixels);
    const double apart = difference(frame, OpenCv(pixels, target).convert(pixels));
    state.counters["difference"] = apart;
    if (!(apart < tolerance))
        state.SkipWithError("wrong result");
}

template <class Converter>
void add(const char *name, double tolerance = kTolerance)
{
    // The fastest repetition is the one that other programs disturbed least.
    const auto fastest = [](const std::vector<double> &times) {
        return *std::min_element(times.begin(), times.end());
    };
    benchmark::RegisterBenchmark(name, conversion<Converter>, tolerance)
        ->ComputeStatistics("min", fastest)
        ->Args({300, 168})
        ->Args({1920, 1080})
        ->Args({3840, 2160})
        ->Unit(benchmark::kMicrosecond)
        ->MeasureProcessCPUTime();
}

} // namespace

int main(int argc, char **argv)
{
    add<Library<corvane::Alpha::Keep>>("LibCorvane");
    add<Library<corvane::Alpha::Opaque>>("LibCorvane, opaque");
    add<OpenCv>("OpenCV, resize, cvtColor, copy");
    add<Swscale<SWS_BILINEAR>>("swscale, bilinear");
    add<Swscale<SWS_FAST_BILINEAR>>("swscale, fast bilinear", kShiftTolerance);
    return corvane::bench::runBenchmarks(argc, argv);
}
