#include "AVFoundationCapture.h"

#include <QDebug>

AVFoundationCapture::AVFoundationCapture(DeskCaptureOption *option, QObject *parent)
    : IDeskCapture(parent)
    , m_option(option)
{
}

// The record is left to run: a session outlives its capturer.
AVFoundationCapture::~AVFoundationCapture() = default;

bool AVFoundationCapture::start(uint32_t displayId)
{
    m_impl = allocAVFoundationCapture(displayId);
    if (!m_impl) {
        qCritical() << "[AVFoundationCapture]: Cannot init AVFoundation capture";
        return false;
    }
    return true;
}

QSize AVFoundationCapture::outputSize()
{
    return AVCaptureOutputSize(m_impl);
}

QSize AVFoundationCapture::originSize()
{
    return AVCaptureOriginSize(m_impl);
}

cv::Mat AVFoundationCapture::nextFrame()
{
    if (!m_impl)
        return {};
    const QImage frame = AVCaptureNextFrame(m_impl);
    if (frame.isNull())
        return {};
    const cv::Mat view(frame.height(), frame.width(), CV_8UC4, const_cast<uchar *>(frame.bits()),
                       static_cast<size_t>(frame.bytesPerLine()));
    return view.clone();
}

void AVFoundationCapture::setOutputSize(QSize size)
{
    AVCaptureSetOutputSize(m_impl, size);
}
