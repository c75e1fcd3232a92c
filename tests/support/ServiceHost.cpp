// A host process of its own for tests and benchmarks of what a program as a whole shows: its file
// name, and how much memory it takes.
//
//     ServiceHost ROOT HOST check | download
//
// Checks for the newest version, which must be announced; "download" goes on to the installer,
// prints a line when that has begun, and in the end by how many KiB the greatest memory use has
// grown meanwhile. Ends with 1 at the first
// warning, which it prints.

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <cstdlib>

namespace {

/// The most memory, in KiB, that was ever resident.
int peak()
{
    QFile file("/proc/self/status");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1).toInt();
    }
    return 0;
}

void endAtWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    std::exit(1);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 4)
        return 2;
    ConfigurationManager::setConfigPath(arguments.at(1));
    ConfigurationManager::instance()->saveGlobalValues();
    NetRCManager::setServiceHost(arguments.at(2));
    qInstallMessageHandler(endAtWarnings);

    NetRCManager manager(nullptr);
    int before = 0;
    const auto start = [&] {
        if (arguments.at(3) == "check")
            return QCoreApplication::quit();
        before = peak();
        manager.downloadLatestApp();
        std::puts("downloading");
        std::fflush(stdout);
    };
    const auto end = [&] {
        std::printf("%d\n", peak() - before);
        QCoreApplication::quit();
    };
    QObject::connect(&manager, &NetRCManager::hasNewAppVersion, &application, start);
    QObject::connect(&manager, &NetRCManager::newInstallationFileDownloaded, &application, end);
    manager.checkVersion();
    return application.exec();
}
