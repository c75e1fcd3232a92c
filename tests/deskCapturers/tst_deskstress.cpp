// Many threads share the capturers of two real monitors, for the thread sanitizer to watch.

#include "CaptureRecords.h"
#include "ManagerLines.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QDeadlineTimer>
#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace corvane::test;

namespace {

constexpr int kThreads = 16;
constexpr int kRounds = 3;
constexpr int kCyclesPerRound = 10;
constexpr int kReadsPerCycle = 4;
constexpr int kFrameTimeoutMs = 60000;
constexpr QSize kSizes[] = {{64, 36}, {300, 168}};

/// A monitor whose colour changes between two; red and blue sum up to 250 in both, and in every
/// mixture of them.
struct Monitor {
    QString id;
    QRect area;
    int green;
    QSize firstSize;

    QColor colour(bool second) const { return {second ? 50 : 200, green, second ? 200 : 50}; }
};

const Monitor kMonitors[] = {{"1", {0, 0, 800, 720}, 100, {300, 270}},
                             {"2", {800, 0, 480, 720}, 20, {300, 450}}};

/// What the threads have seen.
struct Findings {
    std::atomic<int> nullCapturers{0};
    std::atomic<int> badSizes{0};
    std::atomic<int> badFrames{0};
    std::atomic<int> badLists{0};
    std::atomic<int> roundsWithoutFrame{0};
    std::atomic<int> frames{0};
};

bool isPixelOf(const Monitor &monitor, const cv::Vec4b &pixel)
{
    const auto isNear = [](int value, int wanted) { return qAbs(value - wanted) <= 2; };
    return isNear(pixel[1], monitor.green) && isNear(pixel[0] + pixel[2], 250) && pixel[3] == 255;
}

bool isFrameOf(const Monitor &monitor, const cv::Mat &frame)
{
    const QSize size(frame.cols, frame.rows);
    const bool isKnown = size == monitor.firstSize || size == kSizes[0] || size == kSizes[1];
    if (!isKnown || frame.type() != CV_8UC4)
        return false;
    for (int y = 0; y < frame.rows; y += 7) {
        for (int x = 0; x < frame.cols; x += 13) {
            if (!isPixelOf(monitor, frame.at<cv::Vec4b>(y, x)))
                return false;
        }
    }
    return true;
}

/// One thread's share of the work.
class User {
public:
    User(IDeskDuplManager &manager, Findings &findings, int number)
        : m_manager(manager)
        , m_findings(findings)
        , m_number(number)
    {
    }

    void work()
    {
        for (int cycle = 0; cycle < kCyclesPerRound; ++cycle)
            useCapturer(kMonitors[(m_number + cycle) % 2], cycle);
    }

private:
    void useCapturer(const Monitor &monitor, int cycle)
    {
        const auto capturer = m_manager.acquireCapturer(monitor.id);
        if (!capturer) {
            ++m_findings.nullCapturers;
            return;
        }
        if (cycle == 0)
            waitForAFrame(*capturer);
        for (int i = 0; i < kReadsPerCycle; ++i)
            read(monitor, *capturer);
        capturer->setOutputSize(kSizes[(m_number + cycle / 2) % 2]);
        if (m_manager.allCapturer().size() != 2 || m_manager.defaultCapturer() != "1"
            || !m_manager.capturerDesc(monitor.id).isEmpty())
            ++m_findings.badLists;
        m_manager.releaseCapturer(monitor.id); // and uses the capturer once more
        read(monitor, *capturer);
    }

    void waitForAFrame(IDeskCapture &capturer)
    {
        const QDeadlineTimer deadline(kFrameTimeoutMs);
        while (capturer.nextFrame().empty() && !deadline.hasExpired())
            std::this_thread::yield();
        if (deadline.hasExpired())
            ++m_findings.roundsWithoutFrame;
    }

    void read(const Monitor &monitor, IDeskCapture &capturer)
    {
        if (capturer.originSize() != monitor.area.size()
            || capturer.outputSize() != monitor.area.size())
            ++m_findings.badSizes;
        cv::Mat frame = capturer.nextFrame();
        if (frame.empty())
            return;
        ++m_findings.frames;
        if (!isFrameOf(monitor, frame))
            ++m_findings.badFrames;
        frame = cv::Scalar::all(0); // nobody else sees this
    }

    IDeskDuplManager &m_manager;
    Findings &m_findings;
    const int m_number;
};

/// What the manager's log lines say of one display, followed line by line.
struct Account {
    int users = 0;
    int acquired = 0;
    int made = 0;
    bool hasCapturer = true;

    /// The lines that may come next, each with what it changes.
    bool follow(const QString &id, const QString &line)
    {
        if (line == making(id))
            return !std::exchange(hasCapturer, true) && users == 0 && ++made > 0;
        if (line == corvane::test::acquired(id, users + 1))
            return hasCapturer && ++users > 0 && ++acquired > 0;
        if (users > 0 && line == released(id, users - 1).first())
            return --users >= 0;
        return users == 0 && line == released(id, 0).last() && std::exchange(hasCapturer, false);
    }
};

} // namespace

class TestDeskStress : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void sharedCapturersStayWhole();

private:
    void workOneRound(IDeskDuplManager &manager, Findings &findings);
    void changeColours();

    QTemporaryDir m_directory;
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    bool m_second = false;
};

void TestDeskStress::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
    m_server = std::make_unique<XServer>();
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors({kMonitors[0].area, kMonitors[1].area}));
    changeColours();
}

void TestDeskStress::changeColours()
{
    m_second = !m_second;
    for (const Monitor &monitor : kMonitors)
        m_client->fill(monitor.area, monitor.colour(m_second));
    m_client->sync();
}

/// All users have given everything back when it returns: the next round starts anew.
void TestDeskStress::workOneRound(IDeskDuplManager &manager, Findings &findings)
{
    std::atomic<int> left{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            User(manager, findings, i).work();
            --left;
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(left.load(), 0, 2 * kFrameTimeoutMs);
    for (std::thread &thread : threads)
        thread.join();
}

void TestDeskStress::sharedCapturersStayWhole()
{
    const CaptureRecords records;
    Findings findings;
    const LogCapture log;
    {
        DeskDuplManagerMac manager(nullptr);
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, &TestDeskStress::changeColours);
        timer.start(20);
        for (int round = 0; round < kRounds; ++round)
            workOneRound(manager, findings);
    }
    settle();
    QCOMPARE(findings.nullCapturers.load(), 0);
    QCOMPARE(findings.badSizes.load(), 0);
    QCOMPARE(findings.badFrames.load(), 0);
    QCOMPARE(findings.badLists.load(), 0);
    QCOMPARE(findings.roundsWithoutFrame.load(), 0);
    QVERIFY(findings.frames >= kThreads * kRounds);

    QHash<QString, Account> accounts{{"1", {}}, {"2", {}}};
    for (const QString &line : logged(log)) {
        const bool follows = accounts["1"].follow("1", line) || accounts["2"].follow("2", line);
        QVERIFY2(follows, qPrintable(line));
    }
    for (const Account &account : accounts) {
        QCOMPARE(account.users, 0);
        QCOMPARE(account.acquired, kThreads * kRounds * kCyclesPerRound / 2);
        QVERIFY(!account.hasCapturer);
        QVERIFY(account.made >= kRounds - 1);
    }
    QCOMPARE(CaptureRecords::count(), 2 + accounts["1"].made + accounts["2"].made);
}

QTEST_GUILESS_MAIN(TestDeskStress)
#include "tst_deskstress.moc"
