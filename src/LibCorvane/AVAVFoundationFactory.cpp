#include "AVAVFoundationFactory.h"

#include "common/FFmpegInput_p.h"
#include "platform/ScreenRecordingPermission_p.h"

#include <QDebug>
#include <QMutex>

#include <cstring>

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavutil/log.h>
}

namespace {

constexpr char kVideoHeader[] = "AVFoundation video devices:\n";
constexpr char kAudioHeader[] = "AVFoundation audio devices:\n";
constexpr char kScreenLine[] = "[%d] Capture screen %d\n";
constexpr char kDeviceLine[] = "[%d] %s\n"; // a camera or a sound input

QList<DeviceInfo> gsVideoDevicesInfo;
QList<DeviceInfo> gsAudioDevicesInfo;
QString gsLogType; // the header seen last
QMutex callbackLock;
QMutex deviceInfoLock;

// FFmpeg keeps the callback when the lists go at the end of the process.
bool gsIsEnding = false;

struct EndOfLists {
    EndOfLists() = default;
    Q_DISABLE_COPY(EndOfLists)
    ~EndOfLists()
    {
        const QMutexLocker lock(&callbackLock);
        gsIsEnding = true;
    }
};
const EndOfLists gsEndOfLists; // the last one here, so that it goes first

bool isLine(const char *fmt, const char *line)
{
    return fmt && std::strcmp(fmt, line) == 0;
}

DeviceInfo readScreen(va_list vl)
{
    const int index = va_arg(vl, int);
    const int screen = va_arg(vl, int);
    return {QString("Capture screen %1").arg(screen), index};
}

DeviceInfo readAudioDevice(va_list vl)
{
    const int index = va_arg(vl, int);
    const char *name = va_arg(vl, const char *);
    return {QString::fromLatin1(name), index};
}

/// Reads a line inside of a section. \return false when it is none, and so ends the section.
bool readDevice(const char *fmt, va_list vl)
{
    if (gsLogType == kVideoHeader && isLine(fmt, kScreenLine)) {
        gsVideoDevicesInfo.append(readScreen(vl));
        return true;
    }
    if (gsLogType == kAudioHeader && isLine(fmt, kDeviceLine)) {
        gsAudioDevicesInfo.append(readAudioDevice(vl));
        return true;
    }
    return gsLogType == kVideoHeader && isLine(fmt, kDeviceLine);
}

void beginSection(const char *header, QList<DeviceInfo> &devices)
{
    gsLogType = header;
    devices.clear();
}

bool setUpFFmpeg()
{
    avformat_network_init();
    avdevice_register_all();
    av_log_set_callback(avlogCallback);
    return true;
}

} // namespace

AVAVFoundationFactory::AVAVFoundationFactory()
{
    static const bool gsisRegisterCallback = setUpFFmpeg();
    Q_UNUSED(gsisRegisterCallback)
}

bool AVAVFoundationFactory::sanDevices()
{
    if (!corvane::mayRecordScreen()) {
        const bool isGranted = corvane::requestScreenRecording();
        qInfo() << "[AVAVFoundationFactory]: Request screen capture access: " << isGranted;
        return false;
    }
    corvane::printDevices();
    return true;
}

QList<DeviceInfo> AVAVFoundationFactory::videoDevices() const
{
    const QMutexLocker lock(&deviceInfoLock);
    return gsVideoDevicesInfo;
}

QList<DeviceInfo> AVAVFoundationFactory::audioDevices() const
{
    const QMutexLocker lock(&deviceInfoLock);
    return gsAudioDevicesInfo;
}

void avlogCallback(void *, int, const char *fmt, va_list vl)
{
    const QMutexLocker callbacks(&callbackLock);
    const QMutexLocker devices(&deviceInfoLock);
    if (gsIsEnding)
        return;
    if (isLine(fmt, kVideoHeader))
        beginSection(kVideoHeader, gsVideoDevicesInfo);
    else if (isLine(fmt, kAudioHeader))
        beginSection(kAudioHeader, gsAudioDevicesInfo);
    else if (!readDevice(fmt, vl))
        gsLogType = QString();
}
