#include "StripSamples.h"

#include <QJsonArray>

namespace corvane::test {

QJsonObject layoutFile(const QSize &grid, const QVector<QPoint> &cells,
                       const QVector<Segment> &segments)
{
    QJsonArray keys;
    for (const QPoint &cell : cells)
        keys.append(QJsonObject{{"id", keys.size() + 1}, {"x", cell.x()}, {"y", cell.y()}});
    QJsonArray music;
    for (const Segment &segment : segments)
        music.append(QJsonObject{{"id", music.size()},
                                 {"direction", segment.direction},
                                 {"start", segment.start},
                                 {"stop", segment.stop}});
    return {{"key_array", keys},
            {"key_music", music},
            {"key_len", grid.width()},
            {"key_wid", grid.height()},
            {"key_num", cells.size()}};
}

QJsonObject smallFile(int bottom)
{
    QVector<QPoint> cells{{0, 1}, {0, 0}, {0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 0}, {3, 1}};
    for (int i = 0; i < bottom; ++i)
        cells.append({3 - i, 1});
    QVector<Segment> segments{{1, 1, 2}, {0, 3, 4}, {1, 5, 6}, {0, 7, 8}};
    if (bottom > 0)
        segments << Segment{0, 9, 10} << Segment{1, 11, 8 + bottom};
    return layoutFile({4, 2}, cells, segments);
}

QVector<int> litKeys(const QVector<float> &levels)
{
    QVector<int> keys;
    for (int key = 0; key < levels.size(); ++key) {
        if (levels[key] > 0.0F)
            keys.append(key);
    }
    return keys;
}

} // namespace corvane::test
