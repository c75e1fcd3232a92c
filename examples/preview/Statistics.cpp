#include "Statistics.h"

#include <algorithm>

void Statistics::addBlock(const QVector<SoundChannel> &block)
{
    ++blocks;
    const auto partial = loudestPartial(block);
    if (partial && (!loudest || partial->amplitude >= loudest->amplitude))
        loudest = partial;
}

void Statistics::addPeaks(const Peaks &latest)
{
    peaks.left = std::max(peaks.left, latest.left);
    peaks.right = std::max(peaks.right, latest.right);
}

QString colourText(const std::optional<QRgb> &colour)
{
    return colour ? QColor(*colour).name() : QStringLiteral("none");
}

QString frequencyText(const std::optional<Partial> &partial)
{
    return partial ? QStringLiteral("%1 Hz").arg(partial->frequency, 0, 'f', 1)
                   : QStringLiteral("none");
}

QString levelText(float amplitude)
{
    if (!(amplitude > 0.0F))
        return QStringLiteral("silent");
    return QStringLiteral("%1 dB").arg(static_cast<double>(levelDecibel(amplitude)), 0, 'f', 1);
}

QString statusLine(const Statistics &statistics, double seconds)
{
    const auto perSecond = [seconds](int count) {
        return QString::number(count / seconds, 'f', 1);
    };
    return QStringLiteral("%1 frames/s, mean %2, %3 blocks/s, loudest %4, peaks left %5, right %6")
        .arg(perSecond(statistics.frames), colourText(statistics.mean),
             perSecond(statistics.blocks), frequencyText(statistics.loudest),
             levelText(statistics.peaks.left), levelText(statistics.peaks.right));
}
