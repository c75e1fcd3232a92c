#include "XClient.h"
#include "XReply.h"
#include "XServer.h"

#include <QFile>
#include <QTest>

#include <memory>

using namespace corvane::test;

namespace {

/// The colours of both ends and the middle of each channel.
QVector<QColor> colours()
{
    return {Qt::black, Qt::white, Qt::red, Qt::green, Qt::blue, QColor(128, 64, 32)};
}

/// A picture whose every pixel differs from its neighbours, in colours that 16 bits can hold.
QImage pattern(const QSize &size)
{
    QImage image(size, QImage::Format_RGB16);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<quint16 *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            row[x] = quint16(x * 2113 + y * 40503);
    }
    return image.convertToFormat(QImage::Format_RGB32);
}

QImage blank(const QSize &size, const QColor &colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// As ps shows it: 'T' for a stopped process.
char processState(qint64 id)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(id));
    if (!file.open(QIODevice::ReadOnly))
        return '\0';
    const QByteArray line = file.readAll();
    return line[line.lastIndexOf(')') + 2];
}

/// Whether the root window has told of a configuration since the last call.
bool hasBeenConfigured(const XClient &client)
{
    bool configured = false;
    client.sync();
    while (const auto event = owned(xcb_poll_for_event(client.connection())))
        configured |= (event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY;
    return configured;
}

void listenToTheRoot(const XClient &client)
{
    const quint32 mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(client.connection(), client.root(), XCB_CW_EVENT_MASK, &mask);
    client.sync();
}

} // namespace

class TestXServer : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void givesEachServerADisplayOfItsOwn();
    void pointsThisProcessToTheServer();
    void saysWhyAServerDoesNotStart();
    void takesServersWithoutAnExtension();
    void losesItsClientsInACrashAndComesBack();
    void restartsARunningServerWithAnEmptyScreen();
    void keepsAPausedServerFromAnswering();
    void stopsAPausedServer();
    void countsTheServersWork();

    void drawsAndGrabsAtEveryDepth_data();
    void drawsAndGrabsAtEveryDepth();
    void drawsPicturesLargerThanARequest();
    void grabsNothingBeyondTheScreen();
    void showsWindowsAboveTheRoot();
    void arrangesMonitors_data();
    void arrangesMonitors();
    void replacesAnArrangement();
    void resizesTheScreen();
    void refusesASizeBeyondTheFirst();
    void tellsOtherClientsOfEachChange();

private:
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
};

void TestXServer::init()
{
    m_server = std::make_unique<XServer>(XServerOptions{{640, 480}, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_client = std::make_unique<XClient>(m_server->display());
    QVERIFY(m_client->isConnected());
}

void TestXServer::cleanup()
{
    m_client.reset();
    m_server.reset();
}

void TestXServer::givesEachServerADisplayOfItsOwn()
{
    const XServer other(XServerOptions{{320, 200}, 24, {}});
    QVERIFY2(other.isRunning(), qPrintable(other.log()));
    QVERIFY(other.display() != m_server->display());
    QCOMPARE(XClient(other.display()).screenSize(), QSize(320, 200));
    QCOMPARE(m_client->screenSize(), QSize(640, 480));
}

void TestXServer::pointsThisProcessToTheServer()
{
    m_server->useForThisProcess();
    QCOMPARE(qgetenv("DISPLAY"), m_server->display().toLatin1());
    QVERIFY(XClient(QString()).isConnected());
}

void TestXServer::saysWhyAServerDoesNotStart()
{
    const XServer server(XServerOptions{{640, 480}, 24, {"-no-such-argument"}});
    QVERIFY(!server.isRunning());
    QVERIFY2(server.log().contains("-no-such-argument"), qPrintable(server.log()));
    QVERIFY(!XClient(server.display()).isConnected());
}

void TestXServer::takesServersWithoutAnExtension()
{
    const XServer server(XServerOptions{{640, 480}, 24, {"-extension", "RANDR"}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    XClient client(server.display());
    QVERIFY(client.isConnected());
    QVERIFY(!client.setMonitors({QRect(0, 0, 320, 480)}));
    QVERIFY(!client.resizeScreen({320, 200}));
    QVERIFY(client.monitors().isEmpty());
    QVERIFY(client.sync());
}

void TestXServer::losesItsClientsInACrashAndComesBack()
{
    const QString display = m_server->display();
    const qint64 before = m_server->processId();
    m_server->crash();
    QVERIFY(!m_server->isRunning());
    QVERIFY(!m_client->sync());
    QVERIFY(!m_client->isConnected());
    QVERIFY(!XClient(display).isConnected());

    QVERIFY2(m_server->restart(), qPrintable(m_server->log()));
    QCOMPARE(m_server->display(), display);
    QVERIFY(m_server->processId() != before);
    QVERIFY(XClient(display).isConnected());
}

void TestXServer::restartsARunningServerWithAnEmptyScreen()
{
    const QRect area(0, 0, 640, 480);
    m_client->fill(area, Qt::red);
    QCOMPARE(m_client->grab(area), blank(area.size(), Qt::red));
    QVERIFY2(m_server->restart(), qPrintable(m_server->log()));
    QVERIFY(!m_client->sync());
    QCOMPARE(XClient(m_server->display()).grab(area), blank(area.size(), Qt::black));
}

void TestXServer::keepsAPausedServerFromAnswering()
{
    m_server->pause();
    QCOMPARE(processState(m_server->processId()), 'T');
    const auto question = xcb_get_input_focus(m_client->connection());
    xcb_flush(m_client->connection());
    m_server->resume();
    QVERIFY(owned(xcb_get_input_focus_reply(m_client->connection(), question, nullptr)));
    QVERIFY(processState(m_server->processId()) != 'T');
}

void TestXServer::stopsAPausedServer()
{
    m_server->pause();
    m_server.reset();
    QVERIFY(!m_client->sync());
}

void TestXServer::countsTheServersWork()
{
    const auto before = m_server->cpuTime();
    QVERIFY(before.count() > 0);
    m_client->draw({0, 0}, pattern({640, 480}));
    QVERIFY(m_client->sync());
    QVERIFY(m_server->cpuTime() > before);
}

void TestXServer::drawsAndGrabsAtEveryDepth_data()
{
    QTest::addColumn<int>("depth");
    QTest::newRow("16 bits, 5 or 6 for each colour") << 16;
    QTest::newRow("24 bits, 8 for each colour") << 24;
    QTest::newRow("30 bits, 10 for each colour") << 30;
}

void TestXServer::drawsAndGrabsAtEveryDepth()
{
    QFETCH(int, depth);
    const XServer server(XServerOptions{{333, 100}, depth, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    XClient client(server.display());
    QVERIFY(client.isConnected());
    const int error = depth == 16 ? 7 : 0; // what the last three bits hold
    for (const QColor &colour : colours()) {
        client.fill({10, 20, 3, 2}, colour);
        const QColor seen = client.grab({12, 21, 1, 1}).pixelColor(0, 0);
        QVERIFY(qAbs(seen.red() - colour.red()) <= error);
        QVERIFY(qAbs(seen.green() - colour.green()) <= error);
        QVERIFY(qAbs(seen.blue() - colour.blue()) <= error);
        QCOMPARE(client.grab({13, 21, 1, 1}).pixelColor(0, 0), QColor(Qt::black));
    }
    const QImage picture = pattern({77, 31}); // rows of an odd number of pixels
    client.draw({100, 7}, picture);
    QCOMPARE(client.grab({100, 7, 77, 31}), picture);
    QCOMPARE(client.grab({101, 8, 3, 1}), picture.copy(1, 1, 3, 1));
}

void TestXServer::drawsPicturesLargerThanARequest()
{
    const QSize size(2500, 2000);
    const XServer server(XServerOptions{size, 24, {"-maxbigreqsize", "1"}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    XClient client(server.display());
    const QImage picture = pattern(size);
    QVERIFY(picture.sizeInBytes()
            > qint64(xcb_get_maximum_request_length(client.connection())) * 4);
    client.draw({0, 0}, picture);
    QCOMPARE(client.grab(picture.rect()), picture);
}

void TestXServer::grabsNothingBeyondTheScreen()
{
    QVERIFY(m_client->grab({630, 0, 11, 10}).isNull());
    QVERIFY(m_client->isConnected());
}

void TestXServer::showsWindowsAboveTheRoot()
{
    const QRect area(10, 10, 50, 40);
    m_client->fill({0, 0, 640, 480}, Qt::blue);
    const xcb_window_t window = m_client->addWindow(area, Qt::yellow);
    QCOMPARE(m_client->grab(area), blank(area.size(), Qt::yellow));
    m_client->fill({0, 0, 640, 480}, Qt::red);
    QCOMPARE(m_client->grab(area), blank(area.size(), Qt::yellow));
    QCOMPARE(m_client->grab({0, 0, 10, 10}), blank({10, 10}, Qt::red));
    m_client->removeWindow(window);
    QVERIFY(m_client->grab(area) != blank(area.size(), Qt::yellow));
}

void TestXServer::arrangesMonitors_data()
{
    QTest::addColumn<QVector<QRect>>("areas");
    QTest::addColumn<int>("primary");
    QTest::addColumn<QVector<QRect>>("listed");
    const QRect left(0, 0, 320, 480);
    const QRect right(320, 0, 320, 480);
    const QRect corner(600, 440, 40, 40);
    const QRect whole(0, 0, 640, 480);
    QTest::newRow("one for a part of the screen") << QVector{left} << 0 << QVector{left};
    QTest::newRow("three in their order, the first primary")
        << QVector{right, left, corner} << 0 << QVector{right, left, corner};
    QTest::newRow("the primary one comes first")
        << QVector{left, right, corner} << 2 << QVector{corner, left, right};
    QTest::newRow("no primary one") << QVector{right, left} << -1 << QVector{right, left};
    QTest::newRow("mirrored ones") << QVector{whole, whole} << 0 << QVector{whole, whole};
    QTest::newRow("none at all") << QVector<QRect>{} << -1 << QVector<QRect>{};
}

void TestXServer::arrangesMonitors()
{
    QFETCH(QVector<QRect>, areas);
    QFETCH(int, primary);
    QFETCH(QVector<QRect>, listed);
    QVERIFY(m_client->setMonitors(areas, primary));
    const QVector<XMonitor> monitors = XClient(m_server->display()).monitors();
    QCOMPARE(monitors.size(), listed.size());
    for (int i = 0; i < listed.size(); ++i) {
        QCOMPARE(monitors[i].area, listed[i]);
        QCOMPARE(monitors[i].primary, i == 0 && primary >= 0);
    }
}

void TestXServer::replacesAnArrangement()
{
    const QVector<XMonitor> first = m_client->monitors();
    QCOMPARE(first.size(), 1);
    QCOMPARE(first[0].area, QRect(0, 0, 640, 480));
    QVERIFY(!first[0].primary);
    QVERIFY(m_client->setMonitors({{0, 0, 320, 480}, {320, 0, 320, 480}}, 1));
    QVERIFY(m_client->setMonitors({}));
    QVERIFY(m_client->setMonitors({{0, 0, 100, 100}}));
    QVERIFY(m_client->setMonitors({{0, 0, 100, 100}, {100, 0, 50, 50}}));
    QCOMPARE(m_client->monitors().size(), 2);
}

void TestXServer::resizesTheScreen()
{
    const QVector<QSize> sizes{{333, 201}, {100, 480}, {1, 1}, {333, 201}, {640, 480}};
    for (const QSize &size : sizes) {
        QVERIFY(m_client->resizeScreen(size));
        const XClient other(m_server->display());
        QCOMPARE(other.screenSize(), size);
        QCOMPARE(other.monitors(), (QVector<XMonitor>{{QRect(QPoint(), size), false}}));
        QVERIFY(!other.grab(QRect(QPoint(), size)).isNull());
    }
    QVERIFY(m_client->setMonitors({{0, 0, 50, 50}, {50, 0, 50, 50}}));
    QVERIFY(m_client->resizeScreen({100, 50}));
    QCOMPARE(m_client->monitors().size(), 2);
    QVERIFY(m_client->setMonitors({}));
    QVERIFY(m_client->resizeScreen({200, 100}));
    QCOMPARE(m_client->monitors().size(), 1);
}

void TestXServer::refusesASizeBeyondTheFirst()
{
    QVERIFY(!m_client->resizeScreen({641, 480}));
    QVERIFY(!m_client->resizeScreen({0, 480}));
    QCOMPARE(m_client->screenSize(), QSize(640, 480));
    QCOMPARE(m_client->monitors().size(), 1);
}

void TestXServer::tellsOtherClientsOfEachChange()
{
    const XClient other(m_server->display());
    listenToTheRoot(other);
    QVERIFY(!hasBeenConfigured(other));
    QVERIFY(m_client->setMonitors({{0, 0, 320, 480}}));
    QVERIFY(hasBeenConfigured(other));
    QVERIFY(m_client->setMonitors({}));
    QVERIFY(hasBeenConfigured(other));
    QVERIFY(m_client->resizeScreen({320, 200}));
    QVERIFY(hasBeenConfigured(other));
    QVERIFY(!hasBeenConfigured(other));
}

QTEST_GUILESS_MAIN(TestXServer)
#include "tst_xserver.moc"
