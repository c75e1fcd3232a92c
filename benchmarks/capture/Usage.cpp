#include "Usage.h"

#include <QByteArray>
#include <QFile>

#include <ctime>

namespace corvane::bench {
namespace {

std::chrono::nanoseconds read(clockid_t clock)
{
    timespec used{};
    clock_gettime(clock, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

} // namespace

std::chrono::nanoseconds processTime()
{
    return read(CLOCK_PROCESS_CPUTIME_ID);
}

std::chrono::nanoseconds threadTime()
{
    return read(CLOCK_THREAD_CPUTIME_ID);
}

qint64 memoryOf(qint64 processId)
{
    QFile file(QString("/proc/%1/smaps_rollup").arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("Pss:"))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return 0;
}

} // namespace corvane::bench
