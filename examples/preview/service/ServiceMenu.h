#ifndef CORVANE_PREVIEW_SERVICEMENU_H
#define CORVANE_PREVIEW_SERVICEMENU_H

#include <QPushButton>

/// The button that opens the menu of what the web service is there for.
class ServiceMenu : public QPushButton {
    Q_OBJECT
public:
    explicit ServiceMenu(QWidget *parent = nullptr);

signals:
    // The user chose this entry.
    void updateCheckChosen();
    void downloadChosen();
    void feedbackChosen();
};

#endif
