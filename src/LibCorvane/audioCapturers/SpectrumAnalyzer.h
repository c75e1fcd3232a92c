#ifndef LIBCORVANE_SPECTRUMANALYZER_H
#define LIBCORVANE_SPECTRUMANALYZER_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <QVector>

#include <cstdint>
#include <memory>

struct AVFrame;

/// Turns a stream of interleaved PCM into spectra.
///
/// The stream is cut into blocks of 2048 frames. Each block is converted to two planar float
/// channels at its own rate (mono is copied to both, more than two channels are mixed down),
/// windowed with the symmetric Hann window w[i] = (1 − cos(2πi ÷ 2047)) ÷ 2, and transformed.
/// Of each channel the bins from 20 Hz up to (not including) 1000 Hz are kept: 46 at 44100 Hz,
/// 42 at 48000 Hz. Every block stands alone; nothing is smoothed.
///
/// \code
/// SpectrumAnalyzer analyzer;
/// analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
/// for (const QVector<SoundChannel> &block : analyzer.handle(bytes, byteCount))
///     ...
/// \endcode
///
/// \par Threads
/// Nothing is locked: one analyser is used by one thread at a time. It emits nothing.
class LIBCORVANE_EXPORT SpectrumAnalyzer {
public:
    /// Makes an analyser without an input format: handle() returns nothing yet.
    SpectrumAnalyzer();
    /// Drops a partly filled block.
    ~SpectrumAnalyzer();
    SpectrumAnalyzer(const SpectrumAnalyzer &) = delete;
    SpectrumAnalyzer &operator=(const SpectrumAnalyzer &) = delete;

    /// Prepares for input of another format and drops a partly filled block.
    ///
    /// \param sampleFormat an FFmpeg `AVSampleFormat`; a packed one, or planar with one channel.
    /// \param sampleRate frames per second, above 0.
    /// \param channelLayout an FFmpeg channel-layout mask, for example 3 for stereo.
    ///
    /// A failure is logged as critical, with the step that failed and FFmpeg's code; until a later
    /// call succeeds, handle() returns nothing.
    void setInputFormat(int sampleFormat, int sampleRate, uint64_t channelLayout);

    /// Appends PCM to the stream.
    ///
    /// \param data interleaved samples in the format that was set; null is ignored. Not kept.
    /// \param size the number of bytes; it need not be a multiple of a frame. Below 1 is ignored.
    /// \returns one entry for each block that these bytes complete, in order; each entry holds the
    /// left (1) and then the right (2) channel. Bytes of an incomplete block wait for the next
    /// call.
    ///
    /// A block that cannot be converted is logged as critical and left out. Besides the result
    /// nothing is allocated, but for one frame with the first block of a format.
    QVector<QVector<SoundChannel>> handle(const unsigned char *data, qint64 size);

    /// Sets the divisor of every amplitude of the blocks to come.
    /// \param strength clamped to 0…1: 0.5 doubles the amplitudes, 1 (the start value) leaves
    ///        them, 0 counts as 1.
    void setStrength(double strength);

private:
    /// The block as planar float stereo, in a frame that the analyser keeps; null after a failure.
    const AVFrame *resample(const AVFrame *input);
    QVector<SoundChannel> translate(const AVFrame *frame);

    struct Private;
    const std::unique_ptr<Private> d;
};

#endif
