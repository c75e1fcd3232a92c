#ifndef LIBCORVANE_AUDIOCAPMANAGERMAC_H
#define LIBCORVANE_AUDIOCAPMANAGERMAC_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <QAudioDeviceInfo>
#include <QMap>
#include <QSharedPointer>
#include <QStringList>

#ifdef Q_OS_MACOS
#include <LibCorvane/audioCapturers/CoreFoundationString.h> // cfStringToQString()
#endif

/// The process-wide registry of audio input devices and the owner of their capturers.
///
/// A host asks for the device ids, acquires the capturer of one, connects to its signals, and
/// releases it when it no longer listens:
///
/// \code
/// auto *manager = AudioCapManagerMac::instance();
/// const QString id = manager->defaultCapturer();
/// const auto capturer = manager->acquireCapturer(id);
/// if (capturer)
///     QObject::connect(capturer.data(), &IAudioCapture::spectrumsChanged, ...);
/// ...
/// manager->releaseCapturer(id);
/// \endcode
///
/// One capturer exists per device at most; its users are counted. Each successful or failed
/// acquireCapturer() of a known id must be paired with one releaseCapturer().
///
/// A device id is the name that the system gives the device (QAudioDeviceInfo::deviceName()); it is
/// stable only as long as the system keeps that name. The list is made once, by the first
/// instance(); devices that appear later are not seen until the process starts again.
///
/// \par Threads
/// All operations belong to one thread, the one that called instance() first (the GUI thread).
/// Nothing is locked. The capturers' signals arrive on that thread too.
class LIBCORVANE_EXPORT AudioCapManagerMac : public QObject {
    Q_OBJECT
public:
    /// The single manager. The first call makes it and lists the devices.
    /// \return never null. It lives as long as the process.
    static AudioCapManagerMac *instance();

    /// Drops the capturers. The shared manager is never destroyed.
    ~AudioCapManagerMac() override;

    /// Fills the registry from the system's input devices. Called once, on construction; of two
    /// devices of one name the later one counts; one without a name is left out. Emits
    /// capturerReady() for each device.
    ///
    /// Logs a warning when there is no device, and an info line per device (which says that the
    /// device has started, although nothing is captured before acquireCapturer()).
    void enumAudioDevices();

    /// The ids of all devices, in use or not.
    /// \return in the order of QString's operator<; empty when there is no device.
    QStringList allCapturers() const;

    /// The capturer of the device, without counting a user.
    /// \param id a device id.
    /// \return null when the id is unknown or nobody has acquired it.
    QSharedPointer<IAudioCapture> capturer(const QString &id) const;

    /// The capturer of the device with one more user; the first user makes it and starts it.
    ///
    /// \param id one of allCapturers().
    /// \return a shared pointer, or null for an unknown id (logged as a warning, nothing counted)
    ///         or when the device failed to start (logged as critical; the user is counted all the
    ///         same and must be released, and no new start is tried before the count is 0 again).
    ///
    /// The object is destroyed with deleteLater() when the last pointer to it goes, so a user may
    /// drop its pointer inside a slot of the capturer's own signal.
    QSharedPointer<IAudioCapture> acquireCapturer(const QString &id);

    /// Gives one user of the device back; the last one stops the device and drops the capturer.
    /// A count of 0 stays 0.
    /// \param id a device id; an unknown one is logged as a warning.
    void releaseCapturer(const QString &id);

    /// A text for people.
    /// \param id a device id.
    /// \return the device's name; a null string for an unknown id.
    QString capturerDesc(const QString &id) const;

    /// The device to begin with.
    /// \return the first of allCapturers(); a null string when there is no device.
    QString defaultCapturer() const;

Q_SIGNALS:
    /// A device was found. Emitted while the manager is constructed, before anyone can connect:
    /// use allCapturers().
    /// \param id the device's id.
    void capturerReady(QString id);

    /// Declared for hosts that track the removal of devices; never emitted by this class.
    /// \param id the device's id.
    void capturerLost(QString id);

protected:
    /// Lists the devices. Only instance() constructs the manager that hosts share.
    AudioCapManagerMac();

    /// Makes and starts the capturer of a device in place of one it may still hold. Failures are
    /// logged as critical and leave the device without a capturer.
    /// \param id a known device id; an unknown one is such a failure.
    void makeCapturer(const QString &id);

private:
    struct CaptureModel {
        QSharedPointer<IAudioCapture> capturer;
        QString description;
        QAudioDeviceInfo device;
        int referenceCount = 0;
    };

    QMap<QString, CaptureModel> m_models;
};

#endif
