// How a capture session is set up and ended, call by call.

#include "TestPictures.h"

#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <support/LogCapture.h>

#include <QTest>

#include <optional>
#include <thread>

using namespace corvane::test;

Q_DECLARE_METATYPE(std::optional<unsigned int>)

namespace {

constexpr unsigned int kMain = 69734272;
constexpr unsigned int kSecond = 7;
const char *const kLabel = "com.corvane.runtime.avfoundationCaptureReceive";

// The steps of a start, as the simulation writes them.
const char *const kCanPreset = "-[AVCaptureSession canSetSessionPreset:] AVCaptureSessionPresetLow";
const char *const kPreset = "-[AVCaptureSession setSessionPreset:] AVCaptureSessionPresetLow";
const char *const kCanInput = "-[AVCaptureSession canAddInput:] AVCaptureScreenInput";
const char *const kDuration = "-[AVCaptureScreenInput setMinFrameDuration:] 1/25";
const char *const kScale = "-[AVCaptureScreenInput setScaleFactor:] 0.15625";
const char *const kInput = "-[AVCaptureSession addInput:] AVCaptureScreenInput";
const char *const kCanOutput = "-[AVCaptureSession canAddOutput:] AVCaptureVideoDataOutput";
const char *const kOutput = "-[AVCaptureSession addOutput:] AVCaptureVideoDataOutput";

QStringList allSteps()
{
    return {"CGMainDisplayID",
            "-[AVCaptureSession init]",
            kCanPreset,
            kPreset,
            "CGDisplayBounds 69734272",
            "-[AVCaptureScreenInput initWithDisplayID:] 69734272",
            "-[AVCaptureScreenInput setCropRect:] 0 0 1920 1080",
            kCanInput,
            kDuration,
            kScale,
            kInput,
            "-[AVCaptureVideoDataOutput init]",
            QString("dispatch_queue_create %1 serial").arg(kLabel),
            "-[AVCaptureVideoDataOutput setVideoSettings:] PixelFormatType=0x42475241",
            QString("-[AVCaptureVideoDataOutput setSampleBufferDelegate:queue:] "
                    "VideoFrameReceiver %1")
                .arg(kLabel),
            kCanOutput,
            kOutput,
            "-[AVCaptureSession startRunning]"};
}

QStringList without(QStringList steps, const QStringList &omitted)
{
    for (const QString &step : omitted)
        steps.removeOne(step);
    return steps;
}

QStringList endSteps()
{
    return {"-[AVCaptureSession stopRunning]",
            "-[AVCaptureVideoDataOutput setSampleBufferDelegate:queue:] nil nil",
            QString("dispatch_sync %1").arg(kLabel)};
}

QMap<QString, int> objectsOfARecord()
{
    return {{"AVCaptureSession", 1},
            {"AVCaptureScreenInput", 1},
            {"AVCaptureVideoDataOutput", 1},
            {"SimulatedQueue", 1},
            {"VideoFrameReceiver", 1}};
}

using NoObjects = QMap<QString, int>;

} // namespace

class TestAVFoundationSession : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void startTakesEveryStepInOrder();
    void chosenDisplayIsCaptured();
    void refusedStepsAreSkippedSilently_data();
    void refusedStepsAreSkippedSilently();
    void displayWithoutInputIsLogged_data();
    void displayWithoutInputIsLogged();
    void failedStartOfACapturerIsLoggedTwice();
    void onlyTheFailingCallFails();
    void sizesAreThoseOfTheDisplay_data();
    void sizesAreThoseOfTheDisplay();
    void displayWithoutWidthIsNotScaled();
    void endTakesEveryStepInOrder();
    void endOfNothingDoesNothing();
    void recordOutlivesItsCapturer();
    void recordsAreIndependent();
    void anyThreadMayStartAndEnd();
    void displaysAreTheNumberedScreens_data();
    void displaysAreTheNumberedScreens();

private:
    Simulation &m_simulation = Simulation::instance();
};

void TestAVFoundationSession::init()
{
    m_simulation.reset();
    m_simulation.attachDisplay(kMain, {0, 0, 1920, 1080});
    m_simulation.attachDisplay(kSecond, {1920, -60, 1440, 900});
}

void TestAVFoundationSession::cleanup()
{
    waitForQueues();
    QCOMPARE(liveObjects(), NoObjects());
}

void TestAVFoundationSession::startTakesEveryStepInOrder()
{
    const LogCapture log;
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(0);
    QVERIFY(record);
    QCOMPARE(m_simulation.takeCalls(), allSteps());
    QCOMPARE(liveObjects(), objectsOfARecord());
    freeAVFoundationCapture(record);
    QCOMPARE(logged(log), QStringList());
}

void TestAVFoundationSession::chosenDisplayIsCaptured()
{
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(kSecond);
    const QStringList calls = m_simulation.takeCalls();
    QCOMPARE(calls.first(), QString("-[AVCaptureSession init]"));
    QVERIFY(calls.contains("CGDisplayBounds 7"));
    QVERIFY(calls.contains("-[AVCaptureScreenInput initWithDisplayID:] 7"));
    QVERIFY(calls.contains("-[AVCaptureScreenInput setCropRect:] 0 0 1440 900"));
    QCOMPARE(deliverFrame(kMain, plainPicture(Qt::red)), 0);
    QCOMPARE(deliverFrame(kSecond, plainPicture(Qt::red)), 1);
    freeAVFoundationCapture(record);
}

void TestAVFoundationSession::refusedStepsAreSkippedSilently_data()
{
    QTest::addColumn<QString>("refused");
    QTest::addColumn<QStringList>("skipped");
    QTest::addColumn<int>("receivers");
    QTest::newRow("the preset is left as it is")
        << "-[AVCaptureSession canSetSessionPreset:]" << QStringList(kPreset) << 1;
    QTest::newRow("without its input the session delivers nothing")
        << "-[AVCaptureSession canAddInput:]" << QStringList({kDuration, kScale, kInput}) << 0;
    QTest::newRow("without its output the session delivers nothing")
        << "-[AVCaptureSession canAddOutput:]" << QStringList(kOutput) << 0;
}

void TestAVFoundationSession::refusedStepsAreSkippedSilently()
{
    QFETCH(QString, refused);
    QFETCH(QStringList, skipped);
    m_simulation.fail(refused);
    const LogCapture log;
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(0);
    QVERIFY(record);
    QCOMPARE(m_simulation.takeCalls(), without(allSteps(), skipped));
    QCOMPARE(liveObjects(), objectsOfARecord());
    QTEST(deliverFrame(kMain, plainPicture(Qt::red)), "receivers");
    waitForQueues();
    m_simulation.takeCalls();
    freeAVFoundationCapture(record);
    QCOMPARE(m_simulation.takeCalls(), endSteps());
    QCOMPARE(logged(log), QStringList());
}

void TestAVFoundationSession::displayWithoutInputIsLogged_data()
{
    QTest::addColumn<unsigned int>("display");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("a display that is not there") << 99U << false;
    QTest::newRow("a display that cannot be captured") << kMain << true;
    QTest::newRow("a main display that cannot be captured") << 0U << true;
}

void TestAVFoundationSession::displayWithoutInputIsLogged()
{
    QFETCH(unsigned int, display);
    QFETCH(bool, isRefused);
    if (isRefused)
        m_simulation.fail("-[AVCaptureScreenInput initWithDisplayID:]");
    const LogCapture log;
    QVERIFY(!allocAVFoundationCapture(display));
    QCOMPARE(logged(log),
             QStringList("critical|default|allocAVFoundationCapture|[AVFoundationCaptureImpl]: "
                         "Failed to init AVCaptureScreenInput instance"));
    QVERIFY(
        m_simulation.takeCalls().last().startsWith("-[AVCaptureScreenInput initWithDisplayID:"));
    QCOMPARE(liveObjects(), NoObjects());
}

void TestAVFoundationSession::failedStartOfACapturerIsLoggedTwice()
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

void TestAVFoundationSession::onlyTheFailingCallFails()
{
    m_simulation.fail("-[AVCaptureScreenInput initWithDisplayID:]", 2);
    const LogCapture log;
    AVFoundationCaptureImpl *first = allocAVFoundationCapture(kMain);
    AVFoundationCaptureImpl *second = allocAVFoundationCapture(kMain);
    AVFoundationCaptureImpl *third = allocAVFoundationCapture(kMain);
    QVERIFY(first);
    QVERIFY(!second);
    QVERIFY(third);
    QCOMPARE(liveObjects().value("AVCaptureSession"), 2);
    QCOMPARE(logged(log).size(), 1);
    freeAVFoundationCapture(first);
    freeAVFoundationCapture(third);
}

void TestAVFoundationSession::sizesAreThoseOfTheDisplay_data()
{
    QTest::addColumn<QRectF>("bounds");
    QTest::addColumn<QSize>("origin");
    QTest::addColumn<QSize>("frame");
    QTest::newRow("full HD") << QRectF(0, 0, 1920, 1080) << QSize(1920, 1080) << QSize(300, 168);
    QTest::newRow("a display beside the main one")
        << QRectF(1920, -60, 1440, 900) << QSize(1440, 900) << QSize(300, 187);
    QTest::newRow("an upright display")
        << QRectF(0, 0, 1080, 1920) << QSize(1080, 1920) << QSize(300, 533);
    QTest::newRow("fractions are cut off")
        << QRectF(0, 0, 1512.9, 982.9) << QSize(1512, 982) << QSize(300, 194);
    QTest::newRow("a display smaller than a frame")
        << QRectF(0, 0, 200, 100) << QSize(200, 100) << QSize(300, 150);
}

void TestAVFoundationSession::sizesAreThoseOfTheDisplay()
{
    QFETCH(QRectF, bounds);
    QFETCH(QSize, origin);
    m_simulation.attachDisplay(3, bounds);
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(3);
    QCOMPARE(AVCaptureOriginSize(record), origin);
    QCOMPARE(AVCaptureOutputSize(record), origin);
    QCOMPARE(deliverFrame(3, plainPicture(Qt::red)), 1);
    waitForQueues();
    QTEST(AVCaptureNextFrame(record).size(), "frame");
    freeAVFoundationCapture(record);
}

void TestAVFoundationSession::displayWithoutWidthIsNotScaled()
{
    m_simulation.attachDisplay(3, {});
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(3);
    QVERIFY(record);
    QVERIFY(m_simulation.takeCalls().contains("-[AVCaptureScreenInput setScaleFactor:] 1"));
    QCOMPARE(AVCaptureOriginSize(record), QSize(0, 0));
    deliverFrame(3, plainPicture(Qt::red));
    waitForQueues();
    QVERIFY(AVCaptureNextFrame(record).isNull());
    freeAVFoundationCapture(record);
}

void TestAVFoundationSession::endTakesEveryStepInOrder()
{
    AVFoundationCaptureImpl *record = allocAVFoundationCapture(0);
    m_simulation.takeCalls();
    freeAVFoundationCapture(record);
    QCOMPARE(m_simulation.takeCalls(), endSteps());
    QCOMPARE(liveObjects(), NoObjects());
}

void TestAVFoundationSession::endOfNothingDoesNothing()
{
    freeAVFoundationCapture(nullptr);
    QCOMPARE(m_simulation.takeCalls(), QStringList());
}

void TestAVFoundationSession::recordOutlivesItsCapturer()
{
    {
        const LogCapture log;
        AVFoundationCapture capture(nullptr, nullptr);
        QVERIFY(capture.start(kMain));
        QCOMPARE(logged(log), QStringList());
    }
    QCOMPARE(liveObjects(), objectsOfARecord());
    QCOMPARE(deliverFrame(kMain, plainPicture(Qt::red)), 1);
    waitForQueues();
    const auto records = runningRecords();
    QCOMPARE(records.size(), std::size_t(1));
    QVERIFY(!AVCaptureNextFrame(records.front()).isNull());
    freeAVFoundationCapture(records.front());
}

void TestAVFoundationSession::recordsAreIndependent()
{
    AVFoundationCaptureImpl *first = allocAVFoundationCapture(kMain);
    AVFoundationCaptureImpl *second = allocAVFoundationCapture(kSecond);
    freeAVFoundationCapture(first);
    QCOMPARE(liveObjects(), objectsOfARecord());
    QCOMPARE(deliverFrame(kMain, plainPicture(Qt::red)), 0);
    QCOMPARE(deliverFrame(kSecond, plainPicture(Qt::red)), 1);
    waitForQueues();
    QVERIFY(!AVCaptureNextFrame(second).isNull());
    freeAVFoundationCapture(second);
}

void TestAVFoundationSession::anyThreadMayStartAndEnd()
{
    AVFoundationCaptureImpl *record = nullptr;
    std::thread([&] { record = allocAVFoundationCapture(0); }).join();
    QVERIFY(record);
    QCOMPARE(m_simulation.takeCalls(), allSteps());
    std::thread([&] { freeAVFoundationCapture(record); }).join();
    QCOMPARE(m_simulation.takeCalls(), endSteps());
}

void TestAVFoundationSession::displaysAreTheNumberedScreens_data()
{
    using Screens = QVector<std::optional<unsigned int>>;
    using Ids = QList<unsigned int>;
    QTest::addColumn<Screens>("screens");
    QTest::addColumn<Ids>("ids");
    QTest::newRow("no screen") << Screens() << Ids();
    QTest::newRow("two screens in their order") << Screens{kMain, kSecond} << Ids{kMain, kSecond};
    QTest::newRow("screens without a number are left out")
        << Screens{{}, kSecond, {}, kMain} << Ids{kSecond, kMain};
    QTest::newRow("only screens without a number") << Screens{{}, {}} << Ids();
    QTest::newRow("numbers of all sizes, and twice")
        << Screens{4294967295U, 0U, 0U} << Ids{4294967295U, 0U, 0U};
}

void TestAVFoundationSession::displaysAreTheNumberedScreens()
{
    QFETCH(QVector<std::optional<unsigned int>>, screens);
    m_simulation.setScreens(screens);
    QTEST(availableDisplayIDs(), "ids");
    QCOMPARE(liveObjects(), NoObjects());
}

QTEST_APPLESS_MAIN(TestAVFoundationSession)
#include "tst_avfoundationsession.moc"
