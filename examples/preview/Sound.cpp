#include "Sound.h"

#include <algorithm>
#include <cmath>

namespace {

// A nominal frequency counts in 1025ths of the sample rate, a bin of the transform in 2048ths.
constexpr double kNominalToPhysical = 1025.0 / 2048.0;
constexpr float kFullScaleAmplitude = 512.0F;
constexpr float kAmplitudePerLevel = 100.0F;
constexpr float kFallPerSecond = 0.6F;

bool quieter(const Spectrum &a, const Spectrum &b)
{
    return a.amplitude < b.amplitude;
}

// Where the top of the parabola through three equidistant points lies, relative to the middle one.
double parabolaTop(double before, double middle, double after)
{
    const double curvature = before - 2.0 * middle + after;
    return curvature < 0.0 ? 0.5 * (before - after) / curvature : 0.0;
}

// In bins, from -0.5 to 0.5; 0 at the ends of the band and beside an empty bin.
double offsetWithinBin(const QVector<Spectrum> &bins, int highest)
{
    if (highest == 0 || highest == bins.size() - 1)
        return 0.0;
    const float before = bins[highest - 1].decibel;
    const float after = bins[highest + 1].decibel;
    if (!std::isfinite(before) || !std::isfinite(after))
        return 0.0;
    return parabolaTop(before, bins[highest].decibel, after);
}

} // namespace

double physicalFrequency(double nominalFrequency)
{
    return nominalFrequency * kNominalToPhysical;
}

std::optional<Partial> loudestPartial(const QVector<SoundChannel> &block)
{
    const Spectrum *loudest = nullptr;
    const QVector<Spectrum> *bins = nullptr;
    for (const SoundChannel &channel : block) {
        const auto top =
            std::max_element(channel.spectrums.cbegin(), channel.spectrums.cend(), quieter);
        if (top == channel.spectrums.cend() || (loudest && !quieter(*loudest, *top)))
            continue;
        loudest = &*top;
        bins = &channel.spectrums;
    }
    if (!loudest || !(loudest->amplitude > 0.0F))
        return std::nullopt;

    const double binWidth = bins->size() > 1 ? bins->at(1).frequency - bins->at(0).frequency : 0.0;
    const int highest = static_cast<int>(loudest - bins->constData());
    const double nominal = loudest->frequency + offsetWithinBin(*bins, highest) * binWidth;
    return Partial{physicalFrequency(nominal), loudest->amplitude};
}

float levelDecibel(float amplitude)
{
    return 20.0F * std::log10(amplitude / kFullScaleAmplitude);
}

float filledPart(float decibel)
{
    return std::clamp(1.0F - decibel / kFloorDecibel, 0.0F, 1.0F);
}

float fallingPart(float shown, float target, float elapsedSeconds)
{
    return std::max(target, shown - kFallPerSecond * elapsedSeconds);
}

Peaks largestPeaks(const QVector<QVector<QString>> &peakTexts)
{
    // Left and right alternate; the first text of each pair is the level.
    float largest[] = {0.0F, 0.0F};
    for (int i = 0; i < peakTexts.size(); ++i) {
        const float amplitude = peakTexts[i].value(0).toFloat() * kAmplitudePerLevel;
        largest[i % 2] = std::max(largest[i % 2], amplitude);
    }
    return {largest[0], largest[1]};
}
