#include "FeedbackDialog.h"

#include "PackageListing.h"

#include <LibCorvane/NetRCManager.h>

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <initializer_list>

FeedbackDialog::FeedbackDialog(NetRCManager &client, QWidget *parent)
    : QDialog(parent)
    , m_client(client)
    , m_feedback(nullptr)
    , m_message(new QPlainTextEdit(this))
    , m_contact(new QLineEdit(m_feedback.userContactInfo(), this))
    , m_contents(new QListWidget(this))
    , m_state(new QLabel(this))
    , m_pack(new QPushButton(QStringLiteral("&Pack"), this))
    , m_send(new QPushButton(QStringLiteral("&Send"), this))
{
    setWindowTitle(QStringLiteral("Send feedback"));
    layOut();
    connect(m_message, &QPlainTextEdit::textChanged, this, &FeedbackDialog::requirePacking);
    connect(m_contact, &QLineEdit::textChanged, this, &FeedbackDialog::requirePacking);
    connect(m_pack, &QPushButton::clicked, this, &FeedbackDialog::pack);
    connect(m_send, &QPushButton::clicked, this, &FeedbackDialog::send);
    requirePacking();
}

void FeedbackDialog::layOut()
{
    m_contact->setPlaceholderText(QStringLiteral("an e-mail address, for example"));
    m_state->setWordWrap(true);
    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("&Message"), m_message);
    form->addRow(QStringLiteral("&Contact"), m_contact);
    form->addRow(QStringLiteral("Will be sent"), m_contents);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->addButton(m_pack, QDialogButtonBox::ActionRole);
    buttons->addButton(m_send, QDialogButtonBox::ActionRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *rows = new QVBoxLayout(this);
    rows->addLayout(form);
    rows->addWidget(m_state);
    rows->addWidget(buttons);
    resize(560, 480);
}

void FeedbackDialog::requirePacking()
{
    m_contents->clear();
    m_send->setEnabled(false);
    m_state->setText(QStringLiteral("Pack first, to see what would be sent."));
}

void FeedbackDialog::pack()
{
    m_feedback.setUserContactInfo(m_contact->text());
    m_feedback.setUserMsg(m_message->toPlainText());
    const QString package = m_feedback.zipFeedbackFile();
    m_contents->clear();
    m_contents->addItems(packageListing(package));
    const bool packed = QFileInfo::exists(package);
    m_send->setEnabled(packed);
    m_state->setText(packed ? QStringLiteral("Packed in %1").arg(package)
                            : QStringLiteral("Cannot write %1").arg(package));
}

void FeedbackDialog::send()
{
    // The library would not call back.
    if (!QFileInfo(m_feedback.feedbackFileName()).isReadable()) {
        requirePacking();
        return;
    }
    m_failed = false;
    setBusy(true);
    m_state->setText(QStringLiteral("Sending…"));
    // The library calls back after the dialog has been closed, too.
    const QPointer<FeedbackDialog> dialog(this);
    m_client.sendFeedback(
        &m_feedback,
        [dialog] {
            if (dialog)
                dialog->showSent();
        },
        [dialog](QNetworkReply::NetworkError) {
            if (dialog)
                dialog->m_failed = true;
        });
}

void FeedbackDialog::setBusy(bool busy)
{
    for (QWidget *widget : std::initializer_list<QWidget *>{m_message, m_contact, m_pack, m_send})
        widget->setEnabled(!busy);
}

// Called after a failure as well: it is the end of the exchange.
void FeedbackDialog::showSent()
{
    setBusy(false);
    m_send->setEnabled(m_failed);
    m_state->setText(m_failed
                         ? QStringLiteral("%1 cannot be reached, or refused the package. It is "
                                          "kept; send it again later.")
                               .arg(NetRCManager::serviceHost())
                         : QStringLiteral("Sent. Thank you."));
}
