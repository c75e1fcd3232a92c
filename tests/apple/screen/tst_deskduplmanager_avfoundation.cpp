// The whole way of a picture on macOS: screens, the manager, sessions, frames.

#include "../../deskCapturers/ManagerLines.h"
#include "TestPictures.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>

#include <QTemporaryDir>
#include <QTest>

using namespace corvane::test;

namespace {

constexpr unsigned int kLeft = 69734272;
constexpr unsigned int kRight = 7;

} // namespace

class TestDeskDuplManagerAVFoundation : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void screensAreTheDisplays();
    void framesComeFromTheirDisplay();
    void screenThatCannotBeCapturedIsListed();
    void sessionOutlivesItsCapturer();

private:
    QTemporaryDir m_directory;
    Simulation &m_simulation = Simulation::instance();
};

void TestDeskDuplManagerAVFoundation::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
}

void TestDeskDuplManagerAVFoundation::init()
{
    m_simulation.reset();
    m_simulation.attachDisplay(kLeft, {0, 0, 1920, 1080});
    m_simulation.attachDisplay(kRight, {1920, 0, 1280, 1024});
    m_simulation.setScreens({kLeft, {}, kRight});
}

void TestDeskDuplManagerAVFoundation::cleanup()
{
    settle();
    for (AVFoundationCaptureImpl *record : runningRecords())
        freeAVFoundationCapture(record);
    waitForQueues();
    const QMap<QString, int> none;
    QCOMPARE(liveObjects(), none);
}

void TestDeskDuplManagerAVFoundation::screensAreTheDisplays()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList({"69734272", "7"}));
    QCOMPARE(manager.defaultCapturer(), QString("69734272"));
    QCOMPARE(liveObjects().value("AVCaptureSession"), 2);
    QCOMPARE(manager.acquireCapturer("7")->originSize(), QSize(1280, 1024));
    QCOMPARE(logged(log), QStringList(acquired("7", 1)));
}

void TestDeskDuplManagerAVFoundation::framesComeFromTheirDisplay()
{
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    const auto left = manager.acquireCapturer("69734272");
    const auto right = manager.acquireCapturer("7");
    QCOMPARE(deliverFrame(kRight, plainPicture(QColor(10, 20, 255))), 1);
    waitForQueues();
    QVERIFY(left->nextFrame().empty());
    const cv::Mat frame = right->nextFrame();
    QCOMPARE(QSize(frame.cols, frame.rows), QSize(300, 240));
    QCOMPARE(frame.at<cv::Vec4b>(239, 299), cv::Vec4b(10, 20, 255, 255));
}

void TestDeskDuplManagerAVFoundation::screenThatCannotBeCapturedIsListed()
{
    m_simulation.setScreens({99U, kRight});
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList({"7", "99"}));
    QVERIFY(manager.acquireCapturer("99")->nextFrame().empty());
    QCOMPARE(logged(log),
             QStringList({"critical|default|allocAVFoundationCapture|[AVFoundationCaptureImpl]: "
                          "Failed to init AVCaptureScreenInput instance",
                          "critical|default|AVFoundationCapture::start|[AVFoundationCapture]: "
                          "Cannot init AVFoundation capture",
                          acquired("99", 1)}));
}

void TestDeskDuplManagerAVFoundation::sessionOutlivesItsCapturer()
{
    m_simulation.setScreens({kRight});
    const LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    manager.acquireCapturer("7");
    manager.releaseCapturer("7");
    settle();
    QCOMPARE(deliverFrame(kRight, plainPicture(Qt::red)), 1);
    const auto next = manager.acquireCapturer("7");
    QCOMPARE(deliverFrame(kRight, plainPicture(Qt::blue)), 2);
    waitForQueues();
    QCOMPARE(next->nextFrame().at<cv::Vec4b>(0, 0), cv::Vec4b(0, 0, 255, 255));
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerAVFoundation)
#include "tst_deskduplmanager_avfoundation.moc"
