#ifndef CORVANE_PREVIEW_SCREENFEED_H
#define CORVANE_PREVIEW_SCREENFEED_H

#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>

#include <QStringList>
#include <QTimer>

#include <memory>

/// Reads the frames of one display at a time, and notices when displays come and go.
/// Belongs to the GUI thread.
class ScreenFeed : public QObject {
    Q_OBJECT
public:
    explicit ScreenFeed(QObject *parent = nullptr);
    ~ScreenFeed() override;

    /// The ids of the displays, the default one first.
    QStringList displays() const;
    /// The display that is watched; empty when none is.
    QString display() const;

    /// Leaves the present display for this one, which is one of displays().
    void watch(const QString &display);
    void leave();

    /// The latest frame of the watched display; empty before the first.
    const cv::Mat &frame() const;

    /// Gives everything back; the last chance is while the event loop runs or ends, because
    /// capturers are deleted later.
    void end();

signals:
    /// A frame that differs from the one before.
    void frameArrived(const cv::Mat &frame);
    /// The list is another one, and no display is watched any more.
    void displaysChanged();

private:
    void readFrame();
    void lookForDisplays();

    // Lists the displays once, when it is made.
    std::unique_ptr<DeskDuplManagerMac> m_manager;
    QSharedPointer<IDeskCapture> m_capturer;
    QString m_display;
    cv::Mat m_frame;
    QTimer m_frameTimer;
    QTimer m_displayTimer;
};

#endif
