#include "CaptureRecord.h"

#include "support/XClient.h"
#include "support/XServer.h"

#include <QRandomGenerator>

using namespace corvane::test;

namespace {

// The seen part of a 1000 x 600 screen lies in the middle, so that each of its edges has
// neighbours.
constexpr QSize kScreen(1000, 600);
constexpr QRect kMonitor(200, 100, 600, 400);
constexpr QRect kBeside(800, 100, 200, 400);
// 300 wide, and the height cut off from 200.0.
constexpr QSize kFrame(300, 200);

QStringList without(const QStringList &extensions)
{
    QStringList arguments;
    for (const QString &extension : extensions)
        arguments << QStringLiteral("-extension") << extension;
    return arguments;
}

} // namespace

/// What frames show, on each kind of server: with and without the extensions that make capturing
/// cheap, and with each depth of colour.
class TestX11Frames : public QObject {
    Q_OBJECT
private slots:
    void initTestCase_data();
    void init();
    void cleanup();

    void frameHasTheWorkingSizeAndIsOpaque();
    void onlyTheMonitorIsSeenUpToItsEdges();
    void coloursAndPlacesAreRight();
    void windowsAreSeen();
    void eachChangeIsSeen();
    void changesOfPartsLeaveNoTrace();
    void framesOfAnySize_data();
    void framesOfAnySize();
    void emptySizeKeepsTheFrame();
    void framesAreIndependent();

private:
    void startServer();

    XServerOptions m_options;
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    CaptureRecord m_record;
};

void TestX11Frames::initTestCase_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<QStringList>("missing");

    const QStringList all{"RENDER", "MIT-SHM", "DAMAGE"};
    QTest::newRow("depth 24") << 24 << QStringList();
    QTest::newRow("depth 16") << 16 << QStringList();
    QTest::newRow("depth 30") << 30 << QStringList();
    QTest::newRow("without Render") << 24 << QStringList{"RENDER"};
    QTest::newRow("without shared memory") << 24 << QStringList{"MIT-SHM"};
    QTest::newRow("without Damage") << 24 << QStringList{"DAMAGE"};
    QTest::newRow("without any of them") << 24 << all;
    QTest::newRow("depth 16 without any of them") << 16 << all;
    QTest::newRow("depth 30 without any of them") << 30 << all;
}

void TestX11Frames::init()
{
    startServer();
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::red);
    m_client->fill(kMonitor, Qt::green);
    QVERIFY(m_client->sync());
    m_record = captureOf(1);
    QVERIFY(m_record);
}

void TestX11Frames::cleanup()
{
    m_record.reset();
}

// One for each kind is enough.
void TestX11Frames::startServer()
{
    QFETCH_GLOBAL(int, depth);
    QFETCH_GLOBAL(QStringList, missing);
    const XServerOptions options{kScreen, depth, without(missing)};
    if (m_server && options.depth == m_options.depth && options.arguments == m_options.arguments)
        return;
    m_options = options;
    m_client.reset();
    m_server = std::make_unique<XServer>(options);
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->setMonitors({kMonitor, kBeside}));
}

void TestX11Frames::frameHasTheWorkingSizeAndIsOpaque()
{
    const QImage frame = firstFrame(m_record);
    QCOMPARE(frame.format(), QImage::Format_RGBA8888);
    QCOMPARE(frame.size(), kFrame);
    QVERIFY(isFilled(frame, Qt::green)); // compares alpha too
    QCOMPARE(AVCaptureOriginSize(m_record.get()), kMonitor.size());
    QCOMPARE(AVCaptureOutputSize(m_record.get()), kMonitor.size());
}

void TestX11Frames::onlyTheMonitorIsSeenUpToItsEdges()
{
    for (const QSize size : {QSize(300, 200), QSize(7, 5), QSize(600, 400), QSize(599, 399),
                             QSize(450, 150), QSize(1200, 900)}) {
        AVCaptureSetOutputSize(m_record.get(), size);
        const QImage frame =
            frameThat(m_record, [size](const QImage &image) { return image.size() == size; });
        QCOMPARE(frame.size(), size);
        QVERIFY(isFilled(frame, Qt::green));
    }
}

void TestX11Frames::coloursAndPlacesAreRight()
{
    const QRect left(kMonitor.topLeft(), QSize(300, 400));
    m_client->fill(left, Qt::blue);
    m_client->fill(QRect(kMonitor.topLeft(), QSize(600, 100)), Qt::white);
    QVERIFY(m_client->sync());
    const QImage frame = frameThat(m_record, [](const QImage &image) {
        return isFilled(image, {0, 0, 300, 50}, Qt::white)
            && isFilled(image, {0, 50, 150, 150}, Qt::blue)
            && isFilled(image, {150, 50, 150, 150}, Qt::green);
    });
    QVERIFY(isFilled(frame, {0, 50, 150, 150}, Qt::blue));
    // Bytes in memory: red, green, blue, alpha.
    const uchar *pixel = frame.constScanLine(199);
    QCOMPARE(int(pixel[0]), 0);
    QCOMPARE(int(pixel[1]), 0);
    QCOMPARE(int(pixel[2]), 255);
    QCOMPARE(int(pixel[3]), 255);
}

void TestX11Frames::windowsAreSeen()
{
    QVERIFY(isFilled(firstFrame(m_record), Qt::green));
    const auto window = m_client->addWindow(kMonitor.adjusted(0, 200, 0, 100), Qt::yellow);
    QVERIFY(m_client->sync());
    const QImage half = frameThat(m_record, [](const QImage &image) {
        return isFilled(image, {0, 100, 300, 100}, Qt::yellow);
    });
    QVERIFY(isFilled(half, {0, 100, 300, 100}, Qt::yellow));
    QVERIFY(isFilled(half, {0, 0, 300, 100}, Qt::green));

    m_client->removeWindow(window);
    m_client->fill(kMonitor, Qt::cyan);
    QVERIFY(m_client->sync());
    QVERIFY(isFilled(frameIn(m_record, Qt::cyan), Qt::cyan));
}

void TestX11Frames::eachChangeIsSeen()
{
    for (const QColor colour : {Qt::red, Qt::blue, Qt::white, Qt::black, Qt::magenta}) {
        m_client->fill(kMonitor, colour);
        QVERIFY(m_client->sync());
        QVERIFY(isFilled(frameIn(m_record, colour), colour));
    }
}

// After many small changes the picture is the same as that of a record that has seen none of them.
void TestX11Frames::changesOfPartsLeaveNoTrace()
{
    QRandomGenerator random(4711);
    QVERIFY(isFilled(firstFrame(m_record), Qt::green));
    for (int round = 0; round < 12; ++round) {
        for (int i = 0; i < 1 + round * 2; ++i) {
            const QRect part(random.bounded(1000), random.bounded(600), 1 + random.bounded(90),
                             1 + random.bounded(60));
            m_client->fill(part, QColor::fromRgb(random.generate()));
        }
        QVERIFY(m_client->sync());
        const auto fresh = captureOf(1);
        const QImage expected = firstFrame(fresh);
        const QImage frame =
            frameThat(m_record, [&expected](const QImage &image) { return image == expected; });
        QCOMPARE(frame, expected);
    }
}

void TestX11Frames::framesOfAnySize_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("small") << QSize(64, 36);
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("the monitor's own") << QSize(600, 400);
    QTest::newRow("larger than the monitor") << QSize(1300, 1100);
    QTest::newRow("wider and lower") << QSize(900, 20);
}

void TestX11Frames::framesOfAnySize()
{
    QFETCH(QSize, size);
    QVERIFY(isFilled(firstFrame(m_record), Qt::green)); // the screen stands still from here
    AVCaptureSetOutputSize(m_record.get(), size);
    const QImage frame =
        frameThat(m_record, [size](const QImage &image) { return image.size() == size; });
    QCOMPARE(frame.size(), size);
    QVERIFY(isFilled(frame, Qt::green));
    QCOMPARE(AVCaptureOutputSize(m_record.get()), kMonitor.size());
}

void TestX11Frames::emptySizeKeepsTheFrame()
{
    const QImage first = firstFrame(m_record);
    for (const QSize nothing : {QSize(0, 100), QSize(-5, -5), QSize()}) {
        AVCaptureSetOutputSize(m_record.get(), nothing);
        QCOMPARE(AVCaptureNextFrame(m_record.get()), first);
    }
    m_client->fill(kMonitor, Qt::blue);
    QVERIFY(m_client->sync());
    AVCaptureSetOutputSize(m_record.get(), kFrame);
    QVERIFY(isFilled(frameIn(m_record, Qt::blue), Qt::blue)); // nothing older is on its way now
    AVCaptureSetOutputSize(m_record.get(), {30, 20});
    const QImage frame =
        frameThat(m_record, [](const QImage &image) { return image.width() == 30; });
    QCOMPARE(frame.size(), QSize(30, 20));
    QVERIFY(isFilled(frame, Qt::blue));
}

void TestX11Frames::framesAreIndependent()
{
    QImage first = firstFrame(m_record);
    m_client->fill(kMonitor, Qt::blue);
    QVERIFY(m_client->sync());
    QImage second = frameIn(m_record, Qt::blue);
    QVERIFY(isFilled(first, Qt::green));
    second.fill(Qt::red);
    QVERIFY(isFilled(AVCaptureNextFrame(m_record.get()), Qt::blue));
}

QTEST_GUILESS_MAIN(TestX11Frames)
#include "tst_x11frames.moc"
