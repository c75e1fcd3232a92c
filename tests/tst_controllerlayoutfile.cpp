#include <support/ConfigurationSupport.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>
#include <type_traits>

using namespace corvane::test;
using Manager = ConfigurationManager;

static_assert(
    std::is_same_v<decltype(&Manager::generateControllerConfig), void (*)(QString, int, int, int)>);

namespace {

/// What logged() gives for a call.
QStringList debugLine(const QString &message)
{
    return {"debug|default|ConfigurationManager::generateControllerConfig|" + message};
}

QJsonObject parsed(const QString &path)
{
    return QJsonDocument::fromJson(bytesOf(path)).object();
}

} // namespace

class TestControllerLayoutFile : public QObject {
    Q_OBJECT
private slots:
    void init();

    void makesTheFolderWithItsParents();
    void writesIndentedUtf8();
    void writesWhatTheHostReads();
    void replacesAnOlderLongerFile();
    void writesIntoAFolderThatIsThere();
    void namesTheFile_data();
    void namesTheFile();
    void leavesTheOldFileWhenItCannotBeOpened();
    void leavesWhatElseHasTheFilesName();
    void makesNoFolderForASlashInTheName();
    void writesNoOtherFileForANulInTheName();
    void leavesTheOldFileWhenThereAreTooManyKeys();
    void logsTheDimensions_data();
    void logsTheDimensions();
    void leavesTheDataRootAlone();

private:
    QString file(const QString &name) const { return m_folder + name; }

    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_folder;
};

void TestControllerLayoutFile::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    qputenv("XDG_DATA_HOME", m_directory->filePath("home/share").toLocal8Bit());
    QCoreApplication::setOrganizationName("Acme");
    QCoreApplication::setApplicationName("glow");
    m_folder = m_directory->filePath("home/share/Acme/glow/controler_config/");
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::DataLocation) + "/controler_config/",
             m_folder);
}

void TestControllerLayoutFile::makesTheFolderWithItsParents()
{
    QVERIFY(!QDir(m_directory->filePath("home")).exists());
    Manager::generateControllerConfig("desk", 2, 4, 4);
    QCOMPARE(QDir(m_folder).entryList(QDir::Files), QStringList{"desk.json"});
}

void TestControllerLayoutFile::writesIndentedUtf8()
{
    Manager::generateControllerConfig("one", 0, 1, 0);
    QCOMPARE(bytesOf(file("one.json")),
             QByteArray("{\n"
                        "    \"key_array\": [\n"
                        "        {\n"
                        "            \"id\": 1,\n"
                        "            \"x\": 0,\n"
                        "            \"y\": 0\n"
                        "        }\n"
                        "    ],\n"
                        "    \"key_len\": 1,\n"
                        "    \"key_music\": [\n"
                        "        {\n"
                        "            \"direction\": 0,\n"
                        "            \"id\": 0,\n"
                        "            \"start\": 1,\n"
                        "            \"stop\": 0\n"
                        "        },\n"
                        "        {\n"
                        "            \"direction\": 1,\n"
                        "            \"id\": 1,\n"
                        "            \"start\": 2,\n"
                        "            \"stop\": 1\n"
                        "        }\n"
                        "    ],\n"
                        "    \"key_num\": 1,\n"
                        "    \"key_wid\": 1\n"
                        "}\n"));
}

void TestControllerLayoutFile::writesWhatTheHostReads()
{
    // Three different numbers: none of them may take another's place.
    Manager::generateControllerConfig("desk", 3, 8, 5);
    const QJsonObject layout = parsed(file("desk.json"));
    QCOMPARE(layout["key_len"].toInt(), 8);
    QCOMPARE(layout["key_wid"].toInt(), 3);
    QCOMPARE(layout["key_num"].toInt(), 19);
    QCOMPARE(layout["key_array"].toArray().size(), 19);
    QCOMPARE(layout["key_array"].toArray().last().toObject(),
             (QJsonObject{{"id", 19}, {"x", 3}, {"y", 2}}));
    QCOMPARE(layout["key_music"].toArray().size(), 6);
}

void TestControllerLayoutFile::replacesAnOlderLongerFile()
{
    Manager::generateControllerConfig("new", 0, 0, 0);
    Manager::generateControllerConfig("desk", 20, 40, 40);
    QVERIFY(bytesOf(file("desk.json")).size() > bytesOf(file("new.json")).size());
    Manager::generateControllerConfig("desk", 0, 0, 0);
    QCOMPARE(bytesOf(file("desk.json")), bytesOf(file("new.json")));
}

void TestControllerLayoutFile::writesIntoAFolderThatIsThere()
{
    QVERIFY(QDir().mkpath(m_folder));
    writeBytes(file("other.json"), "kept");
    Manager::generateControllerConfig("desk", 2, 4, 4);
    QCOMPARE(parsed(file("desk.json"))["key_num"].toInt(), 12);
    QCOMPARE(bytesOf(file("other.json")), QByteArray("kept"));
}

void TestControllerLayoutFile::namesTheFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fileName");
    QTest::newRow("a colon becomes an underscore") << "a:b"
                                                   << "a_b.json";
    QTest::newRow("each colon does") << ":1:2::"
                                     << "_1_2__.json";
    QTest::newRow("other signs stay") << "Desk 2.left (new)"
                                      << "Desk 2.left (new).json";
    QTest::newRow("letters of any script stay")
        << QString::fromUtf8("Büro:灯 💡") << QString::fromUtf8("Büro_灯 💡.json");
    QTest::newRow("no name at all") << ""
                                    << ".json";
}

void TestControllerLayoutFile::namesTheFile()
{
    QFETCH(QString, name);
    QFETCH(QString, fileName);
    Manager::generateControllerConfig(name, 2, 4, 4);
    QCOMPARE(QDir(m_folder).entryList(QDir::Files | QDir::Hidden), QStringList{fileName});
    QCOMPARE(parsed(file(fileName))["key_num"].toInt(), 12);
}

void TestControllerLayoutFile::leavesTheOldFileWhenItCannotBeOpened()
{
    Manager::generateControllerConfig("desk", 2, 4, 4);
    const QByteArray before = bytesOf(file("desk.json"));
    const auto forAll = QFile::ReadOther | QFile::ExeOther;
    QVERIFY(QFile::setPermissions(m_directory->path(), QFile::permissions(m_folder) | forAll));
    QVERIFY(QFile::setPermissions(file("desk.json"), QFile::ReadOwner));
    const LogCapture log;
    {
        const OrdinaryUser user;
        Manager::generateControllerConfig("desk", 5, 4, 4);
    }
    QCOMPARE(bytesOf(file("desk.json")), before);
    QCOMPARE(logged(log), debugLine("\"desk\"  count: 18  height: 5  width: 4"));
}

void TestControllerLayoutFile::leavesWhatElseHasTheFilesName()
{
    QVERIFY(QDir().mkpath(file("desk.json")));
    writeBytes(m_directory->filePath("home/share/Acme/file"), "kept");
    const LogCapture log;
    Manager::generateControllerConfig("desk", 2, 4, 4);
    QVERIFY(QDir(file("desk.json")).exists());
    // A folder that cannot be made, since a file has its name.
    QCoreApplication::setApplicationName("file");
    Manager::generateControllerConfig("desk", 2, 4, 4);
    QCOMPARE(bytesOf(m_directory->filePath("home/share/Acme/file")), QByteArray("kept"));
    const QStringList line = debugLine("\"desk\"  count: 12  height: 2  width: 4");
    QCOMPARE(logged(log), line + line);
}

void TestControllerLayoutFile::makesNoFolderForASlashInTheName()
{
    Manager::generateControllerConfig("sub/desk", 2, 4, 4);
    QVERIFY(QDir(m_folder).isEmpty());
    QVERIFY(QDir(m_folder).mkdir("sub"));
    Manager::generateControllerConfig("sub/desk", 2, 4, 4);
    QCOMPARE(parsed(file("sub/desk.json"))["key_num"].toInt(), 12);
}

void TestControllerLayoutFile::writesNoOtherFileForANulInTheName()
{
    QVERIFY(QDir().mkpath(m_folder));
    writeBytes(file("desk"), "kept");
    const LogCapture log;
    Manager::generateControllerConfig(QString("desk") + QChar::Null + "x", 2, 4, 4);
    QCOMPARE(treeOf(m_folder), QStringList{"desk"});
    QCOMPARE(bytesOf(file("desk")), QByteArray("kept"));
    QCOMPARE(logged(log), debugLine("\"desk\\u0000x\"  count: 12  height: 2  width: 4"));
}

void TestControllerLayoutFile::leavesTheOldFileWhenThereAreTooManyKeys()
{
    constexpr int most = std::numeric_limits<int>::max();
    Manager::generateControllerConfig("desk", 2, 4, 4);
    const QByteArray before = bytesOf(file("desk.json"));
    const LogCapture log;
    Manager::generateControllerConfig("desk", most, most, most);
    QCOMPARE(bytesOf(file("desk.json")), before);
    QCOMPARE(logged(log),
             debugLine("\"desk\"  count: 8589934588  height: 2147483647  width: 2147483647"));
}

void TestControllerLayoutFile::logsTheDimensions_data()
{
    constexpr int least = std::numeric_limits<int>::min();
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("bottom");
    QTest::addColumn<QString>("message");
    QTest::newRow("the name as it was given")
        << "a:b" << 3 << 8 << 5 << "\"a:b\"  count: 19  height: 3  width: 8";
    QTest::newRow("letters of any script") << QString::fromUtf8("Büro") << 0 << 0 << 0
                                           << QString::fromUtf8("\"Büro\"  count: 0  height: 0  "
                                                                "width: 0");
    QTest::newRow("a count beyond int")
        << "desk" << least << least << least
        << "\"desk\"  count: -8589934592  height: -2147483648  width: -2147483648";
}

void TestControllerLayoutFile::logsTheDimensions()
{
    QFETCH(QString, name);
    QFETCH(int, height);
    QFETCH(int, width);
    QFETCH(int, bottom);
    QFETCH(QString, message);
    const LogCapture log;
    Manager::generateControllerConfig(name, height, width, bottom);
    QCOMPARE(logged(log), debugLine(message));
    QVERIFY(log.lines().first().function.contains("(QString, int, int, int)"));
}

void TestControllerLayoutFile::leavesTheDataRootAlone()
{
    Manager::setConfigPath(m_directory->filePath("root"));
    Manager::generateControllerConfig("desk", 2, 4, 4);
    QVERIFY(!QDir(m_directory->filePath("root")).exists());
    Manager::instance()->save();
    QVERIFY(QDir(m_directory->filePath("root/controllers")).isEmpty());
}

QTEST_GUILESS_MAIN(TestControllerLayoutFile)
#include "tst_controllerlayoutfile.moc"
