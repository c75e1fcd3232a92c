#ifndef CORVANE_TESTS_CONFIGURATIONSUPPORT_H
#define CORVANE_TESTS_CONFIGURATIONSUPPORT_H

#include "LogCapture.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sys/resource.h>
#include <sys/types.h>

namespace corvane::test {

/// The bytes on disk, read without Qt; "(no file)" when there is none.
QByteArray bytesOf(const QString &path);
/// Ends the test program when the file cannot be written.
void writeBytes(const QString &path, const QByteArray &bytes);

/// Everything below a directory, as sorted paths relative to it, read without Qt. A directory ends
/// in "/"; links are named, not followed.
QStringList treeOf(const QString &directory);
/// Each of these ends the test program when it fails.
void setMode(const QString &path, mode_t mode);
void makeLink(const QString &target, const QString &path);

/// The system's text for an errno value.
QString reason(int error);

// What logged() gives for each failure that the configuration store reports.
QStringList openFailure(const QString &path, const QString &why);
QStringList parseFailure(const QString &path, const QString &why);
QStringList saveFailure(const QString &path, const QString &why);
// The same for what removeDirectory() reports.
QStringList missing(const QString &path);
QStringList fileStays(const QString &path);
QStringList directoryStays(const QString &path);

/// Lowers a soft limit of this process while it lives.
class LowLimit {
public:
    using Resource = decltype(RLIMIT_FSIZE);

    LowLimit(Resource resource, rlim_t limit);
    ~LowLimit();
    LowLimit(const LowLimit &) = delete;
    LowLimit &operator=(const LowLimit &) = delete;

private:
    Resource m_resource;
    rlimit m_before{};
};

/// Acts as a user without root's rights while it lives, if the program runs as root.
class OrdinaryUser {
public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    bool m_changed;
};

} // namespace corvane::test

#endif
