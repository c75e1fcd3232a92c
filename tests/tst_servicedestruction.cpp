// A host that deletes what it uses at any moment of the work, with everything under way at once.
// What is wrong here shows under AddressSanitizer at the latest.

#include <support/ConfigurationSupport.h>
#include <support/Destruction.h>
#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QFile>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>

using namespace corvane::test;

class TestServiceDestruction : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void managerGoesAtAnyMoment_data() { addSeeds(60); }
    void managerGoesAtAnyMoment();
    void managerGoesInAnySlot_data() { addSeeds(60); }
    void managerGoesInAnySlot();
    void feedbackGoesAtAnyMoment_data() { addSeeds(60); }
    void feedbackGoesAtAnyMoment();

private:
    /// Each kind of request, and a manager with an installer to download.
    void startEverything(FeedbackManager &feedback, const std::function<void()> &onTold);

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QPointer<NetRCManager> m_manager;
};

void TestServiceDestruction::initTestCase()
{
    m_server.reset(new HttpServer);
    const QByteArray content(5000, 'x');
    const QByteArray version = versionReply("2", m_server->url("/installer"), sha256(content));
    m_server->answer("/update_check.php",
                     {ok(version), ok(version).trickling(), ok(version).cutAt(90), ok("no JSON")});
    m_server->answer("/installer", {ok(content), ok(content).cutAt(3000)});
    m_server->answer("/app/logupload.php", {ok("thanks"), ok("thanks").resetting()});
    m_server->answer("/activate.php", {ok("thanks"), status("500 Broken")});
    NetRCManager::setServiceHost(m_server->host());
}

void TestServiceDestruction::cleanup()
{
    delete m_manager;
    settle();
    for (const auto &reply : serviceReplies())
        QVERIFY(!reply);
    forgetServiceReplies();
}

void TestServiceDestruction::startEverything(FeedbackManager &feedback,
                                             const std::function<void()> &onTold)
{
    m_fixture.reset();
    m_manager = new NetRCManager(nullptr);
    connect(m_manager, &NetRCManager::hasNewAppVersion, m_manager,
            &NetRCManager::downloadLatestApp);
    connect(m_manager, &NetRCManager::hasNewAppVersion, this, onTold);
    connect(m_manager, &NetRCManager::newInstallationFileDownloaded, this, onTold);
    writeBytes(feedback.feedbackFileName(), QByteArray(20000, 'z'));
    m_manager->checkVersion();
    m_manager->downloadLatestApp(); // of nothing yet
    m_manager->sendFeedback(&feedback, onTold, [onTold](QNetworkReply::NetworkError) { onTold(); });
    m_manager->uploadAppOnOffTime("then", {});
}

void TestServiceDestruction::managerGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const LogCapture log;
    FeedbackManager feedback(nullptr);
    startEverything(feedback, [] {});
    turn(int(random() % 60));
    const auto before = log.lines().size();
    delete m_manager;
    QCOMPARE(log.lines().size(), before);
    turn(5);
    QCOMPARE(log.lines().size(), before); // nothing is heard of it any more
}

void TestServiceDestruction::managerGoesInAnySlot()
{
    QFETCH(unsigned, seed);
    const int last = int(seed % 5);
    const LogCapture log;
    FeedbackManager feedback(nullptr);
    int told = 0;
    startEverything(feedback, [this, &told, last] {
        if (told++ == last)
            delete m_manager;
    });
    const auto isOver = [this] {
        const auto replies = serviceReplies();
        return !m_manager || std::all_of(replies.begin(), replies.end(), [](const auto &reply) {
            return !reply || reply->isFinished();
        });
    };
    while (!isOver())
        turn(1);
    turn(3);
    if (!m_manager)
        QCOMPARE(told, last + 1); // and nothing after it
}

void TestServiceDestruction::feedbackGoesAtAnyMoment()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const LogCapture log;
    auto feedback = std::make_unique<FeedbackManager>(nullptr);
    bool isSent = false;
    m_fixture.reset();
    m_manager = new NetRCManager(nullptr);
    writeBytes(feedback->feedbackFileName(), QByteArray(300000, 'z'));
    m_manager->sendFeedback(feedback.get(), [&isSent] { isSent = true; }, {});
    turn(int(random() % 30));
    feedback.reset();
    while (!isSent)
        turn(1);
    QCOMPARE(log.messages().last(), QString("A feedback have sent to server"));
}

QTEST_GUILESS_MAIN(TestServiceDestruction)
#include "tst_servicedestruction.moc"
