#include "ProcessCost.h"

#include <QFile>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace corvane::bench {
namespace {

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

pid_t start(const QStringList &command, const QString &folder)
{
    std::vector<QByteArray> words;
    for (const QString &word : command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const QByteArray place = QFile::encodeName(folder.isEmpty() ? QStringLiteral(".") : folder);
    const pid_t process = fork();
    if (process == 0) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (dup2(nowhere, STDOUT_FILENO) == STDOUT_FILENO && chdir(place.constData()) == 0)
            execvp(arguments[0], arguments.data());
        _exit(127);
    }
    return process;
}

} // namespace

ProcessCost costOf(const QStringList &command, const QString &folder)
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = start(command, folder);
    int status = -1;
    rusage usage{};
    if (process < 0 || wait4(process, &status, 0, &usage) != process || status != 0)
        throw std::runtime_error(command.first().toStdString() + " failed");
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return {time.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
            double(usage.ru_maxrss) / 1024};
}

QString leastAndMedian(std::vector<double> values, int digits)
{
    std::sort(values.begin(), values.end());
    return QString("%1 (%2)")
        .arg(values.front(), 0, 'f', digits)
        .arg(values[values.size() / 2], 0, 'f', digits);
}

QString leastAndMedian(const std::vector<ProcessCost> &costs, double ProcessCost::*figure,
                       int digits)
{
    std::vector<double> values;
    for (const ProcessCost &cost : costs)
        values.push_back(cost.*figure);
    return leastAndMedian(values, digits);
}

int statusOf(const std::function<void()> &measure)
{
    try {
        measure();
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}

} // namespace corvane::bench
