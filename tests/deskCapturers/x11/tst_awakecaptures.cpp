#include <LibCorvane/deskCapturers/x11/AwakeCaptures_p.h>
#include <LibCorvane/deskCapturers/x11/ScreenCapture_p.h>

#include <QTest>

#include <algorithm>
#include <deque>

// In place of the real captures: these have no threads, and were read at the time that their
// display's number says.
namespace {

constexpr int kMost = 32;
/// The captures that have let their frames go, in order.
QVector<int> forgetful;

} // namespace

namespace corvane {

ScreenCapture::ScreenCapture(uint32_t displayId, LatestFrame &frame)
    : m_displayId(displayId)
    , m_frame(frame)
    , m_lastRead(displayId)
{
}

ScreenCapture::~ScreenCapture() = default;

int64_t ScreenCapture::lastRead() const
{
    return m_lastRead;
}

void ScreenCapture::noteRead()
{
    m_lastRead = m_displayId;
}

void ScreenCapture::sleep()
{
    m_lastRead = 0;
}

void ScreenCapture::forgetFrame()
{
    forgetful << int(m_displayId);
}

void ScreenCapture::stop()
{
}

} // namespace corvane

using namespace corvane;

class TestAwakeCaptures : public QObject {
    Q_OBJECT
private slots:
    void cleanup();

    void asManyAsPermittedStayAwake();
    void thoseReadLastStayAwake();
    void sleepersThatHaveNotEndedDoNotCount();
    void sleepersThatAreReadAgainCount();
    void removedOnesDoNotCount();
    void fewOfThoseAsleepKeepTheirFrames();
    void thoseThatWakeKeepTheirFrames();
    void removedSleepersAreForgotten();

private:
    void add(uint32_t readAt);
    QVector<int> awake() const;
    void putToSleep(int first, int last);

    LatestFrame m_frame{{1, 1}, {1, 1}};
    std::deque<ScreenCapture> m_captures;
};

void TestAwakeCaptures::cleanup()
{
    for (ScreenCapture &capture : m_captures)
        AwakeCaptures::instance().remove(capture);
    m_captures.clear();
    forgetful.clear();
}

void TestAwakeCaptures::add(uint32_t readAt)
{
    AwakeCaptures::instance().add(m_captures.emplace_back(readAt, m_frame));
}

QVector<int> TestAwakeCaptures::awake() const
{
    QVector<int> times;
    for (const ScreenCapture &capture : m_captures)
        if (capture.lastRead() > 0)
            times << int(capture.lastRead());
    return times;
}

void TestAwakeCaptures::asManyAsPermittedStayAwake()
{
    for (uint32_t i = 1; i <= kMost; ++i)
        add(i);
    QCOMPARE(awake().size(), kMost);
}

void TestAwakeCaptures::thoseReadLastStayAwake()
{
    for (uint32_t i = 1; i <= kMost; ++i)
        add(1000 - i);
    add(2000);
    QCOMPARE(awake().size(), kMost);
    QVERIFY(!awake().contains(1000 - kMost));
    QVERIFY(awake().contains(2000));
}

// Many captures that start at once must not all choose the same one to go to sleep.
void TestAwakeCaptures::sleepersThatHaveNotEndedDoNotCount()
{
    for (uint32_t i = 1; i <= 3 * kMost; ++i)
        add(i);
    QCOMPARE(awake().size(), kMost);
    QCOMPARE(awake().first(), 2 * kMost + 1);
}

void TestAwakeCaptures::sleepersThatAreReadAgainCount()
{
    for (uint32_t i = 1; i <= kMost + 4; ++i)
        add(i);
    for (ScreenCapture &capture : m_captures)
        capture.noteRead();
    add(5000);
    QCOMPARE(awake().size(), kMost);
    QCOMPARE(awake().last(), 5000);
}

void TestAwakeCaptures::removedOnesDoNotCount()
{
    for (uint32_t i = 1; i <= kMost; ++i)
        add(i);
    AwakeCaptures::instance().remove(m_captures.back());
    m_captures.pop_back();
    add(100);
    QCOMPARE(awake().size(), kMost);
    QCOMPARE(awake().first(), 1);
}

void TestAwakeCaptures::putToSleep(int first, int last)
{
    for (int i = first; i <= last; ++i) {
        add(uint32_t(i));
        AwakeCaptures::instance().noteAsleep(m_captures.back());
    }
}

void TestAwakeCaptures::fewOfThoseAsleepKeepTheirFrames()
{
    putToSleep(1, kMost);
    QCOMPARE(forgetful, QVector<int>());
    putToSleep(kMost + 1, kMost + 3);
    QCOMPARE(forgetful, QVector<int>({1, 2, 3}));
}

void TestAwakeCaptures::thoseThatWakeKeepTheirFrames()
{
    putToSleep(1, kMost);
    AwakeCaptures::instance().add(m_captures.front());
    putToSleep(kMost + 1, kMost + 1);
    QCOMPARE(forgetful, QVector<int>());
    AwakeCaptures::instance().noteAsleep(m_captures.front()); // now the latest
    QCOMPARE(forgetful, QVector<int>({2}));
}

void TestAwakeCaptures::removedSleepersAreForgotten()
{
    putToSleep(1, kMost);
    AwakeCaptures::instance().remove(m_captures.front());
    m_captures.pop_front();
    putToSleep(kMost + 1, kMost + 1);
    QCOMPARE(forgetful, QVector<int>());
}

QTEST_APPLESS_MAIN(TestAwakeCaptures)
#include "tst_awakecaptures.moc"
