#include "ChoiceBox.h"

#include "Theme.h"

#include <QAbstractItemView>
#include <QStylePainter>

namespace {

constexpr int kLeastWidth = 150;
// Sound devices may have names of a whole line.
constexpr int kLargestWidth = 320;

} // namespace

ChoiceBox::ChoiceBox(const QString &form, const QString &nothing, QWidget *parent)
    : QComboBox(parent)
    , m_form(form)
    , m_nothing(nothing)
{
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setMaximumWidth(kLargestWidth);
    view()->setTextElideMode(Qt::ElideMiddle);
    connect(this, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { emit chosen(itemData(index).toString()); });
    setChoices({});
}

void ChoiceBox::setChoices(const QStringList &ids)
{
    clear();
    for (const QString &id : ids) {
        addItem(m_form.arg(id), id);
        setItemData(count() - 1, m_form.arg(id), Qt::ToolTipRole);
    }
    setEnabled(!ids.isEmpty());
    if (ids.isEmpty())
        addItem(m_nothing);
}

void ChoiceBox::setChoice(const QString &id)
{
    setCurrentIndex(findData(id));
}

QString ChoiceBox::shownText() const
{
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return fontMetrics().elidedText(currentText(), Qt::ElideMiddle, field.width());
}

QSize ChoiceBox::minimumSizeHint() const
{
    const QSize size = sizeHint();
    return {qMin(size.width(), kLeastWidth), size.height()};
}

void ChoiceBox::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = shownText();
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(QColor(theme::kQuietText), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(width() - 18, height() / 2.0 + 2);
    painter.drawPolyline(QPolygonF({tip + QPointF(-4, -4), tip, tip + QPointF(4, -4)}));
}
