#include "AVFoundationCapture.h"

#include <QDebug>

#include <exception>

namespace {

// The image's pixels go with the image: the matrix gets its own.
cv::Mat ownedMatrix(const QImage &image)
{
    const cv::Mat view(image.height(), image.width(), CV_8UC4,
                       const_cast<uchar *>(image.constBits()),
                       static_cast<size_t>(image.bytesPerLine()));
    try {
        return view.clone();
    } catch (const std::exception &) { // no memory
        return {};
    }
}

} // namespace

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
    return m_impl ? AVCaptureOutputSize(m_impl) : QSize();
}

QSize AVFoundationCapture::originSize()
{
    return m_impl ? AVCaptureOriginSize(m_impl) : QSize();
}

cv::Mat AVFoundationCapture::nextFrame()
{
    if (!m_impl)
        return {};
    const QImage frame = AVCaptureNextFrame(m_impl);
    return frame.isNull() ? cv::Mat() : ownedMatrix(frame);
}

void AVFoundationCapture::setOutputSize(QSize size)
{
    if (m_impl)
        AVCaptureSetOutputSize(m_impl, size);
}
