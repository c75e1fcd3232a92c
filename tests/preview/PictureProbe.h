#ifndef CORVANE_TESTS_PICTUREPROBE_H
#define CORVANE_TESTS_PICTUREPROBE_H

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QVector>

class QWidget;

namespace corvane::test {

/// The heights in pixels of the bars of one channel, found by the hue of their colour alone, from
/// left to right. A bar is a run of columns that hold that hue.
QVector<int> barHeights(const QImage &picture, QRgb colour);

/// The index of the highest bar; -1 without bars.
int highestBar(const QVector<int> &heights);

/// The part of a picture of a whole window that shows this child of it.
QImage partOf(const QImage &picture, const QWidget &child);

/// The colour in the middle of an area.
QColor colourIn(const QImage &picture, const QRectF &area);

/// Whether no channel differs by more than the tolerance.
bool isNear(const QColor &colour, const QColor &expected, int tolerance);

} // namespace corvane::test

#endif
