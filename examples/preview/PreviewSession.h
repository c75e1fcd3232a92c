#ifndef CORVANE_PREVIEW_PREVIEWSESSION_H
#define CORVANE_PREVIEW_PREVIEWSESSION_H

#include "AudioFeed.h"
#include "Options.h"
#include "PreviewWindow.h"
#include "Statistics.h"

#include <QElapsedTimer>
#include <QTimer>

/// One run of the preview: leads the sound into the window and ends the application as the options
/// ask, with exit status 0, or 1 when the picture cannot be written.
class PreviewSession : public QObject {
    Q_OBJECT
public:
    PreviewSession(const Options &options, const QStringList &devices);

    /// Listens to the device, which is one of the list, and shows the window if that is wanted.
    void start(const QString &device);

private:
    void listenTo(const QString &device);
    void takeBlock(const QVector<SoundChannel> &block);
    void takePeaks(const Peaks &peaks);
    void report();
    void finish();

    const Options m_options;
    PreviewWindow m_window;
    AudioFeed m_feed;
    QTimer m_everySecond;
    QElapsedTimer m_sinceReport;
    Statistics m_statistics;
    int m_reports = 0;
    int m_blocks = 0;
};

#endif
