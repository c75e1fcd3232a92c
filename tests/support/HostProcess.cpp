#include "HostProcess.h"

#include <QProcess>

namespace corvane::test {
namespace {

constexpr int kPatienceMs = 60000;

} // namespace

HostResult runHost(const QString &program, const QStringList &arguments,
                   QProcessEnvironment environment)
{
    environment.insert("LC_ALL", "C.UTF-8");
    environment.insert("QT_LOGGING_TO_CONSOLE", "1");
    environment.insert("QT_MESSAGE_PATTERN", "%{type}|%{category}|%{function}|%{message}");
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(kPatienceMs) || process.exitStatus() != QProcess::NormalExit)
        return {-1, process.readAllStandardOutput(), process.errorString().toUtf8()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace corvane::test
