// A data root that goes away, or cannot be written, or is something else, while the library works:
// each operation that uses the disk says so in its own words, and harms nothing.

#include <support/ConfigurationSupport.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>
#include <support/ServiceReplies.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QDir>
#include <QMap>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <functional>
#include <optional>

using namespace corvane::test;

namespace {

const QStringList kFolders{"controllers", "dumps", "effects", "logs", "resources"};
const QByteArray kInTheWay = "in the way";

ConfigurationManager *settings()
{
    return ConfigurationManager::instance();
}

QString path(const QString &name)
{
    return settings()->configPath() + '/' + name;
}

/// What has become of the data root, and what the system says of files in it.
struct Trouble {
    /// Its argument is the data root.
    std::function<void(const QString &)> make;
    std::function<void(const QString &)> undo;
    /// When a file in the data root is to be written; 0 is no trouble.
    int inRoot;
    /// When one in its folders is.
    int inFolders;
    /// When one in its folders that is not there is to be read.
    int atReading;
    bool isReadOnly = false;
};

void moveAway(const QString &path)
{
    if (!QDir().rename(path, path + ".away"))
        qFatal("Cannot move %s away", qUtf8Printable(path));
}

void moveBack(const QString &path)
{
    QFile::remove(path);
    if (!QDir().rename(path + ".away", path))
        qFatal("Cannot move %s back", qUtf8Printable(path));
}

void setModes(const QString &root, mode_t folders, mode_t files)
{
    setMode(root, folders);
    for (const QString &entry : treeOf(root))
        setMode(root + '/' + entry, entry.endsWith('/') ? folders : files);
}

void putFileInTheWay(const QString &path)
{
    moveAway(path);
    writeBytes(path, kInTheWay);
}

void putLinkInTheWay(const QString &path)
{
    moveAway(path);
    makeLink(path + ".nowhere", path);
}

QString parentOf(const QString &root)
{
    return QFileInfo(root).path();
}

/// Every file that is there, with its content.
QMap<QString, QByteArray> filesBelow(const QString &directory)
{
    QMap<QString, QByteArray> files;
    for (const QString &entry : treeOf(directory))
        files[entry] = entry.endsWith('/') ? QByteArray() : bytesOf(directory + '/' + entry);
    return files;
}

// The operations, each with the lines that the trouble brings.

using Operation = std::function<QStringList(const Trouble &)>;

QStringList saveLines(const QString &name, int error)
{
    return error == 0 ? QStringList() : saveFailure(path(name), reason(error));
}

QStringList globalLines(const Trouble &trouble)
{
    return saveLines("global.json", trouble.inRoot);
}

QStringList saveGlobalValues(const Trouble &trouble)
{
    settings()->saveGlobalValues();
    return globalLines(trouble);
}

QStringList setAppConfig(const Trouble &trouble)
{
    const QSignalSpy changes(settings(), &ConfigurationManager::appConfigChanged);
    settings()->setAppConfig("language", "en");
    // The value has changed, if only in memory.
    if (changes.count() != 1 || settings()->appConfig("language") != "en")
        return {"no change"};
    return globalLines(trouble);
}

QStringList enableCleanStartup(const Trouble &trouble)
{
    settings()->EnableCleanStartup();
    return globalLines(trouble);
}

QStringList saveController(const Trouble &trouble)
{
    settings()->saveControllerJsonObj("desk");
    return saveLines("controllers/desk.json", trouble.inFolders);
}

QStringList saveEffect(const Trouble &trouble)
{
    settings()->saveEffectJsonObj("wave");
    return saveLines("effects/wave.json", trouble.inFolders);
}

QStringList readNewEffect(const Trouble &trouble)
{
    static int number = 0;
    const QString name = QString("new %1").arg(++number);
    if (!settings()->effectJsonObj(name).isEmpty())
        return {"there is something"};
    return openFailure(path("effects/" + name + ".json"), reason(trouble.atReading));
}

QStringList reset(const Trouble &trouble)
{
    settings()->reset();
    QStringList lines;
    if (trouble.isReadOnly)
        lines << directoryStays(path("resources")) << fileStays(path("effects/wave.json"))
              << fileStays(path("controllers/desk.json"));
    else
        lines << missing(path("resources")) << missing(path("effects"))
              << missing(path("controllers"));
    return lines + missing(path("global.json")) + missing(path("config.json"));
}

QStringList makeFeedback(const Trouble &trouble)
{
    const FeedbackManager feedback(nullptr);
    if (feedback.userContactInfo() != "me")
        return {"no contact"};
    return globalLines(trouble);
}

/// Another operation of a manager that there was before.
Operation feedbackOperation(
    const std::function<QStringList(FeedbackManager &, const Trouble &)> &use)
{
    return [use](const Trouble &trouble) {
        FeedbackManager feedback(nullptr);
        return globalLines(trouble) + use(feedback, trouble);
    };
}

QStringList setUserMsg(FeedbackManager &feedback, const Trouble &trouble)
{
    feedback.setUserMsg("help");
    if (feedback.userMsg() != "help")
        return {"no message"};
    if (trouble.inRoot == 0)
        return {};
    return {"warning|default|FeedbackManager::setUserMsg|Failed to open user feedback message "
            "file.  \""
            + reason(trouble.inRoot) + '"'};
}

QStringList setUserContactInfo(FeedbackManager &feedback, const Trouble &trouble)
{
    feedback.setUserContactInfo("me again");
    const bool isSet = feedback.userContactInfo() == "me again"
        && settings()->globalValue("userContactInfo") == "me again";
    return isSet ? globalLines(trouble) : QStringList("no contact");
}

QStringList zipFeedbackFile(FeedbackManager &feedback, const Trouble &trouble)
{
    const QString package = feedback.zipFeedbackFile();
    const bool isThere = QFile::exists(package);
    QFile::remove(package);
    return isThere == (trouble.inRoot == 0) ? QStringList() : QStringList("a package");
}

QStringList copyCrashLogs(FeedbackManager &feedback, const Trouble &)
{
    feedback.copyAppleCrashLogs();
    return {QString("debug|default|FeedbackManager::copyAppleCrashLogs|"
                    "[FeedbackManager]:  \"%1\" \r\n \"%2\"")
                .arg(QDir::homePath() + "/Library/Logs/DiagnosticReports", path("ips"))};
}

QStringList sendFeedback(FeedbackManager &feedback, const Trouble &)
{
    NetRCManager(nullptr).sendFeedback(&feedback, {}, {});
    return {"critical|default|NetRCManager::sendFeedback|The feedback file is not exist \""
            + feedback.feedbackFileName() + '"'};
}

QStringList checkVersion(const Trouble &trouble)
{
    const ScriptedNetwork network;
    NetRCManager manager(nullptr);
    const QSignalSpy announcements(&manager, &NetRCManager::hasNewAppVersion);
    manager.checkVersion();
    network.reply()->deliver(versionReply("2"));
    network.reply()->finish();
    if (announcements.count() != 1 || settings()->globalValue("latestVerion.version") != "2")
        return {"no version"};
    return globalLines(trouble)
        << "info|default|NetRCManager::checkVersion|The new version has been made available";
}

QStringList downloadLatestApp(const Trouble &trouble)
{
    const ScriptedNetwork network;
    NetRCManager manager(nullptr);
    manager.downloadLatestApp();
    if (network.reply())
        return {"a request"};
    return {"warning|default|NetRCManager::downloadLatestApp|An error occurred when trying to "
            "create the installation file \""
            + reason(trouble.inFolders) + '"'};
}

QMap<QString, Operation> operations()
{
    return {{"saveGlobalValues", saveGlobalValues},
            {"setAppConfig", setAppConfig},
            {"EnableCleanStartup", enableCleanStartup},
            {"saveControllerJsonObj", saveController},
            {"saveEffectJsonObj", saveEffect},
            {"effectJsonObj", readNewEffect},
            {"reset", reset},
            {"FeedbackManager", makeFeedback},
            {"setUserMsg", feedbackOperation(setUserMsg)},
            {"setUserContactInfo", feedbackOperation(setUserContactInfo)},
            {"zipFeedbackFile", feedbackOperation(zipFeedbackFile)},
            {"copyAppleCrashLogs", feedbackOperation(copyCrashLogs)},
            {"sendFeedback", feedbackOperation(sendFeedback)},
            {"checkVersion", checkVersion},
            {"downloadLatestApp", downloadLatestApp}};
}

QMap<QString, Trouble> troubles()
{
    const auto parentGoes = [](const QString &root) { moveAway(parentOf(root)); };
    const auto parentComes = [](const QString &root) { moveBack(parentOf(root)); };
    const auto close = [](const QString &root) { setModes(root, 0555, 0444); };
    const auto open = [](const QString &root) { setModes(root, 0755, 0644); };
    const auto foldersGo = [](const QString &root) {
        for (const QString &folder : kFolders)
            putFileInTheWay(root + '/' + folder);
    };
    const auto foldersCome = [](const QString &root) {
        for (const QString &folder : kFolders)
            moveBack(root + '/' + folder);
    };
    return {{"the root's parent is missing", {parentGoes, parentComes, ENOENT, ENOENT, ENOENT}},
            {"the root is a file", {putFileInTheWay, moveBack, ENOTDIR, ENOTDIR, ENOTDIR}},
            {"the root is a link to nowhere", {putLinkInTheWay, moveBack, ENOENT, ENOENT, ENOENT}},
            {"the root is read-only", {close, open, EACCES, EACCES, ENOENT, true}},
            {"the root's folders are files", {foldersGo, foldersCome, 0, ENOTDIR, ENOTDIR}}};
}

} // namespace

class TestDataRoot : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void isTold_data();
    void isTold();

private:
    QTemporaryDir m_directory;
    QString m_root;
};

void TestDataRoot::initTestCase()
{
    QVERIFY(m_directory.isValid());
    setMode(m_directory.path(), 0755);
    m_root = m_directory.filePath("parent/root");
    QVERIFY(QDir(m_directory.path()).mkpath("home/Library/Logs/DiagnosticReports"));
    writeBytes(m_directory.filePath("home/Library/Logs/DiagnosticReports/a.ips"), "report");
    qputenv("HOME", m_directory.filePath("home").toLocal8Bit());
    QVERIFY(QDir(m_directory.path()).mkdir("parent"));
    ConfigurationManager::setConfigPath(m_root);
    QCOMPARE(settings()->configPath(), m_root);
}

/// The same files for each row, on disk and in memory.
void TestDataRoot::init()
{
    QDir(m_root).removeRecursively();
    QDir().mkpath(m_root);
    for (const QString &folder : kFolders)
        QVERIFY(QDir(m_root).mkdir(folder));
    settings()->saveGlobalValues(); // otherwise the first use logs a missing file
    settings()->globalJsonObj() = {{"userContactInfo", "me"}};
    settings()->saveControllerJsonObj("desk");
    settings()->saveEffectJsonObj("wave");
    settings()->controllerJsonObj("desk") = {{"keys", 2}};
    settings()->effectJsonObj("wave") = {{"speed", 3}};
    settings()->saveGlobalValues();
}

void TestDataRoot::isTold_data()
{
    QTest::addColumn<QString>("trouble");
    QTest::addColumn<QString>("operation");
    const QStringList names = operations().keys();
    for (const QString &trouble : troubles().keys()) {
        for (const QString &operation : names)
            QTest::newRow(qPrintable(operation + ": " + trouble)) << trouble << operation;
    }
}

void TestDataRoot::isTold()
{
    QFETCH(QString, trouble);
    QFETCH(QString, operation);
    const Trouble made = troubles()[trouble];
    made.make(m_root);
    const auto before = filesBelow(m_directory.path());
    {
        std::optional<OrdinaryUser> user;
        if (made.isReadOnly)
            user.emplace();
        const LogCapture log;
        const QStringList expected = operations()[operation](made);
        QCOMPARE(logged(log), expected);
    }
    // In a root that can be written, what does not need the folders works.
    if (made.inRoot != 0)
        QCOMPARE(filesBelow(m_directory.path()), before);
    else
        for (const QString &folder : kFolders)
            QCOMPARE(bytesOf(path(folder)), kInTheWay);
    made.undo(m_root);

    // Memory has it all, and the next save brings it.
    QCOMPARE(settings()->controllerJsonObj("desk"), (QJsonObject{{"keys", 2}}));
    QCOMPARE(settings()->effectJsonObj("wave"), (QJsonObject{{"speed", 3}}));
    const LogCapture log;
    settings()->save();
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(bytesOf(path("effects/wave.json")), QByteArray("{\n    \"speed\": 3\n}\n"));
}

QTEST_GUILESS_MAIN(TestDataRoot)
#include "tst_dataroot.moc"
