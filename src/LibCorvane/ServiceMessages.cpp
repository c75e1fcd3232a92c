#include "ServiceMessages_p.h"

#include <QFile>
#include <QHttpMultiPart>
#include <QHttpPart>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>

namespace corvane {
namespace {

QUrl serviceUrl(const QString &host, const QString &pathAndQuery)
{
    return QUrl(QLatin1String("http://") + host + pathAndQuery, QUrl::TolerantMode);
}

QHttpPart part(const QString &disposition)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, disposition);
    return part;
}

QHttpPart field(const QString &name, const QByteArray &body)
{
    QHttpPart field = part(QStringLiteral("form-data; name=\"%1\"").arg(name));
    field.setBody(body);
    return field;
}

QHttpPart packagePart(const QString &name, QIODevice *package)
{
    // The name ends in ".zip" already: the service knows packages by both.
    QHttpPart file = part(QStringLiteral("form-data; name=\"upload_file_minidump\"; filename=\"")
                          + name + QStringLiteral(".zip\""));
    file.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
    file.setBodyDevice(package);
    return file;
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

QNetworkRequest feedbackRequest(const QString &host, const QString &application,
                                const QString &version)
{
    QNetworkRequest request(serviceUrl(host, QStringLiteral("/app/logupload.php")));
    request.setRawHeader("User-Agent", application.toLatin1() + '/' + version.toLatin1());
    request.setRawHeader("Accept", "*/*");
    return request;
}

QByteArray feedbackText(const QString &message, const QString &contact)
{
    return (message + QStringLiteral("\r\n 联系方式:") + contact).toUtf8();
}

std::unique_ptr<QHttpMultiPart> feedbackForm(const QByteArray &text, const QString &packageName,
                                             std::unique_ptr<QFile> package)
{
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    form->append(field(QStringLiteral("msg"), text));
    form->append(field(QStringLiteral("file_name"), packageName.toLatin1()));
    form->append(packagePart(packageName, package.get()));
    package.release()->setParent(form.get());
    return form;
}

QNetworkRequest usageRequest(const QString &host)
{
    QNetworkRequest request(serviceUrl(host, QStringLiteral("/activate.php")));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return request;
}

QByteArray usageBody(const UsageReport &report)
{
    // The version twice, the constants and the empty "cd" are what the service asks for.
    const QJsonObject body{
        {QStringLiteral("var"), report.version},
        {QStringLiteral("app_name"), report.application},
        {QStringLiteral("app_var"), report.version},
        {QStringLiteral("mac_code"), report.address},
        {QStringLiteral("act_code"), QStringLiteral("0")},
        {QStringLiteral("st"), report.startTime},
        {QStringLiteral("ct"), report.closeTime},
        {QStringLiteral("cd"), QStringLiteral("")},
        {QStringLiteral("all_proid"), QStringLiteral("0")},
    };
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace corvane
