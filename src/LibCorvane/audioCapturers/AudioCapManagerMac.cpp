#include "AudioCapManagerMac.h"

#include "QtAudioCapture.h"

#include <QDebug>

#include <algorithm>

namespace {

QList<QAudioDeviceInfo> namedInputDevices()
{
    QList<QAudioDeviceInfo> devices = QAudioDeviceInfo::availableDevices(QAudio::AudioInput);
    // Where there is no source, Qt's PulseAudio back-end lists one without a name.
    const auto nameless = [](const QAudioDeviceInfo &device) {
        return device.deviceName().isEmpty();
    };
    devices.erase(std::remove_if(devices.begin(), devices.end(), nameless), devices.end());
    return devices;
}

} // namespace

AudioCapManagerMac *AudioCapManagerMac::instance()
{
    static AudioCapManagerMac *const manager =
        new AudioCapManagerMac; // lives as long as the process
    return manager;
}

AudioCapManagerMac::AudioCapManagerMac()
{
    enumAudioDevices();
}

AudioCapManagerMac::~AudioCapManagerMac() = default;

void AudioCapManagerMac::enumAudioDevices()
{
    const QList<QAudioDeviceInfo> devices = namedInputDevices();
    if (devices.isEmpty()) {
        qWarning() << "[AudioCapManagerMac]: Not found any audio input sources";
        return;
    }
    for (const QAudioDeviceInfo &device : devices) {
        const QString name = device.deviceName();
        m_models.insert(name, {{}, name, device, 0});
        // Nothing is captured yet; the wording is what hosts' log readers look for.
        qInfo() << "[AudioCapManagerMac]: Audio device has already started capture: " << name;
        emit capturerReady(name);
    }
}

QStringList AudioCapManagerMac::allCapturers() const
{
    return m_models.keys();
}

QSharedPointer<IAudioCapture> AudioCapManagerMac::capturer(const QString &id) const
{
    return m_models.value(id).capturer;
}

QSharedPointer<IAudioCapture> AudioCapManagerMac::acquireCapturer(const QString &id)
{
    const auto model = m_models.find(id);
    if (model == m_models.end()) {
        qWarning() << "[AudioCapManagerMac]: Not found capturer " << id;
        return {};
    }
    if (model->referenceCount == 0)
        makeCapturer(id);
    // Counted also when the start failed: the caller releases in either case.
    ++model->referenceCount;
    qInfo() << "[AudioCapManagerMac]: The capturer " << id << " references count is "
            << model->referenceCount;
    return model->capturer;
}

void AudioCapManagerMac::releaseCapturer(const QString &id)
{
    const auto model = m_models.find(id);
    if (model == m_models.end()) {
        qWarning() << "[AudioCapManagerMac]: Not found capturer " << id;
        return;
    }
    model->referenceCount = qMax(0, model->referenceCount - 1);
    qInfo() << "[AudioCapManagerMac]: The capturer " << id << " references count is "
            << model->referenceCount;
    if (model->referenceCount == 0 && model->capturer) {
        qInfo() << "[AudioCapManagerMac]: The capturer " << id << " has been released";
        model->capturer.reset();
    }
}

QString AudioCapManagerMac::capturerDesc(const QString &id) const
{
    return m_models.value(id).description;
}

QString AudioCapManagerMac::defaultCapturer() const
{
    return m_models.isEmpty() ? QString() : m_models.firstKey();
}

void AudioCapManagerMac::makeCapturer(const QString &id)
{
    const auto model = m_models.find(id);
    if (model == m_models.end()) {
        qCritical() << "[AudioCapManagerMac]: Not found capturer " << id
                    << " in AudioCapManagerMac";
        return;
    }
    model->capturer.reset();
    const QSharedPointer<QtAudioCapture> capturer(new QtAudioCapture, &QObject::deleteLater);
    if (!capturer->start(model->device)) {
        qCritical() << "[AudioCapManagerMac]: Failed to start capture audio device"
                    << model->device.deviceName();
        return;
    }
    model->capturer = capturer;
    qInfo() << "[AudioCapManagerMac]: The capturer " << id << " has been created";
}
