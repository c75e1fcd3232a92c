// What a host pays for linking the library before it uses it: time and memory of a program that
// does nothing, beside the same program with exactly the libraries that LibCorvane needs, but
// without LibCorvane; and what loading LibCorvane takes where all those are loaded already.
#include "ProcessCost.h"

#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <stdexcept>

namespace {

using namespace corvane::bench;

constexpr int kRepetitions = 31;
constexpr double kKibibytes = 1024;

/// What a host tells of itself by its names, each as often as it does.
using Figures = QMap<QByteArray, std::vector<double>>;

struct Host {
    QString name;
    QString program;
    std::vector<ProcessCost> costs;
    std::vector<double> resident;
    std::vector<double> written;
};

Figures read(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("a host has left no figures");
    Figures figures;
    for (const QByteArray &line : file.readAll().trimmed().split('\n'))
        figures[line.split(' ').first()].push_back(line.split(' ').last().toDouble());
    if (figures["resident"].empty() || figures["written"].empty())
        throw std::runtime_error("the system does not tell of a host's memory");
    return figures;
}

QStringList neededBy(const QString &file)
{
    QProcess readelf;
    readelf.start(CORVANE_READELF, {"-d", file});
    readelf.waitForFinished(-1);
    QStringList libraries;
    for (const QString &line : QString::fromUtf8(readelf.readAllStandardOutput()).split('\n')) {
        if (line.contains("(NEEDED)"))
            libraries.append(line.section('[', 1).section(']', 0, 0));
    }
    libraries.sort();
    return libraries;
}

/// The comparison is one only between hosts that differ by LibCorvane alone.
void requireSameLibraries(const QString &without, const QString &with)
{
    QStringList others = neededBy(with);
    const int ours = others.removeAll(CORVANE_SONAME);
    if (ours != 1 || others != neededBy(without))
        throw std::runtime_error("the hosts differ by more than LibCorvane");
}

void measureHosts(QTextStream &out, const QString &figuresFile)
{
    const QString program = CORVANE_LOAD_HOSTS;
    std::vector<Host> hosts{
        {"the C++ runtime", program + "runtime", {}, {}, {}},
        {"and the Qt libraries", program + "qt", {}, {}, {}},
        {"and OpenCV, XCB and FFmpeg without devices", program + "nodevices", {}, {}, {}},
        {"and libavdevice", program + "libraries", {}, {}, {}},
        {"and LibCorvane", program + "corvane", {}, {}, {}}};
    requireSameLibraries(hosts[3].program, hosts[4].program);
    // A slow minute must not hit one host only; the first time reads from the disk.
    for (int repetition = 0; repetition <= kRepetitions; ++repetition) {
        for (Host &host : hosts) {
            const ProcessCost cost = costOf({host.program, figuresFile});
            if (repetition == 0)
                continue;
            const Figures figures = read(figuresFile);
            host.costs.push_back(cost);
            host.resident.push_back(figures["resident"][0] / kKibibytes);
            host.written.push_back(figures["written"][0] / kKibibytes);
        }
    }
    out << "| a host with | time, ms | processor time, ms | resident, MiB | written, MiB |\n"
        << "|---|---|---|---|---|\n";
    for (Host &host : hosts) {
        for (ProcessCost &cost : host.costs)
            cost = {cost.seconds * 1e3, cost.processorSeconds * 1e3, cost.peakMebibytes};
        out << "| " << host.name << " | " << leastAndMedian(host.costs, &ProcessCost::seconds, 1)
            << " | " << leastAndMedian(host.costs, &ProcessCost::processorSeconds, 1) << " | "
            << leastAndMedian(host.resident, 1) << " | " << leastAndMedian(host.written, 1)
            << " |\n";
    }
}

void measureLibrary(QTextStream &out, const QString &figuresFile, const QString &when)
{
    std::vector<double> microseconds;
    std::vector<double> resident;
    std::vector<double> written;
    for (int repetition = 0; repetition < kRepetitions; ++repetition) {
        costOf(
            {QStringLiteral(CORVANE_LOAD_HOSTS "libraries"), figuresFile, CORVANE_LIBRARY, when});
        const Figures figures = read(figuresFile);
        microseconds.push_back(figures["microseconds"].at(0));
        resident.push_back(figures["resident"].at(1) - figures["resident"].at(0));
        written.push_back(figures["written"].at(1) - figures["written"].at(0));
    }
    out << "| " << when << " | " << leastAndMedian(microseconds, 0) << " | "
        << leastAndMedian(resident, 0) << " | " << leastAndMedian(written, 0) << " |\n";
}

void measure()
{
    const QTemporaryDir directory;
    const QString figuresFile = directory.filePath("figures");
    QTextStream out(stdout);
    out << "Least of " << kRepetitions << " repetitions and (their median).\n\n";
    qunsetenv("LD_BIND_NOW");
    out << "Calls bound when they are first made:\n\n";
    measureHosts(out, figuresFile);
    qputenv("LD_BIND_NOW", "1");
    out << "\nAll calls bound at the start:\n\n";
    measureHosts(out, figuresFile);
    qunsetenv("LD_BIND_NOW");
    out << "\n| LibCorvane alone, bound | microseconds | resident, KiB | written, KiB |\n"
        << "|---|---|---|---|\n";
    for (const QString &when : {QStringLiteral("lazily"), QStringLiteral("eagerly")})
        measureLibrary(out, figuresFile, when);
}

} // namespace

int main()
{
    return statusOf(measure);
}
