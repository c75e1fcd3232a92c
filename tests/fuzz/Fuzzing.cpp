#include "Fuzzing.h"

#include <QtGlobal>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace corvane::fuzz {
namespace {

std::atomic<int> gsLoggedLines = 0;

void countLine(QtMsgType, const QMessageLogContext &, const QString &)
{
    ++gsLoggedLines;
}

} // namespace

QString textOf(const QByteArray &utf8)
{
    return QString::fromUtf8(utf8).replace(QChar::ReplacementCharacter, QChar(0xd800));
}

int loggedLines()
{
    return gsLoggedLines;
}

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace corvane::fuzz

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler(corvane::fuzz::countLine);
    return 0;
}
