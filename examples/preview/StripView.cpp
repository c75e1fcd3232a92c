#include "StripView.h"

#include "Glow.h"
#include "StripGeometry.h"
#include "Theme.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace {

constexpr QSize kUsualShape(16, 9);
constexpr qreal kCaseRadius = 8;
constexpr int kTextMargin = 16;
constexpr qreal kLedRadius = 2.5;
// The light on the wall is worked out in a picture this many times smaller.
constexpr int kGlowScale = 8;
constexpr float kGlowBrightness = 0.75F;
// LEDs darker than this show the colour of their own body more and more.
constexpr int kFaint = 96;

QColor ledColour(QRgb light)
{
    const int brightest = std::max({qRed(light), qGreen(light), qBlue(light)});
    const qreal body = std::max(0.0, 1.0 - static_cast<qreal>(brightest) / kFaint);
    const auto channel = [body](int own, int lit) { return lit + qRound(body * own); };
    return {channel(qRed(theme::kLine), qRed(light)), channel(qGreen(theme::kLine), qGreen(light)),
            channel(qBlue(theme::kLine), qBlue(light))};
}

} // namespace

StripView::StripView(const StripLayout &layout, QWidget *parent)
    : QWidget(parent)
    , m_layout(layout)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void StripView::showPicture(const QImage &picture)
{
    m_picture = picture;
    m_message.clear();
    update();
}

void StripView::showMessage(const QString &text)
{
    m_picture = {};
    m_message = text;
    update();
}

void StripView::showColours(const QVector<QRgb> &colours)
{
    m_colours = colours;
    update();
}

QRectF StripView::pictureArea() const
{
    return picturePlace(rect(), m_picture.isNull() ? kUsualShape : m_picture.size());
}

QRectF StripView::ledArea(int key) const
{
    return ledPlace(pictureArea(), m_layout.grid, m_layout.keys[key]);
}

QSize StripView::sizeHint() const
{
    return {640, 400};
}

QSize StripView::minimumSizeHint() const
{
    return {240, 200};
}

void StripView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    paintWall(painter);
    paintStrip(painter);
    paintMonitor(painter);
}

void StripView::paintWall(QPainter &painter) const
{
    QVector<Light> lights;
    for (int key = 0; key < m_layout.keys.size(); ++key)
        lights.append({ledArea(key).center() / kGlowScale, m_colours.value(key, qRgb(0, 0, 0))});
    const QSize size = (QSizeF(rect().size()) / kGlowScale).toSize();

    QPainterPath outline;
    outline.addRoundedRect(rect(), theme::kPanelRadius, theme::kPanelRadius);
    painter.save();
    painter.setClipPath(outline);
    painter.drawImage(rect(), litWall(size, theme::kPanel, lights, glowBrightness()));
    painter.restore();
}

// LEDs that stand closer bring more light.
float StripView::glowBrightness() const
{
    const qreal pitch = pictureArea().width() / std::max(1, m_layout.grid.width());
    return kGlowBrightness * static_cast<float>(pitch / kGlowScale);
}

void StripView::paintStrip(QPainter &painter) const
{
    painter.setPen(Qt::NoPen);
    for (int key = 0; key < m_layout.keys.size(); ++key) {
        painter.setBrush(ledColour(m_colours.value(key, qRgb(0, 0, 0))));
        painter.drawRoundedRect(ledArea(key), kLedRadius, kLedRadius);
    }
}

void StripView::paintMonitor(QPainter &painter) const
{
    const QRectF area = pictureArea();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(theme::kMonitor));
    painter.drawRoundedRect(casePlace(area), kCaseRadius, kCaseRadius);
    if (!m_picture.isNull()) {
        painter.drawImage(area, m_picture);
        return;
    }
    painter.setPen(QColor(theme::kQuietText));
    painter.drawText(area.adjusted(kTextMargin, kTextMargin, -kTextMargin, -kTextMargin),
                     Qt::AlignCenter | Qt::TextWordWrap, m_message);
}
