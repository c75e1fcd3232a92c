#include "SpectrumView.h"

#include "Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kFrameMs = 33;
constexpr int kPadding = 20;
constexpr int kScaleWidth = 44;
constexpr int kAxisHeight = 30;
constexpr int kStubHeight = 2;
constexpr int kLevelStep = 24;
constexpr int kFrequencyStep = 100;
constexpr qreal kFrequencyRoom = 44;
constexpr qreal kBarPart = 0.74;

QVector<float> filledParts(const QVector<Spectrum> &bins)
{
    QVector<float> parts;
    parts.reserve(bins.size());
    for (const Spectrum &bin : bins)
        parts.append(filledPart(levelDecibel(bin.amplitude)));
    return parts;
}

QString levelName(int decibel)
{
    return decibel == 0 ? QStringLiteral("0 dB") : QStringLiteral("−%1").arg(-decibel);
}

QFont smallFont(QFont font)
{
    font.setPixelSize(11);
    return font;
}

QLinearGradient barFill(const QRectF &half, QRgb colour, bool upwards)
{
    QLinearGradient fill(half.topLeft(), half.bottomLeft());
    fill.setColorAt(upwards ? 0.0 : 1.0, QColor(colour).lighter(118));
    fill.setColorAt(upwards ? 1.0 : 0.0, QColor(colour).darker(175));
    return fill;
}

} // namespace

SpectrumView::SpectrumView(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_sinceFall.start();
    startTimer(kFrameMs);
}

void SpectrumView::showBlock(const QVector<SoundChannel> &block)
{
    if (block.size() < 2 || block[0].spectrums.size() < 2)
        return;
    const QVector<Spectrum> &bins = block[0].spectrums;
    m_lowest = physicalFrequency(bins[0].frequency);
    m_binWidth = physicalFrequency(bins[1].frequency) - m_lowest;
    m_left.target = filledParts(bins);
    m_right.target = filledParts(block[1].spectrums);
    m_message.clear();
    fall();
}

void SpectrumView::clear()
{
    m_left = {};
    m_right = {};
    m_binWidth = 0.0;
    m_message.clear();
    update();
}

void SpectrumView::showMessage(const QString &text)
{
    clear();
    m_message = text;
}

QSize SpectrumView::sizeHint() const
{
    return {760, 400};
}

QSize SpectrumView::minimumSizeHint() const
{
    return {200, 200};
}

void SpectrumView::timerEvent(QTimerEvent *)
{
    fall();
}

void SpectrumView::fall()
{
    const float seconds = static_cast<float>(m_sinceFall.restart()) / 1000.0F;
    for (Bars *bars : {&m_left, &m_right}) {
        bars->shown.resize(bars->target.size());
        for (int i = 0; i < bars->target.size(); ++i)
            bars->shown[i] = fallingPart(bars->shown[i], bars->target[i], seconds);
    }
    update();
}

QRectF SpectrumView::chart() const
{
    return QRectF(rect()).adjusted(kPadding + kScaleWidth, kPadding, -kPadding, -kPadding);
}

void SpectrumView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(theme::kPanel));
    painter.drawRoundedRect(rect(), theme::kPanelRadius, theme::kPanelRadius);

    const QRectF area = chart();
    const qreal half = (area.height() - kAxisHeight) / 2;
    painter.setFont(smallFont(font()));
    paintLevels(painter, area.top(), half, true);
    paintLevels(painter, area.bottom() - half, half, false);
    if (m_message.isEmpty())
        paintAxis(painter);
    else
        paintMessage(painter);
    paintBars(painter, m_left, theme::kLeft, true);
    paintBars(painter, m_right, theme::kRight, false);
}

void SpectrumView::paintLevels(QPainter &painter, qreal top, qreal height, bool upwards) const
{
    const QRectF area = chart();
    for (int decibel = 0; decibel > static_cast<int>(kFloorDecibel); decibel -= kLevelStep) {
        const qreal part = static_cast<qreal>(filledPart(static_cast<float>(decibel)));
        const qreal y = top + height * (upwards ? 1 - part : part);
        painter.setPen(QColor(theme::kLine));
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        painter.setPen(QColor(theme::kQuietText));
        painter.drawText(QRectF(area.left() - kScaleWidth, y - 8, kScaleWidth - 10, 16),
                         Qt::AlignRight | Qt::AlignVCenter, levelName(decibel));
    }
}

void SpectrumView::paintMessage(QPainter &painter) const
{
    const QRectF area = chart();
    painter.setFont(font());
    painter.setPen(QColor(theme::kQuietText));
    painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, m_message);
}

void SpectrumView::paintAxis(QPainter &painter) const
{
    const int bins = m_left.shown.size();
    if (bins == 0)
        return;
    const QRectF area = chart();
    const qreal slot = area.width() / bins;
    painter.setPen(QColor(theme::kQuietText));
    const qreal roomPerStep = slot * kFrequencyStep / m_binWidth;
    const int step = roomPerStep < kFrequencyRoom ? 2 * kFrequencyStep : kFrequencyStep;
    for (int frequency = 0;; frequency += step) {
        const qreal x = area.left() + slot * ((frequency - m_lowest) / m_binWidth + 0.5);
        if (x > area.right())
            break;
        if (x >= area.left())
            painter.drawText(QRectF(x - 40, area.center().y() - 8, 80, 16), Qt::AlignCenter,
                             frequency == 0 ? QStringLiteral("0 Hz") : QString::number(frequency));
    }
}

void SpectrumView::paintBars(QPainter &painter, const Bars &bars, QRgb colour, bool upwards) const
{
    const QRectF area = chart();
    const qreal height = (area.height() - kAxisHeight) / 2;
    const QRectF half(area.left(), upwards ? area.top() : area.bottom() - height, area.width(),
                      height);
    const qreal slot = half.width() / qMax(1, bars.shown.size());
    painter.setPen(Qt::NoPen);
    painter.setBrush(barFill(half, colour, upwards));
    for (int i = 0; i < bars.shown.size(); ++i) {
        const qreal length = qMax<qreal>(kStubHeight, height * static_cast<qreal>(bars.shown[i]));
        const qreal x = half.left() + slot * (i + (1 - kBarPart) / 2);
        const qreal y = upwards ? half.bottom() - length : half.top();
        const qreal radius = qMin<qreal>(3, length / 2);
        painter.drawRoundedRect(QRectF(x, y, slot * kBarPart, length), radius, radius);
    }
}
