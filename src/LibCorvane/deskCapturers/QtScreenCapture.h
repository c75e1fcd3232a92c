#ifndef LIBCORVANE_QTSCREENCAPTURE_H
#define LIBCORVANE_QTSCREENCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/IDeskCapture.h>

/// The base of a capturer on Qt's own screen grabbing: a placeholder that leaves nextFrame() to the
/// subclass and knows no sizes. Nothing in the library makes one.
///
/// \par Threads
/// Holds no state; its operations may be called from any thread.
class LIBCORVANE_EXPORT QtScreenCapture : public IDeskCapture {
    Q_OBJECT
    Q_DISABLE_COPY(QtScreenCapture)
public:
    explicit QtScreenCapture(QObject *parent = nullptr);
    ~QtScreenCapture() override;

    /// An invalid size.
    QSize outputSize() override;

    /// An invalid size.
    QSize originSize() override;

public Q_SLOTS:
    /// Does nothing.
    void setOutputSize(QSize size) override;
};

#endif
