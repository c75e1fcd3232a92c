#include "Patterns.h"

#include <QPainter>

#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace corvane::bench {
namespace {

int between(std::mt19937 &random, int lowest, int highest)
{
    return lowest + int(random() % unsigned(highest - lowest + 1));
}

/// Every channel of every pixel on its own.
QImage noise(QSize size)
{
    std::mt19937 random(1);
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            row[x] = 0xff000000 | random();
    }
    return picture;
}

/// White on black: upright ones on the left half, level ones on the right.
QImage onePixelLines(QSize size)
{
    std::mt19937 random(2);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::black);
    QPainter painter(&picture);
    const int middle = size.width() / 2;
    for (int x = 0; x < middle; x += between(random, 3, 20))
        painter.fillRect(x, 0, 1, size.height(), Qt::white);
    for (int y = 0; y < size.height(); y += between(random, 3, 20))
        painter.fillRect(middle, y, size.width() - middle, 1, Qt::white);
    return picture;
}

/// Black on white, like a page of small print: strokes of one pixel in cells of 6 × 12, with words
/// and lines between gaps.
QImage smallText(QSize size)
{
    constexpr int cellWidth = 6;
    constexpr int cellHeight = 12;
    std::mt19937 random(3);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    for (int y = 0; y < size.height(); y += cellHeight) {
        for (int x = 0; x < size.width(); x += cellWidth) {
            if (between(random, 0, 5) == 0)
                continue;
            const int top = y + between(random, 1, 3);
            painter.fillRect(x + between(random, 0, 2), top, 1, 8, Qt::black);
            painter.fillRect(x, top + between(random, 0, 3), 4, 1, Qt::black);
            painter.fillRect(x + 3, top + between(random, 3, 6), 1, 4, Qt::black);
        }
    }
    return picture;
}

/// What photographs and films are made of: nothing finer than about 16 pixels.
QImage softDetail(QSize size)
{
    const QImage coarse = noise((size + QSize(15, 15)) / 16);
    return coarse.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// The source pixels that make up one pixel, and how much the first and the last count.
struct Share {
    int first;
    std::vector<double> weights;
};

std::vector<Share> sharesOf(int source, int target)
{
    std::vector<Share> shares;
    const double ratio = double(source) / target;
    for (int i = 0; i < target; ++i) {
        const double begin = i * ratio;
        const double end = std::min((i + 1) * ratio, double(source));
        Share share{int(begin), {}};
        for (int at = share.first; at < end; ++at)
            share.weights.push_back((std::min(at + 1.0, end) - std::max(double(at), begin))
                                    / ratio);
        shares.push_back(std::move(share));
    }
    return shares;
}

std::array<int, 3> channels(QRgb pixel)
{
    return {qRed(pixel), qGreen(pixel), qBlue(pixel)};
}

void addRow(const QRgb *row, const std::vector<Share> &columns, double weight, double *sums)
{
    for (const Share &column : columns) {
        for (std::size_t i = 0; i < column.weights.size(); ++i) {
            const auto pixel = channels(row[column.first + int(i)]);
            for (int c = 0; c < 3; ++c)
                sums[c] += weight * column.weights[i] * pixel[c];
        }
        sums += 3;
    }
}

} // namespace

const std::vector<Pattern> &patterns()
{
    static const std::vector<Pattern> all{{"noise", noise},
                                          {"one-pixel lines", onePixelLines},
                                          {"small text", smallText},
                                          {"soft detail", softDetail}};
    return all;
}

ExactPicture areaAverage(const QImage &picture, QSize size)
{
    const QImage source = picture.convertToFormat(QImage::Format_RGB32);
    const auto columns = sharesOf(source.width(), size.width());
    const auto rowSamples = std::size_t(size.width()) * 3;
    ExactPicture exact{size, std::vector<double>(rowSamples * std::size_t(size.height()))};
    double *sums = exact.samples.data();
    for (const Share &row : sharesOf(source.height(), size.height())) {
        for (std::size_t i = 0; i < row.weights.size(); ++i)
            addRow(reinterpret_cast<const QRgb *>(source.constScanLine(row.first + int(i))),
                   columns, row.weights[i], sums);
        sums += rowSamples;
    }
    return exact;
}

double rootMeanSquare(const QImage &picture, const ExactPicture &exact)
{
    if (picture.size() != exact.size)
        return std::numeric_limits<double>::infinity();
    double sum = 0.0;
    const double *expected = exact.samples.data();
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            for (const int value : channels(picture.pixel(x, y))) {
                const double difference = value - *expected++;
                sum += difference * difference;
            }
        }
    }
    return std::sqrt(sum / double(exact.samples.size()));
}

} // namespace corvane::bench
