#ifndef LIBCORVANE_IDESKDUPLMANAGER_H
#define LIBCORVANE_IDESKDUPLMANAGER_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/IDeskCapture.h>

#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>

/// The registry of the displays and of their shared, counted capturers.
///
/// Effects that follow the screen see only this interface: they take the id of a display, acquire
/// its capturer, read frames, and release it. Each acquireCapturer() that gave a capturer is paired
/// with one releaseCapturer().
///
/// The interface has the id "com.corvane.interfaceId.IDeskDuplManager". An implementation names it
/// in Q_INTERFACES, which qobject_cast to the interface relies on; inherits("IDeskDuplManager")
/// works without that.
///
/// \par Threads
/// All operations may be called from any thread. Signals are emitted on the manager's own thread.
class LIBCORVANE_EXPORT IDeskDuplManager : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(IDeskDuplManager)
public:
    /// Lists nothing: that is up to the implementation.
    /// \param parent the usual QObject owner, or null.
    explicit IDeskDuplManager(QObject *parent = nullptr);

    /// Runs on the manager's own thread, when nobody uses the manager any more.
    ~IDeskDuplManager() override;

    /// The ids of all displays.
    /// \return in the order of QString's operator<; empty when there is none.
    virtual QList<QString> allCapturer() = 0;

    /// The display to begin with.
    /// \return its id; a null string when there is none.
    virtual QString defaultCapturer() = 0;

    /// The capturer of the display with one more user.
    /// \param id one of allCapturer().
    /// \return the capturer, which the caller shares, and whose pointer it drops when it releases.
    ///         Null when the id is unknown, which counts nobody.
    virtual QSharedPointer<IDeskCapture> acquireCapturer(QString id) = 0;

    /// Gives one user of the display back; the last one lets the manager drop the capturer.
    /// \param id the id that the capturer was acquired with.
    virtual void releaseCapturer(QString id) = 0;

    /// A text for people.
    /// \param id one of allCapturer().
    /// \return a description; empty when there is none, or the id is unknown.
    virtual QString capturerDesc(QString id) = 0;

Q_SIGNALS:
    /// The capturer of the display with this id was set up, when the manager started. An
    /// implementation that starts in its constructor emits it there, before a host can connect:
    /// read allCapturer() instead.
    /// \param capIdx the display's id.
    void capturerReady(QString capIdx);

    /// The capturer of the display with this id failed for good.
    /// \param capIdx the display's id.
    void capturerFailed(QString capIdx);
};

Q_DECLARE_INTERFACE(IDeskDuplManager, "com.corvane.interfaceId.IDeskDuplManager")

#endif
