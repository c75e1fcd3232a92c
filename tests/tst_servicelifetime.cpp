// The host may delete the manager whenever it likes. What is wrong here shows under
// AddressSanitizer at the latest.

#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFile>
#include <QtTest>

#include <algorithm>
#include <memory>

using namespace corvane::test;

namespace {

const char *const kCheck = "/update_check.php";
const char *const kInstaller = "/installer";

} // namespace

class TestServiceLifetime : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void endsARequestSilently_data();
    void endsARequestSilently();
    void endsADownloadHalfway();
    void isDeletedWhenAVersionIsAnnounced_data();
    void isDeletedWhenAVersionIsAnnounced();
    void isDeletedWhenAnInstallerIsAnnounced_data();
    void isDeletedWhenAnInstallerIsAnnounced();
    void isDeletedWhenFeedbackIsSent_data();
    void isDeletedWhenFeedbackIsSent();
    void isDeletedWhenFeedbackFails_data();
    void isDeletedWhenFeedbackFails();
    void finishesWhileTheHostHearsOfTheError();
    void isDeletedBetweenErrorAndEnd();
    void keepsAReplyThatIsEmittingWhileAHostWaits();
    void keepsItsRepliesAfterAnAnnouncement();
    void belongsToItsParent();

private:
    void addDeletions();
    /// Deletes the manager in the way of the data row.
    void deleteInTheWayOfTheRow();
    void runUntilRepliesAreGone();

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QScopedPointer<LogCapture> m_log;
    QPointer<NetRCManager> m_manager;
};

void TestServiceLifetime::init()
{
    m_fixture.reset();
    m_server.reset(new HttpServer);
    m_server->answer(kCheck,
                     {ok(versionReply("2", m_server->url(kInstaller), sha256("installer")))});
    m_server->answer(kInstaller, {ok("installer")});
    NetRCManager::setServiceHost(m_server->host());
    m_log.reset(new LogCapture);
    m_manager = new NetRCManager(nullptr);
    forgetServiceReplies();
}

void TestServiceLifetime::cleanup()
{
    delete m_manager;
    m_log.reset();
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
}

void TestServiceLifetime::addDeletions()
{
    QTest::addColumn<bool>("inANestedLoop");
    QTest::newRow("at once") << false;
    QTest::newRow("in an event loop of the slot's own") << true;
}

void TestServiceLifetime::deleteInTheWayOfTheRow()
{
    QFETCH(bool, inANestedLoop);
    const QPointer<QNetworkReply> emitting = serviceReplies().last();
    if (!inANestedLoop) {
        delete m_manager;
        QVERIFY(emitting);
        return;
    }
    QEventLoop loop;
    QTimer::singleShot(0, m_manager, [this] { delete m_manager; });
    // What is to be deleted later gets its chance before the loop ends.
    connect(m_manager, &QObject::destroyed, &loop,
            [&loop] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
    loop.exec();
    QVERIFY(emitting);
}

/// In a true event loop: the rules of deferred deletion are others without one.
void TestServiceLifetime::runUntilRepliesAreGone()
{
    QEventLoop loop;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &loop, [&loop] {
        const auto replies = serviceReplies();
        if (std::all_of(replies.begin(), replies.end(), [](const auto &r) { return r.isNull(); }))
            loop.quit();
    });
    poll.start(1);
    loop.exec();
}

void TestServiceLifetime::endsARequestSilently_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("isAnswered");
    QTest::newRow("before it is sent") << silence() << false;
    QTest::newRow("while the service is silent") << silence() << true;
    QTest::newRow("within the answer") << declaring(100, "{").open() << true;
}

void TestServiceLifetime::endsARequestSilently()
{
    QFETCH(Answer, answer);
    QFETCH(bool, isAnswered);
    m_server->answer(kCheck, {answer});
    m_manager->checkVersion();
    if (isAnswered)
        QTRY_COMPARE(m_server->requests().size(), 1);
    if (!answer.bytes.isEmpty())
        QTRY_VERIFY(serviceReplies().last()->bytesAvailable() > 0);
    delete m_manager;
    settle();
    QCOMPARE(logged(*m_log), QStringList());
}

void TestServiceLifetime::endsADownloadHalfway()
{
    m_server->answer(kInstaller, {declaring(1 << 20, QByteArray(1 << 19, 'x')).open()});
    QSignalSpy announcements(m_manager, &NetRCManager::hasNewAppVersion);
    m_manager->checkVersion();
    QVERIFY(announcements.wait());
    m_log->clear();
    m_manager->downloadLatestApp();
    QTRY_COMPARE(QFile(m_fixture.installerPath()).size(), qint64(1 << 19));
    delete m_manager;
    settle();
    QCOMPARE(logged(*m_log), QStringList());
    QVERIFY(QFile::exists(m_fixture.installerPath())); // as the class description says
}

void TestServiceLifetime::isDeletedWhenAVersionIsAnnounced_data()
{
    addDeletions();
}

void TestServiceLifetime::isDeletedWhenAVersionIsAnnounced()
{
    connect(m_manager, &NetRCManager::hasNewAppVersion, this,
            &TestServiceLifetime::deleteInTheWayOfTheRow);
    m_manager->checkVersion();
    runUntilRepliesAreGone();
    QVERIFY(!m_manager);
    QCOMPARE(m_log->messages(), QStringList("The new version has been made available"));
}

void TestServiceLifetime::isDeletedWhenAnInstallerIsAnnounced_data()
{
    addDeletions();
}

void TestServiceLifetime::isDeletedWhenAnInstallerIsAnnounced()
{
    connect(m_manager, &NetRCManager::hasNewAppVersion, m_manager,
            &NetRCManager::downloadLatestApp);
    connect(m_manager, &NetRCManager::newInstallationFileDownloaded, this,
            &TestServiceLifetime::deleteInTheWayOfTheRow);
    m_manager->checkVersion();
    runUntilRepliesAreGone();
    QVERIFY(!m_manager);
    QCOMPARE(m_log->messages().last(), QString("The new installation file has been downloaded"));
    QVERIFY(QFile::exists(m_fixture.installerPath()));
}

void TestServiceLifetime::isDeletedWhenFeedbackIsSent_data()
{
    addDeletions();
}

void TestServiceLifetime::isDeletedWhenFeedbackIsSent()
{
    FeedbackManager feedback(nullptr);
    writeBytes(feedback.feedbackFileName(), "PK");
    m_server->answer("/app/logupload.php", {ok({})});
    m_manager->sendFeedback(&feedback, [this] { deleteInTheWayOfTheRow(); }, {});
    runUntilRepliesAreGone();
    QVERIFY(!m_manager);
}

void TestServiceLifetime::isDeletedWhenFeedbackFails_data()
{
    addDeletions();
}

void TestServiceLifetime::isDeletedWhenFeedbackFails()
{
    FeedbackManager feedback(nullptr);
    writeBytes(feedback.feedbackFileName(), "PK");
    m_manager->sendFeedback(&feedback, {},
                            [this](QNetworkReply::NetworkError) { deleteInTheWayOfTheRow(); });
    runUntilRepliesAreGone();
    QVERIFY(!m_manager);
}

// A host that shows a dialogue about the failure: the end of the request comes meanwhile.
void TestServiceLifetime::finishesWhileTheHostHearsOfTheError()
{
    const ScriptedNetwork network;
    FeedbackManager feedback(nullptr);
    writeBytes(feedback.feedbackFileName(), "PK");
    QEventLoop dialogue;
    bool wasThere = false;
    const auto closeLater = [&] { QTimer::singleShot(0, &dialogue, &QEventLoop::quit); };
    m_manager->sendFeedback(&feedback, closeLater, [&](QNetworkReply::NetworkError) {
        const QPointer<ScriptedReply> emitting = network.reply();
        QTimer::singleShot(0, emitting, [emitting] { emitting->finish(); });
        dialogue.exec();
        wasThere = !emitting.isNull();
    });
    QTimer::singleShot(0, network.reply(),
                       [&network] { network.reply()->fail(QNetworkReply::HostNotFoundError); });
    runUntilRepliesAreGone();
    QVERIFY(wasThere);
    QCOMPARE(m_log->messages().last(), QString("A feedback have sent to server"));
}

// A slot of another signal of the reply stands for anything that happens in between.
void TestServiceLifetime::isDeletedBetweenErrorAndEnd()
{
    m_server->answer(kCheck, {status("404 Not Found")});
    m_manager->checkVersion();
    connect(serviceReplies().last(), &QNetworkReply::errorOccurred, m_manager,
            [this] { m_manager->deleteLater(); });
    runUntilRepliesAreGone();
    QVERIFY(!m_manager);
}

// One manager for both requests: the first one's host waits in a loop, and there the second one's
// deletes the manager.
void TestServiceLifetime::keepsAReplyThatIsEmittingWhileAHostWaits()
{
    QEventLoop inner;
    int announcements = 0;
    connect(m_manager, &NetRCManager::hasNewAppVersion, this, [&] {
        if (++announcements == 1) {
            m_manager->checkVersion();
            inner.exec();
            return;
        }
        delete m_manager;
        QTimer::singleShot(0, &inner, &QEventLoop::quit);
    });
    m_manager->checkVersion();
    runUntilRepliesAreGone();
    QCOMPARE(announcements, 2);
    QVERIFY(!m_manager);
}

void TestServiceLifetime::keepsItsRepliesAfterAnAnnouncement()
{
    QObject *owner = nullptr;
    QPointer<QNetworkReply> reply;
    m_manager->checkVersion();
    reply = serviceReplies().last();
    owner = reply->parent();
    QVERIFY(owner);
    connect(reply, &QNetworkReply::finished, this, [&] { QCOMPARE(reply->parent(), owner); });
    QSignalSpy announcements(m_manager, &NetRCManager::hasNewAppVersion);
    QVERIFY(announcements.wait());
}

void TestServiceLifetime::belongsToItsParent()
{
    auto parent = std::make_unique<QObject>();
    const QPointer<NetRCManager> child = new NetRCManager(parent.get());
    QCOMPARE(child->parent(), parent.get());
    child->checkVersion();
    parent.reset();
    QVERIFY(!child);
}

QTEST_GUILESS_MAIN(TestServiceLifetime)
#include "tst_servicelifetime.moc"
