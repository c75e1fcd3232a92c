#ifndef CORVANE_TESTS_HOSTPROCESS_H
#define CORVANE_TESTS_HOSTPROCESS_H

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

namespace corvane::test {

/// What a program left behind: -1 and the reason as its log when it did not come to its end.
struct HostResult {
    int exitCode = -1;
    QByteArray output;
    /// One "level|category|function|message" per log line.
    QByteArray log;
};

/// Runs a program to its end.
HostResult runHost(const QString &program, const QStringList &arguments,
                   QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());

} // namespace corvane::test

#endif
