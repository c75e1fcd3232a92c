#ifndef LIBCORVANE_QTAUDIOCAPTURE_H
#define LIBCORVANE_QTAUDIOCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>
#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>

#include <QAudioDeviceInfo>
#include <QIODevice>

#include <functional>

extern "C" {
#include <libavutil/samplefmt.h>
}

class QAudioFormat;
class QAudioInput;
class QThread;
class QtAudioCapture;

/// The packed FFmpeg sample format of a Qt audio format: signed 16 and 32 bit, unsigned 8 bit,
/// float 32 and 64 bit; AV_SAMPLE_FMT_NONE for everything else. Byte order is not looked at.
/// May be called on any thread.
LIBCORVANE_EXPORT AVSampleFormat convertToFFmpegSampleFormat(const QAudioFormat &format);

/// The sink that a QtAudioCapture records into: every chunk of PCM written to it is analysed.
///
/// Its capturer makes it and releases it. Write-only: reading gives nothing.
///
/// \par Threads
/// Written to on one thread, in use the capturer's worker thread; the signals are emitted there.
class LIBCORVANE_EXPORT AudioReader : public QIODevice {
    Q_OBJECT
public:
    /// \param capture the capturer whose connections decide whether analysing is worth while; not
    /// owned, not null, and it must outlive the last write.
    /// \param parent the usual QObject owner, or null.
    /// Registers the meta-type "QVector<SoundChannel>".
    explicit AudioReader(QtAudioCapture *capture, QObject *parent = nullptr);
    ~AudioReader() override;

    /// The analyser of the chunks; its input format must be set before the first write.
    SpectrumAnalyzer &analyzer();

    /// Always 0.
    qint64 readData(char *data, qint64 maxSize) override;

    /// Analyses a chunk of interleaved PCM and emits the signals for it.
    ///
    /// \returns \a len: every byte is consumed, analysed or (when nothing is connected to the
    /// capturer's spectrumsChanged()) dropped; 0 when \a data is null or \a len below 1.
    qint64 writeData(const char *data, qint64 len) override;

Q_SIGNALS:
    /// One analysed block: the left and the right channel.
    void spectrumChanged(QVector<SoundChannel> s);

    /// The peak texts of the blocks that one chunk completed, as described at
    /// IAudioCapture::channelsPeakValuesChanged(); once per analysed chunk, empty without a block.
    void channelPeakValuesChanged(QVector<QVector<QString>>);

private:
    SpectrumAnalyzer m_analyzer;
    QtAudioCapture *m_capture;
};

/// Records from one audio input device with Qt Multimedia, in the device's preferred format.
///
/// Hosts get it from AudioCapManagerMac. Nothing is analysed while nothing is connected to
/// spectrumsChanged().
///
/// \par Threads
/// start(), stop() and the destructor belong to the thread that owns the object, which must not be
/// the worker's; its event loop delivers the signals. Each capturer runs one worker thread, where
/// the audio input is made, fed, analysed and stopped; start() and stop() wait for it.
class LIBCORVANE_EXPORT QtAudioCapture : public IAudioCapture {
    Q_OBJECT
public:
    /// Starts the worker thread; nothing is recorded yet.
    explicit QtAudioCapture(QObject *parent = nullptr);

    /// Stops recording and waits for the worker thread to end.
    ~QtAudioCapture() override;

    /// Records from \a device; see start().
    /// \returns true always, also when nothing could be started.
    bool start(const QAudioDeviceInfo &device);

    /// Starts to record from the device given last, with a fresh analyser. A running recording is
    /// stopped first.
    ///
    /// Logged as critical, and nothing is recorded: a preferred format that
    /// convertToFFmpegSampleFormat() does not know (24 bit, for example, or no device at all), and
    /// a sink that cannot be opened. A device that the system refuses to open stays silent.
    void start();

    /// Stops recording; the sink follows with the next turn of the event loop. Nothing is emitted
    /// any more, not even what was already on its way. Harmless when nothing is recorded.
    void stop();

    /// Whether nothing is connected to spectrumsChanged(); the other signal is not looked at. May
    /// be called on any thread.
    bool isEmptyConnection() const;

private:
    void createPipeline(const QAudioFormat &format);
    void forwardSignals(AudioReader *reader);
    bool isRecordingInto(const AudioReader *reader) const;
    void releaseWithInput(AudioReader *reader);
    void runOnWorker(const std::function<void()> &operation);

    AudioReader *m_reader = nullptr;
    QAudioInput *m_audioInput = nullptr;
    QThread *m_thread;
    QAudioDeviceInfo m_deviceInfo;
    /// Lives on the worker thread: what is invoked on it runs there.
    QObject *m_worker;
};

#endif
