#include <support/ConfigurationSupport.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>

using namespace corvane::test;

namespace {

ConfigurationManager *manager()
{
    return ConfigurationManager::instance();
}

/// An object that is in the cache without having been read from a file.
QJsonObject &newObject(const QString &name)
{
    manager()->saveJsonObject(name);
    return manager()->jsonObject(name);
}

} // namespace

// One object per process: each test uses cache names of its own.
class TestConfigurationSaving : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void savesIndentedUtf8();
    void savesAnEmptyObjectOverAFileThatWasNeverLoaded();
    void savesOverAMalformedFile();
    void savesAShorterDocumentOverALongerOne();
    void savesOverAFileThatItMayNotRemove();
    void savesEveryObjectInSpiteOfAFailure();
    void leavesNoFileWhenOpeningFails();
    void makesNoDirectoryForASave();
    void leavesADirectoryInTheFilesPlace();
    void endsAWriteThatMakesNoProgress_data();
    void endsAWriteThatMakesNoProgress();

private:
    QString file(const QString &name) const { return m_root + '/' + name; }

    QTemporaryDir m_directory;
    QString m_root;
};

void TestConfigurationSaving::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_root = m_directory.filePath("root");
    ConfigurationManager::setConfigPath(m_root);
    QCOMPARE(manager()->configPath(), m_root);
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
}

void TestConfigurationSaving::savesIndentedUtf8()
{
    QJsonObject &object = newObject("effects/indented");
    object["z"] = QJsonArray{1, 2.5, "größe"};
    object["a"] = QJsonObject{{"deep", QJsonValue::Null}, {"on", false}};
    const LogCapture log;
    manager()->saveJsonObject("effects/indented");
    QCOMPARE(bytesOf(file("effects/indented.json")),
             QByteArray("{\n"
                        "    \"a\": {\n"
                        "        \"deep\": null,\n"
                        "        \"on\": false\n"
                        "    },\n"
                        "    \"z\": [\n"
                        "        1,\n"
                        "        2.5,\n"
                        "        \"größe\"\n"
                        "    ]\n"
                        "}\n"));
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationSaving::savesAnEmptyObjectOverAFileThatWasNeverLoaded()
{
    const QString path = file("controllers/never loaded.json");
    writeBytes(path, "not even JSON, and longer than what comes");
    const LogCapture log;
    manager()->saveJsonObject("controllers/never loaded");
    QCOMPARE(bytesOf(path), QByteArray("{\n}\n"));
    writeBytes(path, R"({"n": 1})");
    QVERIFY(manager()->jsonObject("controllers/never loaded").isEmpty());
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationSaving::savesOverAMalformedFile()
{
    writeBytes(file("malformed.json"), R"({"lost": 1, )");
    const LogCapture log;
    manager()->jsonObject("malformed")["kept"] = 1;
    manager()->saveJsonObject("malformed");
    QCOMPARE(bytesOf(file("malformed.json")), QByteArray("{\n    \"kept\": 1\n}\n"));
    QCOMPARE(logged(log), parseFailure(file("malformed.json"), "unterminated object"));
    const QStringList files = QDir(m_root).entryList({"*malformed*"}, QDir::AllEntries);
    QCOMPARE(files, QStringList{"malformed.json"});
}

void TestConfigurationSaving::savesAShorterDocumentOverALongerOne()
{
    QJsonObject &object = newObject("effects/shrinks");
    object["text"] = QString(50000, 'x');
    manager()->saveJsonObject("effects/shrinks");
    QVERIFY(bytesOf(file("effects/shrinks.json")).size() > 50000);
    object["text"] = "short";
    manager()->saveJsonObject("effects/shrinks");
    QCOMPARE(bytesOf(file("effects/shrinks.json")), QByteArray("{\n    \"text\": \"short\"\n}\n"));
}

void TestConfigurationSaving::savesOverAFileThatItMayNotRemove()
{
    const QString folder = file("locked");
    const QString path = folder + "/kept.json";
    QVERIFY(QDir().mkdir(folder));
    writeBytes(path, "{\"a longer document\": \"than the one that comes\"}");
    setMode(m_directory.path(), 0755);
    setMode(path, 0666);
    setMode(folder, 0555);
    const LogCapture log;
    {
        const OrdinaryUser user;
        if (bytesOf(path) == "(no file)")
            QSKIP("An ordinary user cannot reach the temporary directory, so nothing is proved.");
        QVERIFY(!QFile::remove(path));
        manager()->saveJsonObject("locked/kept");
    }
    setMode(folder, 0755);
    QCOMPARE(bytesOf(path), QByteArray("{\n}\n"));
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationSaving::savesEveryObjectInSpiteOfAFailure()
{
    LogCapture log;
    for (const char *name : {"effects/all 1", "missing folder/all 2", "controllers/all:3"})
        newObject(name)["name"] = name;
    log.clear();
    manager()->save();
    QCOMPARE(bytesOf(file("effects/all 1.json")),
             QByteArray("{\n    \"name\": \"effects/all 1\"\n}\n"));
    QCOMPARE(bytesOf(file("controllers/all_3.json")),
             QByteArray("{\n    \"name\": \"controllers/all:3\"\n}\n"));
    const QStringList failure = saveFailure(file("missing folder/all 2.json"), reason(ENOENT));
    QCOMPARE(logged(log).filter("all 2"), failure);
}

void TestConfigurationSaving::leavesNoFileWhenOpeningFails()
{
    const QString path = file("effects/unopened.json");
    writeBytes(path, R"({"old": 1})");
    manager()->jsonObject("effects/unopened")["new"] = 2;
    const LogCapture log;
    {
        const LowLimit noMoreFiles(RLIMIT_NOFILE, 0);
        manager()->saveJsonObject("effects/unopened");
    }
    QCOMPARE(logged(log), saveFailure(path, reason(EMFILE)));
    QCOMPARE(bytesOf(path), QByteArray("(no file)"));
    QCOMPARE(manager()->jsonObject("effects/unopened"), (QJsonObject{{"new", 2}, {"old", 1}}));

    manager()->saveJsonObject("effects/unopened");
    QCOMPARE(bytesOf(path), QByteArray("{\n    \"new\": 2,\n    \"old\": 1\n}\n"));
    QCOMPARE(log.lines().size(), 1);
}

void TestConfigurationSaving::makesNoDirectoryForASave()
{
    const LogCapture log;
    manager()->saveJsonObject("absent/name");
    QCOMPARE(logged(log), saveFailure(file("absent/name.json"), reason(ENOENT)));
    QVERIFY(!QFile::exists(file("absent")));
}

void TestConfigurationSaving::leavesADirectoryInTheFilesPlace()
{
    const QString path = file("effects/folder.json");
    QVERIFY(QDir().mkpath(path + "/inner"));
    const LogCapture log;
    manager()->saveJsonObject("effects/folder");
    QCOMPARE(logged(log), saveFailure(path, reason(EISDIR)));
    QVERIFY(QFile::exists(path + "/inner"));
}

void TestConfigurationSaving::endsAWriteThatMakesNoProgress_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("letters");
    QTest::newRow("a small document, no byte fits") << 0 << 10;
    QTest::newRow("a small document, a part fits") << 100 << 200;
    QTest::newRow("a large document, no byte fits") << 0 << 1000000;
    QTest::newRow("a large document, a part fits") << 20000 << 1000000;
}

void TestConfigurationSaving::endsAWriteThatMakesNoProgress()
{
    QFETCH(int, limit);
    QFETCH(int, letters);
    const QString path = file("effects/limited.json");
    const QString text(letters, 'x');
    newObject("effects/limited") = QJsonObject{{"text", text}};
    const LogCapture log;
    {
        const LowLimit fileSize(RLIMIT_FSIZE, static_cast<rlim_t>(limit));
        manager()->saveJsonObject("effects/limited");
    }
    const QByteArray whole = "{\n    \"text\": \"" + text.toUtf8() + "\"\n}\n";
    QCOMPARE(logged(log), saveFailure(path, reason(EFBIG)));
    QCOMPARE(bytesOf(path), whole.left(limit));

    manager()->saveJsonObject("effects/limited");
    QCOMPARE(bytesOf(path), whole);
    QCOMPARE(log.lines().size(), 1);
}

QTEST_GUILESS_MAIN(TestConfigurationSaving)
#include "tst_configurationsaving.moc"
