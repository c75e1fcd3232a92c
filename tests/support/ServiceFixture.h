#ifndef CORVANE_TESTS_SERVICEFIXTURE_H
#define CORVANE_TESTS_SERVICEFIXTURE_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>

namespace corvane::test {

/// A data root of the test program's own. Must be made before the first use of the settings.
class ServiceFixture {
public:
    ServiceFixture();

    /// As after the first start: no settings, no installer.
    void reset();

    QString path(const QString &name) const { return m_directory.filePath(name); }
    QString installerPath() const { return path("resources/install.exe"); }
    /// What global.json holds; empty when there is none.
    QJsonObject storedSettings() const;

private:
    QTemporaryDir m_directory;
};

/// The service's answer about the newest version, and what the settings keep of it.
QByteArray versionReply(const QString &version, const QString &url = {},
                        const QString &digest = {});
QJsonObject storedVersion(const QString &version, const QString &url = {},
                          const QString &digest = {});

/// SHA-256, in hexadecimal capitals.
QString sha256(const QByteArray &bytes);

/// Runs the event loop until nothing is waiting in it, deferred deletions included.
void settle();

} // namespace corvane::test

#endif
