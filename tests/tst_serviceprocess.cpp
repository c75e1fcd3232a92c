// What a host's process as a whole shows, seen from outside.

#include <support/HttpServer.h>
#include <support/ServiceFixture.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

using namespace corvane::test;

class TestServiceProcess : public QObject {
    Q_OBJECT
private slots:
    void init();
    void asksForTheExecutable_data();
    void asksForTheExecutable();
    void needsNoMemoryForTheInstaller();

private:
    QScopedPointer<QTemporaryDir> m_directory;
    QScopedPointer<HttpServer> m_server;
};

void TestServiceProcess::init()
{
    m_directory.reset(new QTemporaryDir);
    m_server.reset(new HttpServer);
}

void TestServiceProcess::asksForTheExecutable_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("target");
    const QByteArray path = "/update_check.php?app=";
    QTest::newRow("a plain name") << "glow" << path + "glow";
    QTest::newRow("without its folder, with its suffix") << "glow.exe" << path + "glow.exe";
    QTest::newRow("a blank") << "my glow" << path + "my%20glow";
    QTest::newRow("letters beyond ASCII") << "glüh würm" << path + "gl%C3%BCh%20w%C3%BCrm";
    QTest::newRow("a per cent sign") << "100% glow" << path + "100%25%20glow";
    QTest::newRow("an ampersand is not encoded") << "glow&light" << path + "glow&light";
    QTest::newRow("a number sign cuts the name") << "glow#2" << path + "glow";
    QTest::newRow("a plus sign is not encoded") << "glow+" << path + "glow+";
}

void TestServiceProcess::asksForTheExecutable()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, target);
    const QString program = m_directory->filePath(name);
    QVERIFY(QFile::copy(CORVANE_SERVICE_HOST_PROGRAM, program));
    m_server->answer("/update_check.php", {ok(versionReply("2"))});
    QProcess host;
    host.start(program, {m_directory->filePath("root"), m_server->host(), "check"});
    QVERIFY(host.waitForFinished(60000));
    QVERIFY2(host.exitCode() == 0, host.readAllStandardError().constData());
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_server->requests().first().split(' ').value(1), target);
}

// The network is faster than hashing and writing, so all of it would wait in memory if it could.
// It is held back until the download has set its limit: what comes before that depends on how the
// system schedules the two processes.
void TestServiceProcess::needsNoMemoryForTheInstaller()
{
    constexpr int kMebibytes = 256;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (int n = 0; n < kMebibytes; ++n)
        hash.addData(noise());
    const QString digest = QString::fromLatin1(hash.result().toHex());
    Answer waiting = installer(kMebibytes);
    waiting.patternWaits = true;
    m_server->answer("/update_check.php", {ok(versionReply("2", m_server->url("/i"), digest))});
    m_server->answer("/i", {waiting});

    QProcess host;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // AddressSanitizer holds back what was freed; a little of that is enough here.
    environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":quarantine_size_mb=4");
    host.setProcessEnvironment(environment);
    host.start(CORVANE_SERVICE_HOST_PROGRAM,
               {m_directory->filePath("root"), m_server->host(), "download"});
    QVERIFY(host.waitForReadyRead(60000));
    QCOMPARE(host.readAll(), QByteArray("downloading\n"));
    m_server->release();
    QVERIFY(host.waitForFinished(60000));
    QVERIFY2(host.exitCode() == 0, host.readAllStandardError().constData());
    QCOMPARE(QFileInfo(m_directory->filePath("root/resources/install.exe")).size(),
             qint64(kMebibytes) << 20);
    bool isNumber = false;
    const int growth = host.readAll().trimmed().toInt(&isNumber);
    QVERIFY(isNumber);
    qInfo("%d KiB", growth);
    QVERIFY2(growth < 64 * 1024, qPrintable(QString::number(growth)));
}

QTEST_GUILESS_MAIN(TestServiceProcess)
#include "tst_serviceprocess.moc"
