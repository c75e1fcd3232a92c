#include "ProcessState.h"

#include <support/HeapInUse.h>

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <unistd.h>

namespace corvane::test {
namespace {

int entriesOf(const QString &directory)
{
    const QDir::Filters all = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    return int(QDir(directory).entryList(all, QDir::Unsorted).size());
}

qint64 residentBytes()
{
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

} // namespace

ProcessState processState()
{
    return {residentBytes(), heapInUse(), entriesOf("/proc/self/task"), entriesOf("/proc/self/fd")};
}

} // namespace corvane::test
