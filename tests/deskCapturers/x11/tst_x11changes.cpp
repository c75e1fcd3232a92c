#include "CaptureRecord.h"

#include "support/Interpose.h"
#include "support/LogCapture.h"
#include "support/XClient.h"
#include "support/XServer.h"

#include <xcb/shm.h>

#include <atomic>
#include <cstdlib>

using namespace corvane::test;

namespace {

std::atomic<bool> fetchingFails{false};
std::atomic<int> failedFetches{0};

} // namespace

// Stands before XCB's own function: the pictures of all records come through it.
extern "C" xcb_shm_get_image_reply_t *xcb_shm_get_image_reply(xcb_connection_t *connection,
                                                              xcb_shm_get_image_cookie_t cookie,
                                                              xcb_generic_error_t **error)
{
    auto *reply = nextFunction<decltype(xcb_shm_get_image_reply)>("xcb_shm_get_image_reply")(
        connection, cookie, error);
    if (!fetchingFails)
        return reply;
    ++failedFetches;
    std::free(reply);
    return nullptr;
}

namespace {

constexpr QSize kScreen(1600, 900);

bool hasSize(const CaptureRecord &record, QSize origin, QSize size)
{
    const QImage frame = frameThat(record, [&](const QImage &image) {
        return image.size() == size && AVCaptureOriginSize(record.get()) == origin;
    });
    return frame.size() == size && AVCaptureOriginSize(record.get()) == origin
        && AVCaptureOutputSize(record.get()) == origin;
}

// Reads on, as a host does, until the log has a line.
void readUntilLogged(const CaptureRecord &record, const LogCapture &log)
{
    frameThat(record, [&log](const QImage &) { return !log.lines().isEmpty(); });
}

// Reads on for some frames' time, in which nothing more should happen.
void readSome(const CaptureRecord &record)
{
    for (int i = 0; i < 30; ++i) {
        AVCaptureNextFrame(record.get());
        QTest::qWait(50);
    }
}

} // namespace

/// What happens to a running capture when the screen, its monitors or the server change.
class TestX11Changes : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void sizesFollowTheScreen();
    void chosenOutputSizeStays();
    void sizesFollowTheMonitor();
    void monitorThatMovesIsFollowed();
    void monitorThatIsAwayIsLoggedOnceAndComesBack();
    void anotherMonitorDoesNotDisturb();
    void pictureThatCannotBeFetchedIsNotAskedForAllTheTime();
    void lostServerIsLoggedOnceAndFoundAgain();
    void lostServerMayComeBackWithAnotherSize();
    void serverThatHangsDoesNotHoldTheEnd();
    void serverMayBeLostAtAnyMoment();

private:
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
};

void TestX11Changes::init()
{
    m_server = std::make_unique<XServer>(XServerOptions{kScreen, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::green);
    QVERIFY(m_client->sync());
}

void TestX11Changes::cleanup()
{
    m_client.reset();
    m_server.reset();
}

void TestX11Changes::sizesFollowTheScreen()
{
    const auto record = captureOf(1);
    QVERIFY(hasSize(record, kScreen, {300, 168}));
    const LogCapture log;
    QVERIFY(m_client->resizeScreen({1200, 900}));
    QVERIFY(hasSize(record, {1200, 900}, {300, 225}));
    QVERIFY(m_client->resizeScreen({640, 480}));
    m_client->fill({0, 0, 640, 480}, Qt::blue);
    QVERIFY(hasSize(record, {640, 480}, {300, 225}));
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
    QVERIFY(m_client->resizeScreen(kScreen));
    QVERIFY(hasSize(record, kScreen, {300, 168}));
    QCOMPARE(log.messages(), QStringList());
}

void TestX11Changes::chosenOutputSizeStays()
{
    const auto record = captureOf(1);
    AVCaptureSetOutputSize(record.get(), {80, 40});
    QVERIFY(hasSize(record, kScreen, {80, 40}));
    QVERIFY(m_client->resizeScreen({800, 600}));
    frameThat(record,
              [&](const QImage &) { return AVCaptureOriginSize(record.get()) == QSize(800, 600); });
    QVERIFY(hasSize(record, {800, 600}, {80, 40}));
}

void TestX11Changes::sizesFollowTheMonitor()
{
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}, {800, 0, 800, 900}}));
    const auto record = captureOf(2);
    QVERIFY(hasSize(record, {800, 900}, {300, 337}));
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}, {800, 0, 400, 300}}));
    QVERIFY(hasSize(record, {400, 300}, {300, 225}));
}

void TestX11Changes::monitorThatMovesIsFollowed()
{
    m_client->fill({800, 0, 800, 900}, Qt::blue);
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}}));
    const auto record = captureOf(1);
    QVERIFY(isFilled(frameIn(record, Qt::green), Qt::green));
    QVERIFY(m_client->setMonitors({{800, 0, 800, 900}}));
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
}

void TestX11Changes::monitorThatIsAwayIsLoggedOnceAndComesBack()
{
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}, {800, 0, 800, 900}}));
    const auto record = captureOf(2);
    QVERIFY(isFilled(firstFrame(record), Qt::green));
    const LogCapture log;
    QVERIFY(m_client->setMonitors({{0, 0, 1600, 900}}));
    QCOMPARE(availableDisplayIDs(), QList<unsigned int>{1});
    readUntilLogged(record, log);
    readSome(record);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().type, QtWarningMsg);
    QCOMPARE(log.lines().first().message,
             QStringLiteral("[AVFoundationCaptureImpl]: Cannot capture the monitor, display: 2"));
    QVERIFY(isFilled(AVCaptureNextFrame(record.get()), Qt::green));
    QCOMPARE(AVCaptureOriginSize(record.get()), QSize(800, 900));

    m_client->fill({0, 0, 1600, 900}, Qt::blue);
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}, {800, 0, 400, 400}}));
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
    QVERIFY(hasSize(record, {400, 400}, {300, 300}));
    QCOMPARE(log.lines().size(), 1);
}

void TestX11Changes::anotherMonitorDoesNotDisturb()
{
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}}));
    const auto record = captureOf(1);
    const QImage before = firstFrame(record);
    QVERIFY(m_client->setMonitors({{0, 0, 800, 900}, {800, 0, 800, 900}}));
    QCOMPARE(availableDisplayIDs(), (QList<unsigned int>{1, 2}));
    const auto second = captureOf(2);
    QVERIFY(isFilled(firstFrame(second), Qt::green));
    // What is drawn beside the monitor is no news for it.
    m_client->fill({800, 0, 800, 900}, Qt::red);
    QVERIFY(m_client->sync());
    QVERIFY(isFilled(frameIn(second, Qt::red), Qt::red));
    QCOMPARE(AVCaptureNextFrame(record.get()).cacheKey(), before.cacheKey());
}

void TestX11Changes::pictureThatCannotBeFetchedIsNotAskedForAllTheTime()
{
    const auto record = captureOf(1);
    QVERIFY(isFilled(frameIn(record, Qt::green), Qt::green));
    const LogCapture log;
    failedFetches = 0;
    fetchingFails = true;
    m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::blue);
    QVERIFY(m_client->sync());
    readUntilLogged(record, log); // when it has failed for a second
    const int fetches = failedFetches;
    fetchingFails = false;
    QCOMPARE(log.messages(),
             QStringList("[AVFoundationCaptureImpl]: Cannot capture the monitor, display: 1"));
    QVERIFY2(fetches >= 2 && fetches < 10, qPrintable(QString::number(fetches)));
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
}

void TestX11Changes::lostServerIsLoggedOnceAndFoundAgain()
{
    const auto record = captureOf(1);
    QVERIFY(isFilled(firstFrame(record), Qt::green));
    const LogCapture log;
    m_client.reset();
    m_server->crash();
    readUntilLogged(record, log);
    readSome(record);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().type, QtWarningMsg);
    QCOMPARE(log.lines().first().message,
             QStringLiteral("[AVFoundationCaptureImpl]: Lost the X server, display: 1"));
    QVERIFY(isFilled(AVCaptureNextFrame(record.get()), Qt::green));
    QCOMPARE(availableDisplayIDs(), QList<unsigned int>());

    QVERIFY2(m_server->restart(), qPrintable(m_server->log()));
    m_client = std::make_unique<XClient>(m_server->display());
    m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::blue);
    QVERIFY(m_client->sync());
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
    QCOMPARE(log.lines().size(), 1);

    // Another loss is another line.
    m_client.reset();
    m_server->crash();
    frameThat(record, [&log](const QImage &) { return log.lines().size() > 1; });
    QCOMPARE(log.lines().size(), 2);
}

void TestX11Changes::lostServerMayComeBackWithAnotherSize()
{
    const auto record = captureOf(1);
    QVERIFY(hasSize(record, kScreen, {300, 168}));
    const LogCapture log;
    m_client.reset();
    m_server->crash();
    readUntilLogged(record, log);
    QVERIFY(m_server->restart());
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->resizeScreen({800, 800}));
    QVERIFY(hasSize(record, {800, 800}, {300, 300}));
}

void TestX11Changes::serverThatHangsDoesNotHoldTheEnd()
{
    auto record = captureOf(1);
    QVERIFY(!firstFrame(record).isNull());
    // It has something to ask the server for when that stops answering.
    for (int i = 0; i < 200; ++i)
        m_client->fill({0, 0, 10 + i, 900}, Qt::blue);
    m_server->pause();
    AVCaptureSetOutputSize(record.get(), {33, 22});
    for (int i = 0; i < 10; ++i) {
        AVCaptureNextFrame(record.get());
        QTest::qWait(10);
    }
    record.reset(); // returns
    m_server->resume();
    QVERIFY(m_client->sync());
}

void TestX11Changes::serverMayBeLostAtAnyMoment()
{
    for (int round = 0; round < 8; ++round) {
        auto record = captureOf(1);
        QVERIFY(record);
        for (int i = 0; i < round * 3; ++i) {
            m_client->fill({0, 0, 1600, 100 + i}, i % 2 ? Qt::blue : Qt::red);
            m_client->sync();
            AVCaptureNextFrame(record.get());
            QTest::qWait(7);
        }
        const LogCapture log;
        m_client.reset();
        m_server->crash();
        if (round % 2) // else the record is freed before it knows
            readUntilLogged(record, log);
        record.reset();
        QVERIFY(m_server->restart());
        m_client = std::make_unique<XClient>(m_server->display());
    }
}

QTEST_GUILESS_MAIN(TestX11Changes)
#include "tst_x11changes.moc"
