// All that a host does, at once and for long: sound, screens, settings, the web service. After each
// round the process must hold what it held after the first.
#include "ScreenWork.h"
#include "ServiceWork.h"
#include "SettingsWork.h"
#include "Soak.h"
#include "SoakLog.h"
#include "SoundWork.h"

#include <support/LogCapture.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <unistd.h>

#include <cstdio>
#include <optional>

using namespace corvane::test;
using namespace std::chrono_literals;

namespace {

constexpr qint64 kMebibyte = 1048576;
constexpr int kQuickRounds = 4;
constexpr int kBadArguments = 2;
/// More than the captures that may be awake, and those asleep that may keep a frame.
constexpr int kRemakings = 70;

/// The resident memory is allowed gaps, in the arenas of threads that come and go.
struct Options {
    int rounds = 0;
    std::chrono::milliseconds roundLength{};
    Allowance allowance{};
    /// What a capture that nobody uses any more may leave.
    qint64 recordBytes = 0;
    /// One kind of work; all of them when empty.
    QString only;
};

void print(const QString &text)
{
    std::fputs(qPrintable(text), stdout);
    std::fflush(stdout);
}

/// Starts the program anew with a heap that tells exactly what is in use. Otherwise pieces that
/// each thread keeps back for itself count as well, and become more for a quarter of an hour.
void keepNoPieces(char **argv)
{
    constexpr const char *kTunables = "GLIBC_TUNABLES";
    if (qEnvironmentVariableIsSet(kTunables))
        return;
    qputenv(kTunables, "glibc.malloc.tcache_count=0");
    execv("/proc/self/exe", argv);
}

std::optional<Options> readOptions()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Works for so long with sound, screens, settings and the web service at once, and prints "
        "what the process holds after each round. Fails when that grows.");
    parser.addHelpOption();
    const QCommandLineOption minutes("minutes", "Rounds of a minute.", "N");
    const QCommandLineOption seconds("seconds", "Short rounds instead, in so many seconds.", "N");
    const QCommandLineOption resident("resident-growth", "What the resident memory may grow by.",
                                      "MiB", "8");
    const QCommandLineOption heap("heap-growth", "What the heap in use may grow by.", "KiB", "32");
    const QCommandLineOption record(
        "record-growth", "What a capture that nobody uses may leave, far less than a frame's 297.",
        "KiB", "4");
    const QCommandLineOption only(
        "only", "One kind of work, to see which one grows: sound, screens, settings or service.",
        "kind");
    parser.addOptions({minutes, seconds, resident, heap, record, only});
    parser.process(*QCoreApplication::instance());
    const Allowance allowance{parser.value(resident).toLongLong() * kMebibyte,
                              parser.value(heap).toLongLong() * 1024};
    const qint64 recordBytes = parser.value(record).toLongLong() * 1024;
    if (parser.value(minutes).toInt() > 1)
        return Options{parser.value(minutes).toInt(), 60s, allowance, recordBytes,
                       parser.value(only)};
    const int quick = parser.value(seconds).toInt();
    if (quick > 0)
        return Options{kQuickRounds, std::chrono::milliseconds(quick * 1000 / kQuickRounds),
                       allowance, recordBytes, parser.value(only)};
    return std::nullopt;
}

/// The captures that are left behind may have frames at first, and later next to nothing.
QStringList remake(ScreenWork &screen, qint64 allowedBytes)
{
    const int descriptors = processState().descriptors;
    const auto first = screen.costOfRemaking(kRemakings);
    const auto later = screen.costOfRemaking(kRemakings);
    if (!first || !later)
        return {"Captures that nobody uses stay awake"};
    const int left = processState().descriptors - descriptors;
    print(QString("\nA display captured anew %1 times leaves %2 bytes each, %1 times more %3 bytes "
                  "each, and %4 descriptors in all.\n")
              .arg(kRemakings)
              .arg(*first)
              .arg(*later)
              .arg(left));
    if (*later > allowedBytes || left != 0)
        return {"Captures that nobody uses grow"};
    return {};
}

QStringList work(const Options &options)
{
    SoakLog log;
    SoundWork sound;
    ScreenWork screen;
    SettingsWork settings;
    ServiceWork service(CORVANE_SOAK_SERVICE);
    const std::vector<std::pair<QString, Work *>> all{
        {"sound", &sound}, {"screens", &screen}, {"settings", &settings}, {"service", &service}};
    std::vector<Work *> chosen;
    for (const auto &[name, work] : all) {
        if (options.only.isEmpty() || options.only == name)
            chosen.push_back(work);
    }
    Soak soak(chosen);
    if (!soak.failures().isEmpty())
        return soak.failures();

    log.forget(); // the preparations
    QVector<Round> rounds = soak.newRounds(options.rounds);
    print(tableHead(rounds.first()));
    for (int i = 0; i < options.rounds; ++i) {
        soak.doRound(rounds[i], options.roundLength);
        print(tableLine(QString::number(i + 1), rounds[i]));
    }
    const QStringList found = complaints(rounds, options.allowance) + soak.failures();

    return found + remake(screen, options.recordBytes) + log.complaints();
}

} // namespace

int main(int argc, char **argv)
{
    keepNoPieces(argv);
    const QCoreApplication application(argc, argv);
    const auto options = readOptions();
    if (!options) {
        print("Say --minutes N, at least 2, or --seconds N.\n");
        return kBadArguments;
    }
    const QTemporaryDir directory;
    ConfigurationManager::setConfigPath(directory.filePath("root"));
    {
        const LogCapture unreadFiles;
        ConfigurationManager::instance()->globalJsonObj();
    }
    const QStringList found = work(*options);
    for (const QString &complaint : found)
        print("FAILED: " + complaint + '\n');
    print(found.isEmpty() ? "The end is as the state after the first round.\n" : "");
    return found.isEmpty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
