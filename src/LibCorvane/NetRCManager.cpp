#include "NetRCManager.h"

#include "ConfigurationManager.h"
#include "FeedbackManager.h"
#include "InstallerTransfer_p.h"
#include "ReplyLifetime_p.h"
#include "ServiceMessages_p.h"
#include "common/HardwareInfo.h"

#include <QCoreApplication>
#include <QDebug>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

using namespace corvane;

// Log lines are written within the public operations, lambdas included: their context names them.

namespace {

constexpr const char *kUnwritten = "An error occurred when trying to write the installation file";

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

QString defaultServiceHost()
{
    return QStringLiteral(LIBCORVANE_SERVICE_HOST);
}

QString &currentServiceHost()
{
    static QString host = defaultServiceHost();
    return host;
}

QString executableName()
{
    return QFileInfo(QCoreApplication::applicationFilePath()).fileName();
}

QString installerPath()
{
    return ConfigurationManager::instance()->resourcesPath() + QLatin1String("/install.exe");
}

QNetworkRequest signedFeedbackRequest()
{
    return feedbackRequest(NetRCManager::serviceHost(), QCoreApplication::applicationName(),
                           QCoreApplication::applicationVersion());
}

void save(const LatestVersion &latest)
{
    ConfigurationManager *configuration = ConfigurationManager::instance();
    // Not to be corrected: stored settings have this key.
    configuration->setGlobalValue(QStringLiteral("latestVerion.version"), latest.version);
    configuration->setGlobalValue(QStringLiteral("latestVerion.pkgUrl"), latest.downloadUrl);
    configuration->setGlobalValue(QStringLiteral("latestVerion.sha256"), latest.digest);
    configuration->saveGlobalValues();
}

} // namespace

NetRCManager::NetRCManager(QObject *parent)
    : QObject(parent)
{
}

NetRCManager::~NetRCManager()
{
    // Downloads are children of this object; the access manager, on whose thread they depend, goes
    // before those would.
    qDeleteAll(findChildren<QNetworkReply *>(QString(), Qt::FindDirectChildrenOnly));
}

void NetRCManager::setServiceHost(const QString &hostAndPort)
{
    currentServiceHost() = hostAndPort.isEmpty() ? defaultServiceHost() : hostAndPort;
}

QString NetRCManager::serviceHost()
{
    return currentServiceHost();
}

void NetRCManager::checkVersion()
{
    const QNetworkRequest request(versionUrl(serviceHost(), executableName()));
    const QPointer<QNetworkReply> reply = m_network.get(request);

    connect(reply, &QNetworkReply::finished, reply, [this, reply] {
        if (!reply)
            return;
        const auto latest = parseVersionReply(reply->readAll());
        if (!latest) {
            qWarning() << "An error occurred while trying to parse the Network JSON file";
            return;
        }
        m_latestVersion = latest->version;
        m_downloadUrl = latest->downloadUrl;
        m_installerDigest = latest->digest;
        save(*latest);
        const QString running = QCoreApplication::applicationVersion();
        if (compareVersion(running, m_latestVersion)) {
            qInfo() << "Latest version: " << m_latestVersion << "  current version" << running
                    << "  no need to update";
            return;
        }
        qInfo() << "The new version has been made available";
        const ReplyShelter shelter(reply);
        emit hasNewAppVersion();
    });
    connect(reply, &QNetworkReply::errorOccurred, this, [reply] {
        if (!reply)
            return;
        qWarning() << "An error occurred while trying to request version information"
                   << reply->errorString();
        deleteOnceFinished(reply, reply);
    });
}

void NetRCManager::downloadLatestApp()
{
    const auto download = std::make_shared<InstallerTransfer>(installerPath());
    if (!download->open(this)) {
        qWarning() << "An error occurred when trying to create the installation file"
                   << download->errorString();
        return;
    }
    QNetworkReply *reply = download->request(m_network, m_downloadUrl);

    const auto receive = [download] {
        if (!download->reply()) {
            qCritical() << "The QNetworkReply object has been null when reading some new data";
            return;
        }
        // In any case: a full buffer stops the transfer.
        const QByteArray bytes = download->reply()->readAll();
        if (!download->hasFile()) {
            qCritical() << "The QFile object has been null when reading some new data";
            return;
        }
        if (download->append(bytes))
            return;
        qWarning() << kUnwritten << download->errorString();
        download->reply()->abort();
    };
    connect(reply, &QNetworkReply::readyRead, this, receive);
    connect(reply, &QNetworkReply::finished, this, [this, download, receive] {
        if (!download->isThere())
            return;
        if (download->reply()->bytesAvailable() > 0)
            receive();
        const bool isKept = download->close();
        if (!isKept)
            qWarning() << kUnwritten << download->errorString();
        download->release();
        const QString digest = download->digest();
        const QString announced = m_installerDigest.toUpper();
        qDebug() << digest << announced;
        const bool hasArrived = download->reply()->error() == QNetworkReply::NoError;
        if (!isKept || !hasArrived || digest != announced) {
            qWarning() << "The md5 of the new installation file is wrong";
            download->removeFile();
            return;
        }
        qInfo() << "The new installation file has been downloaded";
        const ReplyShelter shelter(download->reply());
        emit newInstallationFileDownloaded(download->path());
    });
    connect(reply, &QNetworkReply::errorOccurred, this, [reply, download] {
        qWarning() << "Error:" << reply->errorString();
        if (!download->isThere())
            return;
        download->release();
        download->removeFile();
    });
}

void NetRCManager::sendFeedback(QPointer<FeedbackManager> feedback, std::function<void()> onSent,
                                std::function<void(QNetworkReply::NetworkError)> onError)
{
    if (!feedback)
        feedback = new FeedbackManager(this);
    const QFileInfo package(feedback->feedbackFileName());
    if (!package.exists()) {
        qCritical() << "The feedback file is not exist" << package.filePath();
        return;
    }
    qDebug() << package.fileName();
    auto file = std::make_unique<QFile>(package.filePath());
    if (!file->open(QIODevice::ReadOnly)) {
        qCritical() << "An error occurred while opeing the feedback file" << file->errorString();
        return;
    }
    const QByteArray text = feedbackText(feedback->userMsg(), feedback->userContactInfo());
    auto form = feedbackForm(text, package.fileName(), std::move(file));

    const QPointer<QNetworkReply> reply = m_network.post(signedFeedbackRequest(), form.get());
    if (reply->error() != QNetworkReply::NoError) {
        qWarning() << "An error occurred while posting the feedback request"
                   << reply->errorString();
        delete reply; // before the form that it reads
        return;
    }
    form.release()->setParent(reply);

    connect(reply, &QNetworkReply::errorOccurred, this,
            [reply, onError = std::move(onError)](QNetworkReply::NetworkError code) {
                if (!reply)
                    return;
                qWarning() << "An error occurred while uploading the feedback"
                           << reply->errorString();
                const ReplyShelter shelter(reply);
                if (onError)
                    onError(code);
                deleteOnceFinished(reply, reply);
            });
    connect(reply, &QNetworkReply::finished, this, [reply, onSent = std::move(onSent)] {
        if (!reply)
            return;
        qDebug() << reply->readAll();
        qInfo() << "A feedback have sent to server";
        const ReplyShelter shelter(reply);
        if (onSent)
            onSent();
    });
}

void NetRCManager::uploadAppOnOffTime(QString startTime, QString closeTime)
{
    const UsageReport report{executableName(), QCoreApplication::applicationVersion(),
                             HardwareInfo::getMacStr(QStringLiteral("0")), std::move(startTime),
                             std::move(closeTime)};
    const QByteArray body = usageBody(report);
    qInfo() << "[NetRCManager]: Prepare to upload to AppOnOffTime to the server, startTime: "
            << report.startTime << ", clostTime: " << report.closeTime;
    const QPointer<QNetworkReply> reply = m_network.post(usageRequest(serviceHost()), body);
    connect(reply, &QNetworkReply::finished, this, [reply] {
        qInfo() << "[NetRCManager]: uploadAppOnOffTime  server reply: " << reply->error();
        reply->deleteLater();
    });
    if (report.closeTime.isEmpty())
        return;
    // Not exec(), which returns at once when the application has been told to quit: the report is
    // to be delivered before that. The reply is gone when this object is.
    QEventLoop loop;
    while (reply && !reply->isFinished())
        loop.processEvents(QEventLoop::WaitForMoreEvents);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the versions by value.
bool compareVersion(QString a, QString b)
{
    const QStringList left = a.split(u'.');
    const QStringList right = b.split(u'.');
    const int count = std::max(left.size(), right.size());
    for (int i = 0; i < count; ++i) {
        const int x = left.value(i).toInt();
        const int y = right.value(i).toInt();
        if (x != y)
            return x > y;
    }
    return false;
}

QDate convertDateMacro(const QString &date)
{
    QString text = date;
    const auto month = std::find_if(std::begin(kMonths), std::end(kMonths), [&](const char *name) {
        return text.startsWith(QLatin1String(name));
    });
    if (month != std::end(kMonths))
        text.replace(0, 3, QStringLiteral("%1").arg(month - kMonths + 1, 2, 10, QChar(u'0')));
    return QDate::fromString(text, QStringLiteral("MM dd yyyy"));
}
