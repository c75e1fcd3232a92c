#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/NetRCManager.h>
#include <LibCorvane/common/HardwareInfo.h>

#include <QFile>
#include <QtTest>

using namespace corvane::test;

namespace {

const char *const kPath = "/activate.php";

QString line(const QString &message)
{
    return "info|default|NetRCManager::uploadAppOnOffTime|" + message;
}

QString startLine(const QString &start, const QString &close)
{
    return line(QString("[NetRCManager]: Prepare to upload to AppOnOffTime to the server, "
                        "startTime:  \"%1\" , clostTime:  \"%2\"")
                    .arg(start, close));
}

QString endLine(const char *error)
{
    return line(QString("[NetRCManager]: uploadAppOnOffTime  server reply:  QNetworkReply::")
                + error);
}

} // namespace

class TestUsageReport : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void posts_data();
    void posts();
    void returnsAtOnceWithoutACloseTime();
    void waitsForTheReplyWithACloseTime();
    void logsTheError_data();
    void logsTheError();
    void handlesTheHostsEventsWhileItWaits();
    void waitsWithinAnotherReport();
    void waitsAlthoughTheApplicationIsToQuit_data();
    void waitsAlthoughTheApplicationIsToQuit();
    void returnsWhenItIsDeleted_data();
    void returnsWhenItIsDeleted();
    void reportsWithinAnAnnouncement();

private:
    /// The lines of the report itself, without those about the network interfaces.
    QStringList lines() const { return logged(*m_log).filter("uploadAppOnOffTime"); }

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QPointer<NetRCManager> m_manager;
    QScopedPointer<LogCapture> m_log;
};

void TestUsageReport::init()
{
    m_fixture.reset();
    QCoreApplication::setApplicationVersion("1.2.3");
    m_server.reset(new HttpServer);
    m_server->answer(kPath, {ok("thanks")});
    NetRCManager::setServiceHost(m_server->host());
    m_manager = new NetRCManager(nullptr);
    m_log.reset(new LogCapture);
    forgetServiceReplies();
}

void TestUsageReport::cleanup()
{
    delete m_manager;
    m_log.reset();
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
}

void TestUsageReport::posts_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("close");
    QTest::addColumn<QByteArray>("st");
    QTest::addColumn<QByteArray>("ct");
    const QByteArray time = "2024-03-14 10:20:30";
    QTest::newRow("the start") << QString(time) << "" << time << QByteArray();
    QTest::newRow("the end") << QString(time) << "later" << time << QByteArray("later");
    QTest::newRow("no time at all") << ""
                                    << "" << QByteArray() << QByteArray();
    QTest::newRow("any text") << "ü\"\\\n"
                              << " " << QByteArray("\xc3\xbc\\\"\\\\\\n") << QByteArray(" ");
}

void TestUsageReport::posts()
{
    QFETCH(QString, start);
    QFETCH(QString, close);
    QFETCH(QByteArray, st);
    QFETCH(QByteArray, ct);
    m_manager->uploadAppOnOffTime(start, close);
    QTRY_VERIFY(!serviceReplies().last());
    const QByteArray body = R"({"act_code":"0","all_proid":"0","app_name":"tst_usagereport",)"
                            R"("app_var":"1.2.3","cd":"","ct":")"
        + ct + R"(","mac_code":")" + HardwareInfo::getMacStr("0").toUtf8() + R"(","st":")" + st
        + R"(","var":"1.2.3"})";
    // The other headers are Qt's own.
    QCOMPARE(
        m_server->requests(),
        QVector<QByteArray>{"POST /activate.php HTTP/1.1\r\nHost: " + m_server->host().toLatin1()
                            + "\r\nContent-Type: application/json\r\nContent-Length: "
                            + QByteArray::number(body.size())
                            + "\r\nConnection: Keep-Alive\r\nAccept-Encoding: gzip, deflate\r\n"
                              "Accept-Language: en,*\r\nUser-Agent: Mozilla/5.0\r\n\r\n"
                            + body});
}

void TestUsageReport::returnsAtOnceWithoutACloseTime()
{
    m_server->answer(kPath, {silence()});
    m_manager->uploadAppOnOffTime("s", "");
    QCOMPARE(lines(), QStringList(startLine("s", "")));
    QVERIFY(!serviceReplies().last()->isFinished());
}

void TestUsageReport::waitsForTheReplyWithACloseTime()
{
    m_manager->uploadAppOnOffTime("s", "c");
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(lines(), (QStringList{startLine("s", "c"), endLine("NoError")}));
}

void TestUsageReport::logsTheError_data()
{
    QTest::addColumn<QString>("close");
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("error");
    for (const char *close : {"", "c"}) {
        const QByteArray when = *close == '\0' ? "at the start: " : "at the end: ";
        const auto row = [&](const char *name, const Answer &answer, const char *error) {
            QTest::newRow(when + name) << close << answer << QByteArray(error);
        };
        row("none", ok("thanks"), "NoError");
        row("an answer that nobody reads", ok(noise()), "NoError");
        row("a redirection", redirection("/elsewhere"), "NoError");
        row("not there", status("404 Not Found"), "ContentNotFoundError");
        row("a service that fails", status("500 Broken"), "InternalServerError");
        row("an end without an answer", ok({}).cutAt(0), "RemoteHostClosedError");
    }
}

void TestUsageReport::logsTheError()
{
    QFETCH(QString, close);
    QFETCH(Answer, answer);
    QFETCH(QByteArray, error);
    m_server->answer(kPath, {answer});
    m_manager->uploadAppOnOffTime("s", close);
    QTRY_VERIFY(!serviceReplies().last());
    QCOMPARE(lines(), (QStringList{startLine("s", close), endLine(error)}));
}

void TestUsageReport::handlesTheHostsEventsWhileItWaits()
{
    m_server->answer(kPath, {silence()});
    bool isWaiting = true;
    bool wasWaiting = false;
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] {
        if (m_server->requests().isEmpty())
            return;
        wasWaiting = isWaiting;
        m_server.reset(); // ends the connection
        poll.stop();
    });
    poll.start(1);
    m_manager->uploadAppOnOffTime("s", "c");
    isWaiting = false;
    QVERIFY(wasWaiting);
    QCOMPARE(lines().size(), 2); // Qt may try once more, and is refused
    QVERIFY2(lines().last().endsWith("Error"), qPrintable(lines().last()));
}

// The inner report ends first; the outer one, answered earlier, notices that afterwards.
void TestUsageReport::waitsWithinAnotherReport()
{
    QTimer::singleShot(0, m_manager, [this] { m_manager->uploadAppOnOffTime("inner", "c"); });
    m_manager->uploadAppOnOffTime("outer", "c");
    QCOMPARE(lines(),
             (QStringList{startLine("outer", "c"), startLine("inner", "c"), endLine("NoError"),
                          endLine("NoError")}));
}

void TestUsageReport::waitsAlthoughTheApplicationIsToQuit_data()
{
    QTest::addColumn<bool>("quitsBefore");
    QTest::newRow("before the report") << true;
    QTest::newRow("during the report") << false;
}

void TestUsageReport::waitsAlthoughTheApplicationIsToQuit()
{
    QFETCH(bool, quitsBefore);
    QStringList inTheEnd;
    QTimer::singleShot(0, this, [&] {
        if (quitsBefore)
            QCoreApplication::quit();
        else
            QTimer::singleShot(0, this, [] { QCoreApplication::quit(); });
        m_manager->uploadAppOnOffTime("s", "c");
        inTheEnd = lines();
    });
    QCoreApplication::exec();
    QCOMPARE(inTheEnd, (QStringList{startLine("s", "c"), endLine("NoError")}));
}

void TestUsageReport::returnsWhenItIsDeleted_data()
{
    QTest::addColumn<bool>("later");
    QTest::newRow("at once") << false;
    QTest::newRow("with deleteLater()") << true;
}

void TestUsageReport::returnsWhenItIsDeleted()
{
    QFETCH(bool, later);
    m_server->answer(kPath, {silence()});
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] {
        if (m_server->requests().isEmpty())
            return;
        poll.stop();
        if (later)
            m_manager->deleteLater();
        else
            delete m_manager;
    });
    poll.start(1);
    m_manager->uploadAppOnOffTime("s", "c");
    QVERIFY(!m_manager);
    QCOMPARE(lines(), QStringList(startLine("s", "c")));
}

// As a host does that ends in order to be updated: the download's reply is still emitting.
void TestUsageReport::reportsWithinAnAnnouncement()
{
    m_server->answer("/update_check.php",
                     {ok(versionReply("2", m_server->url("/i"), sha256("installer")))});
    m_server->answer("/i", {ok("installer")});
    QEventLoop loop;
    connect(m_manager, &NetRCManager::hasNewAppVersion, m_manager,
            &NetRCManager::downloadLatestApp);
    connect(m_manager, &NetRCManager::newInstallationFileDownloaded, &loop, [&] {
        m_manager->uploadAppOnOffTime("s", "c");
        delete m_manager;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
    });
    m_manager->checkVersion();
    loop.exec();
    QCOMPARE(lines(), (QStringList{startLine("s", "c"), endLine("NoError")}));
    settle();
}

QTEST_GUILESS_MAIN(TestUsageReport)
#include "tst_usagereport.moc"
