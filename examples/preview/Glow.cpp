#include "Glow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;
// Three box filters come close to a Gaussian.
constexpr int kPasses = 3;

struct Halo {
    /// In pixels, of one box filter.
    int reach;
    float part;
};
constexpr std::array<Halo, 2> kHalos{{{2, 0.6F}, {7, 0.4F}}};

using Plane = std::vector<float>;

size_t indexOf(int x, int y, const QSize &size)
{
    return static_cast<size_t>(y) * static_cast<size_t>(size.width()) + static_cast<size_t>(x);
}

/// The means of a row (or column) over 2 * reach + 1 values, with darkness beyond its ends.
void blurLine(const float *from, float *to, qptrdiff count, qptrdiff step, qptrdiff reach)
{
    const float share = 1.0F / static_cast<float>(2 * reach + 1);
    float sum = 0.0F;
    for (qptrdiff i = 0; i < std::min(reach, count); ++i)
        sum += from[i * step];
    for (qptrdiff i = 0; i < count; ++i) {
        sum += i + reach < count ? from[(i + reach) * step] : 0.0F;
        to[i * step] = sum * share;
        sum -= i - reach >= 0 ? from[(i - reach) * step] : 0.0F;
    }
}

void blur(Plane &plane, const QSize &size, int reach)
{
    Plane other(plane.size());
    for (int pass = 0; pass < kPasses; ++pass) {
        for (int y = 0; y < size.height(); ++y) {
            const size_t start = indexOf(0, y, size);
            blurLine(&plane[start], &other[start], size.width(), 1, reach);
        }
        for (int x = 0; x < size.width(); ++x)
            blurLine(&other[x], &plane[x], size.height(), size.width(), reach);
    }
}

Plane planeOf(const QSize &size, const QVector<Light> &lights, int shift)
{
    Plane plane(indexOf(0, size.height(), size));
    for (const Light &light : lights) {
        const QPoint pixel(static_cast<int>(light.place.x()), static_cast<int>(light.place.y()));
        if (QRect(QPoint(), size).contains(pixel))
            plane[indexOf(pixel.x(), pixel.y(), size)] +=
                static_cast<float>((light.colour >> shift) & 0xff);
    }
    return plane;
}

// What makes up for the light that the filters carry away from a row of points.
float gainOf(int reach)
{
    const double box = 2.0 * reach + 1.0;
    const double variance = kPasses * (box * box - 1.0) / 12.0;
    return static_cast<float>(std::sqrt(2.0 * kPi * variance));
}

// The light of one colour channel on each pixel.
Plane lightOf(const QSize &size, const QVector<Light> &lights, int shift, float brightness)
{
    Plane sum(indexOf(0, size.height(), size));
    const Plane points = planeOf(size, lights, shift);
    for (const Halo &halo : kHalos) {
        Plane spread = points;
        blur(spread, size, halo.reach);
        const float part = brightness * halo.part * gainOf(halo.reach);
        for (size_t i = 0; i < sum.size(); ++i)
            sum[i] += part * spread[i];
    }
    return sum;
}

} // namespace

QImage litWall(const QSize &size, QRgb wall, const QVector<Light> &lights, float brightness)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(wall);
    for (const int shift : {0, 8, 16}) {
        const Plane light = lightOf(size, lights, shift, brightness);
        const float ground = static_cast<float>((wall >> shift) & 0xff);
        for (int y = 0; y < size.height(); ++y) {
            auto *line = reinterpret_cast<QRgb *>(picture.scanLine(y));
            for (int x = 0; x < size.width(); ++x) {
                const float sum = ground + light[indexOf(x, y, size)];
                const auto value = static_cast<QRgb>(std::clamp(std::lround(sum), 0L, 255L));
                line[x] = (line[x] & ~(0xffU << shift)) | (value << shift);
            }
        }
    }
    return picture;
}
