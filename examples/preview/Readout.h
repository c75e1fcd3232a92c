#ifndef CORVANE_PREVIEW_READOUT_H
#define CORVANE_PREVIEW_READOUT_H

#include <QWidget>

class QLabel;

/// A large value over a small caption.
class Readout : public QWidget {
    Q_OBJECT
public:
    explicit Readout(const QString &caption, QWidget *parent = nullptr);

    void setValue(const QString &value);

private:
    QLabel *m_value;
};

#endif
