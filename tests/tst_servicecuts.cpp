// A service that cuts the line at each place of its answers, or lies about what it sends.

#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/InstallerLines.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QtTest>

using namespace corvane::test;

namespace {

const char *const kCheck = "/update_check.php";
const char *const kInstaller = "/installer";
const char *const kUpload = "/app/logupload.php";
const QByteArray kContent = "the installer";

/// Without a line end: whatever is missing of it, it is no JSON any more.
QByteArray compactReply(const QString &url)
{
    const QByteArray reply = versionReply("2", url, sha256(kContent));
    return QJsonDocument::fromJson(reply).toJson(QJsonDocument::Compact);
}

/// An answer whose headers are the test's own.
Answer answerWith(const QByteArray &headers, const QByteArray &body)
{
    return garbage("HTTP/1.1 200 OK\r\n" + headers + "\r\nConnection: close\r\n\r\n" + body);
}

const QByteArray kChunked = "Transfer-Encoding: chunked";

/// Adds answers that do not bring the content as it is; "%" stands for it.
void addLies()
{
    QTest::addColumn<QByteArray>("headers");
    QTest::addColumn<QByteArray>("body");
    const auto add = [](const char *name, const QByteArray &headers, const QByteArray &body) {
        QTest::newRow(name) << headers << body;
    };
    add("a length beyond the content", "Content-Length: 4000", "%");
    add("a length beyond int", "Content-Length: 5000000000", "%");
    add("a length beyond 64 bits", "Content-Length: 99999999999999999999", "%");
    add("a length within the content", "Content-Length: 3", "%");
    add("a length of nothing", "Content-Length: 0", "%");
    add("a length below nothing", "Content-Length: -5", "%");
    add("a length that is no number", "Content-Length: many", "%");
    add("an empty length", "Content-Length: ", "%");
    add("two lengths", "Content-Length: 3\r\nContent-Length: 4000", "%");
    add("a chunk without an end", kChunked, "fff\r\n%");
    add("a chunk of a size beyond 64 bits", kChunked, "fffffffffffffffff\r\n%");
    add("a chunk of the largest size", kChunked, "7fffffffffffffff\r\n%");
    add("a chunk of a size below nothing", kChunked, "-5\r\n%\r\n0\r\n\r\n");
    add("a chunk whose size is no number", kChunked, "few\r\n%\r\n0\r\n\r\n");
    add("a chunk without a size", kChunked, "\r\n\r\n%");
    add("a length beside chunks", kChunked + "\r\nContent-Length: 3", "fff\r\n%");
    add("a compression that is none", "Content-Encoding: gzip", "%");
    add("a compressed stream of a few bytes", "Content-Encoding: gzip", "\x1f\x8b\x08%");
    add("a compression that nobody knows", "Content-Encoding: brrr", "no %");
    add("headers without an end", QByteArray(1 << 14, 'x') + ": y", "no %");
    add("something before the content", "X: y", "no %");
}

} // namespace

class TestServiceCuts : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QCoreApplication::setApplicationVersion("1.2.3"); }
    void init();
    void cleanup();
    void aVersionCutAnywhereIsNone_data() { addEnds(); }
    void aVersionCutAnywhereIsNone();
    void anInstallerCutAnywhereIsNone_data() { addEnds(); }
    void anInstallerCutAnywhereIsNone();
    void anUploadEndsOnceWhereverItsAnswerIsCut_data() { addEnds(); }
    void anUploadEndsOnceWhereverItsAnswerIsCut();
    void aReportIsOverWhereverItsAnswerIsCut();
    void aLieAboutTheVersionIsNoneOrTheTruth_data() { addLies(); }
    void aLieAboutTheVersionIsNoneOrTheTruth();
    void noLieMakesAnInstaller_data() { addLies(); }
    void noLieMakesAnInstaller();
    void anAnswerThatMayNeverEndDoesNoHarm_data();
    void anAnswerThatMayNeverEndDoesNoHarm();

private:
    void addEnds();
    /// The same answer, cut as the data row says.
    Answer cut(const Answer &answer, int at) const;
    void answerCheck() { m_server->answer(kCheck, {ok(compactReply(m_server->url(kInstaller)))}); }
    void check();
    void download();
    void waitForTheReply();

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QScopedPointer<LogCapture> m_log;
    QScopedPointer<NetRCManager> m_manager;
    QScopedPointer<QSignalSpy> m_versions;
    QScopedPointer<QSignalSpy> m_downloads;
};

void TestServiceCuts::init()
{
    m_fixture.reset();
    m_server.reset(new HttpServer);
    NetRCManager::setServiceHost(m_server->host());
    m_log.reset(new LogCapture);
    m_manager.reset(new NetRCManager(nullptr));
    m_versions.reset(new QSignalSpy(m_manager.data(), &NetRCManager::hasNewAppVersion));
    m_downloads.reset(
        new QSignalSpy(m_manager.data(), &NetRCManager::newInstallationFileDownloaded));
    forgetServiceReplies();
}

void TestServiceCuts::cleanup()
{
    m_manager.reset();
    m_log.reset();
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
}

void TestServiceCuts::addEnds()
{
    QTest::addColumn<bool>("resets");
    QTest::newRow("with an orderly end") << false;
    QTest::newRow("with a reset") << true;
}

Answer TestServiceCuts::cut(const Answer &answer, int at) const
{
    QFETCH(bool, resets);
    return resets ? answer.cutAt(at).resetting() : answer.cutAt(at);
}

void TestServiceCuts::waitForTheReply()
{
    const QPointer<QNetworkReply> reply = serviceReplies().last();
    if (reply && !reply->isFinished()) {
        // Not QTRY_…, whose steps would add up.
        QEventLoop loop;
        connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
        QTimer::singleShot(20000, &loop, &QEventLoop::quit);
        loop.exec();
    }
    QVERIFY(!reply || reply->isFinished());
    settle();
}

void TestServiceCuts::check()
{
    m_manager->checkVersion();
    waitForTheReply();
}

void TestServiceCuts::download()
{
    m_manager->downloadLatestApp();
    waitForTheReply();
}

void TestServiceCuts::aVersionCutAnywhereIsNone()
{
    auto *settings = ConfigurationManager::instance();
    settings->setGlobalValue("latestVerion.version", "before");
    const QJsonObject before = settings->globalJsonObj();
    const Answer whole = ok(compactReply("http://h/i"));
    for (int at = 0; at < whole.bytes.size(); ++at) {
        m_log->clear();
        m_server->answer(kCheck, {cut(whole, at)});
        check();
        const QStringList lines = m_log->messages();
        QVERIFY2(!lines.isEmpty() && lines.size() <= 2, qPrintable(lines.join('\n')));
        QCOMPARE(lines.last(),
                 QString("An error occurred while trying to parse the Network JSON file"));
        if (lines.size() == 2)
            QVERIFY(lines.first().startsWith(
                "An error occurred while trying to request version information \""));
        QCOMPARE(settings->globalJsonObj(), before);
    }
    QCOMPARE(m_versions->count(), 0);
    QVERIFY(!QFile::exists(m_fixture.path("global.json")));

    m_server->answer(kCheck, {whole});
    check();
    QCOMPARE(m_versions->count(), 1);
    QVERIFY(settings->globalJsonObj() != before);
}

void TestServiceCuts::anInstallerCutAnywhereIsNone()
{
    answerCheck();
    check();
    const Answer whole = ok(kContent);
    const int headers = whole.bytes.size() - kContent.size();
    for (int at = 0; at < whole.bytes.size(); ++at) {
        m_log->clear();
        m_server->answer(kInstaller, {cut(whole, at)});
        download();
        QStringList lines = logged(*m_log);
        // Qt does not always take an early end for an error. The digest does.
        if (lines.size() == 3)
            QVERIFY2(lines.takeFirst().startsWith(downloadLine("warning", "Error: \"")), "3 lines");
        QCOMPARE(lines.size(), 2);
        QFETCH(bool, resets);
        const QString digest = sha256(kContent.left(std::max(0, at - headers)));
        if (!resets) // which may overtake the bytes
            QCOMPARE(lines.first(), digestLine(digest, sha256(kContent)));
        QCOMPARE(lines.last(), mismatchLine());
        QVERIFY(!QFile::exists(m_fixture.installerPath()));
        QVERIFY(!m_manager->findChild<QFile *>());
    }
    QCOMPARE(m_downloads->count(), 0);

    m_server->answer(kInstaller, {whole});
    download();
    QCOMPARE(m_downloads->count(), 1);
    QCOMPARE(bytesOf(m_fixture.installerPath()), kContent);
}

void TestServiceCuts::anUploadEndsOnceWhereverItsAnswerIsCut()
{
    FeedbackManager feedback(nullptr);
    writeBytes(feedback.feedbackFileName(), "PK");
    const Answer whole = ok("thanks");
    for (int at = 0; at <= whole.bytes.size(); ++at) {
        m_log->clear();
        m_server->answer(kUpload, {cut(whole, at)});
        QString told;
        m_manager->sendFeedback(
            &feedback, [&told] { told += "sent"; },
            [&told](QNetworkReply::NetworkError) { told += "failed, "; });
        waitForTheReply();
        QVERIFY2(told == "sent" || told == "failed, sent", qPrintable(told));
        const QStringList lines = m_log->messages();
        QCOMPARE(lines.count("A feedback have sent to server"), 1);
        QCOMPARE(lines.filter("An error occurred while uploading the feedback \"").size(),
                 told == "sent" ? 0 : 1);
        QVERIFY(!serviceReplies().last());
        QCOMPARE(bytesOf(feedback.feedbackFileName()), QByteArray("PK"));
    }
}

void TestServiceCuts::aReportIsOverWhereverItsAnswerIsCut()
{
    const Answer whole = ok("thanks");
    for (int at = 0; at <= whole.bytes.size(); ++at) {
        m_log->clear();
        m_server->answer("/activate.php", {whole.cutAt(at)});
        m_manager->uploadAppOnOffTime("then", "now"); // returns
        const QStringList lines = m_log->messages().filter("uploadAppOnOffTime  server reply: ");
        QCOMPARE(lines.size(), 1);
        settle();
        QVERIFY(!serviceReplies().last());
    }
}

void TestServiceCuts::aLieAboutTheVersionIsNoneOrTheTruth()
{
    QFETCH(QByteArray, headers);
    QFETCH(QByteArray, body);
    const QByteArray truth = compactReply("http://h/i");
    m_server->answer(kCheck, {answerWith(headers, body.replace('%', truth))});
    check();
    const bool isTaken = m_versions->count() == 1;
    QCOMPARE(m_fixture.storedSettings(),
             isTaken ? storedVersion("2", "http://h/i", sha256(kContent)) : QJsonObject());
    QVERIFY(!m_log->lines().isEmpty());
    QCOMPARE(m_log->messages().last(),
             QString(isTaken ? "The new version has been made available"
                             : "An error occurred while trying to parse the Network JSON file"));
}

// Where Qt passes over the lie, all of the content must have come.
void TestServiceCuts::noLieMakesAnInstaller()
{
    QFETCH(QByteArray, headers);
    QFETCH(QByteArray, body);
    answerCheck();
    check();
    m_server->answer(kInstaller, {answerWith(headers, body.replace('%', kContent))});
    download();
    const bool isTaken = m_downloads->count() == 1;
    QCOMPARE(bytesOf(m_fixture.installerPath()), isTaken ? kContent : QByteArray("(no file)"));
    QVERIFY(!m_log->lines().isEmpty());
    QCOMPARE(logged(*m_log).last(), isTaken ? successLine() : mismatchLine());
    QVERIFY(!m_manager->findChild<QFile *>());
}

void TestServiceCuts::anAnswerThatMayNeverEndDoesNoHarm_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("chunks that are none") << QByteArray("%");
    QTest::newRow("a chunk that is followed by none") << QByteArray("3\r\n%");
}

// Qt may wait for more on a connection that has ended.
void TestServiceCuts::anAnswerThatMayNeverEndDoesNoHarm()
{
    QFETCH(QByteArray, body);
    const QByteArray truth = compactReply("http://h/i");
    m_server->answer(kCheck, {answerWith(kChunked, body.replace('%', truth)), ok("no JSON")});
    m_manager->checkVersion();
    const QPointer<QNetworkReply> reply = serviceReplies().last();
    QTRY_COMPARE(m_server->requests().size(), 1);
    // By the time that others have their answers this one has come as well.
    for (int others = 0; others < 3; ++others) {
        NetRCManager other(nullptr);
        other.checkVersion();
        waitForTheReply();
    }
    QCOMPARE(m_versions->count(), 0);
    QCOMPARE(m_fixture.storedSettings(), QJsonObject());
    m_log->clear();
    m_manager.reset();
    QVERIFY(!reply);
    settle();
    QCOMPARE(logged(*m_log), QStringList());
}

QTEST_GUILESS_MAIN(TestServiceCuts)
#include "tst_servicecuts.moc"
