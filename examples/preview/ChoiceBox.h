#ifndef CORVANE_PREVIEW_CHOICEBOX_H
#define CORVANE_PREVIEW_CHOICEBOX_H

#include <QComboBox>

/// A list of things to choose from by their ids. Long names are cut in their middle; the list's
/// tool tips have them whole.
class ChoiceBox : public QComboBox {
    Q_OBJECT
public:
    /// \param form the text of an entry, with its id in place of %1.
    /// \param nothing the text when there is no entry.
    ChoiceBox(const QString &form, const QString &nothing, QWidget *parent);

    void setChoices(const QStringList &ids);
    void setChoice(const QString &id);

    /// What is drawn of currentText(): as much as there is room for.
    QString shownText() const;

    QSize minimumSizeHint() const override;

signals:
    /// The user chose this one.
    void chosen(const QString &id);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_form;
    const QString m_nothing;
};

#endif
