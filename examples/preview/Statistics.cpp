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
    return QStringLiteral("%1 blocks/s, loudest %2, peaks left %3, right %4")
        .arg(statistics.blocks / seconds, 0, 'f', 1)
        .arg(frequencyText(statistics.loudest), levelText(statistics.peaks.left),
             levelText(statistics.peaks.right));
}
