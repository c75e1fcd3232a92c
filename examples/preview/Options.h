#ifndef CORVANE_PREVIEW_OPTIONS_H
#define CORVANE_PREVIEW_OPTIONS_H

#include "Mode.h"

#include <QString>
#include <QStringList>

#include <optional>

/// What the command line asks for.
struct Options {
    enum class Task { Preview, List, ShowHelp, ShowVersion, RejectArguments };

    Task task = Task::Preview;
    /// What to print for ShowHelp, ShowVersion and RejectArguments.
    QString message;
    bool headless = false;
    /// 0: until the window is closed, or for a snapshot until it is written.
    int seconds = 0;
    /// A file name, or empty.
    QString snapshot;
    /// A display's id, or empty for the one chosen before.
    QString display;
    /// A sound device's id, or empty for the one chosen before.
    QString device;
    /// Nothing for the one chosen before.
    std::optional<Mode> mode;
    /// A folder, or empty for the user's own places.
    QString config;
    /// The web service's host, with or without a port, or empty for the library's default.
    QString service;
};

/// Reads the arguments, the program's name first.
Options parseOptions(const QStringList &arguments);

#endif
