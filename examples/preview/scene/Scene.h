#ifndef CORVANE_PREVIEW_SCENE_H
#define CORVANE_PREVIEW_SCENE_H

#include <QImage>
#include <QRect>

class QPainter;

// What the test scene shows at a time, in seconds: plain functions.

/// Soft fields of saturated colour on a dark ground that wander along the edges, each edge in other
/// colours at any time.
QImage colourFields(const QSize &size, double seconds);

/// The upright bright bar that crosses an area of this size once in a while.
QRect brightBar(const QSize &size, double seconds);

/// Text, thin lines and single pixels, at rest in the middle of the area.
void paintDetails(QPainter &painter, const QSize &size);

#endif
