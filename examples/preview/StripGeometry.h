#ifndef CORVANE_PREVIEW_STRIPGEOMETRY_H
#define CORVANE_PREVIEW_STRIPGEOMETRY_H

#include "StripLayout.h"

#include <QRectF>

// Where the monitor and its strip are drawn: plain functions.

/// The largest place for a picture of this shape that leaves room for the strip and for the light
/// that it throws on the wall.
QRectF picturePlace(const QRectF &wall, const QSize &shape);

/// The place of the monitor's case around its picture.
QRectF casePlace(const QRectF &picture);

/// The place of a key's LED beside the case.
QRectF ledPlace(const QRectF &picture, QSize grid, const StripLayout::Key &key);

#endif
