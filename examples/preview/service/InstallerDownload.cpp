#include "InstallerDownload.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFileInfo>
#include <QNetworkReply>
#include <QUrl>

namespace {

constexpr int kLookEveryMs = 100;

QString installerFile()
{
    return ConfigurationManager::instance()->resourcesPath() + QStringLiteral("/install.exe");
}

QUrl installerUrl()
{
    return QUrl(ConfigurationManager::instance()->globalValue("latestVerion.pkgUrl").toString());
}

} // namespace

InstallerDownload::InstallerDownload(NetRCManager &client)
    : m_client(client)
{
    connect(&m_everyMoment, &QTimer::timeout, this, &InstallerDownload::look);
    connect(&m_client, &NetRCManager::newInstallationFileDownloaded, this,
            [this](const QString &fileName) {
                m_everyMoment.stop();
                emit finished(fileName);
            });
}

void InstallerDownload::start()
{
    if (m_everyMoment.isActive())
        return;
    m_total = 0;
    m_everyMoment.start(kLookEveryMs);
    m_client.downloadLatestApp();
    askForSize();
    look();
}

void InstallerDownload::askForSize()
{
    QNetworkReply *reply = m_network.head(QNetworkRequest(installerUrl()));
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        if (reply->error() == QNetworkReply::NoError)
            m_total = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        reply->deleteLater();
    });
}

void InstallerDownload::look()
{
    const QFileInfo file(installerFile());
    if (file.exists()) {
        emit progressed(file.size(), m_total);
        return;
    }
    m_everyMoment.stop();
    emit failed();
}
