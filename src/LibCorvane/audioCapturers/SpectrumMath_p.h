#ifndef LIBCORVANE_SPECTRUMMATH_P_H
#define LIBCORVANE_SPECTRUMMATH_P_H

#include "IAudioCapture.h"

#include <vector>

/// The arithmetic from a transformed block to the records that hosts get.
namespace corvane {

/// Frames of one block: the length of the transform.
constexpr int kBlockFrames = 2048;
/// Bins of a transformed block, from DC to Nyquist.
constexpr int kBinCount = kBlockFrames / 2 + 1;

/// The symmetric Hann window of one block (both ends are 0), computed in double precision.
std::vector<float> hannWindow();

/// The bin at or below a frequency, from 0 to the Nyquist bin.
int binBelow(int frequencyHz, int sampleRate);

/// Clamped to 0…1; what is not a number counts as 0.
double clampedStrength(double strength);

/// The record of one bin of the unnormalised transform. A strength of 0 counts as 1.
Spectrum spectrumOfBin(int bin, float re, float im, int sampleRate, double strength);

/// The two peak texts of a channel: its level and ten times the level's natural logarithm.
QVector<QString> peakTexts(const SoundChannel &channel);

} // namespace corvane

#endif
