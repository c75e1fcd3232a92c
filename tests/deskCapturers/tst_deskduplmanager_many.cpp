// More displays and readers than a host has: each reader gets the frames of its own display.
#include "CaptureRecords.h"
#include "ManagerLines.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace corvane::test;

namespace {

constexpr int kDisplays = 8;
constexpr int kReaders = 50;
constexpr int kReadsOfEach = 60;
constexpr int kTimeoutMs = 60000;
constexpr QSize kDisplay(320, 180);

QRect areaOf(int display)
{
    return {QPoint(display * kDisplay.width(), 0), kDisplay};
}

QColor colourOf(int display)
{
    return {30 * display, 255 - 30 * display, 100};
}

bool isOf(const cv::Mat &frame, int display)
{
    const QColor colour = colourOf(display);
    const cv::Vec4b expected(uchar(colour.red()), uchar(colour.green()), uchar(colour.blue()), 255);
    return frame.type() == CV_8UC4 && frame.at<cv::Vec4b>(0, 0) == expected
        && frame.at<cv::Vec4b>(frame.rows - 1, frame.cols - 1) == expected;
}

} // namespace

class TestDeskDuplManagerMany : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void eightDisplaysHaveTheirOwnFrames();
    void fiftyReadersGetFramesOfTheirDisplay();

private:
    QTemporaryDir m_directory;
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
};

void TestDeskDuplManagerMany::initTestCase()
{
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
    m_server =
        std::make_unique<XServer>(XServerOptions{{kDisplays * kDisplay.width(), 180}, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    QVector<QRect> areas;
    for (int i = 0; i < kDisplays; ++i) {
        areas << areaOf(i);
        m_client->fill(areaOf(i), colourOf(i));
    }
    QVERIFY(m_client->setMonitors(areas));
}

void TestDeskDuplManagerMany::eightDisplaysHaveTheirOwnFrames()
{
    const CaptureRecords records;
    const LogCapture log;
    {
        DeskDuplManagerMac manager(nullptr);
        QCOMPARE(manager.allCapturer(), QStringList({"1", "2", "3", "4", "5", "6", "7", "8"}));
        for (int i = 0; i < kDisplays; ++i) {
            const QString id = QString::number(i + 1);
            const auto capturer = manager.acquireCapturer(id);
            QTRY_VERIFY_WITH_TIMEOUT(!capturer->nextFrame().empty(), kTimeoutMs);
            QVERIFY2(isOf(capturer->nextFrame(), i), qPrintable(id));
            manager.releaseCapturer(id);
        }
    }
    settle();
    QCOMPARE(log.messages(QtWarningMsg) + log.messages(QtCriticalMsg), QStringList());
}

void TestDeskDuplManagerMany::fiftyReadersGetFramesOfTheirDisplay()
{
    const CaptureRecords records;
    const LogCapture log;
    std::atomic<int> right{0};
    std::atomic<int> wrong{0};
    std::atomic<int> left{kReaders};
    {
        DeskDuplManagerMac manager(nullptr);
        const auto read = [&](int display) {
            const auto capturer = manager.acquireCapturer(QString::number(display + 1));
            const QDeadlineTimer deadline(kTimeoutMs);
            for (int frames = 0; frames < kReadsOfEach && !deadline.hasExpired();) {
                const cv::Mat frame = capturer->nextFrame();
                std::this_thread::yield();
                if (frame.empty())
                    continue;
                ++frames;
                ++(isOf(frame, display) ? right : wrong);
            }
            manager.releaseCapturer(QString::number(display + 1));
            --left;
        };
        std::vector<std::thread> readers;
        for (int i = 0; i < kReaders; ++i)
            readers.emplace_back(read, i % kDisplays);
        QTRY_COMPARE_WITH_TIMEOUT(left.load(), 0, 2 * kTimeoutMs); // capturers are made here
        for (std::thread &reader : readers)
            reader.join();
    }
    settle();
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(right.load(), kReaders * kReadsOfEach);
    QCOMPARE(log.messages(QtWarningMsg) + log.messages(QtCriticalMsg), QStringList());
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerMany)
#include "tst_deskduplmanager_many.moc"
