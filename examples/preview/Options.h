#ifndef CORVANE_PREVIEW_OPTIONS_H
#define CORVANE_PREVIEW_OPTIONS_H

#include <QString>
#include <QStringList>

/// What the command line asks for.
struct Options {
    enum class Task { Preview, ListDevices, ShowHelp, ShowVersion, RejectArguments };

    Task task = Task::Preview;
    /// What to print for ShowHelp, ShowVersion and RejectArguments.
    QString message;
    bool headless = false;
    /// 0: until the window is closed, or for a snapshot until it is written.
    int seconds = 0;
    /// A file name, or empty.
    QString snapshot;
    /// A device id, or empty for the default device.
    QString device;
};

/// Reads the arguments, the program's name first.
Options parseOptions(const QStringList &arguments);

#endif
