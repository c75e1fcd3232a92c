#ifndef CORVANE_TESTS_SERVICEWORK_H
#define CORVANE_TESTS_SERVICEWORK_H

#include "Work.h"

#include <LibCorvane/NetRCManager.h>

#include <QObject>
#include <QProcess>
#include <QTimer>

namespace corvane::test {

/// Packs feedback and sends it, asks for the newest version, downloads an installer and reports the
/// use, each in turn. The service is another process, whose memory does not count here.
class ServiceWork : public QObject, public Work {
    Q_OBJECT
public:
    /// \param server the program of the service.
    explicit ServiceWork(const QString &server);
    ~ServiceWork() override;

    void begin() override;
    void end() override;
    bool isIdle() const override { return m_open == 0; }
    QMap<QString, qint64> takeDone() override;
    QString failure() const override;

private:
    /// Ends with the soak, also when that crashes.
    class Server : public QProcess {
        void setupChildProcess() override;
    };

    void doNext();
    void sendFeedback();
    void closeRequest();

    Server m_server;
    NetRCManager m_service;
    QTimer m_timer;
    int m_step = 0;
    /// Requests that have not been answered.
    int m_open = 0;
    qint64 m_packages = 0;
    qint64 m_answers = 0;
    qint64 m_installers = 0;
    int m_refused = 0;
};

} // namespace corvane::test

#endif
