#ifndef CORVANE_TESTS_PICTUREPROBE_H
#define CORVANE_TESTS_PICTUREPROBE_H

#include <QImage>
#include <QVector>

namespace corvane::test {

/// The heights in pixels of the bars of one channel, found by the hue of their colour alone, from
/// left to right. A bar is a run of columns that hold that hue.
QVector<int> barHeights(const QImage &picture, QRgb colour);

/// The index of the highest bar; -1 without bars.
int highestBar(const QVector<int> &heights);

} // namespace corvane::test

#endif
