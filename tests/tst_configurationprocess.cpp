#include <support/ConfigurationSupport.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

// What happens once per process, seen from outside: each case starts hosts of its own.

using corvane::test::bytesOf;
using corvane::test::writeBytes;

namespace {

struct Result {
    int exitCode = -1;
    QByteArray output;
    /// One "level|category|function|message" per log line.
    QByteArray log;
};

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
    void keepsSavedChangesAcrossProcesses();
    void survivesAFullDisk();

private:
    Result run(const QString &program, const QStringList &arguments) const;
    Result host(const QStringList &commands) const { return run(CORVANE_CONFIG_HOST, commands); }
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
Result TestConfigurationProcess::run(const QString &program, const QStringList &arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", path("home"));
    environment.insert("XDG_CONFIG_HOME", path("xdg"));
    environment.insert("LC_ALL", "C.UTF-8");
    environment.insert("QT_LOGGING_TO_CONSOLE", "1");
    environment.insert("QT_MESSAGE_PATTERN", "%{type}|%{category}|%{function}|%{message}");
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {-1, process.readAllStandardOutput(), process.errorString().toUtf8()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

void TestConfigurationProcess::usesThePathSetBeforeTheFirstUse()
{
    const QString root = path("root");
    const Result result = host({"setConfigPath", root, "gsConfigPath", "configPath"});
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
    const Result result =
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
    const Result result = host({"setConfigPath", root, "setAppConfig", "key", "value"});
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
    const Result result = host(before + QStringList{"standardPath", "configPath"});
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

    const Result result = host({"setConfigPath", path("root"), "globalJsonObj", "globalJsonObj"});
    QCOMPARE(result.output, QByteArray("{}\n{}\n"));
    QCOMPARE(QString::fromUtf8(result.log),
             QString("critical|default|ConfigurationManager::loadJsonObjectFromFile|"
                     "Failed to parse \"%1\" \"illegal value\"\n")
                 .arg(path("root/global.json")));
}

void TestConfigurationProcess::makesNoParentOfTheDataRoot()
{
    const QString root = path("missing/root");
    const Result quiet = host({"setConfigPath", root, "configPath"});
    QCOMPARE(quiet.exitCode, 0);
    QCOMPARE(quiet.output, (root + '\n').toUtf8());
    QCOMPARE(quiet.log, QByteArray());
    QVERIFY(!QFile::exists(path("missing")));

    const Result saved = host({"setConfigPath", root, "saveGlobalValues"});
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
    const Result result = host({"setConfigPath", path("root"), "configPath"});
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
    const Result result = host({"setConfigPath", path("root"), "configPath"});
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
    const Result result = host({"setConfigPath", path("root"), "announceTheEnd", "setGlobalValue",
                                "key", "new", "globalJsonObj"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, QByteArray("{\"key\":\"new\"}\ndestroyed\n"));
    QCOMPARE(bytesOf(path("root/global.json")), before);
    QCOMPARE(result.log, QByteArray());
}

void TestConfigurationProcess::keepsSavedChangesAcrossProcesses()
{
    const QStringList root{"setConfigPath", path("root")};
    QCOMPARE(host(root + QStringList{"setAppConfig", "a.ключ", "значение"}).exitCode, 0);
    const Result result = host(root + QStringList{"globalJsonObj"});
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
    const Result probe = onSmallDisk({"mkdir", disk + "/root"});
    if (!probe.log.contains("global.json"))
        QSKIP("No small disk can be mounted here, so a full one cannot be tried: " + probe.log);

    const QString root = disk + "/root";
    const Result result =
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
