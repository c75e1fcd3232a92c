#ifndef LIBCORVANE_SERVICEMESSAGES_P_H
#define LIBCORVANE_SERVICEMESSAGES_P_H

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

class QFile;
class QHttpMultiPart;
class QNetworkRequest;

namespace corvane {

/// What the service says about the newest version.
struct LatestVersion {
    QString version;
    QString downloadUrl;
    /// The installer's SHA-256 in hexadecimal, of either case.
    QString digest;
};

/// Where to ask for the newest version of an application. The name is not encoded: the URL's
/// tolerant parser makes of it what it can, and "#" or "&" mean what they mean in any URL.
QUrl versionUrl(const QString &host, const QString &application);

/// The newest version out of the service's answer; nothing when that is not JSON. What is missing
/// or no text is empty, and the version "0.0.0.1".
std::optional<LatestVersion> parseVersionReply(const QByteArray &body);

/// Where to send feedback; the application signs with its name and version, both in Latin-1.
QNetworkRequest feedbackRequest(const QString &host, const QString &application,
                                const QString &version);

/// What the user has to say.
QByteArray feedbackText(const QString &message, const QString &contact);

/// The form of a feedback package. It owns the file, which is open and read while it is sent.
/// \param packageName the file's name without its folder.
std::unique_ptr<QHttpMultiPart> feedbackForm(const QByteArray &text, const QString &packageName,
                                             std::unique_ptr<QFile> package);

/// When which application was in use where.
struct UsageReport {
    QString application;
    QString version;
    /// The machine's hardware address; may be empty.
    QString address;
    QString startTime;
    QString closeTime;
};

QNetworkRequest usageRequest(const QString &host);

/// The report as compact JSON.
QByteArray usageBody(const UsageReport &report);

} // namespace corvane

#endif
