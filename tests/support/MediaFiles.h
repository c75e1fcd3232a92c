#ifndef CORVANE_TESTS_MEDIAFILES_H
#define CORVANE_TESTS_MEDIAFILES_H

#include <QByteArray>
#include <QColor>
#include <QSize>
#include <QString>
#include <QVector>

namespace corvane::test {

/// A WAV file of 16-bit PCM.
QByteArray wavFile(const QByteArray &pcm, int channels, int sampleRate);

/// A stretch of video in which every picture has one colour, given as Y, Cb, Cr.
struct VideoStretch {
    QSize size;
    QVector<QByteArray> colours;
};

/// The bare packets of FFmpeg's encoder, one stretch after the other, without a container. Empty
/// after a failure.
QByteArray encodedVideo(const char *codecName, const QVector<VideoStretch> &stretches,
                        int bFrames = 0);

/// Silence in MPEG layer 2: one packet for each 1152 frames.
QVector<QByteArray> encodedSilence(int channels, int sampleRate, int packetCount);

/// Writes a file and gives its path as FFmpeg takes it; ends the program when it cannot.
QByteArray writtenTo(const QString &path, const QByteArray &bytes);

} // namespace corvane::test

#endif
