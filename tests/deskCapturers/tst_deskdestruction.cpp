// A host that destroys what captures the screen at any moment of the work, while other threads read
// frames as far as the headers permit it. What is wrong here shows under a sanitizer at the latest.

#include "CaptureRecords.h"
#include "FrameReaders.h"
#include "ScreenReader.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <LibCorvane/deskCapturers/QtScreenCapture.h>
#include <support/Destruction.h>
#include <support/LogCapture.h>
#include <support/ScriptedInput.h>
#include <support/XClient.h>
#include <support/XServer.h>

#include <QPointer>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <random>
#include <thread>

using namespace corvane::test;

namespace {

constexpr int kTimeoutMs = 30000;
const QVector<QRect> kMonitors{{0, 0, 640, 540}, {640, 0, 640, 540}};
const QByteArray kFFmpegScreen = "color=c=gray:size=320x180:rate=25,format=bgr0";

/// As a host would complete it.
class GreyScreen : public QtScreenCapture {
public:
    using QtScreenCapture::QtScreenCapture;
    cv::Mat nextFrame() override { return {9, 16, CV_8UC4, cv::Scalar(99, 99, 99, 255)}; }
};

/// A thread that looks at a decoded picture until it is told to end.
class PictureHolder {
public:
    explicit PictureHolder(std::shared_ptr<AVFrame> picture)
        : m_picture(std::move(picture))
        , m_thread([this] { look(); })
    {
    }
    ~PictureHolder()
    {
        m_ends = true;
        m_thread.join();
    }
    PictureHolder(const PictureHolder &) = delete;
    PictureHolder &operator=(const PictureHolder &) = delete;

    void waitForLook() const
    {
        for (const int wanted = m_looks + 2; m_looks < wanted;)
            std::this_thread::yield();
    }
    bool hasSeenOnlyGrey() const { return !m_picture || m_badLooks == 0; }

private:
    void look()
    {
        for (; !m_ends; ++m_looks) {
            if (!m_picture)
                continue;
            const uint8_t *last = m_picture->data[0] + 179 * m_picture->linesize[0] + 319 * 4;
            m_badLooks += last[0] == last[1] && last[1] == last[2] ? 0 : 1;
        }
    }

    const std::shared_ptr<AVFrame> m_picture;
    std::atomic<int> m_looks{0};
    std::atomic<int> m_badLooks{0};
    std::atomic<bool> m_ends{false};
    std::thread m_thread;
};

} // namespace

class TestDeskDestruction : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void managerGoesAtAnyMoment_data() { addSeeds(16); }
    void managerGoesAtAnyMoment();
    void managerGoesInASlotOfItsOption_data() { addWays(); }
    void managerGoesInASlotOfItsOption();
    void optionGoesInASlotOfItsSignal_data() { addWays(); }
    void optionGoesInASlotOfItsSignal();
    void captureGoesAtAnyMoment_data() { addSeeds(20); }
    void captureGoesAtAnyMoment();
    void recordGoesAtAnyMoment_data() { addSeeds(20); }
    void recordGoesAtAnyMoment();
    void ffmpegCaptureGoesAtAnyMoment_data() { addSeeds(30); }
    void ffmpegCaptureGoesAtAnyMoment();
    void qtScreenCaptureGoesAtAnyMoment_data() { addSeeds(10); }
    void qtScreenCaptureGoesAtAnyMoment();
    void captureGoesWithTheServer_data() { addSeeds(4); }
    void captureGoesWithTheServer();

private:
    static void addWays();
    void drawNextPicture();
    QByteArray savedSettings() const;

    QTemporaryDir m_directory;
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    QTimer m_scene;
    int m_picture = 0;
    std::unique_ptr<Belongings> m_belongings;
};

void TestDeskDestruction::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
    m_server = std::make_unique<XServer>(XServerOptions{{1280, 540}, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors(kMonitors));
    connect(&m_scene, &QTimer::timeout, this, &TestDeskDestruction::drawNextPicture);
    drawNextPicture();
    m_scene.start(10);
    m_belongings = std::make_unique<Belongings>();
}

void TestDeskDestruction::cleanup()
{
    turn(1);
    QTRY_VERIFY_WITH_TIMEOUT(m_belongings->areBack(), kTimeoutMs);
}

void TestDeskDestruction::addWays()
{
    QTest::addColumn<bool>("isLater");
    QTest::newRow("at once") << false;
    QTest::newRow("later") << true;
}

void TestDeskDestruction::drawNextPicture()
{
    const int grey = 8 * (++m_picture % 32);
    for (const QRect &monitor : kMonitors)
        m_client->fill(monitor, QColor(grey, grey, grey));
    m_client->sync();
}

QByteArray TestDeskDestruction::savedSettings() const
{
    QFile file(m_directory.filePath("global.json"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

// The capturers are read up to the next turn of the event loop, and held beyond it.
void TestDeskDestruction::managerGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const CaptureRecords records;
    const LogCapture log;
    auto manager = std::make_unique<DeskDuplManagerMac>(nullptr);
    const QPointer<DeskCaptureOption> option(manager->findChild<DeskCaptureOption *>());
    QVERIFY(option);
    QVector<QPointer<IDeskCapture>> watched;
    Readers readers;
    for (unsigned user = 0; user < 1 + seed % 4; ++user) {
        const auto capturer = manager->acquireCapturer(user % 2 == 0 ? "1" : "2");
        watched.append(capturer.data());
        readers.push_back(std::make_unique<Reader>(capturer));
    }
    QVERIFY(seed % 2 == 0 || waitForFrames(readers));
    turn(int(random() % 30));
    const bool isReleased = seed % 3 == 0;
    if (isReleased)
        manager->releaseCapturer("1");
    if (seed % 4 == 0)
        watched.first()->setOutputSize({64, 54});
    const QByteArray settings = savedSettings();
    const int lines = log.lines().size();

    manager.reset();
    QVERIFY(!option);
    for (const auto &reader : readers)
        reader->waitForReads(2);
    stop(readers);
    QVERIFY(!watched.contains(nullptr));
    if (seed % 5 != 0) {
        for (const auto &reader : readers)
            reader->drop(); // while the event loop deletes the capturers
    }
    turn(3);
    // Held or not, but for one that the manager had let go before.
    QVERIFY(isReleased || watched.count(nullptr) == watched.size());
    QVERIFY(haveSeenOnlyGrey(readers));
    readers.clear();
    turn(1);
    QCOMPARE(watched.count(nullptr), watched.size());
    QCOMPARE(log.lines().size(), lines);
    QCOMPARE(savedSettings(), settings);
    QCOMPARE(CaptureRecords::count(), kMonitors.size());
}

void TestDeskDestruction::managerGoesInASlotOfItsOption()
{
    QFETCH(bool, isLater);
    const CaptureRecords records;
    const LogCapture log;
    QPointer<DeskDuplManagerMac> manager(new DeskDuplManagerMac(nullptr));
    auto *option = manager->findChild<DeskCaptureOption *>();
    QVERIFY(option);
    const int mode = (option->curMode() + 1) % 3;
    connect(option, &DeskCaptureOption::curModeChanged, this,
            [&] { isLater ? manager->deleteLater() : delete manager; });
    option->setCurMode(mode);
    const int lines = log.lines().size();
    QCOMPARE(!manager, !isLater);
    turn(3);
    QVERIFY(!manager);
    QCOMPARE(log.lines().size(), lines);
    QVERIFY(savedSettings().contains("\"screenCaptureMode\": " + QByteArray::number(mode)));
}

void TestDeskDestruction::optionGoesInASlotOfItsSignal()
{
    QFETCH(bool, isLater);
    const LogCapture log;
    const QByteArray settings = savedSettings();
    const QVariant published =
        QCoreApplication::instance()->property("runtime.options.deskCaptureOption");
    for (const bool isOfMode : {true, false}) {
        QPointer<DeskCaptureOption> option(new DeskCaptureOption(nullptr));
        option->setTotalOfMode(3);
        int told = 0;
        const auto leave = [&] {
            ++told;
            isLater ? option->deleteLater() : delete option;
        };
        connect(option, &DeskCaptureOption::curModeChanged, this, leave);
        connect(option, &DeskCaptureOption::totalOfModeChanged, this, leave);
        isOfMode ? option->setCurMode(2) : option->setTotalOfMode(4);
        QCOMPARE(!option, !isLater);
        turn(3);
        QVERIFY(!option);
        QCOMPARE(told, 1);
    }
    QCOMPARE(log.lines().size(), 1); // of the new mode
    QCOMPARE(savedSettings(), settings);
    QCOMPARE(QCoreApplication::instance()->property("runtime.options.deskCaptureOption"),
             published);
}

void TestDeskDestruction::captureGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const CaptureRecords records;
    const LogCapture log;
    auto owner = std::make_unique<QObject>();
    auto *capture = new AVFoundationCapture(nullptr, owner.get());
    const bool isStarted = seed % 5 != 0;
    QVERIFY(!isStarted || capture->start(seed % 3)); // 0 is the main display
    const Readers readers = readersOf(capture, seed % 4);
    QVERIFY(!isStarted || seed % 2 == 0 || waitForFrames(readers));
    turn(int(random() % 30));
    if (seed % 3 == 0)
        capture->setOutputSize({64, 54});
    stop(readers);
    if (seed % 2 == 0)
        owner.reset();
    else
        delete capture;
    turn(3);
    QVERIFY(haveSeenOnlyGrey(readers));                   // frames outlive their capturer
    QCOMPARE(CaptureRecords::count(), isStarted ? 1 : 0); // and so do sessions
    QCOMPARE(logged(log), QStringList());
}

void TestDeskDestruction::recordGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const LogCapture log;
    auto records = std::make_unique<CaptureRecords>();
    auto *record = allocAVFoundationCapture(1 + seed % 2);
    QVERIFY(record);
    QImage frame = AVCaptureNextFrame(record);
    if (seed % 2 == 0)
        QTRY_VERIFY_WITH_TIMEOUT(!(frame = AVCaptureNextFrame(record)).isNull(), kTimeoutMs);
    turn(int(random() % 100));
    if (seed % 3 == 0)
        AVCaptureSetOutputSize(record, {64, 54});
    const QImage copy = frame.copy();
    records.reset();
    turn(3);
    QCOMPARE(frame, copy);
    QCOMPARE(logged(log), QStringList());
}

void TestDeskDestruction::ffmpegCaptureGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const ScriptedInput input({kFFmpegScreen});
    const LogCapture log;
    auto owner = std::make_unique<QObject>();
    auto *capture = new ScreenReader(owner.get());
    for (unsigned openings = seed % 3; openings > 0; --openings)
        QVERIFY(capture->init(int(openings)));
    const Readers readers = readersOf(capture, seed % 4);
    capture->ticks(int(random() % 5));
    QVERIFY(seed % 3 == 0 || seed % 2 == 0 || waitForFrames(readers));
    turn(int(random() % 50));
    const PictureHolder holder(capture->decodedFrame());
    stop(readers);
    holder.waitForLook();
    const int lines = log.lines().size();
    if (seed % 2 == 0)
        owner.reset();
    else
        delete capture;
    turn(3);
    holder.waitForLook(); // pictures outlive their capturer
    QVERIFY(holder.hasSeenOnlyGrey());
    QVERIFY(haveSeenOnlyGrey(readers));
    QCOMPARE(input.openInputs(), 0);
    QCOMPARE(log.lines().size(), lines);
}

void TestDeskDestruction::qtScreenCaptureGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    const LogCapture log;
    QSharedPointer<IDeskCapture> capture(new GreyScreen, &QObject::deleteLater);
    const QPointer<IDeskCapture> watched(capture.data());
    Readers readers;
    for (unsigned reader = 0; reader < seed % 4; ++reader)
        readers.push_back(std::make_unique<Reader>(capture));
    turn(int(seed));
    capture.reset(); // whoever is the last one has it deleted
    QVERIFY(waitForFrames(readers));
    stop(readers);
    QVERIFY(haveSeenOnlyGrey(readers));
    readers.clear();
    turn(1);
    QVERIFY(!watched);
    QCOMPARE(logged(log), QStringList());
}

// Whatever the server does, nothing is said of a display that nobody captures any more.
void TestDeskDestruction::captureGoesWithTheServer()
{
    QFETCH(unsigned, seed);
    const LogCapture log;
    {
        const CaptureRecords records;
        auto capture = std::make_unique<AVFoundationCapture>(nullptr);
        QVERIFY(capture->start(1));
        const Readers readers = readersOf(capture.get(), 2);
        QVERIFY(waitForFrames(readers));
        m_scene.stop();
        m_client.reset();
        m_server->crash();
        for (const auto &reader : readers)
            reader->waitForReads(int(seed));
        stop(readers);
        capture.reset();
        QVERIFY(haveSeenOnlyGrey(readers));
    }
    const int lines = log.lines().size();
    QVERIFY(lines <= 1); // of the loss, if that was noticed in time
    QVERIFY2(m_server->restart(), qPrintable(m_server->log()));
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors(kMonitors));
    m_scene.start();
    const CaptureRecords records;
    AVFoundationCapture next(nullptr);
    QVERIFY(next.start(2));
    QTRY_VERIFY_WITH_TIMEOUT(!next.nextFrame().empty(), kTimeoutMs);
    QCOMPARE(log.lines().size(), lines);
}

QTEST_GUILESS_MAIN(TestDeskDestruction)
#include "tst_deskdestruction.moc"
