#include "ModeSwitch.h"

#include <QHBoxLayout>
#include <QPushButton>

ModeSwitch::ModeSwitch(QWidget *parent)
    : QFrame(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    m_screen = addButton(QStringLiteral("Screen"), Mode::Screen);
    m_sound = addButton(QStringLiteral("Sound"), Mode::Sound);
    setMode(Mode::Screen);
}

void ModeSwitch::setMode(Mode mode)
{
    (mode == Mode::Sound ? m_sound : m_screen)->setChecked(true);
}

QAbstractButton *ModeSwitch::addButton(const QString &text, Mode mode)
{
    auto *button = new QPushButton(text, this);
    button->setCheckable(true);
    button->setAutoExclusive(true);
    layout()->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, mode] { emit modeChosen(mode); });
    return button;
}
