#include "StripGeometry.h"

#include <algorithm>

namespace {

// Parts of the wall's shorter edge that stay free on all sides.
constexpr qreal kFreeWall = 0.13;
constexpr qreal kCaseEdge = 9;
constexpr qreal kLedAcross = 7;
constexpr qreal kLedAlong = 0.64;
// From the picture's edge to the middle of the strip.
constexpr qreal kStripDistance = kCaseEdge + 3 + kLedAcross / 2;

} // namespace

QRectF picturePlace(const QRectF &wall, const QSize &shape)
{
    if (shape.isEmpty())
        return {};
    const qreal margin = kFreeWall * std::min(wall.width(), wall.height());
    const QRectF room = wall.adjusted(margin, margin, -margin, -margin);
    const QSizeF size = QSizeF(shape).scaled(room.size(), Qt::KeepAspectRatio);
    QRectF picture(QPointF(), size);
    picture.moveCenter(wall.center());
    return picture;
}

QRectF casePlace(const QRectF &picture)
{
    return picture.adjusted(-kCaseEdge, -kCaseEdge, kCaseEdge, kCaseEdge);
}

QRectF ledPlace(const QRectF &picture, QSize grid, const StripLayout::Key &key)
{
    const QSizeF pitch(picture.width() / grid.width(), picture.height() / grid.height());
    const QPointF beside(picture.left() + (key.cell.x() + 0.5) * pitch.width(),
                         picture.top() + (key.cell.y() + 0.5) * pitch.height());
    const QSizeF flat(pitch.width() * kLedAlong, kLedAcross);
    const QSizeF upright(kLedAcross, pitch.height() * kLedAlong);
    const auto around = [](const QPointF &middle, const QSizeF &size) {
        return QRectF(middle - QPointF(size.width() / 2, size.height() / 2), size);
    };
    switch (key.side) {
    case StripLayout::Side::Left:
        return around({picture.left() - kStripDistance, beside.y()}, upright);
    case StripLayout::Side::Top:
        return around({beside.x(), picture.top() - kStripDistance}, flat);
    case StripLayout::Side::Right:
        return around({picture.right() + kStripDistance, beside.y()}, upright);
    case StripLayout::Side::Bottom:
        break;
    }
    return around({beside.x(), picture.bottom() + kStripDistance}, flat);
}
