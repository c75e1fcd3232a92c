#ifndef CORVANE_TESTS_STRIPSAMPLES_H
#define CORVANE_TESTS_STRIPSAMPLES_H

#include "StripLayout.h"

#include <QJsonObject>

namespace corvane::test {

/// One of the runs that a layout file names for music.
struct Segment {
    int direction;
    int start;
    int stop;
};

/// A layout file as the library writes it.
QJsonObject layoutFile(const QSize &grid, const QVector<QPoint> &cells,
                       const QVector<Segment> &segments);

/// The layout file of a strip of height 2 and width 4 with so many keys below.
QJsonObject smallFile(int bottom);

/// The keys that are not dark.
QVector<int> litKeys(const QVector<float> &levels);

} // namespace corvane::test

#endif
