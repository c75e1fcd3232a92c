#ifndef LIBCORVANE_AVAVFOUNDATIONFACTORY_H
#define LIBCORVANE_AVAVFOUNDATIONFACTORY_H

#include <LibCorvane/Export.h>

#include <QList>
#include <QString>

#include <cstdarg>

/// One device that FFmpeg's "avfoundation" input lists.
struct DeviceInfo {
    /// "Capture screen " and the screen's number, or the name of a sound device as FFmpeg prints
    /// it, read as Latin-1.
    QString name;
    /// What FFMpegCapture::init() and FFMpegAudioCapture::init() open the device with.
    int index = 0;
};
Q_DECLARE_TYPEINFO(DeviceInfo, Q_MOVABLE_TYPE);

/// The screens and sound inputs that FFmpeg's "avfoundation" input knows.
///
/// FFmpeg only prints its list, through its log, so this class reads that log: the first instance
/// in a process makes avlogCallback() FFmpeg's log callback, until the process ends. From then on
/// no message of FFmpeg reaches the console.
///
/// Instances hold nothing: the lists belong to the process, and every instance shows the same ones.
///
/// \par Threads
/// All operations may be called on any thread. Two listings at the same time, those of
/// FFMpegCapture::listDevices() included, may mix up their lists; list on one thread.
class LIBCORVANE_EXPORT AVAVFoundationFactory {
public:
    /// Sets FFmpeg up with the first instance in the process: its network, its devices, and the log
    /// callback. Later instances do nothing.
    AVAVFoundationFactory();

    /// Lists the devices anew, if this process may record the screen; else asks the system for that
    /// permission, which may show the user a dialog. Call it again when the user has agreed.
    ///
    /// \return whether the devices were listed. An FFmpeg without the "avfoundation" input, as on
    ///         Linux, prints no list: the lists stay as they are, and the result is still true.
    ///         False when the permission was missing; the lists stay as they are then, and the log
    ///         has, as info, "[AVAVFoundationFactory]: Request screen capture access: " and whether
    ///         the permission is there now, true or false.
    bool sanDevices();

    /// The screens of the last listing, without cameras.
    /// \return in FFmpeg's order; empty before the first listing.
    QList<DeviceInfo> videoDevices() const;

    /// The sound inputs of the last listing.
    /// \return in FFmpeg's order; empty before the first listing.
    QList<DeviceInfo> audioDevices() const;
};

/// The log callback that AVAVFoundationFactory gives to FFmpeg. It prints nothing; it picks the
/// devices out of the format strings and arguments of these messages:
/// - "AVFoundation video devices:\n" and "AVFoundation audio devices:\n" begin a section and empty
///   its list;
/// - "[%d] Capture screen %d\n" in the video section is a screen;
/// - "[%d] %s\n" in the audio section is a sound input, in the video section a camera, left out.
///
/// Any other message ends the section, and devices are read inside of sections only.
///
/// \param avcl not looked at; may be null.
/// \param level not looked at.
/// \param fmt the message's format string; null is a message like any other.
/// \param vl the arguments for \a fmt; read only for the device lines.
///
/// May be called on any thread, also while the process ends, when it does nothing any more.
LIBCORVANE_EXPORT void avlogCallback(void *avcl, int level, const char *fmt, va_list vl);

#endif
