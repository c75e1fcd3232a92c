#include "FeedbackRoot.h"

#include "ConfigurationSupport.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

namespace corvane::test {
namespace {

constexpr qint64 kSecond = 1000000000;

} // namespace

FeedbackRoot::FeedbackRoot()
    : m_path(m_directory.filePath("root"))
{
    if (!m_directory.isValid())
        qFatal("There is no temporary directory.");
    ConfigurationManager::setConfigPath(m_path);
    clear();
}

void FeedbackRoot::clear() const
{
    auto *settings = ConfigurationManager::instance();
    QDir(m_path).removeRecursively();
    for (const char *folder : {"controllers", "logs", "effects", "dumps", "resources"})
        makeFolder(folder);
    settings->saveGlobalValues(); // otherwise the first use logs a missing file
    settings->globalJsonObj() = {};
    QFile::remove(path("global.json"));
}

void FeedbackRoot::write(const QString &name, const QByteArray &bytes) const
{
    makeFolder(QFileInfo(name).path());
    writeBytes(path(name), bytes);
}

void FeedbackRoot::write(const QString &name, const QByteArray &bytes, qint64 time) const
{
    write(name, bytes);
    setModificationTime(path(name), time);
}

void FeedbackRoot::makeFolder(const QString &name) const
{
    if (!QDir().mkpath(path(name)))
        qFatal("Cannot make %s", qUtf8Printable(path(name)));
}

void FeedbackRoot::link(const QString &name, const QString &destination) const
{
    if (!QFile::link(destination, path(name)))
        qFatal("Cannot make %s", qUtf8Printable(path(name)));
}

void setModificationTime(const QString &path, qint64 nanoseconds)
{
    const timespec time{time_t(nanoseconds / kSecond), long(nanoseconds % kSecond)};
    const timespec times[] = {time, time};
    const QByteArray name = QFile::encodeName(path);
    if (utimensat(AT_FDCWD, name.constData(), times, 0) != 0)
        qFatal("Cannot set the time of %s", name.constData());
}

QStringList packageDirectories()
{
    return {"controllers/",  "dumps/",           "effects/",           "logs/",
            "logs/devices/", "logs/usrOptions/", "capturerScreenshot/"};
}

QStringList numbered(const QString &pattern, int first, int last)
{
    QStringList names;
    for (int number = first; number >= last; --number)
        names << pattern.arg(number);
    return names;
}

} // namespace corvane::test
