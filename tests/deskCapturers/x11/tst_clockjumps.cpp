// The wall clock jumps, as when a machine has slept or somebody sets it: nothing waits for it.

#include "CaptureRecord.h"

#include "support/Interpose.h"
#include "support/LogCapture.h"
#include "support/XClient.h"
#include "support/XServer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <sys/time.h>

#include <atomic>
#include <ctime>
#include <memory>

using namespace corvane::test;

namespace {

/// What is added to the wall clock.
std::atomic<std::time_t> jumpSeconds{0};

constexpr std::time_t kDay = 24 * 3600;

} // namespace

// These stand before the system's. Monotonic clocks stay as they are.

extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    const int result = nextFunction<int(clockid_t, timespec *)>("clock_gettime")(clock, time);
    if (clock == CLOCK_REALTIME)
        time->tv_sec += jumpSeconds;
    return result;
}

extern "C" int gettimeofday(timeval *time, void *zone) noexcept
{
    const int result = nextFunction<int(timeval *, void *)>("gettimeofday")(time, zone);
    time->tv_sec += jumpSeconds;
    return result;
}

extern "C" std::time_t time(std::time_t *place) noexcept
{
    const std::time_t now = nextFunction<std::time_t(std::time_t *)>("time")(nullptr) + jumpSeconds;
    if (place)
        *place = now;
    return now;
}

class TestClockJumps : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void captureGoesOn_data() { addJumps(); }
    void captureGoesOn();
    void sleepingCaptureWakes_data() { addJumps(); }
    void sleepingCaptureWakes();

private:
    static void addJumps();
    /// Whether what is drawn comes to be read.
    bool shows(const QColor &colour);

    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    CaptureRecord m_record;
};

void TestClockJumps::init()
{
    m_server = std::make_unique<XServer>();
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    m_record = captureOf(1);
}

void TestClockJumps::cleanup()
{
    jumpSeconds = 0;
    m_record.reset();
    m_client.reset();
    m_server.reset();
}

bool TestClockJumps::shows(const QColor &colour)
{
    m_client->fill({0, 0, 1280, 720}, colour);
    m_client->sync();
    return isFilled(frameIn(m_record, colour), colour);
}

void TestClockJumps::addJumps()
{
    QTest::addColumn<qint64>("seconds");
    QTest::newRow("an hour back") << qint64(-3600);
    QTest::newRow("back to the last century") << qint64(-27 * 365 * kDay);
    QTest::newRow("an hour ahead") << qint64(3600);
    QTest::newRow("a hundred years ahead") << qint64(100 * 365 * kDay);
}

void TestClockJumps::captureGoesOn()
{
    QFETCH(qint64, seconds);
    const LogCapture log;
    QVERIFY(shows(Qt::green));
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    jumpSeconds = seconds;
    const qint64 jump = QDateTime::currentSecsSinceEpoch() - before - seconds;
    QVERIFY(jump >= 0 && jump < 100); // Qt sees it
    QVERIFY(shows(Qt::blue));
    jumpSeconds = 0;
    QVERIFY(shows(Qt::red));
    QCOMPARE(log.messages(), QStringList());
}

// It sleeps when nobody reads, which is told by a clock, too.
void TestClockJumps::sleepingCaptureWakes()
{
    QFETCH(qint64, seconds);
    QVERIFY(shows(Qt::green));
    const auto capturesAreAwake = [] {
        for (const QString &task : QDir("/proc/self/task").entryList(QDir::Dirs)) {
            QFile name("/proc/self/task/" + task + "/comm");
            if (name.open(QIODevice::ReadOnly) && name.readAll() == "screen-capture\n")
                return true;
        }
        return false;
    };
    jumpSeconds = seconds;
    QTRY_VERIFY_WITH_TIMEOUT(!capturesAreAwake(), 20000);
    jumpSeconds = 0;
    QVERIFY(shows(Qt::blue));
}

QTEST_GUILESS_MAIN(TestClockJumps)
#include "tst_clockjumps.moc"
