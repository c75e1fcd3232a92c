#include "StripLayout.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QJsonArray>
#include <QStandardPaths>

#include <algorithm>

namespace {

using Side = StripLayout::Side;

// Keys are numbered up the left side, along the top, down the right side and back along the bottom.
Side sideOf(int id, QSize grid)
{
    if (id <= grid.height())
        return Side::Left;
    if (id <= grid.height() + grid.width())
        return Side::Top;
    return id <= 2 * grid.height() + grid.width() ? Side::Right : Side::Bottom;
}

bool isHorizontal(Side side)
{
    return side == Side::Top || side == Side::Bottom;
}

// Where the bottom is shorter than the top its second run is, too; both still spread alike.
int spreadOf(int start, int stop, QSize grid)
{
    const int keys = stop - start + 1;
    return isHorizontal(sideOf(start, grid)) ? std::max(keys, grid.width() / 2) : keys;
}

void addSegment(StripLayout &layout, const QJsonObject &segment)
{
    const int start = segment.value(QLatin1String("start")).toInt();
    const int stop = segment.value(QLatin1String("stop")).toInt();
    const bool upwards = segment.value(QLatin1String("direction")).toInt() == 1;
    const int spread = spreadOf(start, stop, layout.grid);
    // The file may number keys that the strip no longer has.
    const int last = std::min(stop, layout.keys.size());
    for (int id = std::max(start, 1); id <= last; ++id) {
        const int distance = upwards ? id - start : stop - id;
        layout.keys[id - 1].toneFrom = static_cast<double>(distance) / spread;
        layout.keys[id - 1].toneTo = static_cast<double>(distance + 1) / spread;
    }
}

QString layoutFile(const QString &name)
{
    return QStandardPaths::writableLocation(QStandardPaths::DataLocation)
        + QStringLiteral("/controler_config/%1.json").arg(name);
}

} // namespace

StripLayout stripLayout(const QJsonObject &file)
{
    StripLayout layout;
    layout.grid = {file.value(QLatin1String("key_len")).toInt(),
                   file.value(QLatin1String("key_wid")).toInt()};
    const QJsonArray keys = file.value(QLatin1String("key_array")).toArray();
    const QJsonArray segments = file.value(QLatin1String("key_music")).toArray();
    for (const QJsonValue key : keys) {
        const QPoint cell(key[QLatin1String("x")].toInt(), key[QLatin1String("y")].toInt());
        layout.keys.append({cell, sideOf(layout.keys.size() + 1, layout.grid)});
    }
    for (const QJsonValue segment : segments)
        addSegment(layout, segment.toObject());
    return layout;
}

StripLayout generateStrip(const QString &name, int height, int width, int bottom)
{
    ConfigurationManager::instance()->generateControllerConfig(name, height, width, bottom);
    return stripLayout(ConfigurationManager::loadJsonObjectFromFile(layoutFile(name)));
}
