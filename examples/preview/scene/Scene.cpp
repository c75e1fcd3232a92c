#include "Scene.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QVector>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSecondsPerRound = 40.0;
constexpr double kSecondsPerCrossing = 6.0;

struct Field {
    /// In rounds along the edges, where it starts.
    double place;
    /// Of the shorter edge.
    double reach;
    std::array<double, 3> colour;
};

constexpr std::array<Field, 6> kFields{{
    {0.00, 0.42, {0.98, 0.10, 0.22}},
    {0.16, 0.38, {1.00, 0.46, 0.02}},
    {0.33, 0.42, {0.12, 0.74, 0.30}},
    {0.50, 0.40, {0.02, 0.58, 0.86}},
    {0.67, 0.42, {0.18, 0.20, 0.95}},
    {0.83, 0.38, {0.70, 0.08, 0.78}},
}};
constexpr std::array<double, 3> kGround{0.03, 0.035, 0.06};

struct Point {
    double x;
    double y;
};

// A round along the edges of a rectangle: a circle that is pressed into it.
Point onEdge(double rounds, double width, double height)
{
    const double angle = 2.0 * kPi * rounds;
    const double x = std::cos(angle);
    const double y = std::sin(angle);
    const double stretch = 1.0 / std::max(std::abs(x), std::abs(y));
    return {(1.0 + x * stretch) * width / 2.0, (1.0 + y * stretch) * height / 2.0};
}

struct Blob {
    Point middle;
    double sharpness;
    std::array<double, 3> colour;
};

std::array<Blob, kFields.size()> blobsAt(double seconds, const QSize &size)
{
    std::array<Blob, kFields.size()> blobs{};
    for (size_t i = 0; i < kFields.size(); ++i) {
        const Field &field = kFields[i];
        const double reach = field.reach * std::min(size.width(), size.height());
        blobs[i] = {onEdge(field.place + seconds / kSecondsPerRound, size.width(), size.height()),
                    1.0 / (reach * reach), field.colour};
    }
    return blobs;
}

int channel(double value)
{
    return static_cast<int>(std::lround(255.0 * std::min(value, 1.0)));
}

template <typename Blobs>
QRgb colourAt(double x, double y, const Blobs &blobs)
{
    std::array<double, 3> sum = kGround;
    for (const Blob &blob : blobs) {
        const double dx = x - blob.middle.x;
        const double dy = y - blob.middle.y;
        const double light = std::exp(-(dx * dx + dy * dy) * blob.sharpness);
        for (size_t i = 0; i < sum.size(); ++i)
            sum[i] += light * blob.colour[i];
    }
    return qRgb(channel(sum[0]), channel(sum[1]), channel(sum[2]));
}

void paintText(QPainter &painter, const QRect &area)
{
    QFont font = painter.font();
    font.setPixelSize(std::max(8, area.height() / 3));
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(area, Qt::AlignCenter, QStringLiteral("LibCorvane"));
}

// Lines of 1 to 8 pixels, as far apart as they are wide.
void paintLines(QPainter &painter, const QRect &area)
{
    int x = area.left();
    for (int width = 1; width <= 8; ++width) {
        for (int line = 0; line < 8 / width + 2 && x + width < area.right(); ++line) {
            painter.fillRect(x, area.top(), width, area.height(), Qt::white);
            x += 2 * width;
        }
        x += 12;
    }
}

void paintPixels(QPainter &painter, const QRect &area)
{
    painter.save();
    painter.setBrushOrigin(area.topLeft());
    painter.fillRect(area, QBrush(Qt::white, Qt::Dense4Pattern));
    painter.restore();
}

} // namespace

QImage colourFields(const QSize &size, double seconds)
{
    const auto blobs = blobsAt(seconds, size);
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = colourAt(x + 0.5, y + 0.5, blobs);
    }
    return picture;
}

QRect brightBar(const QSize &size, double seconds)
{
    const int width = std::max(2, size.width() / 40);
    const double part = std::fmod(seconds, kSecondsPerCrossing) / kSecondsPerCrossing;
    const int x = static_cast<int>(std::lround(part * (size.width() + width))) - width;
    return {x, 0, width, size.height()};
}

void paintDetails(QPainter &painter, const QSize &size)
{
    const int height = size.height() / 4;
    const int width = std::min(size.width() / 2, 3 * height);
    const QRect area((size.width() - width) / 2, (size.height() - height) / 2, width, height);
    painter.setPen(Qt::white);
    paintText(painter, area.adjusted(0, 0, 0, -height / 3));
    const QRect below = area.adjusted(0, 3 * height / 4, 0, 0);
    paintLines(painter, below.adjusted(0, 0, -width / 4, 0));
    paintPixels(painter, below.adjusted(3 * width / 4 + 8, 0, 0, 0));
}
