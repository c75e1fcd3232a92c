#include "Options.h"

#include "Keys.h"

#include <QCommandLineParser>

namespace {

constexpr char kDescription[] = R"(
Shows a display with an LED strip around it, and the live spectrum of a sound
device. The strip follows the screen or the sound.

What is chosen in the window holds for the next start, too; what is chosen here
holds for this one. The status line counts the frames that differ from the one
before: on a still screen there are none.)";

constexpr char kStatus[] = R"(
Exit status: 0 when all went well; 1 when there is nothing to preview, no screen
for the window, or a picture that cannot be written; 2 for arguments that are
wrong, or name a display or device that is not there.
)";

QCommandLineOption flag(const QStringList &names, const char *text)
{
    return {names, QString::fromLatin1(text)};
}

QCommandLineOption option(const char *name, const char *value, const char *text)
{
    return {QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value)};
}

/// The options, and what they were given.
struct CommandLine {
    CommandLine();

    QCommandLineParser parser;
    // Qt's own would offer --help-all, too, for options that are not read here.
    QCommandLineOption help = flag({"h", "help"}, "Tell the options and the keys, and end.");
    QCommandLineOption version = flag({"v", "version"}, "Tell the version, and end.");
    QCommandLineOption list = flag({"list"}, "List the displays and the sound devices, and end.");
    QCommandLineOption headless =
        flag({"headless"}, "Show no window; print one status line a second.");
    QCommandLineOption seconds = option("seconds", "N", "End after <N> seconds.");
    QCommandLineOption snapshot =
        option("snapshot", "FILE.png",
               "Write what the window shows to <FILE.png> at the end; without --seconds, end "
               "when the screen and the sound have come, or after 10 seconds.");
    QCommandLineOption display = option("display", "ID", "Watch the display <ID> (see --list).");
    QCommandLineOption device =
        option("device", "NAME", "Listen to the device <NAME> (see --list).");
    QCommandLineOption mode = option("mode", "screen|sound", "What lights the LED strip.");
    QCommandLineOption config =
        option("config", "DIR", "Keep all files in <DIR>, not in the user's own places.");
    QCommandLineOption service =
        option("service", "HOST", "Ask the web service on <HOST>, or <HOST:PORT>.");
};

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    parser.addOptions(
        {help, version, list, headless, seconds, snapshot, display, device, mode, config, service});
}

QString helpText(const QCommandLineParser &parser)
{
    // The first line would name the program with its whole path.
    const QString text = parser.helpText();
    return QStringLiteral("Usage: corvane-preview [options]") + text.mid(text.indexOf('\n'))
        + QStringLiteral("\nKeys in the window:\n") + keys::list() + QString::fromLatin1(kStatus);
}

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

std::optional<Mode> modeNamed(const QString &name)
{
    if (name == QLatin1String("screen"))
        return Mode::Screen;
    if (name == QLatin1String("sound"))
        return Mode::Sound;
    return std::nullopt;
}

Options previewing(const CommandLine &line)
{
    const QCommandLineParser &parser = line.parser;
    Options options;
    options.task = parser.isSet(line.list) ? Options::Task::List : Options::Task::Preview;
    options.headless = parser.isSet(line.headless);
    options.seconds = parser.value(line.seconds).toInt();
    options.snapshot = parser.value(line.snapshot);
    options.display = parser.value(line.display);
    options.device = parser.value(line.device);
    options.mode = modeNamed(parser.value(line.mode));
    options.config = parser.value(line.config);
    options.service = parser.value(line.service);
    if (parser.isSet(line.seconds) && options.seconds < 1)
        return rejected(QStringLiteral("--seconds needs a whole number above 0, not '%1'.")
                            .arg(parser.value(line.seconds)));
    if (parser.isSet(line.mode) && !options.mode)
        return rejected(
            QStringLiteral("--mode is screen or sound, not '%1'.").arg(parser.value(line.mode)));
    for (const QCommandLineOption &named : {line.snapshot, line.config, line.service}) {
        if (parser.isSet(named) && parser.value(named).isEmpty())
            return rejected(QStringLiteral("--%1 needs a name.").arg(named.names().first()));
    }
    return options;
}

} // namespace

Options parseOptions(const QStringList &arguments)
{
    CommandLine line;
    QCommandLineParser &parser = line.parser;
    if (!parser.parse(arguments))
        return rejected(parser.errorText());
    if (parser.isSet(line.help))
        return printing(Options::Task::ShowHelp, helpText(parser));
    if (parser.isSet(line.version))
        return printing(Options::Task::ShowVersion,
                        QStringLiteral("corvane-preview " CORVANE_PREVIEW_VERSION "\n"));
    if (!parser.positionalArguments().isEmpty())
        return rejected(
            QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first()));
    return previewing(line);
}
