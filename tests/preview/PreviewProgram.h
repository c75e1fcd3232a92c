#ifndef CORVANE_TESTS_PREVIEWPROGRAM_H
#define CORVANE_TESTS_PREVIEWPROGRAM_H

#include "StripLayout.h"

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QVector>

namespace corvane::test {

/// A bound against hanging only; nothing here depends on how fast the machine is.
constexpr int kTimeoutMs = 60000;

struct Outcome {
    int status = -1;
    QStringList lines;
    QString errors;
};

/// Runs the preview to its end.
Outcome runPreview(const QStringList &arguments);

/// Hides the screens and the sound devices of this machine from this process and those it starts,
/// and moves the user's own places below the folder.
void hideThisMachine(const QString &folder);

/// What the preview's status line looks like: the mean colour, then the loudest frequency, are
/// captured.
QRegularExpression statusForm();

/// The layout that the preview left with --config in the folder.
StripLayout layoutIn(const QString &folder);

/// The colours of the LEDs in a snapshot that shows a picture of this shape.
QVector<QColor> ledColours(const QImage &snapshot, const StripLayout &layout, const QSize &shape);

/// Writes the stored settings of the folder.
void storeSettings(const QString &folder, const QJsonObject &global);

} // namespace corvane::test

#endif
