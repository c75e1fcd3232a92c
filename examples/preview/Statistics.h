#ifndef CORVANE_PREVIEW_STATISTICS_H
#define CORVANE_PREVIEW_STATISTICS_H

#include "Sound.h"

#include <QColor>

/// What was seen and heard since the last status line.
struct Statistics {
    /// Frames that differ from the one before.
    int frames = 0;
    /// Of the latest frame, however old it is; nothing without one.
    std::optional<QRgb> mean;
    int blocks = 0;
    /// Of all blocks; nothing for silence.
    std::optional<Partial> loudest;
    /// The largest amplitudes.
    Peaks peaks;

    void addBlock(const QVector<SoundChannel> &block);
    void addPeaks(const Peaks &latest);
};

/// A colour for people: "#7f3020", or "none".
QString colourText(const std::optional<QRgb> &colour);

/// A frequency for people: "440.0 Hz", or "none" for silence.
QString frequencyText(const std::optional<Partial> &partial);

/// A level for people: "-6.0 dB", or "silent".
QString levelText(float amplitude);

/// One line on the last `seconds` seconds.
QString statusLine(const Statistics &statistics, double seconds);

#endif
