#include "ServiceMenu.h"

#include <QMenu>

ServiceMenu::ServiceMenu(QWidget *parent)
    : QPushButton(QStringLiteral("&Service"), parent)
{
    auto *entries = new QMenu(this);
    entries->addAction(QStringLiteral("&Check for an update"), this,
                       &ServiceMenu::updateCheckChosen);
    entries->addAction(QStringLiteral("&Download the update"), this, &ServiceMenu::downloadChosen);
    entries->addSeparator();
    entries->addAction(QStringLiteral("Send &feedback…"), this, &ServiceMenu::feedbackChosen);
    setMenu(entries);
}
