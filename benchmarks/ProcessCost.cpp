#include "ProcessCost.h"

#include <QFile>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace corvane::bench {
namespace {

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

pid_t start(const QStringList &command)
{
    std::vector<QByteArray> words;
    for (const QString &word : command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int error =
        posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + command.first().toStdString());
    return process;
}

} // namespace

ProcessCost costOf(const QStringList &command)
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = start(command);
    int status = -1;
    rusage usage{};
    if (wait4(process, &status, 0, &usage) != process || status != 0)
        throw std::runtime_error(command.first().toStdString() + " failed");
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return {time.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
            double(usage.ru_maxrss) / 1024};
}

QString leastAndMedian(const std::vector<ProcessCost> &costs, double ProcessCost::*figure,
                       int digits)
{
    std::vector<double> values;
    for (const ProcessCost &cost : costs)
        values.push_back(cost.*figure);
    std::sort(values.begin(), values.end());
    return QString("%1 (%2)")
        .arg(values.front(), 0, 'f', digits)
        .arg(values[values.size() / 2], 0, 'f', digits);
}

} // namespace corvane::bench
