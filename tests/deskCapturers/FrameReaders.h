#ifndef CORVANE_TESTS_FRAMEREADERS_H
#define CORVANE_TESTS_FRAMEREADERS_H

#include <LibCorvane/deskCapturers/IDeskCapture.h>

#include <QSharedPointer>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace corvane::test {

/// Every screen here is grey: whatever is torn out of released memory is hardly so.
inline bool isGrey(const cv::Mat &frame)
{
    for (int y = 0; y < frame.rows; y += 5) {
        for (int x = 0; x < frame.cols; x += 7) {
            const auto pixel = frame.at<cv::Vec4b>(y, x);
            if (qAbs(pixel[0] - pixel[1]) > 2 || qAbs(pixel[1] - pixel[2]) > 2 || pixel[3] != 255)
                return false;
        }
    }
    return true;
}

/// Another thread, which reads a capturer and keeps the latest frame.
class Reader {
public:
    explicit Reader(QSharedPointer<IDeskCapture> capturer)
        : m_capturer(std::move(capturer))
        , m_thread([this] { work(); })
    {
    }
    ~Reader()
    {
        stop();
        drop();
        m_thread.join();
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    /// The capturer is not used any more once this has returned, but still held.
    void stop()
    {
        m_ends = true;
        while (!m_isIdle)
            std::this_thread::yield();
    }
    /// Lets the thread drop its pointer, and does not wait for that.
    void drop() { m_drops = true; }
    void waitForReads(int count) const
    {
        for (const int wanted = m_reads + count; m_reads < wanted;)
            std::this_thread::yield();
    }
    bool hasFrame() const { return m_frames > 0; }
    /// All frames, the one that is kept included. Only when stopped.
    bool hasSeenOnlyGrey() const { return m_badFrames == 0 && isGrey(m_latest); }

private:
    void work()
    {
        while (!m_ends)
            read();
        m_isIdle = true;
        while (!m_drops)
            std::this_thread::yield();
        m_capturer.reset();
    }
    void read()
    {
        const cv::Mat frame = m_capturer->nextFrame();
        ++m_reads;
        m_capturer->originSize();
        if (frame.empty())
            return std::this_thread::yield();
        m_badFrames += isGrey(frame) ? 0 : 1;
        m_latest = frame;
        ++m_frames;
    }

    QSharedPointer<IDeskCapture> m_capturer;
    cv::Mat m_latest;
    std::atomic<int> m_reads{0};
    std::atomic<int> m_frames{0};
    std::atomic<int> m_badFrames{0};
    std::atomic<bool> m_ends{false};
    std::atomic<bool> m_isIdle{false};
    std::atomic<bool> m_drops{false};
    std::thread m_thread; // the last one: it uses all others
};

using Readers = std::vector<std::unique_ptr<Reader>>;

/// Readers of a capturer that somebody else owns.
inline Readers readersOf(IDeskCapture *capture, unsigned count)
{
    Readers readers;
    for (; count > 0; --count)
        readers.push_back(
            std::make_unique<Reader>(QSharedPointer<IDeskCapture>(capture, [](IDeskCapture *) {})));
    return readers;
}

inline bool waitForFrames(const Readers &readers)
{
    constexpr int patienceMs = 30000;
    return QTest::qWaitFor(
        [&readers] {
            return std::all_of(readers.begin(), readers.end(),
                               [](const auto &reader) { return reader->hasFrame(); });
        },
        patienceMs);
}

inline void stop(const Readers &readers)
{
    for (const auto &reader : readers)
        reader->stop();
}

inline bool haveSeenOnlyGrey(const Readers &readers)
{
    return std::all_of(readers.begin(), readers.end(),
                       [](const auto &reader) { return reader->hasSeenOnlyGrey(); });
}

} // namespace corvane::test

#endif
