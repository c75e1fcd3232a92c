#ifndef LIBCORVANE_AVFOUNDATIONCAPTURE_H
#define LIBCORVANE_AVFOUNDATIONCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <LibCorvane/deskCapturers/IDeskCapture.h>

class DeskCaptureOption;

/// The capturer of one display, on the system's own screen capture: AVFoundation on macOS, X11 on
/// Linux. DeskDuplManagerMac makes one for each display.
///
/// Frames are 300 pixels wide at first, in the shape of the display (300 × 168 for 1920 × 1080),
/// and come at most 25 times a second. Only the latest is kept.
///
/// \par Ownership
/// The capture record that start() makes is not ended with the object: a session outlives its
/// capturer. (Where nobody reads it, it costs next to nothing on Linux.)
///
/// \par Threads
/// The constructor, start() and the destructor belong to the object's own thread, start() before
/// anyone else sees the object. Then all other operations may be called from any thread. Nothing is
/// emitted. On Linux each capture has a thread of its own while somebody reads; on macOS frames
/// arrive on a queue of the system.
class LIBCORVANE_EXPORT AVFoundationCapture : public IDeskCapture {
    Q_OBJECT
    Q_DISABLE_COPY(AVFoundationCapture)
public:
    /// Captures nothing before start().
    /// \param option is kept and not consulted; may be null.
    /// \param parent owns the object; may be null.
    explicit AVFoundationCapture(DeskCaptureOption *option, QObject *parent = nullptr);

    /// Leaves the capture record to run; see the class description.
    ~AVFoundationCapture() override;

    /// Starts the capture of a display. To be called once.
    /// \param displayId one of availableDisplayIDs(), or 0 for the main display.
    /// \return false after a failure, which is logged as critical, "[AVFoundationCapture]: Cannot
    ///         init AVFoundation capture". The capturer then stays without frames and sizes.
    bool start(uint32_t displayId);

    /// The display's size: it does not tell the size of the frames.
    /// \return the same as originSize().
    QSize outputSize() override;

    /// The display's size, in pixels on Linux and in points on macOS.
    /// \return an invalid size when not started.
    QSize originSize() override;

    /// The latest frame, without waiting for one.
    /// \return a copy; empty before the first frame, when not started, and when there is no memory
    ///         for it.
    cv::Mat nextFrame() override;

public Q_SLOTS:
    /// Sets the size of the frames that are captured from now on. Does nothing when not started.
    /// \param size in pixels; see AVCaptureSetOutputSize() for empty and huge ones.
    void setOutputSize(QSize size) override;

private:
    AVFoundationCaptureImpl *m_impl = nullptr;
    DeskCaptureOption *m_option;
};

#endif
