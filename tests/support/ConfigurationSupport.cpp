#include "ConfigurationSupport.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace corvane::test {
namespace {

constexpr uid_t kNobody = 65534;

QStringList critical(const char *function, const QString &message)
{
    return {QStringList{"critical", "default", function, message}.join('|')};
}

QStringList removalWarning(const QString &text, const QString &path)
{
    return {"warning|default|removeDirectory|" + text + " \"" + path + '"'};
}

} // namespace

QByteArray bytesOf(const QString &path)
{
    std::ifstream file(path.toStdString(), std::ios::binary);
    if (!file)
        return "(no file)";
    return QByteArray::fromStdString({std::istreambuf_iterator<char>(file), {}});
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    std::ofstream file(path.toStdString(), std::ios::binary | std::ios::trunc);
    file.write(bytes.constData(), bytes.size());
    file.close();
    if (!file)
        qFatal("Cannot prepare %s", qUtf8Printable(path));
}

QStringList treeOf(const QString &directory)
{
    namespace fs = std::filesystem;
    const fs::path root = directory.toStdString();
    QStringList paths;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        const QString path = QString::fromStdString(entry.path().lexically_relative(root).string());
        paths << (entry.symlink_status().type() == fs::file_type::directory ? path + '/' : path);
    }
    paths.sort();
    return paths;
}

void setMode(const QString &path, mode_t mode)
{
    if (chmod(path.toLocal8Bit().constData(), mode) != 0)
        qFatal("Cannot change the mode of %s", qUtf8Printable(path));
}

void makeLink(const QString &target, const QString &path)
{
    if (symlink(target.toLocal8Bit().constData(), path.toLocal8Bit().constData()) != 0)
        qFatal("Cannot make the link %s", qUtf8Printable(path));
}

QString reason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QStringList openFailure(const QString &path, const QString &why)
{
    return critical("ConfigurationManager::loadJsonObjectFromFile",
                    QString("Failed to open \"%1\"  errStr: \"%2\"").arg(path, why));
}

QStringList parseFailure(const QString &path, const QString &why)
{
    return critical("ConfigurationManager::loadJsonObjectFromFile",
                    QString("Failed to parse \"%1\" \"%2\"").arg(path, why));
}

QStringList saveFailure(const QString &path, const QString &why)
{
    return critical("ConfigurationManager::saveJsonObject",
                    QString("Failed to opened : \"%1\" errStr:  \"%2\"").arg(path, why));
}

QStringList missing(const QString &path)
{
    return removalWarning("Directory does not exist:", path);
}

QStringList fileStays(const QString &path)
{
    return removalWarning("Failed to remove file:", path);
}

QStringList directoryStays(const QString &path)
{
    return removalWarning("Failed to remove directory:", path);
}

LowLimit::LowLimit(Resource resource, rlim_t limit)
    : m_resource(resource)
{
    getrlimit(m_resource, &m_before);
    rlimit lowered = m_before;
    lowered.rlim_cur = limit;
    if (setrlimit(m_resource, &lowered) != 0)
        qFatal("Cannot lower a limit: %s", std::strerror(errno));
}

LowLimit::~LowLimit()
{
    if (setrlimit(m_resource, &m_before) != 0)
        qFatal("Cannot restore a limit: %s", std::strerror(errno));
}

OrdinaryUser::OrdinaryUser()
    : m_changed(geteuid() == 0 && seteuid(kNobody) == 0)
{
}

OrdinaryUser::~OrdinaryUser()
{
    if (m_changed && seteuid(0) != 0)
        qFatal("Cannot be root again: %s", std::strerror(errno));
}

} // namespace corvane::test
