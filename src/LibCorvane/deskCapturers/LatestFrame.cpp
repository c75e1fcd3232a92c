#include "LatestFrame_p.h"

namespace corvane {

LatestFrame::LatestFrame(QSize originSize, QSize outputSize)
    : m_originSize(originSize)
    , m_outputSize(outputSize)
{
}

QImage LatestFrame::image() const
{
    const std::lock_guard lock(m_mutex);
    return m_image;
}

void LatestFrame::forget()
{
    const std::lock_guard lock(m_mutex);
    m_image = QImage();
}

QSize LatestFrame::originSize() const
{
    const std::lock_guard lock(m_mutex);
    return m_originSize;
}

QSize LatestFrame::outputSize() const
{
    const std::lock_guard lock(m_mutex);
    return m_outputSize;
}

void LatestFrame::setOutputSize(QSize size)
{
    const std::lock_guard lock(m_mutex);
    m_outputSize = size;
    m_outputSizeIsChosen = true;
}

void LatestFrame::setOriginSize(QSize size)
{
    const std::lock_guard lock(m_mutex);
    if (size == m_originSize)
        return;
    m_originSize = size;
    if (!m_outputSizeIsChosen)
        m_outputSize = workingSize(size.width(), size.height());
}

void LatestFrame::deliver(const BgraPixels &pixels, Alpha alpha)
{
    const std::lock_guard lock(m_mutex);
    QImage frame = convertedFrame(pixels, m_outputSize, alpha);
    if (!frame.isNull())
        m_image.swap(frame);
}

} // namespace corvane
