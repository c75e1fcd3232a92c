#include "PeakMeter.h"

#include "Theme.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

constexpr int kFrameMs = 33;
constexpr int kWidth = 128;
constexpr int kPadding = 20;
constexpr int kColumnWidth = 16;
constexpr int kTextHeight = 22;
constexpr float kHighDecibel = -6.0F;

QString shortLevel(float amplitude)
{
    if (!(amplitude > 0.0F))
        return QStringLiteral("–∞");
    return QString::number(static_cast<double>(levelDecibel(amplitude)), 'f', 1).replace('-', "−");
}

QLinearGradient columnFill(const QRectF &column)
{
    const qreal high = 1.0 - static_cast<qreal>(filledPart(kHighDecibel));
    QLinearGradient fill(column.topLeft(), column.bottomLeft());
    fill.setColorAt(0.0, QColor(theme::kMeterHigh));
    fill.setColorAt(high, QColor(theme::kMeterHigh));
    fill.setColorAt(high + 0.04, QColor(theme::kMeter));
    fill.setColorAt(1.0, QColor(theme::kMeter).darker(220));
    return fill;
}

} // namespace

PeakMeter::PeakMeter(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    m_sinceFall.start();
    startTimer(kFrameMs);
}

void PeakMeter::showPeaks(const Peaks &peaks)
{
    m_peaks = peaks;
    fall();
}

void PeakMeter::clear()
{
    m_peaks = {};
    m_leftPart = m_rightPart = 0.0F;
    update();
}

QSize PeakMeter::sizeHint() const
{
    return {kWidth, 400};
}

QSize PeakMeter::minimumSizeHint() const
{
    return {kWidth, 200};
}

void PeakMeter::timerEvent(QTimerEvent *)
{
    fall();
}

void PeakMeter::fall()
{
    const float seconds = static_cast<float>(m_sinceFall.restart()) / 1000.0F;
    m_leftPart = fallingPart(m_leftPart, filledPart(levelDecibel(m_peaks.left)), seconds);
    m_rightPart = fallingPart(m_rightPart, filledPart(levelDecibel(m_peaks.right)), seconds);
    update();
}

void PeakMeter::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(theme::kPanel));
    painter.drawRoundedRect(rect(), theme::kPanelRadius, theme::kPanelRadius);

    QFont small = font();
    small.setPixelSize(11);
    painter.setFont(small);
    const QRectF area = QRectF(rect()).adjusted(kPadding, kPadding, -kPadding, -kPadding);
    const QSizeF half(area.width() / 2, area.height());
    paintColumn(painter, QRectF(area.topLeft(), half), QStringLiteral("L"), m_peaks.left,
                m_leftPart);
    paintColumn(painter, QRectF(QPointF(area.center().x(), area.top()), half), QStringLiteral("R"),
                m_peaks.right, m_rightPart);
}

void PeakMeter::paintColumn(QPainter &painter, const QRectF &column, const QString &name,
                            float amplitude, float part) const
{
    const QRectF track(column.center().x() - kColumnWidth / 2.0, column.top(), kColumnWidth,
                       column.height() - 2 * kTextHeight);
    QPainterPath outline;
    outline.addRoundedRect(track, 4, 4);
    painter.fillPath(outline, QColor(theme::kLine));

    painter.save();
    painter.setClipPath(outline);
    painter.fillRect(track.adjusted(0, track.height() * (1 - static_cast<qreal>(part)), 0, 0),
                     columnFill(track));
    painter.restore();

    const QRectF text(column.left(), track.bottom(), column.width(), kTextHeight);
    painter.setPen(QColor(theme::kQuietText));
    painter.drawText(text, Qt::AlignHCenter | Qt::AlignBottom, name);
    painter.setPen(QColor(theme::kText));
    painter.drawText(text.translated(0, kTextHeight), Qt::AlignHCenter | Qt::AlignBottom,
                     shortLevel(amplitude));
}
