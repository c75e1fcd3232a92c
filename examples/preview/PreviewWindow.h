#ifndef CORVANE_PREVIEW_PREVIEWWINDOW_H
#define CORVANE_PREVIEW_PREVIEWWINDOW_H

#include "Sound.h"
#include "Statistics.h"

#include <QWidget>

class DeviceChoice;
class PeakMeter;
class QLabel;
class Readout;
class SpectrumView;

/// The window: device choice, spectrum bars, peak meters and the figures of the last second.
/// It only shows; what it shows is given to it.
class PreviewWindow : public QWidget {
    Q_OBJECT
public:
    explicit PreviewWindow(const QStringList &devices, QWidget *parent = nullptr);

    void showDevice(const QString &device);
    void showBlock(const QVector<SoundChannel> &block);
    void showPeaks(const Peaks &peaks);
    void showStatistics(const Statistics &statistics, double seconds);
    /// A line of text about what is wrong; empty when all is well.
    void showTrouble(const QString &text);

    /// Writes what the window shows, or would show. False when the file cannot be written.
    bool savePicture(const QString &fileName);

signals:
    /// The user chose another device.
    void deviceChosen(const QString &device);

private:
    QLayout *makeHeader();
    QLayout *makeFooter();

    DeviceChoice *m_devices;
    SpectrumView *m_spectrum;
    PeakMeter *m_meter;
    Readout *m_loudest;
    Readout *m_rate;
    QLabel *m_trouble;
};

#endif
