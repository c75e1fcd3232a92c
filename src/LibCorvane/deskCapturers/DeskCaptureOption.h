#ifndef LIBCORVANE_DESKCAPTUREOPTION_H
#define LIBCORVANE_DESKCAPTUREOPTION_H

#include <LibCorvane/Export.h>

#include <QObject>

/// The screen capture mode: how many modes there are, and which one is current.
///
/// What a mode means is the host's business; the library stores, checks, announces and (through
/// DeskDuplManagerMac) saves the number, and never acts on it. The manager makes the one object of
/// an application, owns it, and publishes its address as the application's property
/// "runtime.options.deskCaptureOption". The property stays when the manager goes; the object does
/// not:
///
/// \code
/// const QVariant address =
///     QCoreApplication::instance()->property("runtime.options.deskCaptureOption");
/// auto *option = reinterpret_cast<DeskCaptureOption *>(address.toLongLong());
/// option->setCurMode(2);
/// \endcode
///
/// \par Threads
/// Use it on the thread it lives on, that of the manager; its signals are emitted there. A slot of
/// these may delete the manager, and with it the option.
class LIBCORVANE_EXPORT DeskCaptureOption : public QObject {
    Q_OBJECT
    /// The number of modes; 1 after construction.
    Q_PROPERTY(int totalOfMode READ totalOfMode WRITE setTotalOfMode NOTIFY totalOfModeChanged)
    /// The current mode, from 0 to totalOfMode - 1; 0 after construction.
    Q_PROPERTY(int curMode READ curMode WRITE setCurMode NOTIFY curModeChanged)
    Q_DISABLE_COPY(DeskCaptureOption)
public:
    /// One mode, the mode 0.
    /// \param parent owns the object; may be null.
    explicit DeskCaptureOption(QObject *parent);

    /// Saves nothing, and leaves the application's property as it is.
    ~DeskCaptureOption() override;

    /// The number of modes.
    /// \return what was set last; 1 at first.
    int totalOfMode() const;

    /// Sets the number of modes and announces a change. The current mode stays, even when it is no
    /// longer in range.
    /// \param newTotalOfMode any number; it is not checked.
    void setTotalOfMode(int newTotalOfMode);

    /// The current mode.
    /// \return a number from 0 on; 0 at first.
    int curMode() const;

    /// Changes the mode. A change is logged at info level,
    /// "[DeskCaptureOption]: The current desk catpure mode already changed to " mode "mode.", and
    /// announced after that. A value out of range changes nothing and is logged at info level too:
    /// "[DeskCaptureOption]: The newCurMode: " value " is out of range[0, " highest "]". The
    /// current mode is no change, whatever the range.
    /// \param newCurMode from 0 to totalOfMode() - 1.
    void setCurMode(int newCurMode);

Q_SIGNALS:
    /// totalOfMode() has a new value.
    void totalOfModeChanged();

    /// curMode() has a new value.
    void curModeChanged();

private:
    int m_totalOfMode = 1;
    int m_curMode = 0;
};

#endif
