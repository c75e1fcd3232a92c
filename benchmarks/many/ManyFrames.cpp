#include "ManyFrames.h"

#include "../capture/Usage.h"

#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QTest>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <list>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace corvane::bench {
namespace {

const QVector<int> kDisplays{1, 2, 4, 8};
const QVector<int> kReaders{6, 12, 25, 50};
constexpr QSize kDisplay(640, 360);
constexpr auto kReadInterval = 16667us; // 60 Hz
constexpr int kPictureMs = 40;
constexpr int kMeasuredMs = 4000;
constexpr int kFrameTimeoutMs = 30000;

/// A private X server with so many monitors, all of which change all the time.
class Screen {
public:
    explicit Screen(int monitors)
        : m_server({{kDisplay.width() * monitors, kDisplay.height()}, 24, {}})
        , m_client(m_server.display())
    {
        QVector<QRect> areas;
        for (int i = 0; i < monitors; ++i)
            areas << QRect(QPoint(i * kDisplay.width(), 0), kDisplay);
        if (!m_server.isRunning() || !m_client.setMonitors(areas))
            throw std::runtime_error("the X server does not have its monitors");
        m_server.useForThisProcess();
        QObject::connect(&m_timer, &QTimer::timeout, [this] { drawNextPicture(); });
        m_timer.start(kPictureMs);
    }

private:
    void drawNextPicture()
    {
        const int grey = 4 * (++m_pictures % 64);
        m_client.fill({QPoint(), m_client.screenSize()}, QColor(grey, grey, grey));
        m_client.sync();
    }

    test::XServer m_server;
    test::XClient m_client;
    QTimer m_timer;
    int m_pictures = 0;
};

/// Reads a display 60 times a second on a thread of its own.
class Reader {
public:
    Reader(IDeskDuplManager &manager, const QString &id)
        : m_manager(manager)
        , m_id(id)
        , m_thread([this] { read(); })
    {
    }
    ~Reader() { stop(); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    void stop()
    {
        m_ends = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    bool hasFrame() const { return m_changes > 0; }
    /// New pictures so far.
    int changes() const { return m_changes; }
    // After stop().
    const std::vector<std::chrono::nanoseconds> &waits() const { return m_waits; }
    std::chrono::nanoseconds used() const { return m_used; }

private:
    void read()
    {
        const auto capturer = m_manager.acquireCapturer(m_id);
        auto next = std::chrono::steady_clock::now();
        int before = -1;
        while (!m_ends) {
            const auto begin = std::chrono::steady_clock::now();
            const auto used = threadTime();
            const cv::Mat frame = capturer->nextFrame();
            m_used += threadTime() - used;
            m_waits.push_back(std::chrono::steady_clock::now() - begin);
            if (!frame.empty() && std::exchange(before, frame.data[0]) != frame.data[0])
                ++m_changes;
            std::this_thread::sleep_until(next += kReadInterval);
        }
        m_manager.releaseCapturer(m_id);
    }

    IDeskDuplManager &m_manager;
    const QString m_id;
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_changes{0};
    std::vector<std::chrono::nanoseconds> m_waits;
    std::chrono::nanoseconds m_used{};
    std::thread m_thread; // the last: it uses the others
};

void awaitFrames(const std::list<Reader> &readers)
{
    const auto allHaveFrames = [&] {
        return std::all_of(readers.begin(), readers.end(),
                           [](const Reader &reader) { return reader.hasFrame(); });
    };
    if (!QTest::qWaitFor(allHaveFrames, kFrameTimeoutMs))
        throw std::runtime_error("a display has no frames");
}

int changesOf(const std::list<Reader> &readers)
{
    return std::accumulate(readers.begin(), readers.end(), 0,
                           [](int sum, const Reader &reader) { return sum + reader.changes(); });
}

/// For so many displays, each with all pictures of a second.
std::chrono::nanoseconds timeOfASecond(int displays)
{
    const Screen screen(displays);
    DeskDuplManagerMac manager(nullptr);
    std::list<Reader> readers;
    for (const QString &id : manager.allCapturer())
        readers.emplace_back(manager, id);
    awaitFrames(readers);
    const auto used = processTime();
    const int before = changesOf(readers);
    QTest::qWait(kMeasuredMs);
    const double pictures = changesOf(readers) - before;
    const double seconds = pictures / displays * kPictureMs / 1000;
    const auto time = processTime() - used;
    return std::chrono::nanoseconds(qint64(double(time.count()) / seconds));
}

struct ReadCost {
    std::chrono::nanoseconds used{};
    std::chrono::nanoseconds median{};
    std::chrono::nanoseconds ofAHundred{};
};

/// Of one read, with so many readers.
ReadCost costOfReading(DeskDuplManagerMac &manager, int count)
{
    std::list<Reader> readers;
    for (int i = 0; i < count; ++i)
        readers.emplace_back(manager, manager.defaultCapturer());
    awaitFrames(readers);
    QTest::qWait(kMeasuredMs);
    std::vector<std::chrono::nanoseconds> waits;
    std::chrono::nanoseconds used{};
    for (Reader &reader : readers) {
        reader.stop();
        used += reader.used();
        waits.insert(waits.end(), reader.waits().begin(), reader.waits().end());
    }
    std::sort(waits.begin(), waits.end());
    return {used / qint64(waits.size()), waits[waits.size() / 2], waits[waits.size() * 99 / 100]};
}

} // namespace

QVector<Series> manyDisplays()
{
    Series capture{"a second of a display that changes, read at 60 Hz", {}};
    for (const int count : kDisplays)
        capture.points << Point{count, timeOfASecond(count)};
    return {capture};
}

QVector<Series> manyReaders()
{
    const Screen screen(1);
    DeskDuplManagerMac manager(nullptr);
    // Between the counts it stays acquired, so that its capture goes on.
    const auto held = manager.acquireCapturer(manager.defaultCapturer());
    Series used{"nextFrame() of a reader", {}};
    Series median{"the same in real time, median", {}, false};
    Series slow{"the same in real time, slowest of a hundred", {}, false};
    for (const int count : kReaders) {
        const ReadCost cost = costOfReading(manager, count);
        used.points << Point{count, cost.used * count};
        median.points << Point{count, cost.median * count};
        slow.points << Point{count, cost.ofAHundred * count};
    }
    manager.releaseCapturer(manager.defaultCapturer());
    return {used, median, slow};
}

} // namespace corvane::bench
