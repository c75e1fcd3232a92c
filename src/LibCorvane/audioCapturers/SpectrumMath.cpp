#include "SpectrumMath_p.h"

#include <algorithm>
#include <cmath>

namespace corvane {
namespace {

constexpr double kTwoPi = 6.283185307179586;
/// The divisor from a channel's largest amplitude to its peak level.
constexpr float kPeakScale = 100.0F;

float largestAmplitude(const QVector<Spectrum> &spectrums)
{
    float largest = 0.0F;
    for (const Spectrum &spectrum : spectrums)
        largest = std::max(largest, spectrum.amplitude);
    return largest;
}

} // namespace

std::vector<float> hannWindow()
{
    std::vector<float> window(kBlockFrames);
    for (int i = 0; i < kBlockFrames; ++i) {
        const double phase = i * kTwoPi / (kBlockFrames - 1);
        window[static_cast<size_t>(i)] = static_cast<float>((1.0 - std::cos(phase)) * 0.5);
    }
    return window;
}

int binBelow(int frequencyHz, int sampleRate)
{
    // Below 2000 Hz the band's upper edge lies above Nyquist. Clamped before the conversion to
    // int, so that no rate overflows it.
    const double bin = double(frequencyHz) / double(sampleRate) * kBlockFrames;
    return static_cast<int>(std::min<double>(bin, kBinCount - 1));
}

double clampedStrength(double strength)
{
    return strength > 0.0 ? std::min(strength, 1.0) : 0.0;
}

Spectrum spectrumOfBin(int bin, float re, float im, int sampleRate, double strength)
{
    const double magnitude = std::sqrt(double(re) * re + double(im) * im);
    const double amplitude = magnitude / (strength == 0.0 ? 1.0 : strength);
    Spectrum spectrum;
    // Divided by the number of bins, not by the block's length: about twice the physical
    // frequency, as hosts expect it.
    spectrum.frequency = float(bin) / float(kBinCount) * float(sampleRate);
    spectrum.amplitude = static_cast<float>(amplitude);
    spectrum.decibel = static_cast<float>(20.0 * std::log10(amplitude));
    return spectrum;
}

QVector<QString> peakTexts(const SoundChannel &channel)
{
    const float level = largestAmplitude(channel.spectrums) / kPeakScale;
    // The natural logarithm, not the decadic one: hosts are built on these values.
    return {QString::number(level, 'f', 3), QString::number(10 * std::log(level), 'f', 3)};
}

} // namespace corvane
