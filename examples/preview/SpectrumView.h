#ifndef CORVANE_PREVIEW_SPECTRUMVIEW_H
#define CORVANE_PREVIEW_SPECTRUMVIEW_H

#include "Sound.h"

#include <QElapsedTimer>
#include <QWidget>

/// The bars of both channels, left upwards and right downwards from one frequency axis. Bars rise
/// with the sound at once and fall slowly; the fall is only in the picture.
class SpectrumView : public QWidget {
    Q_OBJECT
public:
    explicit SpectrumView(QWidget *parent = nullptr);

    void showBlock(const QVector<SoundChannel> &block);
    /// Forgets the sound, as for another device.
    void clear();
    /// A text in the middle until the next block.
    void showMessage(const QString &text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    struct Bars {
        QVector<float> target;
        QVector<float> shown;
    };

    QRectF chart() const;
    void fall();
    void paintMessage(QPainter &painter) const;
    void paintAxis(QPainter &painter) const;
    void paintLevels(QPainter &painter, qreal top, qreal height, bool upwards) const;
    void paintBars(QPainter &painter, const Bars &bars, QRgb colour, bool upwards) const;

    Bars m_left;
    Bars m_right;
    /// The true distance of two bins in Hz; 0 before the first block.
    double m_binWidth = 0.0;
    double m_lowest = 0.0;
    QString m_message;
    QElapsedTimer m_sinceFall;
};

#endif
