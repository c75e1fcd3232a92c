// What is left on disk when a save fails.

#include <support/ConfigurationSupport.h>
#include <support/PythonJson.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <memory>
#include <optional>

using namespace corvane::test;

namespace {

ConfigurationManager *manager()
{
    return ConfigurationManager::instance();
}

const QByteArray kOld = R"({"text": "old, and longer than what comes after it"})";
const QByteArray kNew = "{\n    \"text\": \"new\"\n}\n";
const QByteArray kNone = "(no file)";

constexpr int kNoLimit = -1;

/// Lowers limits of this process while it lives.
class Limits {
public:
    Limits(int descriptors, int fileSize)
    {
        if (descriptors != kNoLimit)
            m_descriptors.emplace(RLIMIT_NOFILE, static_cast<rlim_t>(descriptors));
        if (fileSize != kNoLimit)
            m_fileSize.emplace(RLIMIT_FSIZE, static_cast<rlim_t>(fileSize));
    }

private:
    std::optional<LowLimit> m_descriptors;
    std::optional<LowLimit> m_fileSize;
};

} // namespace

class TestConfigurationLosses : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void leavesTheFile_data();
    void leavesTheFile();
    void makesNoFileInAReadOnlyDirectory();
    void leavesADirectoryWithItsContent();
    void replacesALinkAndNotWhatItLeadsTo();
    void leavesTheOtherFilesOfASave();

private:
    QString file(const QString &name) const { return m_root + '/' + name; }

    QTemporaryDir m_directory;
    QString m_root;
    QString m_path;
};

void TestConfigurationLosses::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_root = m_directory.filePath("root");
    ConfigurationManager::setConfigPath(m_root);
    QCOMPARE(manager()->configPath(), m_root);
    setMode(m_directory.path(), 0755);
    setMode(m_root, 0755);
    m_path = file("controllers/desk.json");
    {
        const OrdinaryUser user;
        QVERIFY2(QDir(m_root).isReadable(), "An ordinary user cannot reach the temporary files.");
    }
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
}

void TestConfigurationLosses::init()
{
    writeBytes(m_path, kOld);
    writeBytes(file("controllers/other.json"), kOld);
    manager()->controllerJsonObj("desk") = QJsonObject{{"text", "new"}};
}

/// Nothing but the file asked for was touched, and the store can save again.
void TestConfigurationLosses::cleanup()
{
    QCOMPARE(bytesOf(file("controllers/other.json")), kOld);
    QCOMPARE(manager()->controllerJsonObj("desk"), (QJsonObject{{"text", "new"}}));
    setMode(file("controllers"), 0755);
    const LogCapture log;
    manager()->saveControllerJsonObj("desk");
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(pythonJson(m_path), QByteArray(R"({"text":"new"})"));
    const QStringList files{"desk.json", "other.json"};
    QCOMPARE(treeOf(file("controllers")), files);
}

void TestConfigurationLosses::leavesTheFile_data()
{
    QTest::addColumn<int>("directoryMode");
    QTest::addColumn<int>("fileMode");
    QTest::addColumn<int>("descriptors");
    QTest::addColumn<int>("fileSize");
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<int>("error");
    const int none = kNoLimit;
    QTest::newRow("new: nothing is in the way") << 0777 << 0666 << none << none << kNew << 0;
    QTest::newRow("new: the old file may not be written, but removed")
        << 0777 << 0444 << none << none << kNew << 0;
    QTest::newRow("new: the old file may not be removed, but written")
        << 0555 << 0666 << none << none << kNew << 0;
    QTest::newRow("old: the file may be neither removed nor written")
        << 0555 << 0444 << none << none << kOld << EACCES;
    QTest::newRow("old: the file may not be removed, and no descriptor is left")
        << 0555 << 0666 << 0 << none << kOld << EMFILE;
    QTest::newRow("lost: no descriptor is left") << 0777 << 0666 << 0 << none << kNone << EMFILE;
    QTest::newRow("lost: no byte fits") << 0777 << 0666 << none << 0 << QByteArray() << EFBIG;
    QTest::newRow("cut short: some bytes fit")
        << 0777 << 0666 << none << 10 << kNew.left(10) << EFBIG;
    QTest::newRow("cut short: the file may not be removed, and some bytes fit")
        << 0555 << 0666 << none << 10 << kNew.left(10) << EFBIG;
}

void TestConfigurationLosses::leavesTheFile()
{
    QFETCH(int, directoryMode);
    QFETCH(int, fileMode);
    QFETCH(int, descriptors);
    QFETCH(int, fileSize);
    QFETCH(QByteArray, left);
    QFETCH(int, error);
    setMode(m_path, static_cast<mode_t>(fileMode));
    setMode(file("controllers"), static_cast<mode_t>(directoryMode));
    const LogCapture log;
    {
        const OrdinaryUser user;
        const Limits limits(descriptors, fileSize);
        manager()->saveControllerJsonObj("desk");
    }
    QCOMPARE(bytesOf(m_path), left);
    QCOMPARE(logged(log), error == 0 ? QStringList() : saveFailure(m_path, reason(error)));
}

void TestConfigurationLosses::makesNoFileInAReadOnlyDirectory()
{
    QVERIFY(QFile::remove(m_path));
    setMode(file("controllers"), 0555);
    const LogCapture log;
    {
        const OrdinaryUser user;
        manager()->saveControllerJsonObj("desk");
    }
    QCOMPARE(bytesOf(m_path), kNone);
    QCOMPARE(logged(log), saveFailure(m_path, reason(EACCES)));
}

void TestConfigurationLosses::leavesADirectoryWithItsContent()
{
    QVERIFY(QFile::remove(m_path));
    QVERIFY(QDir().mkdir(m_path));
    const LogCapture log;
    for (const char *inside : {"", "/file"}) {
        if (*inside)
            writeBytes(m_path + inside, kOld);
        manager()->saveControllerJsonObj("desk");
        QVERIFY(QDir(m_path).exists());
    }
    QCOMPARE(bytesOf(m_path + "/file"), kOld);
    const QStringList failure = saveFailure(m_path, reason(EISDIR));
    QCOMPARE(logged(log), failure + failure);
    QVERIFY(QDir(m_path).removeRecursively());
}

void TestConfigurationLosses::replacesALinkAndNotWhatItLeadsTo()
{
    const QString target = m_directory.filePath("elsewhere.json");
    for (const bool dangling : {false, true}) {
        QVERIFY(QFile::remove(m_path));
        dangling ? void(QFile::remove(target)) : writeBytes(target, kOld);
        makeLink(target, m_path);
        const LogCapture log;
        manager()->saveControllerJsonObj("desk");
        QCOMPARE(logged(log), QStringList());
        QVERIFY(!QFileInfo(m_path).isSymLink());
        QCOMPARE(bytesOf(m_path), kNew);
        QCOMPARE(bytesOf(target), dangling ? kNone : kOld);
    }
}

void TestConfigurationLosses::leavesTheOtherFilesOfASave()
{
    manager()->effectJsonObj("wave")["speed"] = 3;
    manager()->controllerJsonObj(QString(251, 'x'))["too"] = "long";
    QVERIFY(QFile::remove(m_path));
    QVERIFY(QDir().mkdir(m_path));
    const LogCapture log;
    manager()->save();
    QCOMPARE(log.lines().size(), 2);
    QCOMPARE(logged(log).filter("desk.json"), saveFailure(m_path, reason(EISDIR)));
    QCOMPARE(pythonJson(file("effects/wave.json")), QByteArray(R"({"speed":3})"));
    QVERIFY(QDir().rmdir(m_path));
}

QTEST_GUILESS_MAIN(TestConfigurationLosses)
#include "tst_configurationlosses.moc"
