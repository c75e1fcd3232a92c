#ifndef CORVANE_PREVIEW_GLOW_H
#define CORVANE_PREVIEW_GLOW_H

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QVector>

/// One point of light, in pixels of the picture that it falls into.
struct Light {
    QPointF place;
    QRgb colour;
};

/// The wall in the light of the points: a bright halo close to them and a faint one farther out.
/// Meant for a small picture that is drawn scaled up.
/// \param brightness the part of its colour that a long row of points, one pixel apart, throws on
/// the line it stands on.
QImage litWall(const QSize &size, QRgb wall, const QVector<Light> &lights, float brightness);

#endif
