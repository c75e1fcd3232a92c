#ifndef CORVANE_PREVIEW_FEEDBACKDIALOG_H
#define CORVANE_PREVIEW_FEEDBACKDIALOG_H

#include <LibCorvane/FeedbackManager.h>

#include <QDialog>

class NetRCManager;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

/// Takes the user's message, packs it with logs and settings, shows what was packed, and sends just
/// that: a change of the texts asks for packing again.
class FeedbackDialog : public QDialog {
    Q_OBJECT
public:
    /// \param client outlives the dialog.
    explicit FeedbackDialog(NetRCManager &client, QWidget *parent = nullptr);

private:
    void layOut();
    void requirePacking();
    void pack();
    void send();
    void setBusy(bool busy);
    void showSent();

    NetRCManager &m_client;
    FeedbackManager m_feedback;
    QPlainTextEdit *m_message;
    QLineEdit *m_contact;
    QListWidget *m_contents;
    QLabel *m_state;
    QPushButton *m_pack;
    QPushButton *m_send;
    bool m_failed = false;
};

#endif
