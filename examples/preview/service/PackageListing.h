#ifndef CORVANE_PREVIEW_PACKAGELISTING_H
#define CORVANE_PREVIEW_PACKAGELISTING_H

#include <QString>
#include <QStringList>

/// The files in a feedback package, one line each with the size, in the package's order; without
/// the folders. Empty when the package cannot be read.
QStringList packageListing(const QString &zipFile);

#endif
