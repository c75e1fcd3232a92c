#include <support/ConfigurationSupport.h>
#include <support/HttpServer.h>
#include <support/InstallerLines.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/NetRCManager.h>

#include <QDir>
#include <QFile>
#include <QtTest>

#include <cerrno>

using namespace corvane::test;

class TestInstallerDownload : public QObject {
    Q_OBJECT
private slots:
    void init();
    void downloads_data();
    void downloads();
    void acceptsAnyCaseOfTheDigest_data();
    void acceptsAnyCaseOfTheDigest();
    void takesWhatTrickles();
    void overwritesAnOlderInstaller();
    void downloadsAgain();
    void refusesAWrongDigest_data();
    void refusesAWrongDigest();
    void removesWhatFailed_data();
    void removesWhatFailed();
    void removesWhatIsCut_data();
    void removesWhatIsCut();
    void announcesNothingThatFailed();
    void doesNotFollowRedirections();
    void failsBeforeAnyAnswer();
    void failsOnAnUnknownHost();
    void sendsNothingWithoutAFile_data();
    void sendsNothingWithoutAFile();
    void sendsAPlainRequest();

private:
    /// The version check whose answer names the installer.
    void announce(NetRCManager &manager, const QString &digest);
    /// The whole of it; returns the lines of the download.
    QStringList download(const Answer &answer, const QString &digest);

    ServiceFixture m_fixture;
    QScopedPointer<HttpServer> m_server;
    QStringList m_announced;
};

void TestInstallerDownload::init()
{
    m_fixture.reset();
    m_server.reset(new HttpServer);
    NetRCManager::setServiceHost(m_server->host());
    m_announced.clear();
    forgetServiceReplies();
}

void TestInstallerDownload::announce(NetRCManager &manager, const QString &digest)
{
    const LogCapture log;
    m_server->answer("/update_check.php",
                     {ok(versionReply("2", m_server->url("/installer"), digest))});
    QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    manager.checkVersion();
    QVERIFY(announcements.wait());
    settle();
}

QStringList TestInstallerDownload::download(const Answer &answer, const QString &digest)
{
    m_server->answer("/installer", {answer});
    NetRCManager manager(nullptr);
    announce(manager, digest);
    const LogCapture log;
    connect(&manager, &NetRCManager::newInstallationFileDownloaded, this,
            [this](const QString &path) { m_announced.append(path); });
    manager.downloadLatestApp();
    const QPointer<QNetworkReply> reply = serviceReplies().last();
    if (!QTest::qWaitFor([&] { return reply.isNull(); }, 20000))
        qFatal("A reply to a download is not deleted");
    if (manager.findChild<QFile *>())
        qFatal("The file of a download is not deleted");
    return logged(log);
}

void TestInstallerDownload::downloads_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("installer");
    const QByteArray odd = noise().left(777777);
    QTest::newRow("a small installer") << ok("the installer") << QByteArray("the installer");
    QTest::newRow("an empty installer") << ok({}) << QByteArray();
    QTest::newRow("zeros and line ends") << ok({"\0\r\n\0\n", 5}) << QByteArray("\0\r\n\0\n", 5);
    QTest::newRow("an odd length") << ok(odd) << odd;
    QTest::newRow("just the buffer's length") << installer(1) << noise();
    QTest::newRow("more than the buffer's length") << installer(5) << noise().repeated(5);
    Answer untilTheEnd;
    untilTheEnd.bytes = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nuntil the end";
    QTest::newRow("no declared length") << untilTheEnd << QByteArray("until the end");
    Answer chunked;
    chunked.bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
                    "4\r\nin p\r\n5\r\nieces\r\n0\r\n\r\n";
    QTest::newRow("in chunks") << chunked << QByteArray("in pieces");
    QTest::newRow("more than was declared") << declaring(4, "partition") << QByteArray("part");
}

void TestInstallerDownload::downloads()
{
    QFETCH(Answer, answer);
    QFETCH(QByteArray, installer);
    const QString digest = sha256(installer);
    QCOMPARE(download(answer, digest), (QStringList{digestLine(digest, digest), successLine()}));
    QCOMPARE(m_announced, QStringList(m_fixture.installerPath()));
    QVERIFY(bytesOf(m_fixture.installerPath()) == installer);
}

void TestInstallerDownload::acceptsAnyCaseOfTheDigest_data()
{
    QTest::addColumn<QString>("digest");
    const QString digest = sha256("the installer");
    QTest::newRow("capitals") << digest;
    QTest::newRow("small letters") << digest.toLower();
    QTest::newRow("both") << digest.left(32) + digest.mid(32).toLower();
}

void TestInstallerDownload::acceptsAnyCaseOfTheDigest()
{
    QFETCH(QString, digest);
    const QString capitals = digest.toUpper();
    QCOMPARE(download(ok("the installer"), digest),
             (QStringList{digestLine(capitals, capitals), successLine()}));
    QCOMPARE(m_announced, QStringList(m_fixture.installerPath()));
}

void TestInstallerDownload::takesWhatTrickles()
{
    const QString digest = sha256("drop by drop");
    QCOMPARE(download(ok("drop by drop").trickling(), digest),
             (QStringList{digestLine(digest, digest), successLine()}));
    QCOMPARE(bytesOf(m_fixture.installerPath()), QByteArray("drop by drop"));
}

void TestInstallerDownload::overwritesAnOlderInstaller()
{
    writeBytes(m_fixture.installerPath(), "an older and much longer installer");
    download(ok("new"), sha256("new"));
    QCOMPARE(bytesOf(m_fixture.installerPath()), QByteArray("new"));
}

void TestInstallerDownload::downloadsAgain()
{
    const QString digest = sha256("again");
    for (int times = 1; times <= 3; ++times) {
        QCOMPARE(download(ok("again"), digest).last(), successLine());
        QCOMPARE(m_announced.size(), times);
    }
}

void TestInstallerDownload::refusesAWrongDigest_data()
{
    QTest::addColumn<QString>("digest");
    const QString digest = sha256("the installer");
    QTest::newRow("another one") << sha256("another installer");
    QTest::newRow("none") << QString();
    QTest::newRow("half of it") << digest.left(32);
    QTest::newRow("something after it") << digest + ' ';
    QTest::newRow("a true MD5") << "6DC0B5C9EFC6F9FD6D6E8F4E28C2B1A4";
}

void TestInstallerDownload::refusesAWrongDigest()
{
    QFETCH(QString, digest);
    QCOMPARE(download(ok("the installer"), digest),
             (QStringList{digestLine(sha256("the installer"), digest), mismatchLine()}));
    QCOMPARE(m_announced, QStringList());
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerDownload::removesWhatFailed_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<QString>("reason");
    const QString refused = "Error transferring %1 - server replied: ";
    QTest::newRow("not there") << status("404 Not Found") << QByteArray() << refused + "Not Found";
    QTest::newRow("not there, with a page")
        << status("404 Not Found", "a page") << QByteArray("a page") << refused + "Not Found";
    QTest::newRow("a service that fails")
        << status("500 Broken") << QByteArray() << refused + "Broken";
    QTest::newRow("an end before the first byte")
        << ok({}).cutAt(0) << QByteArray() << "Connection closed";
}

// The error is handled first, then the end.
void TestInstallerDownload::removesWhatFailed()
{
    QFETCH(Answer, answer);
    QFETCH(QByteArray, received);
    QFETCH(QString, reason);
    const QString digest = sha256(noise());
    const QString why = reason.contains("%1") ? reason.arg(m_server->url("/installer")) : reason;
    QCOMPARE(download(answer, digest),
             (QStringList{errorLine(why), digestLine(sha256(received), digest), mismatchLine()}));
    QCOMPARE(m_announced, QStringList());
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerDownload::removesWhatIsCut_data()
{
    QTest::addColumn<int>("cutAt");
    QTest::newRow("after the headers") << 0;
    QTest::newRow("after the first byte") << 1;
    QTest::newRow("in the middle") << 500000;
    QTest::newRow("before the last byte") << noise().size() - 1;
}

// Qt does not always take an early end for an error. The digest does.
void TestInstallerDownload::removesWhatIsCut()
{
    QFETCH(int, cutAt);
    const QString digest = sha256(noise());
    QStringList lines = download(declaring(noise().size(), noise().left(cutAt)), digest);
    lines.removeAll(errorLine("Connection closed"));
    QCOMPARE(lines, (QStringList{digestLine(sha256(noise().left(cutAt)), digest), mismatchLine()}));
    QCOMPARE(m_announced, QStringList());
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

// The file has been removed at the error; an equal digest does not bring it back.
void TestInstallerDownload::announcesNothingThatFailed()
{
    const QString digest = sha256("whole");
    NetRCManager manager(nullptr);
    announce(manager, digest);
    const ScriptedNetwork network;
    const LogCapture log;
    QSignalSpy downloads(&manager, &NetRCManager::newInstallationFileDownloaded);
    manager.downloadLatestApp();
    network.reply()->deliver("whole");
    network.reply()->fail(QNetworkReply::RemoteHostClosedError);
    network.reply()->finish();
    QCOMPARE(logged(log),
             (QStringList{errorLine("as scripted"), digestLine(digest, digest), mismatchLine()}));
    QCOMPARE(downloads.count(), 0);
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerDownload::doesNotFollowRedirections()
{
    m_server->answer("/elsewhere", {ok("the installer")});
    const QString digest = sha256("the installer");
    QCOMPARE(download(redirection(m_server->url("/elsewhere")), digest),
             (QStringList{digestLine(sha256({}), digest), mismatchLine()}));
    QCOMPARE(m_announced, QStringList());
    QCOMPARE(m_server->requests().size(), 2); // the check and the installer
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerDownload::failsBeforeAnyAnswer()
{
    writeBytes(m_fixture.installerPath(), "an older installer");
    const LogCapture log;
    NetRCManager manager(nullptr);
    manager.downloadLatestApp();
    QTRY_VERIFY(!serviceReplies().last());
    QCOMPARE(logged(log),
             (QStringList{errorLine("Protocol \"\" is unknown"), digestLine(sha256({}), {}),
                          mismatchLine()}));
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
    QCOMPARE(m_server->requests().size(), 0);
}

void TestInstallerDownload::failsOnAnUnknownHost()
{
    const ScriptedNetwork network;
    const LogCapture log;
    NetRCManager manager(nullptr);
    manager.downloadLatestApp();
    QVERIFY(QFile::exists(m_fixture.installerPath()));
    network.reply()->fail(QNetworkReply::HostNotFoundError);
    QCOMPARE(logged(log), QStringList(errorLine("as scripted")));
    QVERIFY(!QFile::exists(m_fixture.installerPath()));

    // The event loop may get to deferred deletions between the two signals.
    settle();
    QVERIFY(network.reply());
    QVERIFY(manager.findChild<QFile *>());

    // And it is removed a second time.
    writeBytes(m_fixture.installerPath(), "somebody else's");
    network.reply()->finish();
    QCOMPARE(logged(log),
             (QStringList{errorLine("as scripted"), digestLine(sha256({}), {}), mismatchLine()}));
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
    settle();
    QVERIFY(!network.reply());
    QVERIFY(!manager.findChild<QFile *>());
}

void TestInstallerDownload::sendsNothingWithoutAFile_data()
{
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<int>("error");
    QTest::newRow("the folder is missing") << false << ENOENT;
    QTest::newRow("a directory is in the way") << true << EISDIR;
}

void TestInstallerDownload::sendsNothingWithoutAFile()
{
    QFETCH(bool, isDirectory);
    QFETCH(int, error);
    if (isDirectory)
        QVERIFY(QDir().mkdir(m_fixture.installerPath()));
    else
        QVERIFY(QDir().rmdir(m_fixture.path("resources")));
    const LogCapture log;
    NetRCManager manager(nullptr);
    manager.downloadLatestApp();
    QCOMPARE(logged(log),
             QStringList(downloadLine("warning",
                                      QString("An error occurred when trying to create the "
                                              "installation file \"%1\"")
                                          .arg(reason(error)))));
    QCOMPARE(serviceReplies().size(), 0);
    QCOMPARE(manager.children().size(), 0);
    QCOMPARE(QFile::exists(m_fixture.installerPath()), isDirectory);
}

void TestInstallerDownload::sendsAPlainRequest()
{
    download(ok("new"), sha256("new"));
    // The headers are Qt's own.
    QCOMPARE(m_server->requests().last(),
             "GET /installer HTTP/1.1\r\nHost: " + m_server->host().toLatin1()
                 + "\r\nConnection: Keep-Alive\r\nAccept-Encoding: gzip, deflate\r\n"
                   "Accept-Language: en,*\r\nUser-Agent: Mozilla/5.0\r\n\r\n");
}

QTEST_GUILESS_MAIN(TestInstallerDownload)
#include "tst_installerdownload.moc"
