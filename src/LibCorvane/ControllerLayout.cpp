#include "ControllerLayout_p.h"

#include <QJsonArray>

namespace corvane {
namespace {

struct Step {
    int x;
    int y;
};

constexpr Step kStay{0, 0};
constexpr Step kUp{0, -1};
constexpr Step kRight{1, 0};
constexpr Step kDown{0, 1};
constexpr Step kLeft{-1, 0};

/// Walks along the strip, from cell to cell, and collects the segments at the corners, where it
/// stays: a corner's cell belongs to two keys.
class StripWalk {
public:
    explicit StripWalk(const ControllerStrip &strip)
        : m_strip(strip)
        , m_half(strip.width / 2)
    {
    }

    Step stepAfter(qint64 key);
    QJsonArray segments() const { return m_segments; }

private:
    Step leftStep(qint64 key);
    Step topStep(qint64 key);
    Step rightStep(qint64 key);
    Step bottomStep(qint64 key);
    void addSegment(int direction, qint64 start, qint64 stop);

    const ControllerStrip m_strip;
    const qint64 m_half;
    QJsonArray m_segments;
};

Step StripWalk::stepAfter(qint64 key)
{
    if (m_strip.height != 1 && key <= m_strip.height)
        return leftStep(key);
    if (key <= m_strip.topEnd())
        return topStep(key);
    if (key <= m_strip.rightEnd())
        return rightStep(key);
    return bottomStep(key);
}

Step StripWalk::leftStep(qint64 key)
{
    if (key != m_strip.height)
        return kUp;
    addSegment(1, 1, m_strip.height);
    return kStay;
}

Step StripWalk::topStep(qint64 key)
{
    // A single row has no left side: its key joins the top, which is split at its own end as well.
    if (m_strip.height == 1 && key == m_strip.width) {
        addSegment(0, 1, m_half);
        addSegment(1, m_half + 1, m_strip.width);
        return kStay;
    }
    const qint64 end = m_strip.topEnd();
    if (key != end)
        return kRight;
    // The middle key of an odd number is in neither half.
    addSegment(0, m_strip.height + 1, m_strip.height + m_half);
    addSegment(1, end - m_half + 1, end);
    return kStay;
}

Step StripWalk::rightStep(qint64 key)
{
    const qint64 end = m_strip.rightEnd();
    if (key != end)
        return kDown;
    addSegment(0, m_strip.topEnd() + 1, end);
    return kStay;
}

Step StripWalk::bottomStep(qint64 key)
{
    if (key != m_strip.keyCount())
        return kLeft;
    // Measured by the half of the top, which may lie beyond the end of a short bottom.
    const qint64 middle = m_strip.rightEnd() + m_half;
    addSegment(0, m_strip.rightEnd() + 1, middle);
    addSegment(1, middle + 1, key);
    return kLeft;
}

void StripWalk::addSegment(int direction, qint64 start, qint64 stop)
{
    m_segments.append(QJsonObject{{QStringLiteral("id"), m_segments.size()},
                                  {QStringLiteral("direction"), direction},
                                  {QStringLiteral("start"), start},
                                  {QStringLiteral("stop"), stop}});
}

qint64 rowCount(const ControllerStrip &strip)
{
    return strip.height >= 2 ? strip.height : 1;
}

QJsonObject keyObject(qint64 key, qint64 x, qint64 y)
{
    return {{QStringLiteral("id"), key}, {QStringLiteral("x"), x}, {QStringLiteral("y"), y}};
}

/// All keys' cells, from the bottom-left corner on.
QJsonArray walkedKeys(const ControllerStrip &strip, StripWalk &walk)
{
    QJsonArray keys;
    qint64 x = 0;
    qint64 y = rowCount(strip) - 1;
    for (qint64 key = 1; key <= strip.keyCount(); ++key) {
        keys.append(keyObject(key, x, y));
        const Step step = walk.stepAfter(key);
        x += step.x;
        y += step.y;
    }
    return keys;
}

} // namespace

QJsonObject controllerLayout(const ControllerStrip &strip)
{
    if (strip.keyCount() > kMostControllerKeys)
        return {};
    StripWalk walk(strip);
    const QJsonArray keys = walkedKeys(strip, walk);
    return {{QStringLiteral("key_array"), keys},
            {QStringLiteral("key_music"), walk.segments()},
            {QStringLiteral("key_len"), strip.width},
            {QStringLiteral("key_wid"), rowCount(strip)},
            {QStringLiteral("key_num"), strip.keyCount()}};
}

} // namespace corvane
