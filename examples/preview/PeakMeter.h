#ifndef CORVANE_PREVIEW_PEAKMETER_H
#define CORVANE_PREVIEW_PEAKMETER_H

#include "Sound.h"

#include <QElapsedTimer>
#include <QWidget>

/// The peak levels of both channels as two columns, with the level in dB below each.
class PeakMeter : public QWidget {
    Q_OBJECT
public:
    explicit PeakMeter(QWidget *parent = nullptr);

    void showPeaks(const Peaks &peaks);
    /// Forgets the sound, as for another device.
    void clear();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    void fall();
    void paintColumn(QPainter &painter, const QRectF &column, const QString &name, float amplitude,
                     float part) const;

    Peaks m_peaks;
    float m_leftPart = 0.0F;
    float m_rightPart = 0.0F;
    QElapsedTimer m_sinceFall;
};

#endif
