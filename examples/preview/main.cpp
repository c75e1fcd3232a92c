#include "Options.h"
#include "PreviewSession.h"

#include <LibCorvane/NetRCManager.h>
#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <QApplication>
#include <QFileInfo>
#include <QLoggingCategory>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int kFailed = 1;
constexpr int kBadArguments = 2;

int say(std::FILE *stream, const QString &text, int status)
{
    std::fprintf(stream, "%s", qUtf8Printable(text));
    return status;
}

// Without a screen, so that --help and complaints need none.
Options readOptions(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return parseOptions(QCoreApplication::arguments());
}

int list(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QList<unsigned int> displays = availableDisplayIDs();
    const QStringList devices = AudioCapManagerMac::instance()->allCapturers();
    for (const unsigned int display : displays)
        say(stdout, QStringLiteral("display %1\n").arg(display), 0);
    for (const QString &device : devices)
        say(stdout, QStringLiteral("device %1\n").arg(device), 0);
    if (displays.isEmpty())
        say(stderr, QStringLiteral("There is no display.\n"), 0);
    if (devices.isEmpty())
        say(stderr, QStringLiteral("There is no sound input device.\n"), 0);
    return 0;
}

// What cannot be previewed, or an empty string.
QString unknownAmong(const Options &options, const QStringList &displays,
                     const QStringList &devices)
{
    if (!options.display.isEmpty() && !displays.contains(options.display))
        return QStringLiteral("There is no display '%1'").arg(options.display);
    if (!options.device.isEmpty() && !devices.contains(options.device))
        return QStringLiteral("There is no device '%1'").arg(options.device);
    return {};
}

// Why a picture cannot be written, found before the run and not at its end; or an empty string.
QString obstacleTo(const QString &picture)
{
    const QFileInfo file(picture);
    const QFileInfo folder(file.absolutePath());
    if (file.isDir())
        return QStringLiteral("it is a folder");
    if (!folder.isDir())
        return QStringLiteral("there is no folder '%1'").arg(folder.filePath());
    if (!(file.exists() ? file : folder).isWritable())
        return QStringLiteral("writing there is not permitted");
    return {};
}

// Qt ends the process where it finds no screen, after some lines on its plug-ins. Here it does so
// with one line that helps.
void endWithoutScreen(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    static QString reason;
    if (type != QtFatalMsg) {
        if (reason.isEmpty() && type == QtWarningMsg)
            reason = QStringLiteral(" (%1)").arg(text.trimmed());
        return;
    }
    const QString line = QStringLiteral("There is no screen for a window%1. Start the preview on a "
                                        "desktop, or with --headless.\n");
    std::_Exit(say(stderr, line.arg(reason), kFailed));
}

std::unique_ptr<QApplication> makeApplication(bool headless, int &argc, char **argv)
{
    // Without a window Qt needs no screen of its own, and survives the loss of one.
    if (headless && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const auto usualHandler = qInstallMessageHandler(endWithoutScreen);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usualHandler);
    return application;
}

int preview(const Options &options, int argc, char **argv)
{
    const QString obstacle = options.snapshot.isEmpty() ? QString() : obstacleTo(options.snapshot);
    if (!obstacle.isEmpty())
        return say(stderr,
                   QStringLiteral("Cannot write '%1': %2.\n").arg(options.snapshot, obstacle),
                   kFailed);
    const auto application = makeApplication(options.headless, argc, argv);
    // What the service's version is compared with.
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVANE_PREVIEW_VERSION));
    if (!options.service.isEmpty())
        NetRCManager::setServiceHost(options.service);
    Settings settings(options.config);
    ScreenFeed screen;
    const QStringList devices = AudioCapManagerMac::instance()->allCapturers();
    const QString unknown = unknownAmong(options, screen.displays(), devices);
    if (!unknown.isEmpty())
        return say(stderr, unknown + QStringLiteral("; --list names them.\n"), kBadArguments);
    if (options.headless && devices.isEmpty() && screen.displays().isEmpty())
        return say(stderr,
                   QStringLiteral("There is neither a display nor a sound input device. Connect a "
                                  "device, or let DISPLAY name an X server.\n"),
                   kFailed);

    PreviewSession session(options, settings, screen, devices);
    session.start();
    return QApplication::exec();
}

int run(int argc, char **argv)
{
    // The library's everyday lines; QT_LOGGING_RULES brings them back.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ndefault.info=false"));
    const Options options = readOptions(argc, argv);
    switch (options.task) {
    case Options::Task::ShowHelp:
    case Options::Task::ShowVersion:
        return say(stdout, options.message, 0);
    case Options::Task::RejectArguments:
        return say(stderr, options.message + QStringLiteral("\nSee --help.\n"), kBadArguments);
    case Options::Task::List:
        return list(argc, argv);
    case Options::Task::Preview:
        break;
    }
    return preview(options, argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    const int status = run(argc, argv);
    // Everything of ours is gone by now. Qt's PulseAudio back-end disconnects in its static
    // destructor without the lock of its own thread, upon which libpulse aborts now and then.
    std::fflush(nullptr);
    std::_Exit(status);
}
