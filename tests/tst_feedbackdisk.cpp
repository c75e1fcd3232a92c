// A disk that is full at any byte of what a feedback writes.

#include <support/ConfigurationSupport.h>
#include <support/FeedbackRoot.h>
#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>
#include <support/ZipListing.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>

#include <QtTest>

#include <cerrno>
#include <csignal>

using namespace corvane::test;

class TestFeedbackDisk : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void aMessageIsCutAndKeptInMemory();
    void aMessageOverAnOldOneIsMixedWithIt();
    void aContactIsKeptInMemory();
    void aFeedbackIsMadeAllTheSame();
    void noPackageIsLeftThatIsCut();

private:
    FeedbackRoot m_root;
};

void TestFeedbackDisk::initTestCase()
{
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
}

void TestFeedbackDisk::init()
{
    m_root.clear();
    setInterfaces({});
}

// The message's file has no word for it; the form takes the message from memory.
void TestFeedbackDisk::aMessageIsCutAndKeptInMemory()
{
    const QByteArray message = "Es blinkt, wenn es blau sein soll: größer.";
    FeedbackManager feedback(nullptr);
    for (int room = 0; room <= message.size(); ++room) {
        QFile::remove(m_root.path(".txt"));
        const LogCapture log;
        {
            const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
            feedback.setUserMsg(QString::fromUtf8(message));
        }
        QCOMPARE(bytesOf(m_root.path(".txt")), message.left(room));
        QCOMPARE(feedback.userMsg().toUtf8(), message);
        feedback.setUserMsg(QString::fromUtf8(message));
        QCOMPARE(bytesOf(m_root.path(".txt")), message);
        QCOMPARE(logged(log), QStringList());
    }
}

void TestFeedbackDisk::aMessageOverAnOldOneIsMixedWithIt()
{
    const QByteArray before = "an old message";
    const QByteArray after = "A NEW AND LONGER MESSAGE";
    FeedbackManager feedback(nullptr);
    for (int room = 0; room < after.size(); ++room) {
        writeBytes(m_root.path(".txt"), before);
        {
            const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
            feedback.setUserMsg(after);
        }
        QCOMPARE(bytesOf(m_root.path(".txt")), after.left(room) + before.mid(room));
    }
}

void TestFeedbackDisk::aContactIsKeptInMemory()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("me");
    feedback.setUserMsg("help");
    const QByteArray whole = bytesOf(m_root.path("global.json"));
    for (int room = 0; room < whole.size(); ++room) {
        const LogCapture log;
        {
            const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
            feedback.setUserContactInfo("me");
        }
        QCOMPARE(logged(log), saveFailure(m_root.path("global.json"), reason(EFBIG)));
        QCOMPARE(bytesOf(m_root.path("global.json")), whole.left(room));
        QCOMPARE(bytesOf(m_root.path("me.txt")), QByteArray("help"));
        QCOMPARE(feedback.userContactInfo(), QString("me"));
        QCOMPARE(FeedbackManager(nullptr).userContactInfo(), QString("me")); // and saves it again
        QCOMPARE(bytesOf(m_root.path("global.json")), whole);
        QCOMPARE(log.lines().size(), 1);
    }
}

void TestFeedbackDisk::aFeedbackIsMadeAllTheSame()
{
    ConfigurationManager::setGlobalValue(QStringList("userContactInfo"), "me");
    const LogCapture log;
    const LowLimit fileSize(RLIMIT_FSIZE, 0);
    const FeedbackManager feedback(nullptr);
    QCOMPARE(logged(log), saveFailure(m_root.path("global.json"), reason(EFBIG)));
    QCOMPARE(feedback.userContactInfo(), QString("me"));
    QVERIFY(feedback.feedbackFileName().startsWith(m_root.path("Corvane__")));
}

void TestFeedbackDisk::noPackageIsLeftThatIsCut()
{
    m_root.write("effects/wave.json", "{}");
    m_root.write("logs/a.log", "a line");
    FeedbackManager feedback(nullptr);
    const QString path = feedback.zipFeedbackFile();
    const qint64 whole = QFileInfo(path).size();
    QVERIFY(whole > 100);
    const LogCapture log;
    for (qint64 room = 0; room < whole; ++room) {
        {
            const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
            QCOMPARE(feedback.zipFeedbackFile(), path);
        }
        QVERIFY2(!QFile::exists(path), qPrintable(QString("%1 of %2 bytes").arg(room).arg(whole)));
    }
    const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(whole));
    feedback.zipFeedbackFile();
    QCOMPARE(QFileInfo(path).size(), whole);
    QCOMPARE(logged(log), QStringList());
}

QTEST_GUILESS_MAIN(TestFeedbackDisk)
#include "tst_feedbackdisk.moc"
