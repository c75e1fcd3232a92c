#include <support/ConfigurationSupport.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <type_traits>

using namespace corvane::test;
using Manager = ConfigurationManager;

static_assert(std::is_base_of_v<QObject, Manager>);
static_assert(!std::is_default_constructible_v<Manager>);
static_assert(!std::is_copy_constructible_v<Manager>);
static_assert(std::is_same_v<decltype(Manager::gsConfigPath), QString>);

// One object per process: each test uses cache names or keys of its own.
class TestConfigurationManager : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void isOneObjectWithoutParent();
    void hasOneSignalAndNoOtherMetaMember();
    void namesItsPaths();

    void loadsAFileAtTheFirstUseOnly();
    void keepsTheResultOfAFailedLoad();
    void keepsAColonInTheNameButNotInTheFile();
    void loadsWellFormedFiles_data();
    void loadsWellFormedFiles();
    void logsWhatItCannotParse_data();
    void logsWhatItCannotParse();
    void logsWhatItCannotOpen();
    void loadsFromAnyPathWithoutTheCache();

    void hasManyNamesForTheGlobalObject();
    void readsGlobalValues();
    void setsGlobalValuesInMemoryOnly();
    void emitsAfterTheFileIsWritten();
    void emitsWhenWritingFails();
    void savesAndEmitsForAPathWithoutKeys();

private:
    QString file(const QString &name) const { return m_root + '/' + name; }

    QTemporaryDir m_directory;
    QString m_root;
};

void TestConfigurationManager::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_root = m_directory.filePath("root");
    Manager::setConfigPath(m_root);
    QCOMPARE(Manager::gsConfigPath, m_root);
    QCOMPARE(Manager::instance()->configPath(), m_root);
    writeBytes(file("global.json"), "{}");
}

void TestConfigurationManager::isOneObjectWithoutParent()
{
    QVERIFY(Manager::instance());
    QCOMPARE(Manager::instance(), Manager::instance());
    QVERIFY(!Manager::instance()->parent());
}

void TestConfigurationManager::hasOneSignalAndNoOtherMetaMember()
{
    const QMetaObject &meta = Manager::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(),
             QByteArray("appConfigChanged(QString)"));
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void TestConfigurationManager::namesItsPaths()
{
    QCOMPARE(Manager::instance()->resourcesPath(), m_root + "/resources");
    QCOMPARE(Manager::instance()->logsPath(), m_root + "/logs");
}

void TestConfigurationManager::loadsAFileAtTheFirstUseOnly()
{
    writeBytes(file("effects/once.json"), R"({"n": 1})");
    QJsonObject &object = Manager::instance()->jsonObject("effects/once");
    QCOMPARE(object, (QJsonObject{{"n", 1}}));
    writeBytes(file("effects/once.json"), R"({"n": 2})");
    object["changed"] = true;
    QCOMPARE(&Manager::instance()->jsonObject("effects/once"), &object);
    QCOMPARE(object, (QJsonObject{{"changed", true}, {"n", 1}}));
}

void TestConfigurationManager::keepsTheResultOfAFailedLoad()
{
    const LogCapture log;
    QVERIFY(Manager::instance()->jsonObject("late").isEmpty());
    QCOMPARE(logged(log), openFailure(file("late.json"), reason(ENOENT)));
    writeBytes(file("late.json"), R"({"n": 1})");
    QVERIFY(Manager::instance()->jsonObject("late").isEmpty());
    QCOMPARE(log.lines().size(), 1);
}

void TestConfigurationManager::keepsAColonInTheNameButNotInTheFile()
{
    Manager *manager = Manager::instance();
    writeBytes(file("controllers/a_b_c.json"), R"({"n": 1})");
    const LogCapture log;
    manager->jsonObject("controllers/a:b:c")["by"] = "colon";
    QCOMPARE(manager->jsonObject("controllers/a_b_c"), (QJsonObject{{"n", 1}}));
    QCOMPARE(manager->jsonObject("controllers/a:b:c"), (QJsonObject{{"by", "colon"}, {"n", 1}}));

    manager->saveJsonObject("controllers/a:b:c");
    QCOMPARE(bytesOf(file("controllers/a_b_c.json")),
             QByteArray("{\n    \"by\": \"colon\",\n    \"n\": 1\n}\n"));
    manager->saveJsonObject("controllers/a_b_c");
    QCOMPARE(bytesOf(file("controllers/a_b_c.json")), QByteArray("{\n    \"n\": 1\n}\n"));
    QVERIFY(!QFile::exists(file("controllers/a:b:c.json")));
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationManager::loadsWellFormedFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QJsonObject>("expected");
    QTest::newRow("an object") << QByteArray(R"({"a":{"b":[1,null]}})")
                               << QJsonObject{
                                      {"a", QJsonObject{{"b", QJsonArray{1, QJsonValue()}}}}};
    QTest::newRow("an empty object") << QByteArray("{}") << QJsonObject();
    QTest::newRow("an array is an empty object") << QByteArray("[1, {\"a\": 2}]") << QJsonObject();
    QTest::newRow("carriage returns")
        << QByteArray("{\r\n\"a\":\r\n1}\r\n") << QJsonObject{{"a", 1}};
    QTest::newRow("a line's end in a text is the plain one")
        << QByteArray("{\"a\": \"x\r\ny\"}") << QJsonObject{{"a", "x\ny"}};
    QTest::newRow("other letters")
        << QByteArray("{\"größe\": \"五\"}") << QJsonObject{{"größe", "五"}};
}

void TestConfigurationManager::loadsWellFormedFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QJsonObject, expected);
    const QTemporaryDir directory;
    const QString path = directory.filePath("größe 1.json");
    writeBytes(path, bytes);
    const LogCapture log;
    QCOMPARE(Manager::loadJsonObjectFromFile(path), expected);
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(bytesOf(path), bytes);
}

void TestConfigurationManager::logsWhatItCannotParse_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("why");
    QTest::newRow("not JSON") << QByteArray("mode=3") << "illegal value";
    QTest::newRow("an empty file") << QByteArray() << "illegal value";
    QTest::newRow("an object cut short") << QByteArray(R"({"a": 1,)") << "unterminated object";
    QTest::newRow("text after the object")
        << QByteArray("{} x") << "garbage at the end of the document";
}

void TestConfigurationManager::logsWhatItCannotParse()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);
    const QTemporaryDir directory;
    const QString path = directory.filePath("broken file.json");
    writeBytes(path, bytes);
    const LogCapture log;
    QVERIFY(Manager::loadJsonObjectFromFile(path).isEmpty());
    QCOMPARE(logged(log), parseFailure(path, why));
    QCOMPARE(bytesOf(path), bytes);
}

void TestConfigurationManager::logsWhatItCannotOpen()
{
    const QTemporaryDir directory;
    const LogCapture log;
    QVERIFY(Manager::loadJsonObjectFromFile(directory.filePath("missing.json")).isEmpty());
    QVERIFY(Manager::loadJsonObjectFromFile(directory.path()).isEmpty());
    QCOMPARE(logged(log),
             openFailure(directory.filePath("missing.json"), reason(ENOENT))
                 + openFailure(directory.path(), "file to open is a directory"));
}

void TestConfigurationManager::loadsFromAnyPathWithoutTheCache()
{
    const QString path = file("effects/direct.json");
    writeBytes(path, R"({"n": 1})");
    QCOMPARE(Manager::loadJsonObjectFromFile(path), (QJsonObject{{"n", 1}}));
    writeBytes(path, R"({"n": 2})");
    QCOMPARE(Manager::loadJsonObjectFromFile(path), (QJsonObject{{"n", 2}}));
    writeBytes(path, R"({"n": 3})");
    QCOMPARE(Manager::instance()->jsonObject("effects/direct"), (QJsonObject{{"n", 3}}));
}

void TestConfigurationManager::hasManyNamesForTheGlobalObject()
{
    Manager *manager = Manager::instance();
    QCOMPARE(&manager->AppConfigJsonObj(), &manager->jsonObject("global"));
    QCOMPARE(&manager->globalJsonObj(), &manager->jsonObject("global"));
    using Save = void (Manager::*)();
    const Save saves[] = {&Manager::saveAppConfigJsonObj, &Manager::saveGlobalJsonObj,
                          &Manager::saveGlobalValues};
    int count = 0;
    for (const Save save : saves) {
        manager->globalJsonObj()["saves"] = ++count;
        (manager->*save)();
        const QByteArray member = "\"saves\": " + QByteArray::number(count);
        QVERIFY2(bytesOf(file("global.json")).contains(member), member.constData());
    }
}

void TestConfigurationManager::readsGlobalValues()
{
    Manager *manager = Manager::instance();
    manager->globalJsonObj()["read"] = QJsonObject{{"options", QJsonObject{{"mode", 3}}}};
    const auto globalValue = [manager](const QString &path) { return manager->globalValue(path); };
    const auto appConfig = [manager](const QString &path) { return manager->appConfig(path); };
    using Reader = std::function<QJsonValue(const QString &)>;
    for (const Reader &read : {Reader(globalValue), Reader(appConfig)}) {
        QCOMPARE(read("read.options.mode"), QJsonValue(3));
        QCOMPARE(read(".read..options."), QJsonValue(QJsonObject{{"mode", 3}}));
        QCOMPARE(read("read.options.x").type(), QJsonValue::Undefined);
        QCOMPARE(read("read.x.mode").type(), QJsonValue::Null);
        QCOMPARE(read("").toObject(), manager->globalJsonObj());
    }
}

void TestConfigurationManager::setsGlobalValuesInMemoryOnly()
{
    Manager *manager = Manager::instance();
    manager->saveGlobalValues();
    const QByteArray before = bytesOf(file("global.json"));
    const QSignalSpy changes(manager, &Manager::appConfigChanged);
    manager->setGlobalValue("set.by.path", 1);
    manager->setGlobalValue(QStringList{"set", "by", "a.list"}, 2);
    manager->setGlobalValue(QStringList(), 3);
    manager->setGlobalValue("..", 4);
    QCOMPARE(manager->globalValue("set"),
             QJsonValue(QJsonObject{{"by", QJsonObject{{"a.list", 2}, {"path", 1}}}}));
    QCOMPARE(bytesOf(file("global.json")), before);
    QCOMPARE(changes.count(), 0);

    manager->saveGlobalValues();
    QVERIFY(bytesOf(file("global.json")).contains("\"a.list\": 2"));
    QCOMPARE(changes.count(), 0);
}

void TestConfigurationManager::emitsAfterTheFileIsWritten()
{
    Manager *manager = Manager::instance();
    const QString path = QStringLiteral(".emits..Mode.");
    QByteArray seen;
    const QChar *letters = nullptr;
    const QSignalSpy changes(manager, &Manager::appConfigChanged);
    const auto link = connect(manager, &Manager::appConfigChanged, [&](const QString &changed) {
        seen = bytesOf(file("global.json"));
        letters = changed.constData();
    });
    manager->setAppConfig(path, "on");
    disconnect(link);
    QVERIFY(seen.contains("\"emits\": {\n        \"Mode\": \"on\"\n    }"));
    QCOMPARE(changes, (QList<QVariantList>{{path}}));
    QCOMPARE(letters, path.constData());
}

void TestConfigurationManager::emitsWhenWritingFails()
{
    Manager *manager = Manager::instance();
    manager->globalJsonObj();
    const QSignalSpy changes(manager, &Manager::appConfigChanged);
    const LogCapture log;
    {
        const LowLimit noMoreFiles(RLIMIT_NOFILE, 0);
        manager->setAppConfig("unwritten", true);
    }
    QCOMPARE(logged(log), saveFailure(file("global.json"), reason(EMFILE)));
    QCOMPARE(manager->appConfig("unwritten"), QJsonValue(true));
    QCOMPARE(changes, (QList<QVariantList>{{"unwritten"}}));
}

void TestConfigurationManager::savesAndEmitsForAPathWithoutKeys()
{
    Manager *manager = Manager::instance();
    const QJsonObject before = manager->globalJsonObj();
    QFile::remove(file("global.json"));
    const QSignalSpy changes(manager, &Manager::appConfigChanged);
    manager->setAppConfig("..", 1);
    QCOMPARE(manager->globalJsonObj(), before);
    QCOMPARE(bytesOf(file("global.json")), QJsonDocument(before).toJson());
    QCOMPARE(changes, (QList<QVariantList>{{".."}}));
}

QTEST_GUILESS_MAIN(TestConfigurationManager)
#include "tst_configurationmanager.moc"
