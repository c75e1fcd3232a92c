#include "ServiceWork.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>

#include <QFile>

#include <sys/prctl.h>

#include <csignal>
#include <memory>
#include <utility>

namespace corvane::test {
namespace {

constexpr int kRequestMs = 700;
constexpr int kLogs = 5;
constexpr int kLogBytes = 40000;

void writeLogs()
{
    for (int i = 0; i < kLogs; ++i) {
        QFile file(ConfigurationManager::instance()->logsPath() + QString("/soak%1.log").arg(i));
        if (file.open(QIODevice::WriteOnly))
            file.write(QByteArray("A line of a log, one of many.\n").repeated(kLogBytes / 30));
    }
}

} // namespace

void ServiceWork::Server::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

ServiceWork::ServiceWork(const QString &server)
{
    writeLogs();
    m_server.start(server, QStringList());
    if (m_server.waitForReadyRead())
        NetRCManager::setServiceHost(QString::fromLatin1(m_server.readLine()).trimmed());
    connect(&m_timer, &QTimer::timeout, this, &ServiceWork::doNext);
    m_timer.setInterval(kRequestMs);
    connect(&m_service, &NetRCManager::hasNewAppVersion, this, &ServiceWork::closeRequest);
    connect(&m_service, &NetRCManager::newInstallationFileDownloaded, this, [this] {
        ++m_installers;
        closeRequest();
    });
}

ServiceWork::~ServiceWork()
{
    m_server.closeWriteChannel();
    m_server.waitForFinished();
}

void ServiceWork::begin()
{
    m_timer.start();
}

void ServiceWork::end()
{
    m_timer.stop();
}

void ServiceWork::doNext()
{
    if (m_open > 0) // one at a time
        return;
    switch (m_step++ % 4) {
    case 0:
        ++m_open;
        m_service.checkVersion();
        return;
    case 1:
        ++m_open;
        m_service.downloadLatestApp();
        return;
    case 2:
        ++m_open;
        sendFeedback();
        return;
    default: // returns when that is answered
        m_service.uploadAppOnOffTime("2024-01-01 10:00:00", "2024-01-01 11:00:00");
        ++m_answers;
    }
}

void ServiceWork::sendFeedback()
{
    auto *feedback = new FeedbackManager(&m_service); // deleted when it has been sent
    feedback->setUserContactInfo("soak@example.invalid");
    feedback->setUserMsg("A message.");
    const QString package = feedback->zipFeedbackFile();
    ++m_packages;
    const auto finish = [this, feedback, package] {
        QFile::remove(package);
        feedback->deleteLater();
        closeRequest();
    };
    m_service.sendFeedback(feedback, finish, [this, finish](QNetworkReply::NetworkError) {
        ++m_refused;
        finish();
    });
}

void ServiceWork::closeRequest()
{
    --m_open;
    ++m_answers;
}

QMap<QString, qint64> ServiceWork::takeDone()
{
    return {{"packages", std::exchange(m_packages, 0)},
            {"answers", std::exchange(m_answers, 0)},
            {"installers", std::exchange(m_installers, 0)}};
}

QString ServiceWork::failure() const
{
    if (m_server.state() != QProcess::Running)
        return "The service does not run: " + m_server.errorString();
    return m_refused == 0 ? QString() : QString("%1 packages were refused").arg(m_refused);
}

} // namespace corvane::test
