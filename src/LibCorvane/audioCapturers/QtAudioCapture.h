#ifndef LIBCORVANE_QTAUDIOCAPTURE_H
#define LIBCORVANE_QTAUDIOCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>
#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>

#include <QAudioDeviceInfo>
#include <QIODevice>

#include <atomic>
#include <functional>

extern "C" {
#include <libavutil/samplefmt.h>
}

class QAudioFormat;
class QAudioInput;
class QThread;
class QtAudioCapture;

/// The packed FFmpeg sample format of a Qt audio format. May be called on any thread.
/// \param format its sample type and size count; its byte order is not looked at.
/// \return the format of signed 16 and 32 bit, unsigned 8 bit, float 32 and 64 bit;
///         AV_SAMPLE_FMT_NONE for everything else.
LIBCORVANE_EXPORT AVSampleFormat convertToFFmpegSampleFormat(const QAudioFormat &format);

/// The sink that a QtAudioCapture records into: every chunk of PCM written to it is analysed.
///
/// Its capturer makes it and releases it. Write-only: reading gives nothing.
///
/// \par Threads
/// Written to on one thread, in use the capturer's worker thread; the signals are emitted there.
/// The capturer sets the analyser's format on its own thread, before the first write.
class LIBCORVANE_EXPORT AudioReader : public QIODevice {
    Q_OBJECT
public:
    /// Registers the meta-type "QVector<SoundChannel>".
    /// \param capture the capturer whose connections decide whether analysing is worth while; not
    ///        owned, not null, and it must outlive the last write.
    /// \param parent the usual QObject owner, or null.
    explicit AudioReader(QtAudioCapture *capture, QObject *parent = nullptr);

    /// Drops the bytes of an incomplete block.
    ~AudioReader() override;

    /// The analyser of the chunks; its input format must be set before the first write.
    /// \return the reader's own, valid as long as the reader.
    SpectrumAnalyzer &analyzer();

    /// Reads nothing.
    /// \param data not written to.
    /// \param maxSize not looked at.
    /// \return always 0.
    qint64 readData(char *data, qint64 maxSize) override;

    /// Analyses a chunk of interleaved PCM and emits the signals for it.
    ///
    /// \param data interleaved samples in the analyser's input format; not kept.
    /// \param len the number of bytes; it need not be a multiple of a frame.
    /// \return \p len: every byte is consumed, analysed or (when nothing is connected to the
    ///         capturer's spectrumsChanged()) dropped; 0 when \p data is null or \p len below 1,
    ///         and from the moment when the capturer is told to stop.
    qint64 writeData(const char *data, qint64 len) override;

Q_SIGNALS:
    /// One block was analysed.
    /// \param s the left and the right channel, as IAudioCapture::spectrumsChanged() has them.
    void spectrumChanged(QVector<SoundChannel> s);

    /// One chunk was analysed. Comes after the spectrumChanged() of its blocks.
    /// \param peaks the peak texts of these blocks, as described at
    ///        IAudioCapture::channelsPeakValuesChanged(); empty when there was none.
    void channelPeakValuesChanged(QVector<QVector<QString>> peaks);

private:
    friend class QtAudioCapture;

    SpectrumAnalyzer m_analyzer;
    QtAudioCapture *m_capture;
    std::atomic<bool> m_isStopped{false};
};

/// Records from one audio input device with Qt Multimedia, in the device's preferred format.
///
/// Hosts get it from AudioCapManagerMac. Nothing is analysed while nothing is connected to
/// spectrumsChanged().
///
/// \par Threads
/// start(), stop() and the destructor belong to the thread that owns the object, which must not be
/// the worker's; its event loop delivers the signals, and they arrive there. isEmptyConnection()
/// may be called on any thread. Each capturer has one worker thread as long as it lives, where the
/// audio input is made, fed, analysed and stopped; start(), stop() and the destructor wait for it.
/// The object may be destroyed in a slot of its own signal.
class LIBCORVANE_EXPORT QtAudioCapture : public IAudioCapture {
    Q_OBJECT
public:
    /// Starts the worker thread; nothing is recorded yet.
    /// \param parent the usual QObject owner, or null.
    explicit QtAudioCapture(QObject *parent = nullptr);

    /// Stops recording and waits for the worker thread to end.
    ~QtAudioCapture() override;

    /// Records from a device; see start().
    /// \param device one of QAudioDeviceInfo::availableDevices(QAudio::AudioInput).
    /// \return true always, also when nothing could be started.
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

    /// Whether nobody listens. May be called on any thread.
    /// \return whether nothing is connected to spectrumsChanged(); the other signal is not looked
    ///         at.
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
