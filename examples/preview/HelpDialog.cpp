#include "HelpDialog.h"

#include "Keys.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QLabel>
#include <QVBoxLayout>

HelpDialog::HelpDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("About the preview"));
    auto *title = new QLabel(QStringLiteral("LibCorvane preview " CORVANE_PREVIEW_VERSION), this);
    title->setObjectName(QStringLiteral("title"));
    auto *text =
        new QLabel(QStringLiteral("A small host of LibCorvane: a display with an LED strip "
                                  "around it, and the live spectrum of a sound device. "
                                  "It runs on Qt %1.")
                       .arg(QString::fromLatin1(qVersion())),
                   this);
    text->setWordWrap(true);
    auto *keyList = new QLabel(keys::list(), this);
    keyList->setObjectName(QStringLiteral("keys"));
    keyList->setTextFormat(Qt::PlainText);
    keyList->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *rows = new QVBoxLayout(this);
    for (QLabel *label : {title, text, keyList})
        rows->addWidget(label);
    rows->addWidget(buttons);
}
