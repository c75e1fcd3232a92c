#ifndef CORVANE_TESTS_PHPSERVER_H
#define CORVANE_TESTS_PHPSERVER_H

#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace corvane::test {

/// PHP's own web server with the scripts of the folder php: another reader of what is sent.
class PhpServer {
public:
    PhpServer();
    ~PhpServer();
    PhpServer(const PhpServer &) = delete;
    PhpServer &operator=(const PhpServer &) = delete;

    /// Whether the server answers; otherwise log() says why.
    bool isRunning() const;
    QString log() const { return m_log; }
    /// As NetRCManager::setServiceHost() takes it.
    QString host() const { return m_host; }

    /// What update_check.php is to answer.
    void setVersion(const QJsonObject &version);
    /// What a script has recorded last, by the script's name; empty when it has not been called.
    QJsonObject record(const QString &script) const;

private:
    /// Ends with the test program, also when that crashes.
    class Process : public QProcess {
        void setupChildProcess() override;
    };

    bool startOn(const QString &host);

    QTemporaryDir m_records;
    QString m_host;
    QString m_log;
    Process m_process;
};

} // namespace corvane::test

#endif
