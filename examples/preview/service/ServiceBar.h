#ifndef CORVANE_PREVIEW_SERVICEBAR_H
#define CORVANE_PREVIEW_SERVICEBAR_H

#include <QWidget>

class ElidedLabel;
class QProgressBar;
class QPushButton;

/// A line at the window's lower edge that tells how things stand with the service. Hidden until
/// there is something to tell.
class ServiceBar : public QWidget {
    Q_OBJECT
public:
    explicit ServiceBar(QWidget *parent = nullptr);

    void say(const QString &text);
    /// Says it, with a button beside it that emits taken().
    void offer(const QString &text, const QString &button);
    /// \param total 0 or less shows that something is going on, but not how far it is.
    void showProgress(const QString &text, qint64 done, qint64 total);

signals:
    /// The user took what offer() offered.
    void taken();

private:
    ElidedLabel *m_text;
    QProgressBar *m_progress;
    QPushButton *m_offer;
};

#endif
