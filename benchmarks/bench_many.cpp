// What one of a kind costs when there are many: displays, sound devices, effects, LEDs, readers of
// frames. Fails when one costs much more among many, that is, when growth is worse than linear.
#include "many/ManyDevices.h"
#include "many/ManyFrames.h"
#include "many/ManySettings.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>

namespace {

using namespace corvane::bench;

/// Linear growth is 1. The rest is for lookups, which take a little longer in larger containers,
/// and for the neighbours on a shared machine. Quadratic growth would be 8.
constexpr double kMostGrowth = 1.5;

void print(const QString &text)
{
    std::fputs(qPrintable(text), stdout);
    std::fflush(stdout);
}

void ignore(QtMsgType, const QMessageLogContext &, const QString &)
{
}

bool isLinear(const Series &series)
{
    return !series.isJudged || growth(series) <= kMostGrowth;
}

/// Whether nothing grows too much.
bool measure(QVector<Series> (*kind)())
{
    bool isFine = true;
    for (const Series &series : kind()) {
        print(tableLine(series));
        isFine = isFine && isLinear(series);
    }
    return isFine;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_DATA_HOME", directory.filePath("data").toLocal8Bit());
    ConfigurationManager::setConfigPath(directory.filePath("root"));
    qInstallMessageHandler(ignore); // lines of files that are not there yet
    print(
        "| microseconds for one of | N | 2 N | 4 N | 8 N | growth |\n|---|---|---|---|---|---|\n");
    try {
        bool isFine = true;
        for (const auto kind : {manyEffects, manyKeys, manyDisplays, manyReaders, manyDevices})
            isFine = measure(kind) && isFine;
        print(isFine ? "Nothing grows worse than linearly.\n" : "FAILED: growth is above 1.5.\n");
        return isFine ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception &error) {
        print(QString("FAILED: ") + error.what() + '\n');
        return EXIT_FAILURE;
    }
}
