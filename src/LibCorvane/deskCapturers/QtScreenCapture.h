#ifndef LIBCORVANE_QTSCREENCAPTURE_H
#define LIBCORVANE_QTSCREENCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/IDeskCapture.h>

/// The base of a capturer on Qt's own screen grabbing: a placeholder that leaves nextFrame() to the
/// subclass and knows no sizes. Nothing in the library makes one.
///
/// \par Threads
/// Holds no state; its operations may be called from any thread. Nothing is emitted.
class LIBCORVANE_EXPORT QtScreenCapture : public IDeskCapture {
    Q_OBJECT
    Q_DISABLE_COPY(QtScreenCapture)
public:
    /// Captures nothing.
    /// \param parent owns the object; may be null.
    explicit QtScreenCapture(QObject *parent = nullptr);

    /// Ends nothing: an object holds nothing.
    ~QtScreenCapture() override;

    /// Not known here.
    /// \return always an invalid size.
    QSize outputSize() override;

    /// Not known here.
    /// \return always an invalid size.
    QSize originSize() override;

public Q_SLOTS:
    /// Does nothing.
    /// \param size not looked at.
    void setOutputSize(QSize size) override;
};

#endif
