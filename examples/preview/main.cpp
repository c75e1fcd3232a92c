#include "Options.h"
#include "PreviewSession.h"

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>

#include <QApplication>

#include <cstdio>
#include <cstdlib>

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

int listDevices(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList devices = AudioCapManagerMac::instance()->allCapturers();
    if (devices.isEmpty())
        return say(stderr, QStringLiteral("There is no sound input device.\n"), 0);
    return say(stdout, devices.join(u'\n') + u'\n', 0);
}

bool hasScreen()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

int preview(const Options &options, int argc, char **argv)
{
    if (options.headless && !hasScreen() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QStringList devices = AudioCapManagerMac::instance()->allCapturers();
    const QString device = options.device.isEmpty() ? devices.value(0) : options.device;

    if (options.headless && devices.isEmpty())
        return say(stderr, QStringLiteral("There is no sound input device.\n"), kFailed);
    if (!device.isEmpty() && !devices.contains(device))
        return say(stderr,
                   QStringLiteral("There is no device '%1'; --list names them.\n").arg(device),
                   kBadArguments);

    PreviewSession session(options, devices);
    session.start(device);
    return QApplication::exec();
}

int run(int argc, char **argv)
{
    const Options options = readOptions(argc, argv);
    switch (options.task) {
    case Options::Task::ShowHelp:
    case Options::Task::ShowVersion:
        return say(stdout, options.message, 0);
    case Options::Task::RejectArguments:
        return say(stderr, options.message + QStringLiteral("\nSee --help.\n"), kBadArguments);
    case Options::Task::ListDevices:
        return listDevices(argc, argv);
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
