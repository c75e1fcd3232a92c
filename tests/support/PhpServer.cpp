#include "PhpServer.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTcpServer>

#include <sys/prctl.h>

#include <csignal>

namespace corvane::test {
namespace {

constexpr int kStartTimeoutMs = 20000;
constexpr int kAttempts = 5;

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

PhpServer::PhpServer()
{
    QDir(m_records.path()).mkdir("app");
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("CORVANE_RECORDS", m_records.path());
    m_process.setProcessEnvironment(environment);
    // Somebody else may take the port before the server does.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (startOn(QString("127.0.0.1:%1").arg(freePort())))
            return;
    }
}

PhpServer::~PhpServer()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished()) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool PhpServer::isRunning() const
{
    return m_process.state() == QProcess::Running;
}

void PhpServer::setVersion(const QJsonObject &version)
{
    QFile file(m_records.filePath("version.json"));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(version).toJson()) < 0)
        qFatal("Cannot write %s", qUtf8Printable(file.fileName()));
}

QJsonObject PhpServer::record(const QString &script) const
{
    QFile file(m_records.filePath(script + ".json"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

void PhpServer::Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

/// The server tells when it listens, and ends when it cannot.
bool PhpServer::startOn(const QString &host)
{
    m_host = host;
    m_process.start("php",
                    {"-n", "-d", "post_max_size=64M", "-d", "upload_max_filesize=64M", "-S", host,
                     "-t", CORVANE_PHP_SCRIPTS});
    while (m_process.waitForReadyRead(kStartTimeoutMs)) {
        m_log += QString::fromLocal8Bit(m_process.readAll());
        if (m_log.contains(host + ") started"))
            return true;
    }
    m_log += m_process.errorString();
    m_process.kill();
    m_process.waitForFinished();
    return false;
}

} // namespace corvane::test
