#include <support/ConfigurationSupport.h>
#include <support/HostProcess.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

// What happens once per process, seen from outside: each case starts hosts of its own.

using corvane::test::bytesOf;
using corvane::test::HostResult;
using corvane::test::runHost;
using corvane::test::writeBytes;

namespace {

const QStringList kDirectories{"controllers", "dumps", "effects", "logs", "resources"};

QStringList entries(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                     QDir::Name);
}

} // namespace

class TestConfigurationProcess : public QObject {
    Q_OBJECT
private slots:
    void init();
    void usesThePathSetBeforeTheFirstUse();
    void ignoresAPathSetAfterTheFirstUse();
    void keepsAColonInTheRoot();
    void usesQtsLocationByDefault_data();
    void usesQtsLocationByDefault();
    void readsNoFileUntilAsked();
    void makesNoParentOfTheDataRoot();
    void isSilentWhenADirectoryCannotBeMade();
    void keepsWhatIsInTheDataRoot();
    void losesUnsavedChangesAtExit();
    void endsInASlotOfItsOwnSignal();
    void keepsSavedChangesAcrossProcesses();
    void survivesAFullDisk();

private:
    HostResult run(const QString &program, const QStringList &arguments) const;
    HostResult host(const QStringList &commands) const
    {
        return run(CORVANE_CONFIG_HOST, commands);
    }
    QString path(const QString &name) const { return m_directory->filePath(name); }

    QScopedPointer<QTemporaryDir> m_directory;
};

void TestConfigurationProcess::init()
{
    m_directory.reset(new QTemporaryDir);
    QVERIFY(m_directory->isValid());
    QVERIFY(QDir(m_directory->path()).mkdir("home"));
    QVERIFY(QDir(m_directory->path()).mkdir("xdg"));
}

/// Runs a program with a home directory of its own.
HostResult TestConfigurationProcess::run(const QString &program, const QStringList &arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", path("home"));
    environment.insert("XDG_CONFIG_HOME", path("xdg"));
    return runHost(program, arguments, environment);
}

void TestConfigurationProcess::usesThePathSetBeforeTheFirstUse()
{
    const QString root = path("root");
    const HostResult result = host({"setConfigPath", root, "gsConfigPath", "configPath"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, (root + '\n' + root + '\n').toUtf8());
    QCOMPARE(result.log, QByteArray());
    QCOMPARE(entries(root), kDirectories);
    QCOMPARE(entries(path("xdg")), QStringList());
    QCOMPARE(entries(path("home")), QStringList());
}

void TestConfigurationProcess::ignoresAPathSetAfterTheFirstUse()
{
    const QString root = path("root");
    const QString late = path("late");
    const HostResult result =
        host({"setConfigPath", root, "configPath", "setConfigPath", late, "gsConfigPath",
              "configPath", "resourcesPath", "logsPath", "setAppConfig", "key", "value"});
    QCOMPARE(result.exitCode, 0);
    const QStringList lines{root, late, root, root + "/resources", root + "/logs"};
    QCOMPARE(result.output, (lines.join('\n') + '\n').toUtf8());
    QVERIFY(!QFile::exists(late));
    QCOMPARE(bytesOf(root + "/global.json"), QByteArray("{\n    \"key\": \"value\"\n}\n"));
}

void TestConfigurationProcess::keepsAColonInTheRoot()
{
    const QString root = path("a:b");
    const HostResult result = host({"setConfigPath", root, "setAppConfig", "key", "value"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(QFile::exists(root + "/global.json"));
}

void TestConfigurationProcess::usesQtsLocationByDefault_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::newRow("no path set") << QStringList{};
    QTest::newRow("an empty path set") << QStringList{"setConfigPath", ""};
}

void TestConfigurationProcess::usesQtsLocationByDefault()
{
    QFETCH(QStringList, before);
    const HostResult result = host(before + QStringList{"standardPath", "configPath"});
    QCOMPARE(result.exitCode, 0);
    const QList<QByteArray> lines = result.output.split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(1), lines.at(0));
    QVERIFY2(lines.at(1).startsWith(m_directory->path().toUtf8()), lines.at(1).constData());
    QCOMPARE(entries(QString::fromUtf8(lines.at(1))), kDirectories);
    QCOMPARE(result.log, QByteArray());
}

void TestConfigurationProcess::readsNoFileUntilAsked()
{
    QVERIFY(QDir().mkdir(path("root")));
    writeBytes(path("root/global.json"), "broken");
    QCOMPARE(host({"setConfigPath", path("root"), "configPath"}).log, QByteArray());

    const HostResult result =
        host({"setConfigPath", path("root"), "globalJsonObj", "globalJsonObj"});
    QCOMPARE(result.output, QByteArray("{}\n{}\n"));
    QCOMPARE(QString::fromUtf8(result.log),
             QString("critical|default|ConfigurationManager::loadJsonObjectFromFile|"
                     "Failed to parse \"%1\" \"illegal value\"\n")
                 .arg(path("root/global.json")));
}

void TestConfigurationProcess::makesNoParentOfTheDataRoot()
{
    const QString root = path("missing/root");
    const HostResult quiet = host({"setConfigPath", root, "configPath"});
    QCOMPARE(quiet.exitCode, 0);
    QCOMPARE(quiet.output, (root + '\n').toUtf8());
    QCOMPARE(quiet.log, QByteArray());
    QVERIFY(!QFile::exists(path("missing")));

    const HostResult saved = host({"setConfigPath", root, "saveGlobalValues"});
    QCOMPARE(saved.exitCode, 0);
    QCOMPARE(QString::fromUtf8(saved.log),
             QString("critical|default|ConfigurationManager::saveJsonObject|"
                     "Failed to opened : \"%1/global.json\" "
                     "errStr:  \"No such file or directory\"\n")
                 .arg(root));
    QVERIFY(!QFile::exists(path("missing")));
}

void TestConfigurationProcess::isSilentWhenADirectoryCannotBeMade()
{
    QVERIFY(QDir().mkdir(path("root")));
    writeBytes(path("root/effects"), "a file in the way");
    const HostResult result = host({"setConfigPath", path("root"), "configPath"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.log, QByteArray());
    QCOMPARE(entries(path("root")), kDirectories);
    QCOMPARE(bytesOf(path("root/effects")), QByteArray("a file in the way"));
}

void TestConfigurationProcess::keepsWhatIsInTheDataRoot()
{
    QVERIFY(QDir().mkpath(path("root/logs")));
    writeBytes(path("root/logs/old.log"), "old");
    writeBytes(path("root/config.json"), "the host's own");
    const HostResult result = host({"setConfigPath", path("root"), "configPath"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.log, QByteArray());
    QCOMPARE(bytesOf(path("root/logs/old.log")), QByteArray("old"));
    QCOMPARE(bytesOf(path("root/config.json")), QByteArray("the host's own"));
}

void TestConfigurationProcess::losesUnsavedChangesAtExit()
{
    QVERIFY(QDir().mkdir(path("root")));
    const QByteArray before = R"({"key":"old"})";
    writeBytes(path("root/global.json"), before);
    const HostResult result = host({"setConfigPath", path("root"), "announceTheEnd",
                                    "setGlobalValue", "key", "new", "globalJsonObj"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray("{\"key\":\"new\"}\ndestroyed\n"));
    QCOMPARE(bytesOf(path("root/global.json")), before);
    QCOMPARE(result.log, QByteArray());
}

void TestConfigurationProcess::endsInASlotOfItsOwnSignal()
{
    QVERIFY(QDir().mkdir(path("root")));
    const HostResult result = host({"setConfigPath", path("root"), "announceTheEnd",
                                    "exitWhenChanged", "setAppConfig", "key", "value", "reset"});
    QCOMPARE(result.exitCode, 3);
    QCOMPARE(result.output, QByteArray("destroyed\n"));
    QCOMPARE(bytesOf(path("root/global.json")), QByteArray("{\n    \"key\": \"value\"\n}\n"));
}

void TestConfigurationProcess::keepsSavedChangesAcrossProcesses()
{
    const QStringList root{"setConfigPath", path("root")};
    QCOMPARE(host(root + QStringList{"setAppConfig", "a.ключ", "значение"}).exitCode, 0);
    const HostResult result = host(root + QStringList{"globalJsonObj"});
    QCOMPARE(result.output, QByteArray("{\"a\":{\"ключ\":\"значение\"}}\n"));
    QCOMPARE(result.log, QByteArray());
}

// The disk is a small one of the child's own, seen by nobody else and gone with the child.
void TestConfigurationProcess::survivesAFullDisk()
{
    const QString disk = path("disk");
    QVERIFY(QDir().mkdir(disk));
    const QString privately = geteuid() == 0 ? "-m" : "-rm";
    const auto onSmallDisk = [&](const QStringList &command) {
        const QString script = "mount -t tmpfs -o size=8k none \"$0\" && \"$@\" && "
                               "cat \"$0/root/global.json\"";
        return run("unshare", QStringList{privately, "sh", "-c", script, disk} + command);
    };
    const HostResult probe = onSmallDisk({"mkdir", disk + "/root"});
    if (!probe.log.contains("global.json"))
        QSKIP("No small disk can be mounted here, so a full one cannot be tried: " + probe.log);

    const QString root = disk + "/root";
    const HostResult result =
        onSmallDisk({CORVANE_CONFIG_HOST, "setConfigPath", root, "globalJsonObj", "setAppConfig",
                     "big", QString(20000, 'x'), "setAppConfig", "big", "small now"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray("{}\n{\n    \"big\": \"small now\"\n}\n"));
    QCOMPARE(QString::fromUtf8(result.log),
             QString("critical|default|ConfigurationManager::loadJsonObjectFromFile|"
                     "Failed to open \"%1/global.json\"  errStr: \"No such file or directory\"\n"
                     "critical|default|ConfigurationManager::saveJsonObject|"
                     "Failed to opened : \"%1/global.json\" "
                     "errStr:  \"No space left on device\"\n")
                 .arg(root));
}

QTEST_GUILESS_MAIN(TestConfigurationProcess)
#include "tst_configurationprocess.moc"
