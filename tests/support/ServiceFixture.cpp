#include "ServiceFixture.h"

#include "ConfigurationSupport.h"
#include "LogCapture.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace corvane::test {

ServiceFixture::ServiceFixture()
{
    const LogCapture log; // that there are no settings yet is no news
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->globalJsonObj();
}

void ServiceFixture::reset()
{
    ConfigurationManager::instance()->globalJsonObj() = {};
    QFile::remove(path("global.json"));
    QDir(path("resources")).removeRecursively();
    QDir(path({})).mkdir("resources");
}

QJsonObject ServiceFixture::storedSettings() const
{
    return QJsonDocument::fromJson(bytesOf(path("global.json"))).object();
}

QByteArray versionReply(const QString &version, const QString &url, const QString &digest)
{
    const QJsonObject reply{{"var", version}, {"download_url", url}, {"md5", digest}};
    return QJsonDocument(reply).toJson();
}

QJsonObject storedVersion(const QString &version, const QString &url, const QString &digest)
{
    const QJsonObject stored{{"version", version}, {"pkgUrl", url}, {"sha256", digest}};
    return {{"latestVerion", stored}};
}

QString sha256(const QByteArray &bytes)
{
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex().toUpper());
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace corvane::test
