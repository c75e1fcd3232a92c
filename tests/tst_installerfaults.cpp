// The disk's part in a download: the system's write() and close() do what a test says, and replies
// bring what it wants when it wants.

#include <support/ConfigurationSupport.h>
#include <support/InstallerLines.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/NetRCManager.h>

#include <QFile>
#include <QtTest>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

using namespace corvane::test;

namespace {

/// The descriptor to interfere with; -1 is none. Threads of Qt's write and close, too.
std::atomic<int> disturbed{-1};
/// How much the disk still takes.
size_t room = 0;
bool losesAtClose = false;

/// It comes in two pieces of the same length.
const QByteArray kInstaller = "twicefive!";

} // namespace

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto system = nextFunction<ssize_t(int, const void *, size_t)>("write");
    if (descriptor != disturbed)
        return system(descriptor, bytes, count);
    if (room == 0) {
        errno = ENOSPC;
        return -1;
    }
    const ssize_t written = system(descriptor, bytes, std::min(count, room));
    room -= size_t(written);
    return written;
}

extern "C" int close(int descriptor)
{
    static const auto system = nextFunction<int(int)>("close");
    const int result = system(descriptor);
    if (descriptor != disturbed || !losesAtClose)
        return result;
    errno = EIO;
    return -1;
}

class TestInstallerFaults : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void cancelsWhenTheDiskIsFull_data();
    void cancelsWhenTheDiskIsFull();
    void noticesAFullDiskAtTheEnd();
    void writesOnAfterAShortWrite();
    void noticesALossAtClosing();
    void takesWhatIsUnreadAtTheEnd();
    void limitsWhatWaitsToBeWritten();
    void complainsAboutAMissingFile();

private:
    /// A download under way, of an installer with this content.
    void start(const QByteArray &installer);
    QStringList failure(const QByteArray &written) const;

    ServiceFixture m_fixture;
    const ScriptedNetwork m_network;
    QScopedPointer<LogCapture> m_log;
    QScopedPointer<NetRCManager> m_manager;
    QScopedPointer<QSignalSpy> m_downloads;
    QPointer<ScriptedReply> m_reply;
    QString m_digest;
};

void TestInstallerFaults::init()
{
    m_fixture.reset();
    m_log.reset(new LogCapture);
    m_manager.reset(new NetRCManager(nullptr));
    m_downloads.reset(
        new QSignalSpy(m_manager.data(), &NetRCManager::newInstallationFileDownloaded));
    room = 0;
    losesAtClose = false;
}

void TestInstallerFaults::cleanup()
{
    disturbed = -1;
    m_downloads.reset();
    m_manager.reset();
    m_log.reset();
}

void TestInstallerFaults::start(const QByteArray &installer)
{
    m_digest = sha256(installer);
    m_manager->checkVersion();
    m_network.reply()->deliver(versionReply("2", "http://127.0.0.1/installer", m_digest));
    m_network.reply()->finish();
    m_manager->downloadLatestApp();
    m_reply = m_network.reply();
    m_log->clear();
    disturbed = m_manager->findChild<QFile *>()->handle();
}

/// The lines of a disk that is full after some bytes.
QStringList TestInstallerFaults::failure(const QByteArray &written) const
{
    return {unwrittenLine(reason(ENOSPC)), errorLine("as scripted"),
            digestLine(sha256(written), m_digest), mismatchLine()};
}

void TestInstallerFaults::cancelsWhenTheDiskIsFull_data()
{
    QTest::addColumn<int>("takes");
    for (int takes = 0; takes < kInstaller.size(); ++takes)
        QTest::newRow(qPrintable(QString("after %1 bytes").arg(takes))) << takes;
}

void TestInstallerFaults::cancelsWhenTheDiskIsFull()
{
    QFETCH(int, takes);
    start(kInstaller);
    room = size_t(takes);
    m_reply->deliver(kInstaller.left(5));
    if (takes >= 5)
        m_reply->deliver(kInstaller.mid(5));
    QVERIFY(m_reply->isFinished()); // cancelled
    QCOMPARE(logged(*m_log), failure(kInstaller.left(takes)));
    QCOMPARE(m_downloads->count(), 0);
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
    settle();
    QVERIFY(!m_reply);
    QVERIFY(!m_manager->findChild<QFile *>());
}

void TestInstallerFaults::noticesAFullDiskAtTheEnd()
{
    start("twicefive!");
    room = 8;
    m_reply->deliver("twice");
    m_reply->deliver("five!", true);
    m_reply->finish();
    QCOMPARE(logged(*m_log),
             (QStringList{unwrittenLine(reason(ENOSPC)), digestLine(sha256("twicefiv"), m_digest),
                          mismatchLine()}));
    QCOMPARE(m_downloads->count(), 0);
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerFaults::writesOnAfterAShortWrite()
{
    start("short");
    room = 3;
    const auto makeRoom = [] { room = 100; };
    m_reply->deliver("sho");
    makeRoom();
    m_reply->deliver("rt");
    m_reply->finish();
    QCOMPARE(logged(*m_log), (QStringList{digestLine(m_digest, m_digest), successLine()}));
    QCOMPARE(bytesOf(m_fixture.installerPath()), QByteArray("short"));
}

void TestInstallerFaults::noticesALossAtClosing()
{
    start("the installer");
    room = 100;
    losesAtClose = true;
    m_reply->deliver("the installer");
    m_reply->finish();
    QCOMPARE(
        logged(*m_log),
        (QStringList{unwrittenLine(reason(EIO)), digestLine(m_digest, m_digest), mismatchLine()}));
    QCOMPARE(m_downloads->count(), 0);
    QVERIFY(!QFile::exists(m_fixture.installerPath()));
}

void TestInstallerFaults::takesWhatIsUnreadAtTheEnd()
{
    start("unread");
    room = 100;
    m_reply->deliver("un");
    m_reply->deliver("read", true);
    m_reply->finish();
    QCOMPARE(logged(*m_log), (QStringList{digestLine(m_digest, m_digest), successLine()}));
    QCOMPARE(bytesOf(m_fixture.installerPath()), QByteArray("unread"));
}

void TestInstallerFaults::limitsWhatWaitsToBeWritten()
{
    start("the installer");
    QCOMPARE(m_reply->readBufferSize(), qint64(1) << 20);
    QCOMPARE(m_reply->parent(), m_manager.data());
}

void TestInstallerFaults::complainsAboutAMissingFile()
{
    start("lost");
    delete m_manager->findChild<QFile *>();
    const QString complaint =
        downloadLine("critical", "The QFile object has been null when reading some new data");
    m_reply->deliver("lo");
    m_reply->deliver("st");
    QCOMPARE(logged(*m_log), (QStringList{complaint, complaint}));
    QCOMPARE(m_reply->bytesAvailable(), qint64(0)); // nothing holds up the rest
    m_reply->finish();
    QCOMPARE(logged(*m_log).size(), 2);
    QCOMPARE(m_downloads->count(), 0);
    QVERIFY(QFile::exists(m_fixture.installerPath()));
}

QTEST_GUILESS_MAIN(TestInstallerFaults)
#include "tst_installerfaults.moc"
