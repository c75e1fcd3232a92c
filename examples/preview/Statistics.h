#ifndef CORVANE_PREVIEW_STATISTICS_H
#define CORVANE_PREVIEW_STATISTICS_H

#include "Sound.h"

/// What was heard since the last status line.
struct Statistics {
    int blocks = 0;
    /// Of all blocks; nothing for silence.
    std::optional<Partial> loudest;
    /// The largest amplitudes.
    Peaks peaks;

    void addBlock(const QVector<SoundChannel> &block);
    void addPeaks(const Peaks &latest);
};

/// A frequency for people: "440.0 Hz", or "none" for silence.
QString frequencyText(const std::optional<Partial> &partial);

/// A level for people: "-6.0 dB", or "silent".
QString levelText(float amplitude);

/// One line on the last `seconds` seconds.
QString statusLine(const Statistics &statistics, double seconds);

#endif
