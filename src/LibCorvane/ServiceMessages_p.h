#ifndef LIBCORVANE_SERVICEMESSAGES_P_H
#define LIBCORVANE_SERVICEMESSAGES_P_H

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

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

} // namespace corvane

#endif
