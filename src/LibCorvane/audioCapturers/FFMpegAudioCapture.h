#ifndef LIBCORVANE_FFMPEGAUDIOCAPTURE_H
#define LIBCORVANE_FFMPEGAUDIOCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <QFuture>

#include <memory>

/// Captures a sound device through FFmpeg's "avfoundation" input.
///
/// AudioCapManagerMac does not make one; a host that wants it does, and connects to
/// spectrumsChanged(). An FFmpeg without that input, as on Linux, has no device to open: init()
/// says so.
///
/// \par Sound that was captured
/// For the first ten seconds of a capture the decoded PCM is also written, for diagnosis, to the
/// file "../../../audioShot_N.pcm", N being the device index, relative to the working directory of
/// that moment. An older file of that name is overwritten. It gets the very bytes that are
/// analysed: the interleaved samples of each frame, without the padding that FFmpeg's buffers end
/// with. Of planar sound it gets the first channel, which can be analysed when it is the only one.
/// Where no file can be written nothing is said.
///
/// \par Threads
/// init(), nextFrame() and the destructor belong to the thread that the object lives on, which
/// needs an event loop; the signals are emitted there. A device is opened on a thread of
/// QThreadPool::globalInstance(), as that can take long: the system may ask the user for
/// permission. The object may be destroyed meanwhile, and in a slot of its own signal.
class LIBCORVANE_EXPORT FFMpegAudioCapture : public IAudioCapture {
    Q_OBJECT
    Q_DISABLE_COPY(FFMpegAudioCapture)
public:
    /// Opens nothing yet.
    /// \param parent the usual QObject owner, or null.
    explicit FFMpegAudioCapture(QObject *parent = nullptr);

    /// Ends the capture and closes the device. An opening that is under way is not waited for: what
    /// it opens is closed as soon as it is there. A file that is being written ends as it is.
    ~FFMpegAudioCapture() override;

    /// Opens a sound device in the background. When it is open, the capture starts: every 15 ms one
    /// packet is read, and all frames in it are analysed.
    ///
    /// A capture or an opening that runs already ends first, whatever becomes of the new one.
    ///
    /// \param deviceIndex the index of the device in FFmpeg's device list; see
    ///        AVAVFoundationFactory::audioDevices().
    /// \return the result to come: whether the device has been opened. Until then the object may
    ///         only be destroyed, or given another device. After a failure nothing is captured and
    ///         nothing tried again, and the log has one of these lines as critical, each beginning
    ///         with "[FFMpegAudioCapture]: ":
    ///         - "Failed to open avfoundation device"
    ///         - "Failed to find audio stream"
    ///         - "Not found codec for avfoundation device"
    ///         - "Failed to open codec context for avfoundation device"
    ///
    /// When the analyser does not know the device's format it says so, and the capture is silent;
    /// see SpectrumAnalyzer::setInputFormat().
    QFuture<bool> init(int deviceIndex);

    /// Reads one packet and analyses all frames that are decoded from it: emits spectrumsChanged()
    /// for each block. The timer calls this; a host need not.
    ///
    /// \return false after an error of the decoder, logged as a warning with FFmpeg's code:
    ///         "[FFMpegAudioCapture]: Failed to send packet to avfoundation decodec: " or
    ///         "[FFMpegAudioCapture]: Failed to receiv frame from avfoundation decodec: ". The
    ///         timer ends the capture then, with the warning "[FFMpegAudioCapture]: An error
    ///         occurred while require next frame, the output process has been stoped". True in all
    ///         other cases, also when no packet could be read or no device is open.
    ///
    /// With the first frame after ten seconds, as debug, and if the file could be written:
    /// "[FFMpegAudioCapture]: The audio capture shot has been written: " and the device index.
    bool nextFrame();

protected:
    /// Calls nextFrame() for the capture's own timer.
    /// \param event the tick; those of other timers go to QObject.
    void timerEvent(QTimerEvent *event) override;

private:
    void startCapture();
    void stop();

    struct Private;
    const std::unique_ptr<Private> d;
};

#endif
