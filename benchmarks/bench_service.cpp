// What the download of an installer of 256 MiB over the loopback interface costs, hashed and
// written by a process that does nothing else, beside "curl -o" followed by "sha256sum -c". Both
// get it from the same server, which is part of this process and of no figure.
#include "ProcessCost.h"

#include <support/HttpServer.h>

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

using namespace corvane::bench;
using namespace corvane::test;

constexpr int kMebibytes = 256;
constexpr int kRepetitions = 7;

struct Way {
    QString name;
    QStringList command;
    std::vector<ProcessCost> costs;
};

QString digest()
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (int n = 0; n < kMebibytes; ++n)
        hash.addData(noise());
    return QString::fromLatin1(hash.result().toHex());
}

void print(const std::vector<Way> &ways)
{
    QTextStream out(stdout);
    out << "Least of " << kRepetitions << " repetitions and (their median).\n\n"
        << "| | MiB/s, at best | time, s | processor time, s | peak memory, MiB |\n"
        << "|---|---|---|---|---|\n";
    for (const Way &way : ways) {
        const QString time = leastAndMedian(way.costs, &ProcessCost::seconds, 2);
        out << "| " << way.name << " | " << qRound(kMebibytes / time.section(' ', 0, 0).toDouble())
            << " | " << time << " | "
            << leastAndMedian(way.costs, &ProcessCost::processorSeconds, 2) << " | "
            << leastAndMedian(way.costs, &ProcessCost::peakMebibytes, 1) << " |\n";
    }
}

void measure()
{
    const QTemporaryDir directory;
    const QString sum = digest();
    HttpServer server;
    server.answer("/installer", {installer(kMebibytes)});
    server.answer("/update_check.php",
                  {ok(R"({"var":"2","download_url":")" + server.url("/installer").toUtf8()
                      + R"(","md5":")" + sum.toUtf8() + "\"}")});
    // Each fails unless the digest is right.
    const QString script = "curl -sS -o \"$0\" \"$1\" && echo \"$2  $0\" | sha256sum -c --status";
    std::vector<Way> ways{
        {"LibCorvane",
         {CORVANE_SERVICE_HOST_PROGRAM, directory.filePath("root"), server.host(), "download"},
         {}},
        {"curl -o, then sha256sum",
         {"sh", "-c", script, directory.filePath("installer"), server.url("/installer"), sum},
         {}},
        {"curl -o alone",
         {"curl", "-sS", "-o", directory.filePath("alone"), server.url("/installer")},
         {}}};
    // A slow minute must not hit one way only; the first time loads the programs.
    for (int repetition = 0; repetition <= kRepetitions; ++repetition) {
        for (Way &way : ways) {
            const ProcessCost cost = costOf(way.command);
            if (repetition > 0)
                way.costs.push_back(cost);
        }
    }
    print(ways);
}

} // namespace

int main()
{
    return statusOf(measure);
}
