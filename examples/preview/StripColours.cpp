#include "StripColours.h"

#include "Sound.h"
#include "Theme.h"

#include <opencv2/core.hpp>

#include <algorithm>

namespace {

constexpr QRgb kDark = 0xff000000;

struct Range {
    int from;
    int to;
};

// The part of `length` pixels that belongs to one of `count` cells.
Range pixelsOf(int cell, int count, int length)
{
    const int inside = std::clamp(cell, 0, count - 1);
    const int from = static_cast<int>(qint64(inside) * length / count);
    const int to = static_cast<int>(qint64(inside + 1) * length / count);
    return {from, std::max(to, from + 1)};
}

bool isLeft(const StripLayout::Key &key, QSize grid)
{
    return 2 * key.cell.x() + 1 < grid.width();
}

float loudestOf(const QVector<Spectrum> &bins, const StripLayout::Key &key)
{
    if (bins.isEmpty() || key.toneTo <= key.toneFrom)
        return 0.0F;
    const int first = std::min(static_cast<int>(key.toneFrom * bins.size()), bins.size() - 1);
    const int end = std::clamp(static_cast<int>(key.toneTo * bins.size()), first + 1, bins.size());
    const auto loudest = std::max_element(
        bins.cbegin() + first, bins.cbegin() + end,
        [](const Spectrum &a, const Spectrum &b) { return a.amplitude < b.amplitude; });
    return loudest->amplitude;
}

QRgb lit(QRgb colour, float level)
{
    const auto channel = [level](int full) { return qRound(static_cast<float>(full) * level); };
    return qRgb(channel(qRed(colour)), channel(qGreen(colour)), channel(qBlue(colour)));
}

} // namespace

QRgb meanColour(const cv::Mat &frame)
{
    if (frame.empty())
        return kDark;
    const cv::Scalar mean = cv::mean(frame);
    return qRgb(qRound(mean[0]), qRound(mean[1]), qRound(mean[2]));
}

QRgb cellColour(const cv::Mat &frame, QSize grid, QPoint cell)
{
    if (frame.empty() || grid.isEmpty())
        return kDark;
    const Range columns = pixelsOf(cell.x(), grid.width(), frame.cols);
    const Range rows = pixelsOf(cell.y(), grid.height(), frame.rows);
    return meanColour(frame(cv::Range(rows.from, rows.to), cv::Range(columns.from, columns.to)));
}

QVector<QRgb> screenColours(const StripLayout &layout, const cv::Mat &frame)
{
    QVector<QRgb> colours;
    colours.reserve(layout.keys.size());
    for (const StripLayout::Key &key : layout.keys)
        colours.append(cellColour(frame, layout.grid, key.cell));
    return colours;
}

QVector<float> soundLevels(const StripLayout &layout, const QVector<SoundChannel> &block)
{
    QVector<float> levels;
    levels.reserve(layout.keys.size());
    for (const StripLayout::Key &key : layout.keys) {
        const SoundChannel channel = block.value(isLeft(key, layout.grid) ? 0 : 1);
        levels.append(filledPart(levelDecibel(loudestOf(channel.spectrums, key))));
    }
    return levels;
}

QVector<QRgb> soundColours(const StripLayout &layout, const QVector<float> &levels)
{
    QVector<QRgb> colours;
    colours.reserve(layout.keys.size());
    for (int i = 0; i < layout.keys.size(); ++i) {
        const QRgb full = isLeft(layout.keys[i], layout.grid) ? theme::kLeft : theme::kRight;
        colours.append(lit(full, levels.value(i)));
    }
    return colours;
}
