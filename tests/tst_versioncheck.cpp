#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFile>
#include <QtTest>

using namespace corvane::test;

namespace {

const char *const kPath = "/update_check.php";

QString line(const char *level, const QString &message)
{
    return QString("%1|default|NetRCManager::checkVersion|%2").arg(level, message);
}

QString parseFailure()
{
    return line("warning", "An error occurred while trying to parse the Network JSON file");
}

QString announcement()
{
    return line("info", "The new version has been made available");
}

QString requestFailure(const QString &reason)
{
    return line("warning",
                QString("An error occurred while trying to request version information \"%1\"")
                    .arg(reason));
}

} // namespace

class TestVersionCheck : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QCoreApplication::setApplicationVersion("1.2.3"); }
    void init();
    void choosesTheHost();
    void sendsAPlainRequest();
    void tellsOfVersions_data();
    void tellsOfVersions();
    void announcesOnceForEachCheck();
    void changesNothingWithoutJson_data();
    void changesNothingWithoutJson();
    void keepsTheFirstAnswerBesideABrokenOne();
    void takesJsonOfAnErrorPage();
    void reportsARequestThatFails_data();
    void reportsARequestThatFails();
    void changesNothingAfterAnEarlyEnd_data();
    void changesNothingAfterAnEarlyEnd();
    void finishesAfterADeletionThatComesEarly();
    void takesWhatTrickles();
    void deletesRepliesInTime();

private:
    /// Waits until the request has finished, with all that follows.
    void check(NetRCManager &manager);
    void checkAgainst(NetRCManager &manager, const Answer &answer);

    ServiceFixture m_fixture;
};

void TestVersionCheck::init()
{
    m_fixture.reset();
    forgetServiceReplies();
}

void TestVersionCheck::check(NetRCManager &manager)
{
    manager.checkVersion();
    const QPointer<QNetworkReply> reply = serviceReplies().last();
    QTRY_VERIFY(!reply || reply->isFinished());
    settle();
}

void TestVersionCheck::checkAgainst(NetRCManager &manager, const Answer &answer)
{
    HttpServer server;
    server.answer(kPath, {answer});
    NetRCManager::setServiceHost(server.host());
    check(manager);
}

void TestVersionCheck::choosesTheHost()
{
    NetRCManager::setServiceHost({});
    QCOMPARE(NetRCManager::serviceHost(), QString("service.corvane.invalid"));
    NetRCManager::setServiceHost("127.0.0.1:8080");
    QCOMPARE(NetRCManager::serviceHost(), QString("127.0.0.1:8080"));
    NetRCManager::setServiceHost({});
    QCOMPARE(NetRCManager::serviceHost(), QString("service.corvane.invalid"));
}

void TestVersionCheck::sendsAPlainRequest()
{
    HttpServer server;
    server.answer(kPath, {ok("{}")});
    NetRCManager::setServiceHost(server.host());
    const LogCapture log;
    NetRCManager manager(nullptr);
    QCOMPARE(server.requests(), QVector<QByteArray>());
    check(manager);
    // The headers are Qt's own.
    QCOMPARE(server.requests(),
             QVector<QByteArray>{"GET /update_check.php?app=tst_versioncheck HTTP/1.1\r\n"
                                 "Host: "
                                 + server.host().toLatin1()
                                 + "\r\n"
                                   "Connection: Keep-Alive\r\n"
                                   "Accept-Encoding: gzip, deflate\r\n"
                                   "Accept-Language: en,*\r\n"
                                   "User-Agent: Mozilla/5.0\r\n\r\n"});
}

void TestVersionCheck::tellsOfVersions_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QJsonObject>("stored");
    QTest::addColumn<QString>("announced");
    QTest::newRow("a newer version is announced")
        << versionReply("1.2.4", "http://h/i", "ab") << storedVersion("1.2.4", "http://h/i", "ab")
        << QString();
    QTest::newRow("the same version is announced")
        << versionReply("1.2.3") << storedVersion("1.2.3") << QString();
    QTest::newRow("the same version, written longer, is announced")
        << versionReply("1.2.3.0") << storedVersion("1.2.3.0") << QString();
    QTest::newRow("an older version is none")
        << versionReply("1.2.2", "http://h/i", "ab") << storedVersion("1.2.2", "http://h/i", "ab")
        << "1.2.2";
    QTest::newRow("no version is an old one")
        << QByteArray("{}") << storedVersion("0.0.0.1") << "0.0.0.1";
    QTest::newRow("a number is no version")
        << QByteArray(R"({"var":9})") << storedVersion("0.0.0.1") << "0.0.0.1";
    QTest::newRow("an array holds no version")
        << QByteArray("[]") << storedVersion("0.0.0.1") << "0.0.0.1";
}

void TestVersionCheck::tellsOfVersions()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, announced);
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    checkAgainst(manager, ok(body));
    QTEST(m_fixture.storedSettings(), "stored");
    if (announced.isNull()) {
        QCOMPARE(logged(log), QStringList(announcement()));
        QCOMPARE(announcements.count(), 1);
        return;
    }
    QCOMPARE(logged(log),
             QStringList(line("info",
                              QString("Latest version:  \"%1\"   current version \"1.2.3\"   no "
                                      "need to update")
                                  .arg(announced))));
    QCOMPARE(announcements.count(), 0);
}

void TestVersionCheck::announcesOnceForEachCheck()
{
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    for (int checks = 1; checks <= 3; ++checks) {
        checkAgainst(manager, ok(versionReply("2")));
        QCOMPARE(announcements.count(), checks);
    }
}

void TestVersionCheck::changesNothingWithoutJson_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("an empty body") << QByteArray();
    QTest::newRow("a page") << QByteArray("<html></html>");
    QTest::newRow("JSON that is cut short") << versionReply("2").chopped(3);
}

void TestVersionCheck::changesNothingWithoutJson()
{
    QFETCH(QByteArray, body);
    ConfigurationManager::instance()->setGlobalValue("latestVerion.version", "before");
    const QJsonObject before = ConfigurationManager::instance()->globalJsonObj();
    const LogCapture log;
    NetRCManager manager(nullptr);
    checkAgainst(manager, ok(body));
    QCOMPARE(logged(log), QStringList(parseFailure()));
    QCOMPARE(ConfigurationManager::instance()->globalJsonObj(), before);
    QVERIFY(!QFile::exists(m_fixture.path("global.json")));
}

void TestVersionCheck::keepsTheFirstAnswerBesideABrokenOne()
{
    HttpServer server;
    const QByteArray installer = "the installer";
    server.answer(kPath,
                  {ok(versionReply("2", server.url("/i"), sha256(installer))), ok("broken")});
    server.answer("/i", {ok(installer)});
    NetRCManager::setServiceHost(server.host());
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy downloads(&manager, &NetRCManager::newInstallationFileDownloaded);
    check(manager);
    check(manager);
    QCOMPARE(logged(log), (QStringList{announcement(), parseFailure()}));
    manager.downloadLatestApp();
    QTRY_COMPARE(downloads.count(), 1);
}

// Which handler comes first is fixed: the error's, then that of the end.
void TestVersionCheck::takesJsonOfAnErrorPage()
{
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    checkAgainst(manager, status("500 Broken", versionReply("2")));
    const QStringList lines = logged(log);
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines.first().startsWith(requestFailure("Error transferring http://").chopped(1)),
             qPrintable(lines.first()));
    QCOMPARE(lines.last(), announcement());
    QCOMPARE(announcements.count(), 1);
    QCOMPARE(m_fixture.storedSettings(), storedVersion("2"));
}

void TestVersionCheck::reportsARequestThatFails_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("reason");
    const Answer whole = ok(versionReply("2"));
    const QString url = "http://%1/update_check.php?app=tst_versioncheck";
    const QString refused = "Error transferring " + url + " - server replied: ";
    QTest::newRow("a page that is not there") << status("404 Not Found") << refused + "Not Found";
    QTest::newRow("a service that fails")
        << status("500 Internal Server Error") << refused + "Internal Server Error";
    QTest::newRow("an end before the first byte") << whole.cutAt(0) << "Connection closed";
    QTest::newRow("an end within the headers") << whole.cutAt(20) << "Connection closed";
}

void TestVersionCheck::reportsARequestThatFails()
{
    QFETCH(Answer, answer);
    QFETCH(QString, reason);
    HttpServer server;
    server.answer(kPath, {answer});
    NetRCManager::setServiceHost(server.host());
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    check(manager);
    const QString why = reason.contains("%1") ? reason.arg(server.host()) : reason;
    QCOMPARE(logged(log), (QStringList{requestFailure(why), parseFailure()}));
    QCOMPARE(announcements.count(), 0);
    QVERIFY(!QFile::exists(m_fixture.path("global.json")));
    QVERIFY(!serviceReplies().last());
}

void TestVersionCheck::changesNothingAfterAnEarlyEnd_data()
{
    QTest::addColumn<Answer>("answer");
    const Answer whole = ok(versionReply("2"));
    QTest::newRow("within the body") << whole.cutAt(whole.bytes.size() - 5);
    QTest::newRow("a declared length beyond the body") << declaring(500, "{\"var\":");
    QTest::newRow("no body") << declaring(500, {});
}

// Qt does not always take an early end for an error. The parser does.
void TestVersionCheck::changesNothingAfterAnEarlyEnd()
{
    QFETCH(Answer, answer);
    const LogCapture log;
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    checkAgainst(manager, answer);
    QStringList lines = logged(log);
    lines.removeAll(requestFailure("Connection closed"));
    QCOMPARE(lines, QStringList(parseFailure()));
    QCOMPARE(announcements.count(), 0);
    QVERIFY(!QFile::exists(m_fixture.path("global.json")));
}

// The event loop may get to deferred deletions between the two signals.
void TestVersionCheck::finishesAfterADeletionThatComesEarly()
{
    const ScriptedNetwork network;
    const LogCapture log;
    NetRCManager manager(nullptr);
    manager.checkVersion();
    const auto reply = network.reply();
    reply->fail(QNetworkReply::HostNotFoundError);
    settle();
    QVERIFY(reply);
    reply->finish();
    QCOMPARE(logged(log), (QStringList{requestFailure("as scripted"), parseFailure()}));
    settle();
    QVERIFY(!reply);
}

void TestVersionCheck::takesWhatTrickles()
{
    const LogCapture log;
    NetRCManager manager(nullptr);
    checkAgainst(manager, ok(versionReply("2")).trickling());
    QCOMPARE(logged(log), QStringList(announcement()));
}

void TestVersionCheck::deletesRepliesInTime()
{
    const LogCapture log;
    {
        NetRCManager manager(nullptr);
        checkAgainst(manager, ok(versionReply("2")));
        checkAgainst(manager, ok(versionReply("1")));
        checkAgainst(manager, ok("no JSON"));
        const auto replies = serviceReplies();
        QVERIFY(!replies.at(0));
        QVERIFY(replies.at(1)); // these two stay with the access manager
        QVERIFY(replies.at(2));
    }
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
}

QTEST_GUILESS_MAIN(TestVersionCheck)
#include "tst_versioncheck.moc"
