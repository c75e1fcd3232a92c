#include "AVFoundationCaptureImpl.h"

#include "LatestFrame_p.h"

#include <QDebug>

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t)
{
    qCritical() << "[AVFoundationCaptureImpl]: Failed to init AVCaptureScreenInput instance";
    return nullptr;
}

void freeAVFoundationCapture(AVFoundationCaptureImpl *)
{
}

void AVCaptureSetOutputSize(AVFoundationCaptureImpl *, const QSize &)
{
}

QSize AVCaptureOriginSize(AVFoundationCaptureImpl *)
{
    return {};
}

QSize AVCaptureOutputSize(AVFoundationCaptureImpl *)
{
    return {};
}

QImage AVCaptureNextFrame(AVFoundationCaptureImpl *)
{
    return {};
}

QList<unsigned int> availableDisplayIDs()
{
    return {};
}
