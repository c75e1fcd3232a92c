#include "Options.h"

#include <QCommandLineParser>

namespace {

Options rejected(const QString &reason)
{
    Options options;
    options.task = Options::Task::RejectArguments;
    options.message = reason;
    return options;
}

Options printing(Options::Task task, const QString &text)
{
    Options options;
    options.task = task;
    options.message = text;
    return options;
}

} // namespace

Options parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the live spectrum and the peaks of a sound device."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption list(QStringLiteral("list"),
                                  QStringLiteral("List the sound devices and end."));
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral("Show no window; print one status line a second."));
    const QCommandLineOption seconds(QStringLiteral("seconds"),
                                     QStringLiteral("End after <N> seconds."), QStringLiteral("N"));
    const QCommandLineOption snapshot(
        QStringLiteral("snapshot"),
        QStringLiteral("Write what the window shows to <FILE.png> at the end; "
                       "without --seconds, end after the first blocks of sound."),
        QStringLiteral("FILE.png"));
    const QCommandLineOption device(QStringLiteral("device"),
                                    QStringLiteral("Listen to the device <NAME> (see --list)."),
                                    QStringLiteral("NAME"));
    parser.addOptions({list, headless, seconds, snapshot, device});

    if (!parser.parse(arguments))
        return rejected(parser.errorText());
    if (parser.isSet(help))
        return printing(Options::Task::ShowHelp, parser.helpText());
    if (parser.isSet(version))
        return printing(Options::Task::ShowVersion,
                        QStringLiteral("corvane-preview " CORVANE_PREVIEW_VERSION "\n"));
    if (!parser.positionalArguments().isEmpty())
        return rejected(
            QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first()));

    Options options;
    options.task = parser.isSet(list) ? Options::Task::ListDevices : Options::Task::Preview;
    options.headless = parser.isSet(headless);
    options.snapshot = parser.value(snapshot);
    options.device = parser.value(device);
    if (parser.isSet(seconds)) {
        options.seconds = parser.value(seconds).toInt();
        if (options.seconds < 1)
            return rejected(QStringLiteral("--seconds needs a whole number above 0, not '%1'.")
                                .arg(parser.value(seconds)));
    }
    if (parser.isSet(snapshot) && options.snapshot.isEmpty())
        return rejected(QStringLiteral("--snapshot needs a file name."));
    return options;
}
