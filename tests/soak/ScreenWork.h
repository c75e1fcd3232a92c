#ifndef CORVANE_TESTS_SCREENWORK_H
#define CORVANE_TESTS_SCREENWORK_H

#include "Work.h"

#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <deskCapturers/CaptureRecords.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QObject>
#include <QTimer>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace corvane::test {

/// Reads the frames of two monitors of a private X server, on which something moves, on several
/// threads. Each of these acquires a display, reads it for a moment, and releases it. One user
/// holds both displays all the time: a display that is released by its last user is captured anew
/// for the next one, which is what costOfRemaking() measures.
class ScreenWork : public QObject, public Work {
    Q_OBJECT
public:
    ScreenWork();
    ~ScreenWork() override;

    void begin() override;
    void end() override;
    void idle() override;
    bool isIdle() const override;
    QMap<QString, qint64> takeDone() override;
    QString failure() const override;

    /// Releases a display and acquires it, so many times, until a frame of each capture has come
    /// and all of them but the last have gone to sleep.
    /// \return the growth of the heap for each time, in bytes; nothing if one stays awake.
    std::optional<qint64> costOfRemaking(int times);

private:
    void drawNextPicture();
    void useDisplays(int number);
    void useDisplay(const QString &id, int cycle);
    bool awaitFrame();

    XServer m_server;
    XClient m_client;
    CaptureRecords m_records;
    std::optional<DeskDuplManagerMac> m_manager;
    QMap<QString, QSharedPointer<IDeskCapture>> m_held;
    QTimer m_pictures;
    int m_picture = 0;
    std::vector<std::thread> m_users;
    std::atomic<bool> m_ends{false};
    std::atomic<qint64> m_frames{0};
    std::atomic<qint64> m_changes{0};
    std::atomic<qint64> m_acquired{0};
    std::atomic<qint64> m_badFrames{0};
};

} // namespace corvane::test

#endif
