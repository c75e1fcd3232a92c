#ifndef LIBCORVANE_CONTROLLERLAYOUT_P_H
#define LIBCORVANE_CONTROLLERLAYOUT_P_H

#include <QJsonObject>
#include <QtGlobal>

namespace corvane {

/// More than any strip has, and few enough that a slip of the pen costs a host some seconds and
/// some hundred megabytes at most, not all of the machine's memory.
constexpr qint64 kMostControllerKeys = 1000000;

/// An LED strip around the edge of a monitor, counted in LEDs ("keys"). The strip runs up the left
/// side, along the top, down the right side and along the bottom to the left. Any number is
/// permitted, negative ones too; the sums have the room that they need.
struct ControllerStrip {
    qint64 height;
    qint64 width;
    qint64 bottom;

    qint64 topEnd() const { return width + height; }
    qint64 rightEnd() const { return width + 2 * height; }
    qint64 keyCount() const { return rightEnd() + bottom; }
};

/// The layout: each key's cell of the grid, and the segments for effects that follow music; see
/// ConfigurationManager::generateControllerConfig() for its members. Empty when the strip has more
/// than kMostControllerKeys keys.
QJsonObject controllerLayout(const ControllerStrip &strip);

} // namespace corvane

#endif
