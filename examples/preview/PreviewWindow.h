#ifndef CORVANE_PREVIEW_PREVIEWWINDOW_H
#define CORVANE_PREVIEW_PREVIEWWINDOW_H

#include "Mode.h"
#include "Sound.h"
#include "Statistics.h"
#include "StripLayout.h"

#include <QImage>
#include <QWidget>

class ChoiceBox;
class ElidedLabel;
class ModeSwitch;
class PeakMeter;
class QPushButton;
class Readout;
class ServiceBar;
class ServiceMenu;
class SpectrumView;
class StripView;

/// The window: the choices, the monitor with its strip, spectrum bars, peak meters and the figures
/// of the last second. It only shows; what it shows is given to it.
class PreviewWindow : public QWidget {
    Q_OBJECT
public:
    explicit PreviewWindow(const StripLayout &layout, QWidget *parent = nullptr);

    void showDisplays(const QStringList &displays);
    void showDisplay(const QString &display);
    void showDevices(const QStringList &devices);
    void showDevice(const QString &device);
    void showMode(Mode mode);

    void showPicture(const QImage &picture);
    /// A text in place of the monitor's picture.
    void showMessage(const QString &text);
    /// A text in place of the spectrum, until sound comes.
    void showSoundMessage(const QString &text);
    void showColours(const QVector<QRgb> &colours);
    void showBlock(const QVector<SoundChannel> &block);
    void showPeaks(const Peaks &peaks);
    void showStatistics(const Statistics &statistics, double seconds);
    /// A line of text about what is wrong; empty when all is well.
    void showTrouble(const QString &text);

    // Where the service is asked for, and where its answers show.
    ServiceMenu &serviceMenu() { return *m_serviceMenu; }
    ServiceBar &serviceBar() { return *m_serviceBar; }

    /// Writes what the window shows, or would show. False when the file cannot be written.
    bool savePicture(const QString &fileName);

signals:
    // The user chose another one.
    void displayChosen(const QString &display);
    void deviceChosen(const QString &device);
    void modeChosen(Mode mode);
    /// The user closes the window, which still is where it was.
    void closing();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void nameParts();
    void addKeys();
    template <typename Action>
    void addKey(const char *key, Action action);
    void chooseMode(Mode mode);
    void openHelp();
    QLayout *makeHeader();
    QLayout *makeMiddle();
    QLayout *makeFooter();

    ModeSwitch *m_mode;
    ChoiceBox *m_displays;
    ChoiceBox *m_devices;
    ServiceMenu *m_serviceMenu;
    QPushButton *m_help;
    StripView *m_strip;
    SpectrumView *m_spectrum;
    PeakMeter *m_meter;
    Readout *m_frames;
    Readout *m_mean;
    Readout *m_loudest;
    Readout *m_blocks;
    ElidedLabel *m_trouble;
    ServiceBar *m_serviceBar;
};

#endif
