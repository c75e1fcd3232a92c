#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QtTest>

#include <cerrno>

using namespace corvane::test;

namespace {

const char *const kPath = "/app/logupload.php";

QString line(const char *level, const QString &message)
{
    return QString("%1|default|NetRCManager::sendFeedback|").arg(level) + message;
}

QString quoted(const QString &text)
{
    return '"' + text + '"';
}

QString failureLine(const QString &why)
{
    return line("warning", "An error occurred while uploading the feedback " + quoted(why));
}

QString sentLine()
{
    return line("info", "A feedback have sent to server");
}

/// What the host was told, in order: "sent", or the number of the error.
QStringList told;

void noteSent()
{
    told << "sent";
}

void noteError(QNetworkReply::NetworkError code)
{
    told << QString::number(code);
}

} // namespace

class TestFeedbackUpload : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void postsAForm_data();
    void postsAForm();
    void signsInLatin1();
    void logsTheAnswer_data();
    void logsTheAnswer();
    void reportsAnErrorAndThenTheEnd_data();
    void reportsAnErrorAndThenTheEnd();
    void needsNoCompletionFunctions();
    void finishesAfterADeletionThatComesEarly();
    void sendsNothingWithoutAPackage();
    void makesAFeedbackOfItsOwn();
    void sendsNothingThatCannotBeRead_data();
    void sendsNothingThatCannotBeRead();
    void givesUpARequestThatIsRefused();
    void ownsFormAndFileThroughTheReply();
    void leavesThePackageAlone();
    void sendsAfterTheFeedbackHasGone();

private:
    void makePackage(const QByteArray &bytes);
    QString packageName() const { return QFileInfo(m_feedback->feedbackFileName()).fileName(); }
    QString nameLine() const { return line("debug", quoted(packageName())); }
    /// Sends the feedback and waits for the end.
    void send();

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QScopedPointer<NetRCManager> m_manager;
    QScopedPointer<FeedbackManager> m_feedback;
    QScopedPointer<LogCapture> m_log;
};

void TestFeedbackUpload::init()
{
    m_fixture.reset();
    QCoreApplication::setApplicationName("glow");
    QCoreApplication::setApplicationVersion("1.2.3");
    m_server.reset(new HttpServer);
    m_server->answer(kPath, {ok("thanks")});
    NetRCManager::setServiceHost(m_server->host());
    m_manager.reset(new NetRCManager(nullptr));
    m_feedback.reset(new FeedbackManager(nullptr));
    m_log.reset(new LogCapture);
    told.clear();
    forgetServiceReplies();
}

void TestFeedbackUpload::cleanup()
{
    m_manager.reset();
    QFile::remove(m_feedback->feedbackFileName());
    m_feedback.reset();
    m_log.reset();
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
}

void TestFeedbackUpload::makePackage(const QByteArray &bytes)
{
    writeBytes(m_feedback->feedbackFileName(), bytes);
}

void TestFeedbackUpload::send()
{
    m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    QTRY_VERIFY(!serviceReplies().last());
}

void TestFeedbackUpload::postsAForm_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("contact");
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QByteArray>("text");
    const QByteArray separator = "\r\n \xe8\x81\x94\xe7\xb3\xbb\xe6\x96\xb9\xe5\xbc\x8f:";
    QTest::newRow("message and contact")
        << "It blinks."
        << "me@example.org" << QByteArray("PK\3\4") << "It blinks." + separator + "me@example.org";
    QTest::newRow("neither") << ""
                             << "" << QByteArray("PK") << separator;
    QTest::newRow("letters beyond ASCII, and lines") << "Es blinkt\nblöd"
                                                     << "张三" << QByteArray("PK")
                                                     << "Es blinkt\nbl\xc3\xb6"
                                                        "d"
            + separator + "\xe5\xbc\xa0\xe4\xb8\x89";
    QTest::newRow("an empty package") << "m"
                                      << "c" << QByteArray() << "m" + separator + "c";
    QTest::newRow("a package of any bytes") << "m"
                                            << "c" << noise().left(300000) << "m" + separator + "c";
}

void TestFeedbackUpload::postsAForm()
{
    QFETCH(QString, message);
    QFETCH(QString, contact);
    QFETCH(QByteArray, package);
    QFETCH(QByteArray, text);
    m_feedback->setUserContactInfo(contact);
    m_feedback->setUserMsg(message);
    makePackage(package);
    send();
    QCOMPARE(m_server->requests().size(), 1);

    const QByteArray request = m_server->requests().first();
    const QByteArray start = "boundary=\"";
    const int from = request.indexOf(start) + start.size();
    const QByteArray boundary = request.mid(from, request.indexOf('"', from) - from);
    QVERIFY(boundary.size() > 10);
    const QByteArray name = packageName().toLatin1();
    const QByteArray body = "--" + boundary
        + "\r\nContent-Disposition: form-data; name=\"msg\"\r\n\r\n" + text + "\r\n--" + boundary
        + "\r\nContent-Disposition: form-data; name=\"file_name\"\r\n\r\n" + name + "\r\n--"
        + boundary
        + "\r\nContent-Disposition: form-data; name=\"upload_file_minidump\"; filename=\"" + name
        + ".zip\"\r\nContent-Type: application/octet-stream\r\n\r\n" + package + "\r\n--" + boundary
        + "--\r\n";
    // The other headers are Qt's own.
    const QByteArray head =
        "POST /app/logupload.php HTTP/1.1\r\nHost: " + m_server->host().toLatin1()
        + "\r\nUser-Agent: glow/1.2.3\r\nAccept: */*\r\nContent-Type: multipart/form-data; "
          "boundary=\""
        + boundary + "\"\r\nMIME-Version: 1.0\r\nContent-Length: " + QByteArray::number(body.size())
        + "\r\nConnection: Keep-Alive\r\nAccept-Encoding: gzip, deflate\r\n"
          "Accept-Language: en,*\r\n\r\n";
    QCOMPARE(request.left(head.size()), head);
    QCOMPARE(request.mid(head.size()), body);
    QVERIFY(name.endsWith(".zip"));
    QCOMPARE(told, QStringList("sent"));
    QCOMPARE(logged(*m_log), (QStringList{nameLine(), line("debug", "\"thanks\""), sentLine()}));
}

void TestFeedbackUpload::signsInLatin1()
{
    QCoreApplication::setApplicationName("Glüh Würm 光");
    QCoreApplication::setApplicationVersion("1.ß");
    makePackage("PK");
    send();
    QVERIFY(m_server->requests().first().contains("\r\nUser-Agent: Gl\xfch W\xfcrm ?/1.\xdf\r\n"));
}

void TestFeedbackUpload::logsTheAnswer_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << ok({}) << "";
    QTest::newRow("lines") << ok("one\ntwo") << "one\\ntwo";
    QTest::newRow("a redirection is not followed") << redirection("/elsewhere") << "";
}

void TestFeedbackUpload::logsTheAnswer()
{
    QFETCH(Answer, answer);
    QFETCH(QString, text);
    m_server->answer(kPath, {answer});
    makePackage("PK");
    send();
    QCOMPARE(logged(*m_log), (QStringList{nameLine(), line("debug", quoted(text)), sentLine()}));
    QCOMPARE(told, QStringList("sent"));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestFeedbackUpload::reportsAnErrorAndThenTheEnd_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("text");
    const QString refused = "Error transferring http://%1/app/logupload.php - server replied: ";
    QTest::newRow("not there") << status("404 Not Found", "a page")
                               << int(QNetworkReply::ContentNotFoundError) << refused + "Not Found"
                               << "a page";
    QTest::newRow("a service that fails")
        << status("500 Broken") << int(QNetworkReply::InternalServerError) << refused + "Broken"
        << "";
    QTest::newRow("an end without an answer")
        << ok({}).cutAt(0) << int(QNetworkReply::RemoteHostClosedError) << "Connection closed"
        << "";
}

void TestFeedbackUpload::reportsAnErrorAndThenTheEnd()
{
    QFETCH(Answer, answer);
    QFETCH(int, code);
    QFETCH(QString, reason);
    QFETCH(QString, text);
    m_server->answer(kPath, {answer});
    makePackage("PK");
    send();
    const QString why = reason.contains("%1") ? reason.arg(m_server->host()) : reason;
    QCOMPARE(logged(*m_log),
             (QStringList{nameLine(), failureLine(why), line("debug", quoted(text)), sentLine()}));
    QCOMPARE(told, (QStringList{QString::number(code), "sent"}));
}

void TestFeedbackUpload::needsNoCompletionFunctions()
{
    makePackage("PK");
    for (const Answer &answer : {ok("thanks"), status("404 Not Found")}) {
        m_server->answer(kPath, {answer});
        m_manager->sendFeedback(m_feedback.data(), {}, {});
        QTRY_VERIFY(!serviceReplies().last());
    }
    QCOMPARE(logged(*m_log).filter(sentLine()).size(), 2);
}

// The event loop may get to deferred deletions between the two signals.
void TestFeedbackUpload::finishesAfterADeletionThatComesEarly()
{
    const ScriptedNetwork network;
    makePackage("PK");
    m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    const auto reply = network.reply();
    reply->fail(QNetworkReply::HostNotFoundError);
    QCOMPARE(told, QStringList(QString::number(QNetworkReply::HostNotFoundError)));
    settle();
    QVERIFY(reply);
    reply->finish();
    QCOMPARE(told.value(1), QString("sent"));
    settle();
    QVERIFY(!reply);
}

void TestFeedbackUpload::sendsNothingWithoutAPackage()
{
    m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    QCOMPARE(logged(*m_log),
             QStringList(
                 line("critical",
                      "The feedback file is not exist " + quoted(m_feedback->feedbackFileName()))));
    settle();
    QCOMPARE(told, QStringList());
    QCOMPARE(serviceReplies().size(), 0);
}

void TestFeedbackUpload::makesAFeedbackOfItsOwn()
{
    QPointer<FeedbackManager> gone = new FeedbackManager(nullptr);
    delete gone;
    m_manager->sendFeedback(gone, noteSent, noteError);
    const auto *own = m_manager->findChild<FeedbackManager *>();
    QVERIFY(own);
    QCOMPARE(logged(*m_log),
             QStringList(line(
                 "critical", "The feedback file is not exist " + quoted(own->feedbackFileName()))));
    QCOMPARE(told, QStringList());
    QCOMPARE(serviceReplies().size(), 0);
}

void TestFeedbackUpload::sendsNothingThatCannotBeRead_data()
{
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<QString>("why");
    QTest::newRow("no right to read it") << false << reason(EACCES);
    QTest::newRow("a directory") << true << "file to open is a directory";
}

void TestFeedbackUpload::sendsNothingThatCannotBeRead()
{
    QFETCH(bool, isDirectory);
    QFETCH(QString, why);
    const QString path = m_feedback->feedbackFileName();
    QFile::setPermissions(m_fixture.path({}), QFile::Permissions(0x7755));
    if (isDirectory) {
        QVERIFY(QDir().mkdir(path));
    } else {
        makePackage("PK");
        QVERIFY(QFile::setPermissions(path, {}));
    }
    {
        const OrdinaryUser user;
        m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    }
    QDir().rmdir(path);
    QCOMPARE(
        logged(*m_log),
        (QStringList{
            nameLine(),
            line("critical", "An error occurred while opeing the feedback file " + quoted(why))}));
    QCOMPARE(told, QStringList());
    QCOMPARE(serviceReplies().size(), 0);
}

void TestFeedbackUpload::givesUpARequestThatIsRefused()
{
    const ScriptedNetwork network(
        [](ScriptedReply *reply) { reply->fail(QNetworkReply::UnknownNetworkError); });
    makePackage("PK");
    m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    QCOMPARE(logged(*m_log),
             (QStringList{nameLine(),
                          line("warning",
                               "An error occurred while posting the feedback request "
                               "\"as scripted\"")}));
    settle();
    QCOMPARE(told, QStringList());
    QVERIFY(!network.reply());
}

void TestFeedbackUpload::ownsFormAndFileThroughTheReply()
{
    const ScriptedNetwork network;
    makePackage("PK");
    m_manager->sendFeedback(m_feedback.data(), noteSent, noteError);
    const QPointer<QHttpMultiPart> form = network.reply()->findChild<QHttpMultiPart *>();
    QVERIFY(form);
    const QPointer<QFile> file = form->findChild<QFile *>();
    QVERIFY(file);
    QCOMPARE(file->fileName(), m_feedback->feedbackFileName());
    QVERIFY(file->isReadable());
    network.reply()->finish();
    settle();
    QVERIFY(!form);
    QVERIFY(!file);
}

void TestFeedbackUpload::leavesThePackageAlone()
{
    makePackage("PK and more");
    send();
    QCOMPARE(bytesOf(m_feedback->feedbackFileName()), QByteArray("PK and more"));
}

void TestFeedbackUpload::sendsAfterTheFeedbackHasGone()
{
    auto temporary = std::make_unique<FeedbackManager>(nullptr);
    writeBytes(temporary->feedbackFileName(), "PK and more");
    m_manager->sendFeedback(temporary.get(), noteSent, noteError);
    const QString path = temporary->feedbackFileName();
    temporary.reset();
    QTRY_COMPARE(told, QStringList("sent"));
    QVERIFY(m_server->requests().first().contains("\r\n\r\nPK and more\r\n"));
    QFile::remove(path);
}

QTEST_GUILESS_MAIN(TestFeedbackUpload)
#include "tst_feedbackupload.moc"
