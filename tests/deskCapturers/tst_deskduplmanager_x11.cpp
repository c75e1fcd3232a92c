// The whole way of a picture: a real X server, its monitors, the manager, frames.

#include "CaptureRecords.h"
#include "ManagerLines.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace corvane::test;

namespace {

constexpr int kFrameTimeoutMs = 20000;
constexpr QRect kLeft(0, 0, 800, 720);
constexpr QRect kRight(800, 0, 480, 720);

QSize sizeOf(const cv::Mat &frame)
{
    return {frame.cols, frame.rows};
}

/// The colour of a frame's pixel, alpha included; invalid when there is none.
QColor colourAt(const cv::Mat &frame, int x, int y)
{
    if (x >= frame.cols || y >= frame.rows)
        return {};
    const auto pixel = frame.at<cv::Vec4b>(y, x);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

} // namespace

class TestDeskDuplManagerX11 : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void monitorsAreTheDisplays();
    void framesShowTheMonitorsColours();
    void framesFollowTheScreen();
    void framesComeInTheChosenSize();
    void capturersComeAndGo();
    void monitorThatIsNotThereIsLoggedTwice();
    void withoutAServerThereAreNoDisplays();

private:
    QTemporaryDir m_directory;
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    std::unique_ptr<CaptureRecords> m_records;
};

void TestDeskDuplManagerX11::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
    m_server = std::make_unique<XServer>();
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors({kLeft, kRight}));
}

void TestDeskDuplManagerX11::init()
{
    m_server->useForThisProcess();
    m_client->fill(kLeft, QColor(200, 100, 50));
    m_client->fill(kRight, QColor(10, 20, 255));
    QVERIFY(m_client->sync());
    m_records = std::make_unique<CaptureRecords>();
}

void TestDeskDuplManagerX11::cleanup()
{
    settle();
    m_records.reset();
}

void TestDeskDuplManagerX11::monitorsAreTheDisplays()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList({"1", "2"}));
    QCOMPARE(manager.defaultCapturer(), QString("1"));
    QCOMPARE(CaptureRecords::count(), 2);
    const auto capturer = manager.acquireCapturer("2");
    QCOMPARE(capturer->originSize(), kRight.size());
    QCOMPARE(capturer->outputSize(), kRight.size());
    QCOMPARE(logged(log), QStringList(acquired("2", 1)));
}

void TestDeskDuplManagerX11::framesShowTheMonitorsColours()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    const auto left = manager.acquireCapturer("1");
    const auto right = manager.acquireCapturer("2");
    cv::Mat frame;
    QTRY_VERIFY_WITH_TIMEOUT(!(frame = left->nextFrame()).empty(), kFrameTimeoutMs);
    QCOMPARE(frame.type(), CV_8UC4);
    QCOMPARE(sizeOf(frame), QSize(300, 270));
    for (const QPoint at : {QPoint(0, 0), QPoint(299, 0), QPoint(150, 135), QPoint(299, 269)})
        QCOMPARE(colourAt(frame, at.x(), at.y()), QColor(200, 100, 50, 255));
    QTRY_VERIFY_WITH_TIMEOUT(!(frame = right->nextFrame()).empty(), kFrameTimeoutMs);
    QCOMPARE(sizeOf(frame), QSize(300, 450));
    QCOMPARE(colourAt(frame, 0, 449), QColor(10, 20, 255, 255));
    QCOMPARE(log.messages(QtWarningMsg) + log.messages(QtCriticalMsg), QStringList());
}

void TestDeskDuplManagerX11::framesFollowTheScreen()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    const auto capturer = manager.acquireCapturer("1");
    cv::Mat earlier;
    QTRY_VERIFY_WITH_TIMEOUT(!(earlier = capturer->nextFrame()).empty(), kFrameTimeoutMs);
    m_client->fill(kLeft, Qt::white);
    QVERIFY(m_client->sync());
    QTRY_COMPARE_WITH_TIMEOUT(colourAt(capturer->nextFrame(), 150, 135), QColor(255, 255, 255, 255),
                              kFrameTimeoutMs);
    QCOMPARE(colourAt(earlier, 150, 135), QColor(200, 100, 50, 255));
}

void TestDeskDuplManagerX11::framesComeInTheChosenSize()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    const auto capturer = manager.acquireCapturer("1");
    QTRY_VERIFY_WITH_TIMEOUT(!capturer->nextFrame().empty(), kFrameTimeoutMs);
    capturer->setOutputSize({64, 36});
    QTRY_COMPARE_WITH_TIMEOUT(sizeOf(capturer->nextFrame()), QSize(64, 36), kFrameTimeoutMs);
    QCOMPARE(colourAt(capturer->nextFrame(), 63, 35), QColor(200, 100, 50, 255));
    QCOMPARE(capturer->outputSize(), kLeft.size());
}

void TestDeskDuplManagerX11::capturersComeAndGo()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    for (int i = 0; i < 3; ++i) {
        const auto capturer = manager.acquireCapturer("2");
        QTRY_COMPARE_WITH_TIMEOUT(colourAt(capturer->nextFrame(), 1, 1), QColor(10, 20, 255, 255),
                                  kFrameTimeoutMs);
        manager.releaseCapturer("2");
    }
    QCOMPARE(logged(log).count(making("2")), 2);
    QCOMPARE(CaptureRecords::count(), 4); // two of the start, two more
}

void TestDeskDuplManagerX11::monitorThatIsNotThereIsLoggedTwice()
{
    const LogCapture log;
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(!capture.start(99));
    QVERIFY(capture.nextFrame().empty());
    QCOMPARE(logged(log),
             QStringList({"critical|default|allocAVFoundationCapture|[AVFoundationCaptureImpl]: "
                          "Failed to init AVCaptureScreenInput instance",
                          "critical|default|AVFoundationCapture::start|[AVFoundationCapture]: "
                          "Cannot init AVFoundation capture"}));
}

void TestDeskDuplManagerX11::withoutAServerThereAreNoDisplays()
{
    qputenv("DISPLAY", ":nothing");
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList());
    QVERIFY(manager.defaultCapturer().isNull());
    QCOMPARE(logged(log), QStringList());
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerX11)
#include "tst_deskduplmanager_x11.moc"
