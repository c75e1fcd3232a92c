// What is in the package, as programs other than Qt read it.

#include <support/ConfigurationSupport.h>
#include <support/FeedbackRoot.h>
#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>
#include <support/ZipListing.h>

#include <LibCorvane/FeedbackManager.h>

#include <QtTest>

#include <private/qzipwriter_p.h>

using namespace corvane::test;

namespace {

constexpr qint64 kMicrosecond = 1000;
constexpr qint64 kMillisecond = 1000 * kMicrosecond;
constexpr qint64 kSecond = 1000 * kMillisecond;
constexpr qint64 kStart = 1710000000 * kSecond;

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

} // namespace

class TestFeedbackPackage : public QObject {
    Q_OBJECT
private slots:
    void init();
    void holdsSevenDirectoriesOnAFreshInstallation();
    void holdsItsEntriesInOrder();
    void holdsTheBytesOfEachFile();
    void takesTheNewestFiles_data();
    void takesTheNewestFiles();
    void takesFewerThanTheMost();
    void takesNoOtherFilesOfAFolder();
    void ordersFilesOfOneTimeByName();
    void tellsMillisecondsApart();
    void holdsHiddenFilesAndSubFolders();
    void givesFoldersNoEntry();
    void namesEntriesInUtf8();
    void datesEntriesWithTheTimeOfPacking();
    void replacesAnOlderPackage();
    void packsSinglePaths_data();
    void packsSinglePaths();
    void packsTheNewestOfAnyFolder_data();
    void packsTheNewestOfAnyFolder();

private:
    void build();

    FeedbackRoot m_root;
    QString m_path;
    std::unique_ptr<ZipListing> m_zip;
};

void TestFeedbackPackage::init()
{
    m_root.clear();
    setInterfaces({});
    m_path = m_root.path("package.zip");
}

void TestFeedbackPackage::build()
{
    const LogCapture log;
    FeedbackManager(nullptr).zipFeedbackFile(m_path);
    QCOMPARE(logged(log), QStringList());
    m_zip = std::make_unique<ZipListing>(m_path);
    QCOMPARE(m_zip->error(), QString());
}

void TestFeedbackPackage::holdsSevenDirectoriesOnAFreshInstallation()
{
    FeedbackManager feedback(nullptr);
    QVERIFY(QDir(m_root.path()).removeRecursively());
    QVERIFY(QDir().mkpath(m_root.path()));
    feedback.zipFeedbackFile(m_path);
    const ZipListing zip(m_path);
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.names(), packageDirectories());
    for (const ZipEntry &entry : zip.entries())
        QVERIFY2(entry.isDirectory && entry.bytes.isEmpty(), qPrintable(entry.name));
}

void TestFeedbackPackage::holdsItsEntriesInOrder()
{
    for (const char *name :
         {"dumps/a.dmp", "capturerScreenshot/a.png", "logs/usrOptions/a.log", "logs/devices/a.log",
          "logs/a.log", "effects/wave.json", "controllers/desk.json"})
        m_root.write(name, name);
    // What is not packed.
    for (const char *name : {"config.json", "ips/a.ips", "resources/install.exe", "other.json"})
        m_root.write(name, name);
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("me");
    feedback.setUserMsg("hello");
    build();
    QCOMPARE(
        m_zip->names(),
        packageDirectories()
            + QStringList({"global.json", "controllers/desk.json", "effects/wave.json", "me.txt",
                           "logs/a.log", "logs/devices/a.log", "logs/usrOptions/a.log",
                           "capturerScreenshot/a.png", "dumps/a.dmp"}));
}

void TestFeedbackPackage::holdsTheBytesOfEachFile()
{
    QByteArray all;
    for (int i = 0; i < 300000; ++i)
        all.append(char(i * 7 + i / 256));
    m_root.write("dumps/binary.dmp", all);
    m_root.write("logs/empty.log", "");
    m_root.write("controllers/lines.json", "{\r\n}\n\n");
    build();
    QCOMPARE(m_zip->bytes("dumps/binary.dmp"), all);
    QCOMPARE(m_zip->bytes("logs/empty.log"), QByteArray());
    QCOMPARE(m_zip->bytes("controllers/lines.json"), QByteArray("{\r\n}\n\n"));
    QCOMPARE(m_zip->bytes("global.json"), QByteArray("{\n}\n"));
}

void TestFeedbackPackage::takesTheNewestFiles_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("most");
    QTest::newRow("30 logs") << "logs/%1.log" << 30;
    QTest::newRow("30 logs of devices") << "logs/devices/%1.log" << 30;
    QTest::newRow("20 logs of options") << "logs/usrOptions/%1.log" << 20;
    QTest::newRow("20 pictures") << "capturerScreenshot/%1.png" << 20;
    QTest::newRow("256 dumps") << "dumps/%1.dmp" << 256;
}

void TestFeedbackPackage::takesTheNewestFiles()
{
    QFETCH(QString, pattern);
    QFETCH(int, most);
    // Newer ones have smaller names, and were not made last.
    const int last = 1000 + most + 15;
    for (int number = 1001; number <= last; ++number)
        m_root.write(pattern.arg(number), "x", kStart - number * kSecond);
    build();
    const QStringList files = m_zip->names().mid(packageDirectories().size() + 1);
    QStringList newest = numbered(pattern, 1000 + most, 1001);
    std::reverse(newest.begin(), newest.end());
    QCOMPARE(files, newest);
}

void TestFeedbackPackage::takesFewerThanTheMost()
{
    for (int number = 1; number <= 30; ++number)
        m_root.write(QString("logs/%1.log").arg(number), "x", kStart + number * kSecond);
    build();
    QCOMPARE(m_zip->names().mid(packageDirectories().size() + 1), numbered("logs/%1.log", 30, 1));
}

void TestFeedbackPackage::takesNoOtherFilesOfAFolder()
{
    m_root.write("logs/a.log", "a", kStart + 2 * kSecond);
    m_root.write("logs/CAPITALS.LOG", "b", kStart + kSecond);
    for (const char *name : {"logs/.hidden.log", "logs/a.log.txt", "logs/a.txt", "logs/log",
                             "logs/deep/a.log", "logs/folder.log/a.log"})
        m_root.write(name, "not packed", kStart + 3 * kSecond);
    build();
    QCOMPARE(m_zip->names().mid(packageDirectories().size() + 1),
             QStringList({"logs/a.log", "logs/CAPITALS.LOG"}));
}

void TestFeedbackPackage::ordersFilesOfOneTimeByName()
{
    for (const char *name : {"logs/b.log", "logs/d.log", "logs/a.log", "logs/c.log"})
        m_root.write(name, name, kStart);
    m_root.write("logs/newest.log", "", kStart + kMillisecond);
    // Closer than a millisecond is one time.
    m_root.write("logs/aa.log", "", kStart + kMillisecond - 1);
    build();
    QCOMPARE(m_zip->names().mid(packageDirectories().size() + 1),
             QStringList({"logs/newest.log", "logs/a.log", "logs/aa.log", "logs/b.log",
                          "logs/c.log", "logs/d.log"}));
}

void TestFeedbackPackage::tellsMillisecondsApart()
{
    for (int number = 1001; number <= 1045; ++number)
        m_root.write(QString("logs/%1.log").arg(number), "x", kStart + number * kMillisecond);
    build();
    QCOMPARE(m_zip->names().mid(packageDirectories().size() + 1),
             numbered("logs/%1.log", 1045, 1016));
}

void TestFeedbackPackage::holdsHiddenFilesAndSubFolders()
{
    const QStringList controllers = {"controllers/.hidden", "controllers/desk.json",
                                     "controllers/.folder/deep/deeper/a.json",
                                     "controllers/sub-folder/file", "controllers/sub-folder/other"};
    const QStringList effects = {"effects/a/b/c", "effects/wave.json"};
    for (const QString &name : controllers + effects)
        m_root.write(name, name.toUtf8());
    build();
    const QStringList files = m_zip->names().mid(packageDirectories().size() + 1);
    QCOMPARE(sorted(files.mid(0, controllers.size())), sorted(controllers));
    QCOMPARE(sorted(files.mid(controllers.size())), sorted(effects));
    for (const QString &name : files)
        QCOMPARE(m_zip->bytes(name), name.toUtf8());
}

void TestFeedbackPackage::givesFoldersNoEntry()
{
    m_root.makeFolder("controllers/empty/deep");
    m_root.write("effects/full/file", "");
    build();
    QCOMPARE(m_zip->names(),
             packageDirectories() + QStringList({"global.json", "effects/full/file"}));
}

void TestFeedbackPackage::namesEntriesInUtf8()
{
    const QStringList names = {"controllers/Größe über alles.json", "controllers/灯 1/ärger.json",
                               "effects/a b  c.json", "logs/журнал.log"};
    for (const QString &name : names)
        m_root.write(name, name.toUtf8());
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("Zoë <zoë@example.org>");
    feedback.setUserMsg("hello");
    build();
    for (const QString &name : names)
        QCOMPARE(m_zip->bytes(name), name.toUtf8());
    QCOMPARE(m_zip->bytes("Zoë <zoë@example.org>.txt"), QByteArray("hello"));
    for (const ZipEntry &entry : m_zip->entries())
        QVERIFY2(entry.flags & kUtf8Names, qPrintable(entry.name));
}

void TestFeedbackPackage::datesEntriesWithTheTimeOfPacking()
{
    constexpr int kResolution = 2;
    m_root.write("logs/old.log", "", kStart);
    const QDateTime before = QDateTime::currentDateTime().addSecs(-kResolution);
    build();
    const QDateTime after = QDateTime::currentDateTime();
    for (const ZipEntry &entry : m_zip->entries())
        QVERIFY2(before <= entry.time && entry.time <= after, qPrintable(entry.time.toString()));
}

void TestFeedbackPackage::replacesAnOlderPackage()
{
    m_root.write("logs/large.log", QByteArray(100000, 'x').toBase64());
    build();
    const qint64 size = QFileInfo(m_path).size();
    QVERIFY(QFile::remove(m_root.path("logs/large.log")));
    build();
    QCOMPARE(m_zip->names(), packageDirectories() + QStringList{"global.json"});
    QVERIFY(QFileInfo(m_path).size() < size);
}

void TestFeedbackPackage::packsSinglePaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("a file") << "logs/a.log" << QStringList{"logs/a.log"};
    QTest::newRow("a folder") << "logs" << QStringList{"logs/a.log"};
    QTest::newRow("a folder with a slash") << "logs/" << QStringList{"logs/a.log"};
    QTest::newRow("an absolute path") << m_root.path("logs/a.log") << QStringList{"logs/a.log"};
    QTest::newRow("what is missing") << "missing/a.log" << QStringList{};
}

void TestFeedbackPackage::packsSinglePaths()
{
    QFETCH(QString, path);
    m_root.write("logs/a.log", "a");
    const LogCapture log;
    QZipWriter zip(m_path);
    FeedbackManager(nullptr).addFileToZip(zip, m_root.path(), path);
    zip.addDirectory("end");
    zip.close();
    const ZipListing listing(m_path);
    QCOMPARE(listing.error(), QString());
    QFETCH(QStringList, names);
    QCOMPARE(listing.names(), names + QStringList{"end/"});
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackPackage::packsTheNewestOfAnyFolder_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("some of them") << "pictures" << 2 << "*.png"
                                  << QStringList{"pictures/c.png", "pictures/b.png"};
    QTest::newRow("another pattern")
        << "pictures" << 9 << "[ab].*" << QStringList{"pictures/b.png", "pictures/a.png"};
    QTest::newRow("none of them") << "pictures" << 0 << "*.png" << QStringList{};
    QTest::newRow("fewer than none") << "pictures" << -1 << "*.png" << QStringList{};
    QTest::newRow("a folder that is missing, beside such files")
        << "missing" << 9 << "*" << QStringList{};
}

void TestFeedbackPackage::packsTheNewestOfAnyFolder()
{
    QFETCH(QString, folder);
    QFETCH(int, count);
    QFETCH(QString, pattern);
    m_root.write("beside.png", "");
    for (const char *name : {"pictures/a.png", "pictures/b.png", "pictures/c.png"})
        m_root.write(name, "", kStart + name[9] * kSecond);
    QZipWriter zip(m_path);
    FeedbackManager(nullptr).addLastFilesToZip(zip, m_root.path(), folder, count, pattern);
    zip.addDirectory("end");
    zip.close();
    const ZipListing listing(m_path);
    QCOMPARE(listing.error(), QString());
    QFETCH(QStringList, names);
    QCOMPARE(listing.names(), names + QStringList{"end/"});
}

QTEST_GUILESS_MAIN(TestFeedbackPackage)
#include "tst_feedbackpackage.moc"
