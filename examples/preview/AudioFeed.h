#ifndef CORVANE_PREVIEW_AUDIOFEED_H
#define CORVANE_PREVIEW_AUDIOFEED_H

#include "Sound.h"

#include <QObject>

/// Listens to one sound device at a time and gives it back when it ends or listens to another.
/// Belongs to the GUI thread, as AudioCapManagerMac does.
class AudioFeed : public QObject {
    Q_OBJECT
public:
    explicit AudioFeed(QObject *parent = nullptr);
    ~AudioFeed() override;

    /// Leaves the present device for this one. False when it does not start.
    bool listenTo(const QString &device);
    /// Gives the device back; the last chance is while the event loop runs or ends, because the
    /// capturer is deleted later.
    void leave();

signals:
    void blockArrived(const QVector<SoundChannel> &block);
    void peaksArrived(const Peaks &peaks);

private:
    QString m_device;
};

#endif
