#ifndef CORVANE_PREVIEW_STRIPCOLOURS_H
#define CORVANE_PREVIEW_STRIPCOLOURS_H

#include "StripLayout.h"

#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <opencv2/core/mat.hpp>

#include <QColor>

// What lights the strip: plain functions of a layout and a frame or a block of sound. One entry for
// each key, in the order of the layout.

/// The mean colour of a whole frame, as IDeskCapture gives it; black for an empty one.
QRgb meanColour(const cv::Mat &frame);

/// The mean colour of the part of the frame that a cell of the grid covers: of one pixel at least.
QRgb cellColour(const cv::Mat &frame, QSize grid, QPoint cell);

/// The colour behind each key.
QVector<QRgb> screenColours(const StripLayout &layout, const cv::Mat &frame);

/// How loud each key's tones are, from 0 to 1 as filledPart() counts: the left half of the strip
/// hears the left channel.
QVector<float> soundLevels(const StripLayout &layout, const QVector<SoundChannel> &block);

/// The channels' colours, as bright as the levels ask.
QVector<QRgb> soundColours(const StripLayout &layout, const QVector<float> &levels);

#endif
