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
/// last release the capturer is gone; the next user gets a new one. Displays that come later are
/// not seen, and capturerFailed() is never emitted. The capture mode makes no difference to how a
/// display is captured.
///
/// Construction also makes the DeskCaptureOption: three modes, the current one read from the global
/// value "screenCaptureMode" (0 when that is missing or no whole number, else the nearest of 0 to
/// 2), published as the application's property "runtime.options.deskCaptureOption" when there is an
/// application object. Each change of the mode is written to "screenCaptureMode" and saved at once
/// (see ConfigurationManager).
///
/// \par Threads
/// Make and delete it on the main thread, where the ConfigurationManager is used. All operations
/// may be called from any thread; capturerReady() is emitted within the construction only. It keeps
/// one idle thread for each display. Capturers are always made on the manager's own thread: when
/// one has to be made, a caller on another thread waits for it, and other callers wait for that
/// one. So the manager's thread must run its event loop, and must not itself call the manager from
/// a handler while another thread may be acquiring: each would wait for the other. Capturers are
/// destroyed by that event loop.
class LIBCORVANE_EXPORT DeskDuplManagerMac : public IDeskDuplManager {
    Q_OBJECT
    Q_INTERFACES(IDeskDuplManager)
    Q_DISABLE_COPY(DeskDuplManagerMac)
public:
    /// Makes the option, then a started capturer for each of availableDisplayIDs(), with
    /// capturerReady() after each.
    /// \param parent is ignored: the manager has no parent, and the caller owns it.
    explicit DeskDuplManagerMac(QObject *parent);

    /// Deletes the option, ends the manager's threads, and lets the event loop delete the
    /// capturers. A pointer that a host still holds may be dropped later, but not used any more
    /// once control has returned to the event loop.
    ~DeskDuplManagerMac() override;

    /// The ids of all displays.
    /// \return in string order: 10 comes before 2. Empty when there is no display.
    QList<QString> allCapturer() override;

    /// The display to begin with.
    /// \return the first of allCapturer(); a null string when there is no display.
    QString defaultCapturer() override;

    /// The capturer of the display with one more user. Logged at info level:
    /// "[DeskDuplManagerMac]: The capturer " id " references has already changed to " users, and
    /// "[DeskDuplManagerMac]: Making capturer " id before it, when one had to be made.
    ///
    /// A display that cannot be captured has a capturer all the same, which gives empty frames and
    /// invalid sizes; the log told so when it was made (see AVFoundationCapture::start()).
    /// \param id one of allCapturer().
    /// \return the shared capturer; null, without a log line, when the id is unknown.
    QSharedPointer<IDeskCapture> acquireCapturer(QString id) override;

    /// Gives one user of the display back. At 0 users the manager drops the capturer, also when it
    /// was 0 before.
    ///
    /// Logged at info level: "[DeskDuplManagerMac]: The capturer " id " references has already
    /// changed to " users, and at 0 "[DeskDuplManagerMac]: The capturer " id "does not have any
    /// renferences and has been released."
    /// \param id the display's id. An unknown one changes nothing and is logged as critical:
    ///        "[DeskDuplManagerMac]: Not found capturer to release capturer reference count :" id.
    void releaseCapturer(QString id) override;

    /// A text for people: none, as no display has a description yet.
    /// \param id any text.
    /// \return always empty.
    QString capturerDesc(QString id) override;

protected:
    /// Makes and starts the capturer of a display, and deletes one that it still holds, later. Only
    /// for the manager's own thread while no other thread uses the manager.
    /// \param id the display's id. An unknown one changes nothing and is logged as critical:
    ///        "[DeskDuplManagerMac]: Not found capturer context to making capturer, id: " id.
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
