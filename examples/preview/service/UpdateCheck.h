#ifndef CORVANE_PREVIEW_UPDATECHECK_H
#define CORVANE_PREVIEW_UPDATECHECK_H

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class NetRCManager;

/// Asks the service for a newer version of the application.
///
/// The library announces a newer version only; that the service has answered at all shows in the
/// settings, where the library keeps what it heard.
class UpdateCheck : public QObject {
    Q_OBJECT
public:
    /// \param client outlives the check.
    /// \param patienceMs how long to wait for an answer.
    explicit UpdateCheck(NetRCManager &client, int patienceMs = 10000);

    /// Begins anew when a check is running.
    void start();

signals:
    /// This version can be downloaded.
    void found(const QString &version);
    /// The service's version is the running one or an older one.
    void foundNone(const QString &version);
    /// There is no answer, or none that can be read.
    void failed();

private:
    void look();
    void end();

    NetRCManager &m_client;
    const int m_patienceMs;
    QTimer m_everyMoment;
    QElapsedTimer m_sinceStart;
};

#endif
