// The copies of the system's crash reports, in a home directory of this program's own.

#include <support/ConfigurationSupport.h>
#include <support/FeedbackRoot.h>
#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>
#include <support/ZipListing.h>

#include <LibCorvane/FeedbackManager.h>

#include <QtTest>

using namespace corvane::test;

namespace {

constexpr qint64 kSecond = 1000000000;
constexpr qint64 kStart = 1710000000 * kSecond;

} // namespace

class TestFeedbackCrashLogs : public QObject {
    Q_OBJECT
private slots:
    void init();
    void warnsOfAMissingSource();
    void makesTheTarget();
    void copiesTheNewestTwenty();
    void copiesNothingElse();
    void keepsAReportThatIsThere();
    void leavesAFileInTheTargetsPlace();
    void isNoPartOfThePackage();

private:
    void addReport(const QString &name, const QByteArray &bytes, qint64 time) const;
    QStringList copies() const;
    QString source() const { return m_home->filePath("Library/Logs/DiagnosticReports"); }
    QStringList copyLine() const;

    FeedbackRoot m_root;
    std::unique_ptr<QTemporaryDir> m_home;
};

void TestFeedbackCrashLogs::init()
{
    m_root.clear();
    setInterfaces({});
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", QFile::encodeName(m_home->path()));
    QCOMPARE(QDir::homePath(), m_home->path());
}

void TestFeedbackCrashLogs::addReport(const QString &name, const QByteArray &bytes,
                                      qint64 time) const
{
    QVERIFY(QDir().mkpath(source()));
    writeBytes(source() + '/' + name, bytes);
    setModificationTime(source() + '/' + name, time);
}

QStringList TestFeedbackCrashLogs::copies() const
{
    return QDir(m_root.path("ips"))
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

QStringList TestFeedbackCrashLogs::copyLine() const
{
    return {QString("debug|default|FeedbackManager::copyAppleCrashLogs|"
                    "[FeedbackManager]:  \"%1\" \r\n \"%2\"")
                .arg(source(), m_root.path("ips"))};
}

void TestFeedbackCrashLogs::warnsOfAMissingSource()
{
    QVERIFY(QDir().mkpath(m_home->filePath("Library/Logs")));
    writeBytes(m_home->filePath("at home.ips"), "not a report");
    const LogCapture log;
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QCOMPARE(logged(log),
             QStringList{QString("warning|default|FeedbackManager::copyAppleCrashLogs|"
                                 "[FeedbackManager]: Not found path: \"%1\"")
                             .arg(source())});
    QVERIFY(!QFileInfo::exists(m_root.path("ips")));
}

void TestFeedbackCrashLogs::makesTheTarget()
{
    QVERIFY(QDir().mkpath(source()));
    const LogCapture log;
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QCOMPARE(logged(log), copyLine());
    QVERIFY(QFileInfo(m_root.path("ips")).isDir());
    QCOMPARE(copies(), QStringList());
}

void TestFeedbackCrashLogs::copiesTheNewestTwenty()
{
    for (int number = 1001; number <= 1025; ++number)
        addReport(QString("größe %1.ips").arg(number), QByteArray::number(number),
                  kStart - number * kSecond);
    const LogCapture log;
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QStringList newest = numbered("größe %1.ips", 1020, 1001);
    std::reverse(newest.begin(), newest.end());
    QCOMPARE(copies(), newest);
    for (int number = 1001; number <= 1020; ++number)
        QCOMPARE(bytesOf(m_root.path(QString("ips/größe %1.ips").arg(number))),
                 QByteArray::number(number));
    QCOMPARE(logged(log), copyLine());
}

void TestFeedbackCrashLogs::copiesNothingElse()
{
    addReport("a.ips", "a", kStart);
    addReport(".hidden.ips", "hidden", kStart);
    addReport("a.crash", "another kind", kStart);
    QVERIFY(QDir().mkpath(source() + "/folder.ips"));
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QCOMPARE(copies(), QStringList{"a.ips"});
}

void TestFeedbackCrashLogs::keepsAReportThatIsThere()
{
    addReport("a.ips", "new", kStart);
    addReport("b.ips", "new", kStart);
    m_root.write("ips/a.ips", "old");
    const LogCapture log;
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QCOMPARE(bytesOf(m_root.path("ips/a.ips")), QByteArray("old"));
    QCOMPARE(bytesOf(m_root.path("ips/b.ips")), QByteArray("new"));
    QCOMPARE(logged(log), copyLine());
}

void TestFeedbackCrashLogs::leavesAFileInTheTargetsPlace()
{
    addReport("a.ips", "a", kStart);
    m_root.write("ips", "a file");
    const LogCapture log;
    FeedbackManager(nullptr).copyAppleCrashLogs();
    QCOMPARE(bytesOf(m_root.path("ips")), QByteArray("a file"));
    QCOMPARE(logged(log), copyLine());
}

void TestFeedbackCrashLogs::isNoPartOfThePackage()
{
    addReport("a.ips", "a", kStart);
    FeedbackManager feedback(nullptr);
    feedback.copyAppleCrashLogs();
    QCOMPARE(copies(), QStringList{"a.ips"});
    const ZipListing zip(feedback.zipFeedbackFile());
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.names(), packageDirectories() + QStringList{"global.json"});
}

QTEST_GUILESS_MAIN(TestFeedbackCrashLogs)
#include "tst_feedbackcrashlogs.moc"
