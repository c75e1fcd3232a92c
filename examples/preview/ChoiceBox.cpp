#include "ChoiceBox.h"

#include "Theme.h"

#include <QPainter>

ChoiceBox::ChoiceBox(const QString &form, const QString &nothing, QWidget *parent)
    : QComboBox(parent)
    , m_form(form)
    , m_nothing(nothing)
{
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(this, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { emit chosen(itemData(index).toString()); });
    setChoices({});
}

void ChoiceBox::setChoices(const QStringList &ids)
{
    clear();
    for (const QString &id : ids)
        addItem(m_form.arg(id), id);
    setEnabled(!ids.isEmpty());
    if (ids.isEmpty())
        addItem(m_nothing);
}

void ChoiceBox::setChoice(const QString &id)
{
    setCurrentIndex(findData(id));
}

void ChoiceBox::paintEvent(QPaintEvent *event)
{
    QComboBox::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(QColor(theme::kQuietText), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(width() - 18, height() / 2.0 + 2);
    painter.drawPolyline(QPolygonF({tip + QPointF(-4, -4), tip, tip + QPointF(4, -4)}));
}
