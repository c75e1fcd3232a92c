#include "ElidedLabel.h"

#include <QEvent>
#include <QStylePainter>

QString ElidedLabel::shownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    painter.drawItemText(contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(),
                         shownText(), foregroundRole());
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip)
        setToolTip(shownText() == text() ? QString() : text());
    return QLabel::event(event);
}
