#ifndef CORVANE_PREVIEW_MODESWITCH_H
#define CORVANE_PREVIEW_MODESWITCH_H

#include "Mode.h"

#include <QFrame>

class QAbstractButton;

/// Two buttons side by side, one of them on: what lights the strip.
class ModeSwitch : public QFrame {
    Q_OBJECT
public:
    explicit ModeSwitch(QWidget *parent = nullptr);

    void setMode(Mode mode);

signals:
    /// The user chose this mode.
    void modeChosen(Mode mode);

private:
    QAbstractButton *addButton(const QString &text, Mode mode, const char *key);

    QAbstractButton *m_screen;
    QAbstractButton *m_sound;
};

#endif
