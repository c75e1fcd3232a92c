#include "CaptureWay.h"
#include "ServerScreen.h"

#include <opencv2/imgproc.hpp>

namespace corvane::bench {
namespace {

class SharedMemoryWay : public CaptureWay {
public:
    // Threads would only add to the processor time.
    explicit SharedMemoryWay(OpenCvFilter filter)
        : m_interpolation(filter == OpenCvFilter::AreaAverage ? cv::INTER_AREA : cv::INTER_LINEAR)
        , m_threads(cv::getNumThreads())
    {
        cv::setNumThreads(1);
    }
    ~SharedMemoryWay() override { cv::setNumThreads(m_threads); }

    QImage frame() override
    {
        const QSize size = m_server.size();
        uint8_t *const pixels = m_server.fetch(m_server.screen()->root, size);
        if (!pixels)
            return {};
        QImage picture(pictureSize(size), QImage::Format_RGBA8888);
        cv::Mat target(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                       std::size_t(picture.bytesPerLine()));
        cv::resize(cv::Mat(size.height(), size.width(), CV_8UC4, pixels), m_small, target.size(), 0,
                   0, m_interpolation);
        cv::cvtColor(m_small, target, cv::COLOR_BGRA2RGBA);
        return picture;
    }

private:
    int m_interpolation;
    int m_threads;
    ServerScreen m_server;
    cv::Mat m_small;
};

} // namespace

std::unique_ptr<CaptureWay> makeSharedMemoryWay(OpenCvFilter filter)
{
    return std::make_unique<SharedMemoryWay>(filter);
}

} // namespace corvane::bench
