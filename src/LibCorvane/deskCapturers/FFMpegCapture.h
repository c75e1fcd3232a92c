#ifndef LIBCORVANE_FFMPEGCAPTURE_H
#define LIBCORVANE_FFMPEGCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/IDeskCapture.h>

#include <QImage>

#include <memory>

struct AVFrame;

/// The base of a capturer that reads a screen through FFmpeg's "avfoundation" input.
///
/// It opens the device, decodes at most 25 pictures a second and converts them; nextFrame() is left
/// to the subclass. Nothing in the library makes one. An FFmpeg without that input, as on Linux,
/// has no device to open: init() says so.
///
/// \code
/// class ScreenReader : public FFMpegCapture {
///     using FFMpegCapture::FFMpegCapture;
///     cv::Mat nextFrame() override
///     {
///         const QImage image = resize(decodedFrame().get());
///         return cv::Mat(image.height(), image.width(), CV_8UC4,
///                        const_cast<uchar *>(image.constBits()), image.bytesPerLine()).clone();
///     }
/// };
/// \endcode
///
/// \par Ownership
/// The capturer owns all that it opens and closes it when it is destroyed.
///
/// \par Threads
/// init(), the destructor and the decoding belong to the thread that the object lives on, which
/// needs an event loop. outputSize(), originSize(), setOutputSize(), resize() and decodedFrame()
/// may be called on any thread, also while frames are decoded and converted. Nothing is emitted.
class LIBCORVANE_EXPORT FFMpegCapture : public IDeskCapture {
    Q_OBJECT
    Q_DISABLE_COPY(FFMpegCapture)
public:
    /// Opens nothing yet.
    /// \param parent owns the object; may be null.
    explicit FFMpegCapture(QObject *parent = nullptr);

    /// Ends the capture and closes the device.
    ~FFMpegCapture() override;

    /// Opens a screen, asks it for 25 frames a second, and starts to decode: one packet every
    /// 40 ms. Frames are then of the screen's own size, until setOutputSize() is called.
    ///
    /// A capture that runs already ends first, whatever becomes of the new one.
    ///
    /// \param deviceId the index of the screen in FFmpeg's device list; see
    ///        AVAVFoundationFactory::videoDevices().
    /// \return whether the capture has started; the log then has, as debug, "[FFMpegCapture]: The
    ///         screen capture  N  started capture". After a failure nothing is open and no timer
    ///         runs, and the log has one of these lines as critical, each beginning with
    ///         "[FFMpegCapture]: ":
    ///         - "Failed to alloc AVFormatContext"
    ///         - "Not found input format for AVFoundation"
    ///         - "Failed to set record options, deviceId: " and the id
    ///         - "Failed to open avfoundation device, errCode: " and FFmpeg's code
    ///         - "Failed to find video stream"
    ///         - "Not found codec for avfoundation device"
    ///         - "Failed to open codec context for avfoundation device, errCode: " and FFmpeg's
    ///         code
    bool init(int deviceId);

    /// The size of the images that resize() gives.
    /// \return what was set last, in pixels, valid or not; invalid before init().
    QSize outputSize() override;

    /// The size of the decoded pictures.
    /// \return in pixels; invalid as long as no init() has succeeded.
    QSize originSize() override;

    /// Converts a decoded frame into an image of the output size, RGBA with one byte each
    /// (QImage::Format_RGBA8888), scaled bilinearly. Opaque formats give an alpha of 255.
    ///
    /// \param frame a decoded picture of any size and pixel format; not changed, not kept. Null is
    ///        allowed.
    /// \return an image that shares its pixels with nobody. Null for a null frame, for one that
    ///         cannot be converted, while the output size is empty or invalid, and without memory.
    QImage resize(AVFrame *frame);

    /// Has FFmpeg print the devices through its log; AVAVFoundationFactory reads what it prints.
    /// Does nothing else, and nothing at all in an FFmpeg without the "avfoundation" input. May be
    /// called on any thread, without an instance; see there on two listings at the same time.
    static void listDevices();

public Q_SLOTS:
    /// Sets the size of the images that resize() gives from now on, whatever the shape of the
    /// screen.
    /// \param size in pixels. Any size is taken; an empty one makes resize() give null images.
    void setOutputSize(QSize size) override;

protected:
    /// Decodes one packet for the capture's own timer.
    /// \param event the tick; those of other timers go to QObject.
    void timerEvent(QTimerEvent *event) override;

    /// The latest decoded picture, for nextFrame(). When a picture cannot be read or decoded, the
    /// one before stays.
    /// \return a picture that the caller shares, that lives as long as the pointer, and that must
    ///         not be written to. Null before the first one and after a failed init().
    std::shared_ptr<AVFrame> decodedFrame() const;

private Q_SLOTS:
    /// Reads one packet and decodes it.
    void onTickTimeout();

private:
    void start();
    void stop();
    void publishDecoded();

    struct Private;
    const std::unique_ptr<Private> d;
};

#endif
