#ifndef CORVANE_TESTS_CONTROLLERLAYOUTREFERENCE_H
#define CORVANE_TESTS_CONTROLLERLAYOUTREFERENCE_H

#include <LibCorvane/ControllerLayout_p.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QVector>

#include <limits>

namespace corvane::test {

/// A row of a table: {id, x, y} of a key, {id, direction, start, stop} of a segment.
using Numbers = QVector<qint64>;
using Table = QVector<Numbers>;

/// What a layout says, without the form of JSON.
struct Layout {
    Table keys;
    Table segments;
    qint64 length = 0;
    qint64 rows = 0;
    qint64 count = 0;

    bool operator==(const Layout &other) const
    {
        return keys == other.keys && segments == other.segments && length == other.length
            && rows == other.rows && count == other.count;
    }
};

/// For what is no integer a number that no layout holds.
inline qint64 integer(const QJsonValue &value)
{
    const double number = value.toDouble(0.5);
    return double(qint64(number)) == number ? qint64(number) : std::numeric_limits<qint64>::min();
}

inline Numbers numbers(const QJsonValue &object, const QStringList &names)
{
    Numbers row;
    for (const QString &name : names)
        row.append(integer(object[name]));
    if (object.toObject().size() != names.size())
        row.append(std::numeric_limits<qint64>::min());
    return row;
}

inline Table table(const QJsonValue &array, const QStringList &names)
{
    Table rows;
    for (const QJsonValue object : array.toArray())
        rows.append(numbers(object, names));
    return rows;
}

/// What the library says.
inline Layout layoutOf(const ControllerStrip &strip)
{
    const QJsonObject layout = controllerLayout(strip);
    return {table(layout["key_array"], {"id", "x", "y"}),
            table(layout["key_music"], {"id", "direction", "start", "stop"}),
            integer(layout["key_len"]), integer(layout["key_wid"]), integer(layout["key_num"])};
}

/// A stretch of the strip: the keys after one number, up to another.
struct Side {
    qint64 before;
    qint64 end;

    bool hasKeys() const { return end > before; }
    /// Whether the strip is long enough for the side's last key.
    bool isWithin(qint64 count) const { return hasKeys() && end <= count; }
    /// Cells from the side's first key to a key: the keys passed, but for the corner at the end.
    qint64 cellsUpTo(qint64 key) const { return qMax(qint64(0), qMin(key - 1, end - 1) - before); }
};

/// The layout by sides: each number is computed on its own, nothing is carried from key to key.
class LayoutReference {
public:
    explicit LayoutReference(const ControllerStrip &strip)
        : h(strip.height)
        , w(strip.width)
        , n(w + 2 * h + strip.bottom)
        , left{0, h == 1 ? 0 : qMax(qint64(0), h)}
        , top{left.end, qMax(left.end, w + h)}
        , right{top.end, qMax(top.end, w + 2 * h)}
        , bottom{right.end, qMax(right.end, n) + 1} // has no corner at its end
        , rows(qMax(qint64(1), h))
    {
    }

    Layout layout() const
    {
        Layout result{{}, {}, w, rows, n};
        for (qint64 key = 1; key <= n; ++key)
            result.keys.append({key, column(key), row(key)});
        result.segments = segments();
        return result;
    }

private:
    /// A single row has a second key in the cell of its key number w.
    bool isSplitTwice() const { return h == 1 && w >= 1; }

    qint64 column(qint64 key) const
    {
        const qint64 shared = isSplitTwice() && key > w && w < top.end ? 1 : 0;
        return top.cellsUpTo(key) - shared - bottom.cellsUpTo(key);
    }
    qint64 row(qint64 key) const { return rows - 1 - left.cellsUpTo(key) + right.cellsUpTo(key); }

    Table segments() const
    {
        const qint64 half = (w - w % 2) / 2;
        Table all;
        const auto add = [&all](qint64 direction, qint64 start, qint64 stop) {
            all.append({all.size(), direction, start, stop});
        };
        if (left.isWithin(n))
            add(1, 1, h);
        if (isSplitTwice() && w <= n) {
            add(0, 1, half);
            add(1, half + 1, w);
        }
        if (top.isWithin(n)) {
            add(0, h + 1, h + half);
            add(1, w + h - half + 1, w + h);
        }
        if (right.isWithin(n))
            add(0, w + h + 1, w + 2 * h);
        if (n > right.end) {
            add(0, w + 2 * h + 1, w + 2 * h + half);
            add(1, w + 2 * h + half + 1, n);
        }
        return all;
    }

    const qint64 h;
    const qint64 w;
    const qint64 n;
    const Side left;
    const Side top;
    const Side right;
    const Side bottom;
    const qint64 rows;
};

} // namespace corvane::test

#endif
