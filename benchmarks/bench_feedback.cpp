// What a feedback package of 100 MB costs: time, processor time and peak memory of a process that
// does nothing else, beside "zip -6" on the same files.
#include "ProcessCost.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

using namespace corvane::bench;

namespace {

constexpr int kMegabyte = 1000000;

/// As many files as the package takes of each kind, with 100 MB in all.
struct Kind {
    const char *pattern;
    int count;
    int size;
    bool isText;
};

constexpr Kind kKinds[] = {{"logs/%1.log", 30, kMegabyte, true},
                           {"logs/devices/%1.log", 30, kMegabyte / 2, true},
                           {"logs/usrOptions/%1.log", 20, kMegabyte / 4, true},
                           {"capturerScreenshot/%1.png", 20, kMegabyte / 2, false},
                           {"dumps/%1.dmp", 10, 4 * kMegabyte, false}};

std::minstd_rand &generator()
{
    static std::minstd_rand instance;
    return instance;
}

/// Lines such as programs log, with numbers that differ.
QByteArray logText(int size)
{
    static const char *const texts[] = {
        "DeskDuplManagerMac: reference count of display 2 is", "controller desk: frame sent, bytes",
        "effect music.wave: loudest bin, amplitude", "serial port opened, baud"};
    QByteArray bytes;
    for (quint64 time = 1710000000000; bytes.size() < size; time += generator()() % 5000)
        bytes += QByteArray::number(time) + " [debug] " + texts[generator()() % 4] + ' '
            + QByteArray::number(qulonglong(generator()() % 100000)) + '\n';
    return bytes.left(size);
}

/// What compression can do nothing about, as in pictures.
QByteArray noise(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [] { return char(generator()() >> 8); });
    return bytes;
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

/// The names of all files, relative to the data root.
QStringList makeFiles(const QDir &root)
{
    QStringList names{"global.json"};
    write(root.filePath(names.last()), "{\n}\n");
    for (const Kind &kind : kKinds) {
        for (int i = 1; i <= kind.count; ++i) {
            names << QString(kind.pattern).arg(i);
            write(root.filePath(names.last()), kind.isText ? logText(kind.size) : noise(kind.size));
        }
    }
    return names;
}

/// What this program is started anew for.
void pack(const QString &root, const QString &package)
{
    ConfigurationManager::setConfigPath(root);
    FeedbackManager(nullptr).zipFeedbackFile(package);
}

/// Both packages hold the same files with the same sums, and nothing else but directories.
void verify(const QString &ours, const QString &theirs)
{
    const char *script = R"(
import sys, zipfile
def files(path):
    with zipfile.ZipFile(path) as package:
        assert package.testzip() is None
        return {e.filename: (e.CRC, e.file_size) for e in package.infolist() if not e.is_dir()}
assert files(sys.argv[1]) == files(sys.argv[2])
)";
    if (QProcess::execute("python3", {"-c", script, ours, theirs}) != 0)
        throw std::runtime_error("the packages differ");
}

struct Way {
    QString name;
    QStringList command;
    QString package;
    std::vector<ProcessCost> costs;
};

void print(const std::vector<Way> &ways, int repetitions)
{
    QTextStream out(stdout);
    out << "Least of " << repetitions << " repetitions and (their median).\n\n"
        << "| | time, s | processor time, s | peak memory, MiB | package, MB |\n"
        << "|---|---|---|---|---|\n";
    for (const Way &way : ways)
        out << "| " << way.name << " | " << leastAndMedian(way.costs, &ProcessCost::seconds, 2)
            << " | " << leastAndMedian(way.costs, &ProcessCost::processorSeconds, 2) << " | "
            << leastAndMedian(way.costs, &ProcessCost::peakMebibytes, 1) << " | "
            << QString::number(double(QFileInfo(way.package).size()) / 1e6, 'f', 1) << " |\n";
}

void measure(int repetitions)
{
    const QTemporaryDir directory;
    const QString root = directory.filePath("root");
    const QString list = directory.filePath("names");
    const QString packages[] = {directory.filePath("ours.zip"), directory.filePath("zip.zip")};
    write(list, makeFiles(root).join('\n').toUtf8() + '\n');
    std::vector<Way> ways{{"LibCorvane",
                           {QCoreApplication::applicationFilePath(), "--pack", root, packages[0]},
                           packages[0],
                           {}},
                          {"zip -6",
                           {"sh", "-c", "exec zip -6 -q -@ \"$0\" <\"$1\"", packages[1], list},
                           packages[1],
                           {}}};
    // A slow minute must not hit one way only; the first time reads from the disk.
    for (int repetition = 0; repetition <= repetitions; ++repetition) {
        for (Way &way : ways) {
            QFile::remove(way.package);
            const ProcessCost cost = costOf(way.command, root);
            if (repetition > 0)
                way.costs.push_back(cost);
        }
    }
    verify(packages[0], packages[1]);
    print(ways, repetitions);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{"repetitions", "How often to measure each way.", "number", "7"},
                       {"pack", "Only make a package; takes a data root and the package's path."}});
    parser.addHelpOption();
    parser.process(application);
    const QStringList paths = parser.positionalArguments();
    return statusOf([&] {
        if (parser.isSet("pack") && paths.size() == 2)
            pack(paths[0], paths[1]);
        else
            measure(std::max(1, parser.value("repetitions").toInt()));
    });
}
