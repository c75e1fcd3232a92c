#include "CaptureRecord.h"

#include "support/LogCapture.h"
#include "support/XClient.h"
#include "support/XServer.h"

#include <LibCorvane/deskCapturers/x11/XDisplay_p.h>

using namespace corvane::test;

namespace {

using Ids = QList<unsigned int>;

const QString kCannotCapture =
    QStringLiteral("[AVFoundationCaptureImpl]: Failed to init AVCaptureScreenInput instance");

} // namespace

class TestX11Displays : public QObject {
    Q_OBJECT
private slots:
    void withoutServerThereAreNoDisplays_data();
    void withoutServerThereAreNoDisplays();
    void monitorsAreFoundByTheirId();
    void oneMonitorIsDisplayOne();
    void monitorsAreNumberedInTheServersOrder();
    void zeroMeansThePrimaryMonitor();
    void unknownDisplayIsRefused();
    void monitorOutsideOfTheScreenIsNoDisplay();
    void withoutRandrTheScreenIsTheDisplay();
};

void TestX11Displays::withoutServerThereAreNoDisplays_data()
{
    QTest::addColumn<QByteArray>("display");
    QTest::newRow("nobody listens there") << QByteArray(":59999");
    QTest::newRow("no name of a display") << QByteArray("nonsense");
    QTest::newRow("not set") << QByteArray();
}

void TestX11Displays::withoutServerThereAreNoDisplays()
{
    QFETCH(QByteArray, display);
    if (display.isNull())
        qunsetenv("DISPLAY");
    else
        qputenv("DISPLAY", display);
    const LogCapture log;
    QCOMPARE(availableDisplayIDs(), Ids());
    QVERIFY(log.lines().isEmpty());

    QVERIFY(!captureOf(1));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().type, QtCriticalMsg);
    QCOMPARE(log.lines().first().category, QStringLiteral("default"));
    QCOMPARE(log.lines().first().message, kCannotCapture);
    QVERIFY(log.lines().first().function.contains("allocAVFoundationCapture(uint32_t)"));
    QVERIFY(!captureOf(0));
    freeAVFoundationCapture(nullptr);
}

void TestX11Displays::monitorsAreFoundByTheirId()
{
    using corvane::findMonitor;
    const std::vector<corvane::Monitor> monitors{
        {QRect(0, 0, 10, 10), false}, {QRect(10, 0, 20, 10), true}, {QRect(30, 0, 5, 5), false}};
    QCOMPARE(findMonitor(monitors, 1)->area, QRect(0, 0, 10, 10));
    QCOMPARE(findMonitor(monitors, 3)->area, QRect(30, 0, 5, 5));
    QCOMPARE(findMonitor(monitors, 0)->area, QRect(10, 0, 20, 10));
    QVERIFY(!findMonitor(monitors, 4));
    QVERIFY(!findMonitor(monitors, 0xffffffff));
    QVERIFY(!findMonitor({}, 0));
    QVERIFY(!findMonitor({}, 1));
    QCOMPARE(findMonitor({{QRect(0, 0, 7, 7), false}}, 0)->area, QRect(0, 0, 7, 7));
}

void TestX11Displays::oneMonitorIsDisplayOne()
{
    const XServer server({{800, 600}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    QCOMPARE(availableDisplayIDs(), Ids{1});
    const auto record = captureOf(1);
    QVERIFY(record);
    QCOMPARE(AVCaptureOriginSize(record.get()), QSize(800, 600));
}

void TestX11Displays::monitorsAreNumberedInTheServersOrder()
{
    const XServer server({{1600, 900}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    QVERIFY(client.setMonitors({{0, 0, 1000, 900}, {1000, 0, 600, 400}, {1000, 400, 600, 500}}));
    QCOMPARE(availableDisplayIDs(), (Ids{1, 2, 3}));
    QCOMPARE(AVCaptureOriginSize(captureOf(1).get()), QSize(1000, 900));
    QCOMPARE(AVCaptureOriginSize(captureOf(2).get()), QSize(600, 400));
    QCOMPARE(AVCaptureOriginSize(captureOf(3).get()), QSize(600, 500));
}

void TestX11Displays::zeroMeansThePrimaryMonitor()
{
    const XServer server({{1600, 900}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    QVERIFY(client.setMonitors({{0, 0, 1000, 900}, {1000, 0, 600, 900}}, 1));
    QCOMPARE(AVCaptureOriginSize(captureOf(0).get()), QSize(600, 900));
    // Without a primary one it is the first.
    QVERIFY(client.setMonitors({{0, 0, 1000, 900}, {1000, 0, 600, 900}}, -1));
    QCOMPARE(AVCaptureOriginSize(captureOf(0).get()), QSize(1000, 900));
}

void TestX11Displays::unknownDisplayIsRefused()
{
    const XServer server;
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    const LogCapture log;
    QVERIFY(!captureOf(2));
    QVERIFY(!captureOf(0xffffffffu));
    QCOMPARE(log.messages(QtCriticalMsg), (QStringList{kCannotCapture, kCannotCapture}));
}

void TestX11Displays::monitorOutsideOfTheScreenIsNoDisplay()
{
    const XServer server({{1600, 900}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    QVERIFY(client.setMonitors({{0, 0, 800, 900}, {5000, 0, 800, 900}, {800, 0, 1000, 900}}));
    // The numbers of the others stay; what reaches beyond the screen is cut off.
    QCOMPARE(availableDisplayIDs(), (Ids{1, 3}));
    QVERIFY(!captureOf(2));
    QCOMPARE(AVCaptureOriginSize(captureOf(3).get()), QSize(800, 900));
}

void TestX11Displays::withoutRandrTheScreenIsTheDisplay()
{
    const XServer server({{1024, 768}, 24, {"-extension", "RANDR"}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    QCOMPARE(availableDisplayIDs(), Ids{1});
    QCOMPARE(AVCaptureOriginSize(captureOf(0).get()), QSize(1024, 768));
    QVERIFY(!captureOf(2));
}

QTEST_GUILESS_MAIN(TestX11Displays)
#include "tst_x11displays.moc"
