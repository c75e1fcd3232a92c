// The system's mkdir() and rmdir() are replaced by ones that note their calls.

#include <support/ConfigurationSupport.h>
#include <support/HostProcess.h>
#include <support/Interpose.h>
#include <support/PythonJson.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <type_traits>

using namespace corvane::test;
using Manager = ConfigurationManager;

static_assert(std::is_same_v<decltype(&Manager::reset), void (Manager::*)()>);
static_assert(std::is_same_v<decltype(&Manager::EnableCleanStartup), void (Manager::*)()>);

namespace {

/// The calls of the test that runs, as "mkdir path" and "rmdir path".
QStringList calls;

Manager *manager()
{
    return Manager::instance();
}

const QStringList kSkeleton{"controllers/", "dumps/", "effects/", "logs/", "resources/"};

} // namespace

extern "C" int mkdir(const char *path, mode_t mode) noexcept
{
    static const auto system = nextFunction<int(const char *, mode_t)>("mkdir");
    calls << "mkdir " + QString::fromLocal8Bit(path);
    return system(path, mode);
}

extern "C" int rmdir(const char *path) noexcept
{
    static const auto system = nextFunction<int(const char *)>("rmdir");
    calls << "rmdir " + QString::fromLocal8Bit(path);
    return system(path);
}

// One object per process: each test uses cache names or keys of its own.
class TestConfigurationReset : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void removesControllersEffectsAndDownloads();
    void keepsTheRestWithItsContent();
    void warnsOfTheTwoFilesOnly();
    void worksInItsOrder();
    void keepsWhatIsInMemory();
    void makesMissingDirectories();
    void makesNoMissingRoot();
    void goesOnAfterAFailure_data();
    void goesOnAfterAFailure();
    void leavesAFileInADirectorysPlace();
    void emptiesWhatALinkInADirectorysPlaceLeadsTo();
    void removesADirectoryInAFilesPlace();
    void changesNothingAtTheSecondTime();

    void notesACleanStartupOnDisk();
    void notesACleanStartupOverAnyValue_data();
    void notesACleanStartupOverAnyValue();
    void notesACleanStartupBesideWhatWasNotRead();
    void keepsTheNoteInMemoryWhenItCannotBeWritten();
    void startsOverInThreeProcesses();

private:
    QString file(const QString &name) const { return m_root + '/' + name; }
    QStringList twoWarnings() const
    {
        return missing(file("global.json")) + missing(file("config.json"));
    }
    HostResult host(const QStringList &commands) const
    {
        return runHost(CORVANE_CONFIG_HOST, QStringList{"setConfigPath", m_root} + commands);
    }

    QTemporaryDir m_directory;
    QString m_root;
};

void TestConfigurationReset::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_root = m_directory.filePath("root");
    Manager::setConfigPath(m_root);
    QCOMPARE(manager()->configPath(), m_root);
}

/// A data root that has been used for a while.
void TestConfigurationReset::init()
{
    QVERIFY(QDir(m_root).removeRecursively());
    for (const char *name : {"controllers/room", "effects", "resources/.cache", "logs/devices",
                             "logs/usrOptions", "dumps"})
        QVERIFY(QDir().mkpath(file(name)));
    writeBytes(file("global.json"), R"({"language": "de"})");
    writeBytes(file("config.json"), "the host's own");
    writeBytes(file("notes.txt"), "the user's own");
    writeBytes(file("controllers/desk.json"), R"({"brightness": 80})");
    writeBytes(file("controllers/room/shelf.json"), "{}");
    writeBytes(file("effects/music_wave.json"), R"({"colour": {"hue": 200}})");
    writeBytes(file("effects/.hidden"), "");
    writeBytes(file("resources/install.exe"), "MZ");
    writeBytes(file("resources/.cache/part"), "");
    writeBytes(file("logs/today.log"), "a log");
    writeBytes(file("logs/devices/desk.log"), "a device's log");
    writeBytes(file("dumps/crash.dmp"), "a dump");
    calls.clear();
}

void TestConfigurationReset::removesControllersEffectsAndDownloads()
{
    manager()->reset();
    for (const char *name : {"controllers", "effects", "resources"})
        QCOMPARE(treeOf(file(name)), QStringList());
}

void TestConfigurationReset::keepsTheRestWithItsContent()
{
    manager()->reset();
    QCOMPARE(treeOf(m_root),
             (QStringList{"config.json", "controllers/", "dumps/", "dumps/crash.dmp", "effects/",
                          "global.json", "logs/", "logs/devices/", "logs/devices/desk.log",
                          "logs/today.log", "logs/usrOptions/", "notes.txt", "resources/"}));
    QCOMPARE(pythonJson(file("global.json")), QByteArray(R"({"language":"de"})"));
    QCOMPARE(bytesOf(file("config.json")), QByteArray("the host's own"));
    QCOMPARE(bytesOf(file("notes.txt")), QByteArray("the user's own"));
    QCOMPARE(bytesOf(file("logs/today.log")), QByteArray("a log"));
    QCOMPARE(bytesOf(file("logs/devices/desk.log")), QByteArray("a device's log"));
    QCOMPARE(bytesOf(file("dumps/crash.dmp")), QByteArray("a dump"));
}

void TestConfigurationReset::warnsOfTheTwoFilesOnly()
{
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log), twoWarnings());
}

void TestConfigurationReset::worksInItsOrder()
{
    for (const char *name : {"controllers/room", "resources/.cache"})
        QVERIFY(QDir(file(name)).removeRecursively());
    calls.clear();
    manager()->reset();
    QCOMPARE(calls,
             (QStringList{"rmdir " + file("resources"), "rmdir " + file("effects"),
                          "rmdir " + file("controllers"), "mkdir " + file("controllers"),
                          "mkdir " + file("logs"), "mkdir " + file("effects"),
                          "mkdir " + file("dumps"), "mkdir " + file("resources")}));
}

void TestConfigurationReset::keepsWhatIsInMemory()
{
    QJsonObject &desk = manager()->controllerJsonObj("desk");
    QCOMPARE(desk, (QJsonObject{{"brightness", 80}}));
    manager()->setEffectJsonValue("music.wave", "colour", "saturation", 90);
    manager()->globalJsonObj()["unsaved"] = true;
    manager()->reset();
    QCOMPARE(&manager()->controllerJsonObj("desk"), &desk);
    QCOMPARE(desk, (QJsonObject{{"brightness", 80}}));
    QCOMPARE(manager()->effectJsonValue("music.wave", "colour", "hue"), QJsonValue(200));

    const LogCapture log;
    manager()->save();
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(pythonJson(file("controllers/desk.json")), QByteArray(R"({"brightness":80})"));
    QCOMPARE(pythonJson(file("effects/music_wave.json")),
             QByteArray(R"({"colour":{"hue":200,"saturation":90}})"));
    QVERIFY(manager()->globalValue("unsaved").toBool());
    manager()->setGlobalValue("unsaved", QJsonValue::Undefined);
}

void TestConfigurationReset::makesMissingDirectories()
{
    QVERIFY(QDir(m_root).removeRecursively());
    QVERIFY(QDir().mkdir(m_root));
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log),
             missing(file("resources")) + missing(file("effects")) + missing(file("controllers"))
                 + twoWarnings());
    QCOMPARE(treeOf(m_root), kSkeleton);
}

void TestConfigurationReset::makesNoMissingRoot()
{
    QVERIFY(QDir(m_root).removeRecursively());
    const LogCapture log;
    manager()->reset();
    QCOMPARE(log.lines().size(), 5);
    QCOMPARE(logged(log).filter("|removeDirectory|Directory does not exist: ").size(), 5);
    QVERIFY(!QFile::exists(m_root));
}

void TestConfigurationReset::goesOnAfterAFailure_data()
{
    QTest::addColumn<QString>("failing");
    QTest::newRow("the first directory") << "resources";
    QTest::newRow("the second directory") << "effects";
    QTest::newRow("the third directory") << "controllers";
}

void TestConfigurationReset::goesOnAfterAFailure()
{
    QFETCH(QString, failing);
    // Which is seen by nobody, so that the directory around it cannot be removed.
    makeLink("nowhere", file(failing + "/dangling"));
    QVERIFY(QDir(file("logs")).removeRecursively());
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log), directoryStays(file(failing)) + twoWarnings());
    QStringList expected = kSkeleton + QStringList{failing + "/dangling"};
    expected << "config.json"
             << "dumps/crash.dmp"
             << "global.json"
             << "notes.txt";
    expected.sort();
    QCOMPARE(treeOf(m_root), expected);
}

void TestConfigurationReset::leavesAFileInADirectorysPlace()
{
    QVERIFY(QDir(file("effects")).removeRecursively());
    writeBytes(file("effects"), "a file in the way");
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log), missing(file("effects")) + twoWarnings());
    QCOMPARE(bytesOf(file("effects")), QByteArray("a file in the way"));
    QCOMPARE(treeOf(file("controllers")), QStringList());
}

void TestConfigurationReset::emptiesWhatALinkInADirectorysPlaceLeadsTo()
{
    const QString elsewhere = m_directory.filePath("elsewhere");
    QVERIFY(QDir().rename(file("effects"), elsewhere));
    makeLink(elsewhere, file("effects"));
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log), directoryStays(file("effects")) + twoWarnings());
    QCOMPARE(treeOf(elsewhere), QStringList());
    QVERIFY(QFileInfo(file("effects")).isSymLink());
    QVERIFY(QDir().rmdir(elsewhere));
}

void TestConfigurationReset::removesADirectoryInAFilesPlace()
{
    QVERIFY(QFile::remove(file("config.json")));
    QVERIFY(QDir().mkpath(file("config.json/inner")));
    const LogCapture log;
    manager()->reset();
    QCOMPARE(logged(log), missing(file("global.json")));
    QVERIFY(!QFile::exists(file("config.json")));
}

void TestConfigurationReset::changesNothingAtTheSecondTime()
{
    manager()->reset();
    const QStringList once = treeOf(m_root);
    const LogCapture log;
    manager()->reset();
    QCOMPARE(treeOf(m_root), once);
    QCOMPARE(logged(log), twoWarnings());
}

void TestConfigurationReset::notesACleanStartupOnDisk()
{
    manager()->globalJsonObj() =
        QJsonObject{{"language", "de"}, {"latestVerion", QJsonObject{{"version", "1.2"}}}};
    const QSignalSpy changes(manager(), &Manager::appConfigChanged);
    const LogCapture log;
    manager()->EnableCleanStartup();
    QCOMPARE(
        pythonJson(file("global.json")),
        QByteArray(R"({"cleanStartup":true,"language":"de","latestVerion":{"version":"1.2"}})"));
    QCOMPARE(manager()->globalValue("cleanStartup"), QJsonValue(true));
    QCOMPARE(changes.count(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationReset::notesACleanStartupOverAnyValue_data()
{
    QTest::addColumn<QJsonValue>("before");
    QTest::newRow("true") << QJsonValue(true);
    QTest::newRow("false") << QJsonValue(false);
    QTest::newRow("null") << QJsonValue();
    QTest::newRow("a text") << QJsonValue("true");
    QTest::newRow("an object") << QJsonValue(QJsonObject{{"true", true}});
    QTest::newRow("an array") << QJsonValue(QJsonArray{true});
}

void TestConfigurationReset::notesACleanStartupOverAnyValue()
{
    QFETCH(QJsonValue, before);
    manager()->globalJsonObj() = QJsonObject{{"cleanStartup", before}, {"z", 1}};
    manager()->EnableCleanStartup();
    QCOMPARE(pythonJson(file("global.json")), QByteArray(R"({"cleanStartup":true,"z":1})"));
}

void TestConfigurationReset::notesACleanStartupBesideWhatWasNotRead()
{
    const HostResult result = host({"EnableCleanStartup"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.log, QByteArray());
    QCOMPARE(pythonJson(file("global.json")),
             QByteArray(R"({"cleanStartup":true,"language":"de"})"));
}

void TestConfigurationReset::keepsTheNoteInMemoryWhenItCannotBeWritten()
{
    manager()->globalJsonObj() = QJsonObject{{"language", "de"}};
    QVERIFY(QFile::remove(file("global.json")));
    QVERIFY(QDir().mkdir(file("global.json")));
    const LogCapture log;
    manager()->EnableCleanStartup();
    QCOMPARE(logged(log), saveFailure(file("global.json"), reason(EISDIR)));
    QCOMPARE(manager()->globalJsonObj(), (QJsonObject{{"cleanStartup", true}, {"language", "de"}}));
}

// What docs/configuration.md tells a host to do.
void TestConfigurationReset::startsOverInThreeProcesses()
{
    const HostResult first = host({"controllerJsonObj", "desk", "EnableCleanStartup"});
    QCOMPARE(first.output, QByteArray("{\"brightness\":80}\n"));
    QVERIFY(QFile::exists(file("controllers/desk.json")));

    const HostResult second = host({"globalJsonObj", "reset", "removeGlobalValue", "cleanStartup",
                                    "saveGlobalValues", "controllerJsonObj", "desk"});
    QCOMPARE(second.output, QByteArray("{\"cleanStartup\":true,\"language\":\"de\"}\n{}\n"));
    QCOMPARE(QString::fromUtf8(second.log).split('\n'),
             twoWarnings() + openFailure(file("controllers/desk.json"), reason(ENOENT))
                 + QStringList{""});

    const HostResult third = host({"globalJsonObj"});
    QCOMPARE(third.output, QByteArray("{\"language\":\"de\"}\n"));
    QCOMPARE(treeOf(file("controllers")), QStringList());
}

QTEST_GUILESS_MAIN(TestConfigurationReset)
#include "tst_configurationreset.moc"
