#ifndef LIBCORVANE_IDESKCAPTURE_H
#define LIBCORVANE_IDESKCAPTURE_H

#include <LibCorvane/Export.h>

#include <opencv2/core/mat.hpp>

#include <QObject>
#include <QSize>

/// A source of screen frames, whatever captures them.
///
/// Hosts do not make capturers: an IDeskDuplManager hands them out as shared pointers, and deletes
/// each with deleteLater() when the last pointer to it goes. A host polls nextFrame() at its own
/// pace; nothing is emitted.
///
/// \par Frames
/// A frame is a matrix of 8-bit unsigned elements in four channels (CV_8UC4): rows are its height,
/// columns its width, channels are red, green, blue and alpha in this order. Rows may be padded:
/// use the matrix's step. A frame is a snapshot that owns its pixels: it never changes when a later
/// one comes, and what a caller writes into it is seen by nobody else.
///
/// \par Threads
/// Capturers are shared, so all four operations may be called from any thread, at any time and at
/// any rate. The object itself lives on the thread that made it, that of the manager, whose event
/// loop deletes it.
class LIBCORVANE_EXPORT IDeskCapture : public QObject {
    Q_DISABLE_COPY(IDeskCapture)
public:
    /// Captures nothing: that is up to the concrete class.
    /// \param parent the usual QObject owner, or null.
    explicit IDeskCapture(QObject *parent = nullptr);

    /// Runs on the thread that the object lives on. What ends with it, each back-end says.
    ~IDeskCapture() override;

    /// The size of the frames that nextFrame() gives. Each back-end says how far it keeps to that.
    /// \return in pixels; invalid as long as it is not known.
    virtual QSize outputSize() = 0;

    /// The size of the captured display.
    /// \return in pixels (points on a display with a scale factor); invalid as long as it is not
    ///         known.
    virtual QSize originSize() = 0;

    /// The most recent frame, without waiting for one.
    /// \return a frame as the class description has it; empty as long as nothing was captured.
    virtual cv::Mat nextFrame() = 0;

    /// Asks for frames of another size from now on.
    /// \param size in pixels.
    virtual void setOutputSize(QSize size) = 0;
};

#endif
