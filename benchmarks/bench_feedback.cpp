// What a feedback package of 100 MB costs: time, processor time and peak memory of a process that
// does nothing else, beside "zip -6" on the same files.
#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

constexpr int kMegabyte = 1000000;

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

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
        throw Failure("cannot write " + path.toStdString());
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

struct Cost {
    double seconds;
    double processor;
    double megabytes;
};

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

/// Runs a program to its end, in a folder.
Cost costOf(const QString &folder, const QStringList &command)
{
    std::vector<QByteArray> words;
    for (const QString &word : command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const QByteArray place = QFile::encodeName(folder);

    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = fork();
    if (process == 0) {
        if (chdir(place.constData()) == 0)
            execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = -1;
    rusage usage{};
    if (process < 0 || wait4(process, &status, 0, &usage) != process || status != 0)
        throw Failure(command.first().toStdString() + " failed");
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return {time.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
            double(usage.ru_maxrss) * 1024 / 1e6};
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
        throw Failure("the packages differ");
}

struct Way {
    QString name;
    QStringList command;
    QString package;
    std::vector<Cost> costs;
};

QString text(const Way &way, double Cost::*value, int digits)
{
    std::vector<double> values;
    for (const Cost &cost : way.costs)
        values.push_back(cost.*value);
    std::sort(values.begin(), values.end());
    return QString("%1 (%2)")
        .arg(values.front(), 0, 'f', digits)
        .arg(values[values.size() / 2], 0, 'f', digits);
}

void print(const std::vector<Way> &ways, int repetitions)
{
    QTextStream out(stdout);
    out << "Least of " << repetitions << " repetitions and (their median).\n\n"
        << "| | time, s | processor time, s | peak memory, MB | package, MB |\n"
        << "|---|---|---|---|---|\n";
    for (const Way &way : ways)
        out << "| " << way.name << " | " << text(way, &Cost::seconds, 2) << " | "
            << text(way, &Cost::processor, 2) << " | " << text(way, &Cost::megabytes, 1) << " | "
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
            const Cost cost = costOf(root, way.command);
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
    try {
        if (parser.isSet("pack") && paths.size() == 2)
            pack(paths[0], paths[1]);
        else
            measure(std::max(1, parser.value("repetitions").toInt()));
    } catch (const Failure &failure) {
        QTextStream(stderr) << failure.what() << '\n';
        return 1;
    }
    return 0;
}
