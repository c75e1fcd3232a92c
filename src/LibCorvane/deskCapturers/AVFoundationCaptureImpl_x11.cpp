#include "AVFoundationCaptureImpl.h"

#include "LatestFrame_p.h"
#include "x11/BrokenPipe_p.h"
#include "x11/MonitorSession_p.h"
#include "x11/ScreenCapture_p.h"

#include <QDebug>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the facade's name on every system
struct _AVFoundationCaptureImpl {
    _AVFoundationCaptureImpl(uint32_t displayId, QSize monitor)
        : frame(monitor, corvane::workingSize(monitor.width(), monitor.height()))
        , capture(displayId, frame)
    {
    }

    corvane::LatestFrame frame;
    corvane::ScreenCapture capture;
};

namespace {

QSize monitorSize(uint32_t displayId)
{
    const corvane::BrokenPipeGuard guard;
    const auto session = corvane::MonitorSession::open(displayId);
    return session ? session->monitorSize() : QSize();
}

} // namespace

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId)
{
    const QSize size = monitorSize(displayId);
    if (size.isEmpty()) {
        qCritical() << "[AVFoundationCaptureImpl]: Failed to init AVCaptureScreenInput instance";
        return nullptr;
    }
    return new _AVFoundationCaptureImpl(displayId, size);
}

void freeAVFoundationCapture(AVFoundationCaptureImpl *record)
{
    delete record;
}

void AVCaptureSetOutputSize(AVFoundationCaptureImpl *record, const QSize &size)
{
    record->frame.setOutputSize(size);
    record->capture.noteNewSize();
}

QSize AVCaptureOriginSize(AVFoundationCaptureImpl *record)
{
    return record->frame.originSize();
}

// Not the size of the frames: hosts rely on the display's.
QSize AVCaptureOutputSize(AVFoundationCaptureImpl *record)
{
    return record->frame.originSize();
}

QImage AVCaptureNextFrame(AVFoundationCaptureImpl *record)
{
    // Taken first: a thread that this read starts could deliver before the frame is taken, or not.
    QImage frame = record->frame.image();
    record->capture.noteRead();
    return frame;
}

QList<unsigned int> availableDisplayIDs()
{
    const corvane::BrokenPipeGuard guard;
    QList<unsigned int> ids;
    const auto display = corvane::XDisplay::open();
    if (!display)
        return ids;
    const auto monitors = display->monitors();
    for (std::size_t index = 0; index < monitors.size(); ++index)
        if (!monitors[index].area.isEmpty())
            ids.append(static_cast<unsigned int>(index + 1));
    return ids;
}
