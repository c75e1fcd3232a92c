#include "ScreenFeed.h"

#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>

#include <algorithm>
#include <cstring>

namespace {

// The library captures 25 frames a second at most.
constexpr int kFrameMs = 40;
constexpr int kDisplaysMs = 1000;

bool sameRow(const cv::Mat &a, const cv::Mat &b, int row)
{
    return std::memcmp(a.ptr(row), b.ptr(row), a.elemSize() * static_cast<size_t>(a.cols)) == 0;
}

bool samePicture(const cv::Mat &a, const cv::Mat &b)
{
    if (a.size() != b.size() || a.type() != b.type())
        return false;
    for (int row = 0; row < a.rows; ++row) {
        if (!sameRow(a, b, row))
            return false;
    }
    return true;
}

QStringList displaysOfSystem()
{
    QStringList ids;
    for (const unsigned int id : availableDisplayIDs())
        ids.append(QString::number(id));
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

ScreenFeed::ScreenFeed(QObject *parent)
    : QObject(parent)
    , m_manager(std::make_unique<DeskDuplManagerMac>(nullptr))
{
    connect(&m_frameTimer, &QTimer::timeout, this, &ScreenFeed::readFrame);
    connect(&m_displayTimer, &QTimer::timeout, this, &ScreenFeed::lookForDisplays);
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    m_displayTimer.start(kDisplaysMs);
}

ScreenFeed::~ScreenFeed()
{
    end();
}

QStringList ScreenFeed::displays() const
{
    return m_manager ? QStringList(m_manager->allCapturer()) : QStringList();
}

QString ScreenFeed::display() const
{
    return m_display;
}

const cv::Mat &ScreenFeed::frame() const
{
    return m_frame;
}

void ScreenFeed::watch(const QString &display)
{
    leave();
    m_capturer = m_manager->acquireCapturer(display);
    m_display = display;
    m_frameTimer.start(kFrameMs);
}

void ScreenFeed::leave()
{
    m_frameTimer.stop();
    m_frame.release();
    if (!m_capturer)
        return;
    m_capturer.reset();
    m_manager->releaseCapturer(m_display);
    m_display.clear();
}

void ScreenFeed::end()
{
    m_displayTimer.stop();
    leave();
    m_manager.reset();
}

void ScreenFeed::readFrame()
{
    const cv::Mat frame = m_capturer->nextFrame();
    if (frame.empty() || samePicture(frame, m_frame))
        return;
    m_frame = frame;
    emit frameArrived(m_frame);
}

void ScreenFeed::lookForDisplays()
{
    if (displaysOfSystem() == displays())
        return;
    leave();
    m_manager = std::make_unique<DeskDuplManagerMac>(nullptr);
    emit displaysChanged();
}
