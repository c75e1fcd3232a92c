#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/MarkdownPage.h>
#include <support/ScriptedInterfaces.h>
#include <support/ServiceFixture.h>

#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFileInfo>
#include <QJsonDocument>
#include <QtTest>

using namespace corvane::test;

namespace {

// What differs from run to run, as the page has it.
const char *const kHost = "127.0.0.1:8080";
const char *const kBoundary = "boundary_.oOo._MTIzNDU2Nzg5MDEyMzQ1Njc4OTAxMjM0";
const char *const kAddress = "3C:22:FB:01:02:03";
const char *const kPackage = "Corvane_3C:22:FB:01:02:03_2024-03-14_10-20-30.zip";
const char *const kPackageBytes = "PK␃␄";

const int kExamples = 8; // a request and an answer for each of the four

QByteArray bodyOf(const QByteArray &answer)
{
    const int end = answer.indexOf("\n\n");
    return end < 0 ? QByteArray() : answer.mid(end + 2).trimmed();
}

QByteArray boundaryOf(const QByteArray &request)
{
    const QByteArray start = "boundary=\"";
    const int from = request.indexOf(start) + start.size();
    return request.mid(from, request.indexOf('"', from) - from);
}

bool isExample(const QByteArray &block)
{
    return block.startsWith("GET ") || block.startsWith("POST ") || block.startsWith("HTTP/1.1 ");
}

} // namespace

/// The requests and answers that docs/service.md shows. The program is called as the page's.
class TestServicePage : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void declaresTheTrueLengths();
    void showsTheVersionAndTheInstaller();
    void showsTheFeedback();
    void showsTheReport();
    void showsNothingElse();

private:
    QByteArray block(const QByteArray &begin) const { return blockThatBegins(m_blocks, begin); }
    /// The answer that the page shows below a request.
    QByteArray answerTo(const QByteArray &request) const;
    /// Lets the server give that answer, with its own address for the page's.
    void answerAsShown(const QByteArray &path, const QByteArray &request);
    /// The last request, as the page would show it.
    QByteArray shown() const;

    const QVector<QByteArray> m_blocks = fencedBlocks(CORVANE_PAGE);
    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QScopedPointer<NetRCManager> m_manager;
    QScopedPointer<FeedbackManager> m_feedback;
    QScopedPointer<LogCapture> m_log;
};

void TestServicePage::init()
{
    m_fixture.reset();
    setInterfaces({loopBack(), {kAddress}});
    QCoreApplication::setApplicationName("glow");
    QCoreApplication::setApplicationVersion("1.2.3");
    m_server.reset(new HttpServer);
    NetRCManager::setServiceHost(m_server->host());
    m_manager.reset(new NetRCManager(nullptr));
    m_feedback.reset(new FeedbackManager(nullptr));
    m_log.reset(new LogCapture);
}

void TestServicePage::cleanup()
{
    m_manager.reset();
    m_feedback.reset();
    m_log.reset();
}

QByteArray TestServicePage::answerTo(const QByteArray &request) const
{
    for (int at = m_blocks.indexOf(block(request)) + 1; at < m_blocks.size(); ++at)
        if (isExample(m_blocks[at]))
            return m_blocks[at];
    return {};
}

void TestServicePage::answerAsShown(const QByteArray &path, const QByteArray &request)
{
    QByteArray answer = answerTo(request);
    const QByteArray shownBody = bodyOf(answer);
    const QByteArray body = QByteArray(shownBody).replace(kHost, m_server->host().toLatin1());
    answer.truncate(answer.indexOf("\n\n") < 0 ? answer.size() - 1 : answer.indexOf("\n\n"));
    answer.replace("Content-Length: " + QByteArray::number(shownBody.size()),
                   "Content-Length: " + QByteArray::number(body.size()));
    m_server->answer(path, {garbage(answer.replace("\n", "\r\n") + "\r\n\r\n" + body)});
}

QByteArray TestServicePage::shown() const
{
    QByteArray request = m_server->requests().last();
    request.replace("\r\n", "\n");
    request.replace(m_server->host().toLatin1(), kHost);
    if (request.contains("multipart/form-data")) {
        // As long as what they replace, so that the declared length holds.
        request.replace(boundaryOf(request), kBoundary);
        request.replace(QFileInfo(m_feedback->feedbackFileName()).fileName().toLatin1(), kPackage);
        request.replace("PK\3\4", kPackageBytes);
    }
    return request.trimmed();
}

void TestServicePage::declaresTheTrueLengths()
{
    for (const QByteArray &block : m_blocks) {
        if (block.startsWith("HTTP/1.1 ") && !bodyOf(block).isEmpty()) {
            const QByteArray line = "\nContent-Length: " + QByteArray::number(bodyOf(block).size());
            QVERIFY2(block.contains(line + '\n'), block + "has a body of another length");
        }
    }
}

void TestServicePage::showsTheVersionAndTheInstaller()
{
    const QByteArray version = "GET /update_check.php";
    const QByteArray installer = "GET /glow.exe";
    answerAsShown("/update_check.php", version);
    answerAsShown("/glow.exe", installer);
    QSignalSpy announced(m_manager.data(), &NetRCManager::hasNewAppVersion);
    m_manager->checkVersion();
    QTRY_COMPARE(announced.size(), 1);
    QCOMPARE(shown(), block(version).trimmed());
    const QByteArray body = bodyOf(answerTo(version)).replace(kHost, m_server->host().toLatin1());
    const QJsonObject reply = QJsonDocument::fromJson(body).object();
    QCOMPARE(m_fixture.storedSettings().value("latestVerion"),
             storedVersion(reply["var"].toString(), reply["download_url"].toString(),
                           reply["md5"].toString())
                 .value("latestVerion"));

    QSignalSpy downloaded(m_manager.data(), &NetRCManager::newInstallationFileDownloaded);
    m_manager->downloadLatestApp();
    QTRY_COMPARE(downloaded.size(), 1);
    QCOMPARE(shown(), block(installer).trimmed());
    QCOMPARE(bytesOf(m_fixture.installerPath()), bodyOf(answerTo(installer)));
}

void TestServicePage::showsTheFeedback()
{
    const QByteArray request = "POST /app/logupload.php";
    answerAsShown("/app/logupload.php", request);
    m_feedback->setUserContactInfo("me@example.org");
    m_feedback->setUserMsg("It blinks.");
    writeBytes(m_feedback->feedbackFileName(), "PK\3\4");
    QStringList told;
    m_manager->sendFeedback(
        m_feedback.data(), [&told] { told << "sent"; },
        [&told](QNetworkReply::NetworkError) { told << "failed"; });
    QTRY_VERIFY(!told.isEmpty());
    QCOMPARE(told, QStringList("sent"));
    QCOMPARE(shown(), block(request).trimmed());
}

void TestServicePage::showsTheReport()
{
    const QByteArray request = "POST /activate.php";
    answerAsShown("/activate.php", request);
    m_manager->uploadAppOnOffTime("2024-03-14 10:20:30", "");
    QTRY_VERIFY(!logged(*m_log).filter("server reply:  QNetworkReply::NoError").isEmpty());
    QCOMPARE(shown(), block(request).trimmed());
}

void TestServicePage::showsNothingElse()
{
    QCOMPARE(int(std::count_if(m_blocks.begin(), m_blocks.end(), isExample)), kExamples);
}

QTEST_GUILESS_MAIN(TestServicePage)
#include "tst_servicepage.moc"
