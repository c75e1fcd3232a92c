#include "AudioFeed.h"

#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>

AudioFeed::AudioFeed(QObject *parent)
    : QObject(parent)
{
}

AudioFeed::~AudioFeed()
{
    leave();
}

bool AudioFeed::listenTo(const QString &device)
{
    leave();
    const auto capturer = AudioCapManagerMac::instance()->acquireCapturer(device);
    // A device that fails to start has counted its user all the same.
    m_device = device;
    if (!capturer)
        return false;

    connect(capturer.data(), &IAudioCapture::spectrumsChanged, this, &AudioFeed::blockArrived);
    connect(capturer.data(), &IAudioCapture::channelsPeakValuesChanged, this,
            [this](const QVector<QVector<QString>> &texts) {
                if (!texts.isEmpty())
                    emit peaksArrived(largestPeaks(texts));
            });
    return true;
}

void AudioFeed::leave()
{
    if (m_device.isNull())
        return;
    auto *manager = AudioCapManagerMac::instance();
    if (const auto capturer = manager->capturer(m_device))
        capturer->disconnect(this);
    manager->releaseCapturer(m_device);
    m_device = QString();
}
