#ifndef LIBCORVANE_IAUDIOCAPTURE_H
#define LIBCORVANE_IAUDIOCAPTURE_H

#include <LibCorvane/Export.h>

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVector>

/// One frequency bin of one channel. Plain values; a resized vector holds zeros.
struct Spectrum {
    /// The bin's nominal frequency in Hz: (bin index ÷ 1025) × sample rate. This is deliberately
    /// about twice the physical frequency of the bin, which is (bin index ÷ 2048) × sample rate.
    float frequency = 0.0F;
    /// Magnitude of the bin, √(re² + im²), of the unnormalised transform of the windowed block,
    /// divided by the analyser's strength. A full-scale sine reaches about 512.
    float amplitude = 0.0F;
    /// 20 · log10(amplitude); minus infinity when the amplitude is 0.
    float decibel = 0.0F;
};
Q_DECLARE_TYPEINFO(Spectrum, Q_PRIMITIVE_TYPE);

/// The spectrum of one channel of one analysed block.
struct SoundChannel {
    /// The bins from the lowest to the highest analysed one; the same count in all channels.
    QVector<Spectrum> spectrums;
    /// The FFmpeg channel-layout bit of the channel: 1 is front left, 2 is front right.
    quint64 channel = 0;
};
Q_DECLARE_TYPEINFO(SoundChannel, Q_MOVABLE_TYPE);

/// What every audio capturer offers its listeners: one spectrum per channel and analysed block.
///
/// A host does not create capturers; it gets them from AudioCapManagerMac and connects to their
/// signals. Starting and stopping belong to the concrete classes and to the manager.
///
/// \par Threads
/// Each concrete class says on which thread it may be used and on which it emits. The arguments are
/// implicitly shared values, so a queued connection costs no copy of the samples.
/// "QVector<SoundChannel>" is registered with Qt's meta-type system before the first emission.
class LIBCORVANE_EXPORT IAudioCapture : public QObject {
    Q_OBJECT
public:
    /// Captures nothing: that is up to the concrete class.
    /// \param parent the usual QObject owner, or null.
    explicit IAudioCapture(QObject *parent = nullptr);

Q_SIGNALS:
    /// One block of 2048 frames was analysed. Nothing is emitted while stopped.
    /// \param spectrums two channels, left (1) first, right (2) second, whatever the number of
    ///        channels of the device.
    void spectrumsChanged(QVector<SoundChannel> spectrums);

    /// The peaks of one chunk of sound as text. Emitted by QtAudioCapture only.
    ///
    /// \param peaks one inner vector for each channel of each block, block by block and left
    ///        before right; a chunk that completes no block gives an empty list. Each inner vector
    ///        holds two texts, both with three decimals: the level, which is the channel's largest
    ///        amplitude ÷ 100 ("0.125"), and ten times the natural (not the decadic) logarithm of
    ///        that level ("-inf" for a level of 0).
    void channelsPeakValuesChanged(QVector<QVector<QString>> peaks);
};

Q_DECLARE_METATYPE(SoundChannel)

#endif
