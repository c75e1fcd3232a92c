#include "ModeSwitch.h"

#include "Keys.h"

#include <QHBoxLayout>
#include <QPushButton>

ModeSwitch::ModeSwitch(QWidget *parent)
    : QFrame(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    m_screen = addButton(QStringLiteral("S&creen"), Mode::Screen, keys::kFollowScreen);
    m_sound = addButton(QStringLiteral("S&ound"), Mode::Sound, keys::kFollowSound);
    setMode(Mode::Screen);
}

void ModeSwitch::setMode(Mode mode)
{
    (mode == Mode::Sound ? m_sound : m_screen)->setChecked(true);
}

QAbstractButton *ModeSwitch::addButton(const QString &text, Mode mode, const char *key)
{
    auto *button = new QPushButton(text, this);
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setToolTip(QString::fromLatin1(key));
    layout()->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, mode] { emit modeChosen(mode); });
    return button;
}
