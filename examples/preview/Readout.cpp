#include "Readout.h"

#include <QLabel>
#include <QVBoxLayout>

Readout::Readout(const QString &caption, QWidget *parent)
    : QWidget(parent)
    , m_value(new QLabel(QStringLiteral("–"), this))
{
    auto *captionLabel = new QLabel(caption, this);
    m_value->setObjectName(QStringLiteral("value"));
    captionLabel->setObjectName(QStringLiteral("caption"));
    m_value->setAccessibleName(caption);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_value);
    layout->addWidget(captionLabel);
}

void Readout::setValue(const QString &value)
{
    m_value->setText(value);
}
