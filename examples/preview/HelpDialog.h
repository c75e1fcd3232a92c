#ifndef CORVANE_PREVIEW_HELPDIALOG_H
#define CORVANE_PREVIEW_HELPDIALOG_H

#include <QDialog>

/// Tells what the preview is, its version, and the keys of the window.
class HelpDialog : public QDialog {
    Q_OBJECT
public:
    explicit HelpDialog(QWidget *parent = nullptr);
};

#endif
