#include "SoakLog.h"

#include <mutex>

namespace corvane::test {
namespace {

constexpr int kMostLines = 20;

std::mutex mutex;

QStringList &kept()
{
    static QStringList lines;
    return lines;
}

void keep(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const std::lock_guard lock(mutex);
    if (type != QtDebugMsg && type != QtInfoMsg && kept().size() < kMostLines)
        kept() << message;
}

} // namespace

SoakLog::SoakLog()
{
    forget();
    m_previous = qInstallMessageHandler(keep);
}

SoakLog::~SoakLog()
{
    qInstallMessageHandler(m_previous);
}

void SoakLog::forget()
{
    const std::lock_guard lock(mutex);
    kept().clear();
}

QStringList SoakLog::complaints() const
{
    const std::lock_guard lock(mutex);
    return kept();
}

} // namespace corvane::test
