#ifndef CORVANE_PREVIEW_SOUND_H
#define CORVANE_PREVIEW_SOUND_H

#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <optional>

// What the preview reads out of the library's blocks: plain functions of their arguments.

/// The lowest level that is drawn, in dB relative to a full-scale sine.
constexpr float kFloorDecibel = -72.0F;

/// The true frequency in Hz of a bin of this nominal frequency.
double physicalFrequency(double nominalFrequency);

struct Partial {
    /// The true frequency in Hz.
    double frequency = 0.0;
    float amplitude = 0.0F;
};

/// The loudest partial of the block's louder channel, placed between the bins by a parabola through
/// the decibels of the highest bin and its neighbours; nothing for silence.
std::optional<Partial> loudestPartial(const QVector<SoundChannel> &block);

/// The level of an amplitude in dB relative to a full-scale sine; minus infinity for 0.
float levelDecibel(float amplitude);

/// How much of a bar or meter a level in dB fills, from 0 (at kFloorDecibel) to 1 (full scale).
float filledPart(float decibel);

/// What a bar shows that last filled `shown`, when the sound now fills `target`: it rises at once
/// and falls at a steady rate.
float fallingPart(float shown, float target, float elapsedSeconds);

/// The largest amplitude of each channel that a chunk's peak texts tell of.
struct Peaks {
    float left = 0.0F;
    float right = 0.0F;
};
Peaks largestPeaks(const QVector<QVector<QString>> &peakTexts);

#endif
