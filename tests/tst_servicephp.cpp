// An independent reader: what PHP's own parsers make of what is sent.

#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/PhpServer.h>
#include <support/ServiceFixture.h>

#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>
#include <LibCorvane/common/HardwareInfo.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QtTest>

using namespace corvane::test;

namespace {

QByteArray decoded(const QJsonValue &value)
{
    return QByteArray::fromBase64(value.toString().toLatin1());
}

} // namespace

class TestServicePhp : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void asksForTheVersion();
    void uploadsFeedback_data();
    void uploadsFeedback();
    void reportsTimes();

private:
    ServiceFixture m_fixture;
    PhpServer m_server;
    QScopedPointer<LogCapture> m_log;
};

void TestServicePhp::initTestCase()
{
    QVERIFY2(m_server.isRunning(), qPrintable(m_server.log()));
    NetRCManager::setServiceHost(m_server.host());
    QCoreApplication::setApplicationName("glow");
    QCoreApplication::setApplicationVersion("1.2.3");
}

void TestServicePhp::init()
{
    m_fixture.reset();
    m_log.reset();
    m_log.reset(new LogCapture);
}

void TestServicePhp::asksForTheVersion()
{
    m_server.setVersion({{"var", "1.10"}, {"download_url", "http://h/ü i"}, {"md5", "ab"}});
    NetRCManager manager(nullptr);
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    manager.checkVersion();
    QVERIFY(announcements.wait(20000));
    QCOMPARE(m_server.record("update_check"),
             (QJsonObject{{"method", "GET"}, {"app", "tst_servicephp"}}));
    QCOMPARE(m_fixture.storedSettings(), storedVersion("1.10", "http://h/ü i", "ab"));
}

void TestServicePhp::uploadsFeedback_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("contact");
    QTest::addColumn<QByteArray>("package");
    const QByteArray boundaries = "--boundary_.oOo._\r\n--boundary_.oOo._--\r\n\r\n--\r\n"
                                  "Content-Disposition: form-data; name=\"msg\"\r\n\r\nnot me";
    QTest::newRow("plain text") << "It blinks."
                                << "me@example.org" << QByteArray("PK\3\4");
    QTest::newRow("neither message nor contact") << ""
                                                 << "" << QByteArray("PK");
    QTest::newRow("letters beyond ASCII") << "Es blinkt blöd, 闪烁 🙂"
                                          << "张三" << QByteArray("PK");
    QTest::newRow("what looks like a form")
        << QString::fromLatin1(boundaries) << "a=b&c=\"d\"; %41+" << boundaries;
    QTest::newRow("lines of all sorts") << "a\nb\r\nc\rd\n"
                                        << "e" << QByteArray("\r\n\n\r\0\r\n", 7);
    QTest::newRow("random bytes") << "m"
                                  << "c" << noise() + noise().left(12345);
    QTest::newRow("an empty package") << "m"
                                      << "c" << QByteArray();
}

void TestServicePhp::uploadsFeedback()
{
    QFETCH(QString, message);
    QFETCH(QString, contact);
    QFETCH(QByteArray, package);
    NetRCManager manager(nullptr);
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo(contact);
    feedback.setUserMsg(message);
    writeBytes(feedback.feedbackFileName(), package);
    const QString name = QFileInfo(feedback.feedbackFileName()).fileName();
    bool isSent = false;
    int errors = 0;
    manager.sendFeedback(
        &feedback, [&] { isSent = true; }, [&](QNetworkReply::NetworkError) { ++errors; });
    QTRY_VERIFY_WITH_TIMEOUT(isSent, 20000);
    QFile::remove(feedback.feedbackFileName());

    QCOMPARE(errors, 0);
    QVERIFY(m_log->messages(QtDebugMsg).contains("\"received\""));
    const QJsonObject seen = m_server.record("app/logupload");
    QCOMPARE(seen["fields"], QJsonValue(QJsonArray{"msg", "file_name"}));
    QCOMPARE(seen["files"], QJsonValue(QJsonArray{"upload_file_minidump"}));
    QCOMPARE(decoded(seen["msg"]), (message + "\r\n 联系方式:" + contact).toUtf8());
    QCOMPARE(decoded(seen["file_name"]), name.toLatin1());
    QCOMPARE(seen["name"].toString(), name + ".zip");
    QCOMPARE(seen["type"].toString(), QString("application/octet-stream"));
    QCOMPARE(seen["error"].toInt(-1), 0);
    QVERIFY(decoded(seen["content"]) == package);
    QCOMPARE(seen["agent"].toString(), QString("glow/1.2.3"));
}

void TestServicePhp::reportsTimes()
{
    NetRCManager manager(nullptr);
    manager.uploadAppOnOffTime("2024-03-14 10:20", "später \"ü\" 晚");
    const QJsonObject report{
        {"var", "1.2.3"},          {"app_name", "tst_servicephp"},
        {"app_var", "1.2.3"},      {"mac_code", HardwareInfo::getMacStr("0")},
        {"act_code", "0"},         {"st", "2024-03-14 10:20"},
        {"ct", "später \"ü\" 晚"}, {"cd", ""},
        {"all_proid", "0"},
    };
    QCOMPARE(m_server.record("activate"),
             (QJsonObject{{"type", "application/json"}, {"report", report}}));
}

QTEST_GUILESS_MAIN(TestServicePhp)
#include "tst_servicephp.moc"
