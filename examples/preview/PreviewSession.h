#ifndef CORVANE_PREVIEW_PREVIEWSESSION_H
#define CORVANE_PREVIEW_PREVIEWSESSION_H

#include "AudioFeed.h"
#include "Options.h"
#include "PreviewWindow.h"
#include "ScreenFeed.h"
#include "Settings.h"
#include "Statistics.h"
#include "Strip.h"
#include "service/ServiceDesk.h"

#include <QElapsedTimer>

/// One run of the preview: leads screen and sound into the strip and the window, keeps the user's
/// choices, and ends the application as the options ask, with exit status 0, or 1 when the picture
/// cannot be written.
class PreviewSession : public QObject {
    Q_OBJECT
public:
    /// \param settings and \param screen outlive the session.
    PreviewSession(const Options &options, Settings &settings, ScreenFeed &screen,
                   const QStringList &devices);

    /// Takes up the display and the device that were asked for or chosen, or the first ones where
    /// those are gone, and shows the window if that is wanted.
    void start();

private:
    void connectFeeds();
    void connectChoices();
    void showWindow();
    void takeUpDisplays();
    void takeUpDevices();
    void watch(const QString &display);
    void listenTo(const QString &device);
    void follow(Mode mode);
    void complain(const QString &trouble);

    void takeFrame(const cv::Mat &frame);
    void takeBlock(const QVector<SoundChannel> &block);
    void takePeaks(const Peaks &peaks);
    void showStrip();

    bool hasSeenAndHeard() const;
    void endWithFirstPicture();
    void report();
    void finish();

    const Options m_options;
    Settings &m_settings;
    ScreenFeed &m_screen;
    AudioFeed m_sound;
    Strip m_strip;
    PreviewWindow m_window;
    ServiceDesk m_service;
    const QStringList m_devices;
    QString m_wantedDisplay;
    QTimer m_everySecond;
    QElapsedTimer m_sinceReport;
    QElapsedTimer m_sinceBlock;
    Statistics m_statistics;
    int m_reports = 0;
    int m_blocks = 0;
    bool m_finished = false;
};

#endif
