#include "ServiceMessages_p.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace corvane {
namespace {

QUrl serviceUrl(const QString &host, const QString &pathAndQuery)
{
    return QUrl(QLatin1String("http://") + host + pathAndQuery, QUrl::TolerantMode);
}

} // namespace

QUrl versionUrl(const QString &host, const QString &application)
{
    return serviceUrl(host, QLatin1String("/update_check.php?app=") + application);
}

std::optional<LatestVersion> parseVersionReply(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isNull())
        return std::nullopt;
    const QJsonObject reply = document.object();
    // The key says MD5, the value is a SHA-256: so the service has it.
    return LatestVersion{reply[QLatin1String("var")].toString(QStringLiteral("0.0.0.1")),
                         reply[QLatin1String("download_url")].toString(),
                         reply[QLatin1String("md5")].toString()};
}

} // namespace corvane
