#ifndef CORVANE_PREVIEW_ELIDEDLABEL_H
#define CORVANE_PREVIEW_ELIDEDLABEL_H

#include <QLabel>

/// A line of text that ends with an ellipsis where there is no room for all of it; the tool tip has
/// the whole.
class ElidedLabel : public QLabel {
    Q_OBJECT
public:
    using QLabel::QLabel;

    /// What is drawn of text().
    QString shownText() const;

    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};

#endif
