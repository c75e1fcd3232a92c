#include "PictureProbe.h"

#include <QWidget>

#include <algorithm>
#include <cstdlib>

namespace corvane::test {
namespace {

constexpr int kHueTolerance = 10;
constexpr int kMinimalSaturation = 60;

bool hasHue(QRgb pixel, int hue)
{
    const QColor colour(pixel);
    return colour.saturation() >= kMinimalSaturation
        && std::abs(colour.hue() - hue) <= kHueTolerance;
}

int pixelsOfHue(const QImage &picture, int x, int hue)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        count += hasHue(picture.pixel(x, y), hue) ? 1 : 0;
    return count;
}

} // namespace

QVector<int> barHeights(const QImage &picture, QRgb colour)
{
    const int hue = QColor(colour).hue();
    QVector<int> heights;
    bool inside = false;
    for (int x = 0; x < picture.width(); ++x) {
        const int pixels = pixelsOfHue(picture, x, hue);
        if (pixels > 0 && !inside)
            heights.append(0);
        inside = pixels > 0;
        if (inside)
            heights.last() = std::max(heights.last(), pixels);
    }
    return heights;
}

int highestBar(const QVector<int> &heights)
{
    if (heights.isEmpty())
        return -1;
    return static_cast<int>(std::max_element(heights.cbegin(), heights.cend()) - heights.cbegin());
}

QImage partOf(const QImage &picture, const QWidget &child)
{
    return picture.copy(QRect(child.mapTo(child.window(), QPoint()), child.size()));
}

QColor colourIn(const QImage &picture, const QRectF &area)
{
    return picture.pixelColor(area.center().toPoint());
}

bool isNear(const QColor &colour, const QColor &expected, int tolerance)
{
    return std::abs(colour.red() - expected.red()) <= tolerance
        && std::abs(colour.green() - expected.green()) <= tolerance
        && std::abs(colour.blue() - expected.blue()) <= tolerance;
}

} // namespace corvane::test
