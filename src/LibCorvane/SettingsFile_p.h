#ifndef LIBCORVANE_SETTINGSFILE_P_H
#define LIBCORVANE_SETTINGSFILE_P_H

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>

namespace corvane {

/// Whether the system would take the path to end early, at a NUL: what stands before may be the
/// name of another file.
bool holdsNul(const QString &path);

/// Why a file could not be opened, a NUL in its name included.
QString openError(const QFile &file);

/// Removes the file, then writes it anew. Returns what went wrong, if anything did.
std::optional<QString> rewriteFile(const QString &path, const QByteArray &bytes);

/// Writes the layout file of a controller. Keeps quiet about failures: the old file stays then, if
/// there was one.
void writeLayoutFile(const QString &controller, const QByteArray &bytes);

} // namespace corvane

#endif
