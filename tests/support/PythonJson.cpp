#include "PythonJson.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

namespace corvane::test {
namespace {

constexpr int kPatienceMs = 60000;

constexpr const char *kScript = R"(
import json, sys

def members(pairs):
    if len(dict(pairs)) < len(pairs):
        raise ValueError("a member occurs twice")
    return dict(pairs)

def refuse(constant):
    raise ValueError(constant + " is no JSON")

with open(sys.argv[1], "rb") as file:
    text = file.read().decode("utf-8")
value = json.loads(text, object_pairs_hook=members, parse_constant=refuse)
print(json.dumps(value, sort_keys=True, separators=(",", ":")), end="")
)";

// Isolated, and without its packages: neither the user's settings nor the working directory play a
// part.
const QStringList kOptions{"-I", "-S", "-c"};

/// The output of a script, or a text in brackets that tells what went wrong.
QByteArray run(const QString &python, const QStringList &scriptWithArguments)
{
    QProcess process;
    process.start(python, kOptions + scriptWithArguments);
    if (!process.waitForFinished(kPatienceMs))
        return "(python3: " + process.errorString().toUtf8() + ')';
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return "(python3: " + process.readAllStandardError().trimmed().split('\n').last() + ')';
    return process.readAllStandardOutput();
}

/// The interpreter itself, which starts faster than a script that stands before it; empty when
/// there is none.
QString interpreter()
{
    const QString python = QStandardPaths::findExecutable("python3");
    if (python.isEmpty())
        return {};
    return QString::fromLocal8Bit(run(python, {"import sys; print(sys.executable, end='')"}));
}

} // namespace

QByteArray pythonJson(const QString &path)
{
    static const QString python = interpreter();
    if (python.isEmpty())
        return "(python3 is missing; scripts/setup installs it)";
    return run(python, {kScript, path});
}

} // namespace corvane::test
