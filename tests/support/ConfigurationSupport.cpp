#include "ConfigurationSupport.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace corvane::test {
namespace {

constexpr uid_t kNobody = 65534;

QStringList critical(const char *function, const QString &message)
{
    return {QStringList{"critical", "default", function, message}.join('|')};
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
