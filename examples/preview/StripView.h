#ifndef CORVANE_PREVIEW_STRIPVIEW_H
#define CORVANE_PREVIEW_STRIPVIEW_H

#include "StripLayout.h"

#include <QColor>
#include <QImage>
#include <QWidget>

/// The monitor's picture in front of a wall, the LEDs around it, and their light on the wall.
class StripView : public QWidget {
    Q_OBJECT
public:
    explicit StripView(const StripLayout &layout, QWidget *parent = nullptr);

    void showPicture(const QImage &picture);
    /// A dark monitor with a text in its middle in place of a picture.
    void showMessage(const QString &text);
    /// One colour for each key; LEDs without one are dark.
    void showColours(const QVector<QRgb> &colours);

    /// Where the monitor's picture is drawn.
    QRectF pictureArea() const;
    /// Where the LED of a key is drawn, by its index in the layout.
    QRectF ledArea(int key) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    float glowBrightness() const;
    void paintWall(QPainter &painter) const;
    void paintMonitor(QPainter &painter) const;
    void paintStrip(QPainter &painter) const;

    const StripLayout m_layout;
    QImage m_picture;
    QString m_message;
    QVector<QRgb> m_colours;
};

#endif
