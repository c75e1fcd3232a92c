#include "ScreenWork.h"

#include <support/HeapInUse.h>
#include <support/ProcessState.h>

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace corvane::test {
namespace {

constexpr int kUsers = 4;
constexpr int kReadsPerUse = 8;
constexpr auto kReadInterval = 16ms; // a host's 60 Hz
constexpr int kPictureMs = 40;
constexpr int kFrameTimeoutMs = 20000;
/// A capture that nobody reads gives its thread up after two seconds.
constexpr int kSleepTimeoutMs = 60000;
constexpr QSize kUsualSize(300, 253);
constexpr QSize kOtherSize(64, 54);
const QVector<QRect> kMonitors{{0, 0, 640, 540}, {640, 0, 640, 540}};

/// All pixels are of one picture: grey, but for the bar, and opaque.
bool isSane(const cv::Mat &frame)
{
    const QSize size(frame.cols, frame.rows);
    if ((size != kUsualSize && size != kOtherSize) || frame.type() != CV_8UC4)
        return false;
    const auto last = frame.at<cv::Vec4b>(frame.rows - 1, frame.cols - 1);
    return last[3] == 255;
}

uchar changingPart(const cv::Mat &frame)
{
    return frame.at<cv::Vec4b>(0, 0)[1];
}

} // namespace

ScreenWork::ScreenWork()
    : m_server({{1280, 540}, 24, {}})
    , m_client(m_server.display())
{
    connect(&m_pictures, &QTimer::timeout, this, &ScreenWork::drawNextPicture);
    m_pictures.start(kPictureMs);
    m_server.useForThisProcess();
    if (!m_client.setMonitors(kMonitors))
        return;
    m_manager.emplace(nullptr);
    for (const QString &id : m_manager->allCapturer())
        m_held[id] = m_manager->acquireCapturer(id);
}

ScreenWork::~ScreenWork()
{
    end();
    for (const QString &id : m_held.keys())
        m_manager->releaseCapturer(id);
    m_held.clear();
    m_manager.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // before their records
}

void ScreenWork::begin()
{
    m_ends = false;
    for (int i = 0; i < kUsers; ++i)
        m_users.emplace_back([this, i] { useDisplays(i); });
}

void ScreenWork::end()
{
    m_ends = true;
    for (std::thread &user : m_users)
        user.join();
    m_users.clear();
    for (const auto &capturer : qAsConst(m_held))
        capturer->setOutputSize(kUsualSize);
}

// Read, so that the captures stay awake.
void ScreenWork::idle()
{
    for (const auto &capturer : qAsConst(m_held))
        capturer->nextFrame();
}

bool ScreenWork::isIdle() const
{
    return std::all_of(m_held.begin(), m_held.end(), [](const auto &capturer) {
        return capturer->nextFrame().cols == kUsualSize.width();
    });
}

// Everything changes, and a bar moves.
void ScreenWork::drawNextPicture()
{
    ++m_picture;
    const int grey = 8 * (m_picture % 32);
    m_client.fill({QPoint(), m_client.screenSize()}, QColor(grey, grey, grey));
    m_client.fill({5 * m_picture % 1280, 270, 40, 270}, Qt::white);
    m_client.sync();
}

void ScreenWork::useDisplays(int number)
{
    const QStringList ids = m_manager->allCapturer();
    for (int cycle = number; !m_ends; ++cycle)
        useDisplay(ids[cycle % ids.size()], cycle);
}

void ScreenWork::useDisplay(const QString &id, int cycle)
{
    const auto capturer = m_manager->acquireCapturer(id);
    ++m_acquired;
    if (cycle % 16 == 0)
        capturer->setOutputSize(cycle % 32 == 0 ? kUsualSize : kOtherSize);
    int before = -1;
    for (int i = 0; i < kReadsPerUse; ++i) {
        const cv::Mat frame = capturer->nextFrame();
        std::this_thread::sleep_for(kReadInterval);
        if (frame.empty())
            continue;
        ++m_frames;
        m_badFrames += isSane(frame) ? 0 : 1;
        m_changes += std::exchange(before, changingPart(frame)) != changingPart(frame) ? 1 : 0;
    }
    m_manager->releaseCapturer(id);
}

QMap<QString, qint64> ScreenWork::takeDone()
{
    return {{"frames read", m_frames.exchange(0)},
            {"new pictures", m_changes.exchange(0)},
            {"displays acquired", m_acquired.exchange(0)}};
}

QString ScreenWork::failure() const
{
    if (!m_server.isRunning())
        return "The X server does not run: " + m_server.log();
    if (m_held.size() != kMonitors.size())
        return "The X server does not have its monitors";
    return m_badFrames == 0 ? QString() : QString("%1 frames are wrong").arg(m_badFrames);
}

bool ScreenWork::awaitFrame()
{
    return QTest::qWaitFor(
        [this] {
            idle(); // a held capture that slept would take the place of one that keeps its frame
            return !m_held.first()->nextFrame().empty();
        },
        kFrameTimeoutMs);
}

std::optional<qint64> ScreenWork::costOfRemaking(int times)
{
    const QString id = m_held.firstKey();
    const int threads = processState().threads;
    const qint64 before = heapInUse();
    for (int i = 0; i < times; ++i) {
        m_held[id].reset();
        m_manager->releaseCapturer(id);
        m_held[id] = m_manager->acquireCapturer(id);
        m_held[id]->setOutputSize(kUsualSize);
        awaitFrame();
    }
    const bool sleeps = QTest::qWaitFor(
        [&] {
            idle();
            return processState().threads <= threads;
        },
        kSleepTimeoutMs);
    if (!sleeps)
        return std::nullopt;
    return (heapInUse() - before) / times;
}

} // namespace corvane::test
