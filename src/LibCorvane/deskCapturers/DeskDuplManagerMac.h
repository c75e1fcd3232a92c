#ifndef LIBCORVANE_DESKDUPLMANAGERMAC_H
#define LIBCORVANE_DESKDUPLMANAGERMAC_H

#include <LibCorvane/Export.h>
#include <LibCorvane/deskCapturers/IDeskDuplManager.h>

#include <QMap>
#include <QMutex>

class DeskCaptureOption;
class QThread;

/// The system's displays and one shared capturer for each.
///
/// The host makes one on its main thread and keeps it as long as effects read the screen:
///
/// \code
/// DeskDuplManagerMac manager(nullptr);
/// const QString id = manager.defaultCapturer();
/// const auto capturer = manager.acquireCapturer(id);
/// const cv::Mat frame = capturer->nextFrame(); // empty until the first frame has arrived
/// ...
/// manager.releaseCapturer(id);
/// \endcode
///
/// A display id is the system's number of the display in decimal. The list is made once, at
/// construction, with a started capturer for each display, which the first user gets. After the
/// last release the capturer is gone; the next user gets a new one.
///
/// Construction also makes the DeskCaptureOption: three modes, the current one read from the global
/// value "screenCaptureMode" (0 when it is missing or no number, else the nearest of 0 to 2),
/// published as the application's property "runtime.options.deskCaptureOption". Each change of the
/// mode is written to "screenCaptureMode" and saved at once (see ConfigurationManager).
///
/// \par Threads
/// Make and delete it on the main thread. acquireCapturer(), releaseCapturer() and capturerDesc()
/// may be called from any thread, allCapturer() and defaultCapturer() too. Capturers are always
/// made on the manager's own thread: a caller on another thread may wait for it, so that thread
/// must run its event loop, and must not itself wait for such a caller. The capturers are destroyed
/// by that event loop.
class LIBCORVANE_EXPORT DeskDuplManagerMac : public IDeskDuplManager {
    Q_OBJECT
    Q_INTERFACES(IDeskDuplManager)
    Q_DISABLE_COPY(DeskDuplManagerMac)
public:
    /// \param parent is ignored: the manager has no parent, and the caller owns it.
    explicit DeskDuplManagerMac(QObject *parent);

    /// Drops the capturers and ends the manager's threads. Capturers that a host still holds stay
    /// usable only until control returns to the event loop: release them before.
    ~DeskDuplManagerMac() override;

    /// The ids of all displays, in string order: 10 comes before 2.
    QList<QString> allCapturer() override;

    /// The first of allCapturer(); a null string when there is no display.
    QString defaultCapturer() override;

    /// The capturer of the display with one more user, logged at info level; null, without a line,
    /// when the id is unknown.
    ///
    /// A display that cannot be captured has a capturer all the same, which gives empty frames; the
    /// log told so when it was made.
    QSharedPointer<IDeskCapture> acquireCapturer(QString id) override;

    /// Gives one user of the display back. At 0 users the manager drops the capturer, also when it
    /// was 0 before. Logged at info level; an unknown id is logged as critical.
    void releaseCapturer(QString id) override;

    /// Empty, as no display has a description yet.
    QString capturerDesc(QString id) override;

protected:
    /// Makes and starts the capturer of a known display in place of one it may still hold. Runs on
    /// the manager's own thread only. An unknown id is logged as critical.
    void makeCapturer(QString id);

private:
    struct CaptureContext {
        QSharedPointer<IDeskCapture> capturer;
        QThread *worker = nullptr;
        int referenceCount = 0;
        QString description;
    };

    void setUpOption();
    void addDisplay(const QString &id);
    void makeCapturerOnOwnThread(const QString &id);

    QMap<QString, CaptureContext> m_contexts;
    QMutex m_mutex;
    DeskCaptureOption *m_option = nullptr;
};

#endif
