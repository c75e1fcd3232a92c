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
    explicit IDeskDuplManager(QObject *parent = nullptr);
    ~IDeskDuplManager() override;

    /// The ids of all displays, in the order of QString's operator<; empty when there is none.
    virtual QList<QString> allCapturer() = 0;

    /// The id of the default display; a null string when there is none.
    virtual QString defaultCapturer() = 0;

    /// The capturer of the display with one more user; null when the id is unknown, which counts
    /// nobody. The caller shares the capturer, and drops its pointer when it releases.
    virtual QSharedPointer<IDeskCapture> acquireCapturer(QString id) = 0;

    /// Gives one user of the display back; the last one lets the manager drop the capturer.
    virtual void releaseCapturer(QString id) = 0;

    /// A text for people; empty when there is none, or the id is unknown.
    virtual QString capturerDesc(QString id) = 0;

Q_SIGNALS:
    /// The capturer of the display with this id was set up, when the manager started. An
    /// implementation that starts in its constructor emits it there, before a host can connect:
    /// read allCapturer() instead.
    void capturerReady(QString capIdx);

    /// The capturer of the display with this id failed for good.
    void capturerFailed(QString capIdx);
};

Q_DECLARE_INTERFACE(IDeskDuplManager, "com.corvane.interfaceId.IDeskDuplManager")

#endif
