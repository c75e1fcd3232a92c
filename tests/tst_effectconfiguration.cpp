#include <support/ConfigurationSupport.h>
#include <support/EffectFiles.h>
#include <support/PythonJson.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <functional>
#include <type_traits>

using namespace corvane::test;
using Manager = ConfigurationManager;
/// Reads a setting of an effect; the other text is the path of defaults.
using Reading = std::function<void(const QString &, const QString &)>;

Q_DECLARE_METATYPE(Reading)

namespace {

static_assert(std::is_same_v<decltype(&Manager::controllerJsonObj),
                             QJsonObject &(Manager::*)(const QString &)>);
static_assert(
    std::is_same_v<decltype(&Manager::saveControllerJsonObj), void (Manager::*)(const QString &)>);
static_assert(
    std::is_same_v<decltype(&Manager::effectJsonObj), QJsonObject &(Manager::*)(QString)>);
static_assert(std::is_same_v<decltype(&Manager::saveEffectJsonObj), void (Manager::*)(QString)>);
static_assert(std::is_same_v<decltype(&Manager::effectVariant),
                             QVariant (Manager::*)(QString, QString, QString)>);
static_assert(std::is_same_v<decltype(&Manager::setEffectJsonValue),
                             void (Manager::*)(QString, QString, QString, const QJsonValue &)>);
static_assert(std::is_same_v<decltype(&Manager::setEffectVariant),
                             void (Manager::*)(QString, QString, QString, QVariant)>);

Manager *manager()
{
    return Manager::instance();
}

const QByteArray kNoFile = "(no file)";

} // namespace

// One object per process: each test uses controllers and effects of its own.
class TestEffectConfiguration : public QObject, private EffectFiles {
    Q_OBJECT
private slots:
    void init();

    void givesTheObjectOfAController();
    void savesAController();
    void savesAControllerThatWasNeverRead();
    void givesTheObjectOfAnEffect_data();
    void givesTheObjectOfAnEffect();
    void savesAnEffect();
    void takesDottedNamesInEveryOperation();
    void leavesTheCallersNameAlone();

    void addsAMissingGroupAsNullOnDisk_data();
    void addsAMissingGroupAsNullOnDisk();

    void savesOnlyWhenAsked();
    void signalsNothing();
};

void TestEffectConfiguration::init()
{
    takeNextEffect();
}

void TestEffectConfiguration::givesTheObjectOfAController()
{
    writeBytes(file("controllers/my.desk.json"), R"({"brightness": 80})");
    const LogCapture log;
    QJsonObject &desk = manager()->controllerJsonObj("my.desk");
    QCOMPARE(desk, (QJsonObject{{"brightness", 80}}));
    QCOMPARE(&desk, &manager()->controllerJsonObj("my.desk"));
    QCOMPARE(&desk, &manager()->jsonObject("controllers/my.desk"));
    QCOMPARE(logged(log), QStringList());

    QVERIFY(manager()->controllerJsonObj("new").isEmpty());
    QCOMPARE(logged(log), openFailure(file("controllers/new.json"), reason(ENOENT)));
}

void TestEffectConfiguration::savesAController()
{
    writeBytes(file("controllers/saved.json"), R"({"brightness": 80})");
    manager()->controllerJsonObj("saved")["strip"] =
        QJsonObject{{"length", 1.5}, {"keys", QJsonArray{1, QJsonValue(), "größe"}}};
    QCOMPARE(bytesOf(file("controllers/saved.json")), QByteArray(R"({"brightness": 80})"));
    const LogCapture log;
    manager()->saveControllerJsonObj("saved");
    QCOMPARE(pythonJson(file("controllers/saved.json")),
             QByteArray(R"({"brightness":80,"strip":{"keys":[1,null,"gr\u00f6\u00dfe"],)"
                        R"("length":1.5}})"));
    QCOMPARE(logged(log), QStringList());
}

void TestEffectConfiguration::savesAControllerThatWasNeverRead()
{
    writeBytes(file("controllers/unread.json"), R"({"brightness": 80})");
    manager()->saveControllerJsonObj("unread");
    QCOMPARE(pythonJson(file("controllers/unread.json")), QByteArray("{}"));
}

void TestEffectConfiguration::givesTheObjectOfAnEffect_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::newRow("a plain name") << "plain"
                                  << "effects/plain";
    QTest::newRow("a dot is an underscore") << "music.wave"
                                            << "effects/music_wave";
    QTest::newRow("the underscore itself") << "music_wave"
                                           << "effects/music_wave";
    QTest::newRow("each dot is one") << ".a..b."
                                     << "effects/_a__b_";
    QTest::newRow("a colon stays in the name") << "a.b:c"
                                               << "effects/a_b:c";
}

void TestEffectConfiguration::givesTheObjectOfAnEffect()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    const LogCapture log;
    QJsonObject &object = manager()->effectJsonObj(effect);
    QCOMPARE(&object, &manager()->jsonObject(name));
    QVERIFY(log.lines().size() <= 1);
}

void TestEffectConfiguration::savesAnEffect()
{
    writeBytes(file("effects/saved_effect_1.json"), R"({"colour": {"hue": 200}})");
    manager()->effectJsonObj("saved.effect:1")["on"] = true;
    const LogCapture log;
    manager()->saveEffectJsonObj("saved.effect:1");
    QCOMPARE(pythonJson(file("effects/saved_effect_1.json")),
             QByteArray(R"({"colour":{"hue":200},"on":true})"));
    QCOMPARE(logged(log), QStringList());
}

void TestEffectConfiguration::takesDottedNamesInEveryOperation()
{
    writeBytes(file("effects/every_one.json"), "{}");
    writeBytes(defaults(), R"({"a": 1})");
    manager()->setEffectJsonValue("every.one", "json", "a", 1);
    manager()->setEffectVariant("every.one", "variant", "a", 2);
    QCOMPARE(manager()->effectJsonValue("every.one", "json", "a"), QJsonValue(1));
    QCOMPARE(manager()->effectVariant("every.one", "variant", "a"), QVariant(2));
    QCOMPARE(manager()->effectJsonValue("every.one", "default", "a", defaults()), QJsonValue(1));
    manager()->saveEffectJsonObj("every.one");
    QCOMPARE(pythonJson(file("effects/every_one.json")),
             QByteArray(R"({"default":{"a":1},"json":{"a":1},"variant":{"a":2}})"));
    QCOMPARE(treeOf(file("effects")).filter("every"), QStringList{"every_one.json"});
}

void TestEffectConfiguration::leavesTheCallersNameAlone()
{
    const QString effect = "by.value";
    manager()->effectJsonObj(effect);
    manager()->setEffectJsonValue(effect, "group", "key", 1);
    manager()->setEffectVariant(effect, "group", "key", 1);
    manager()->effectJsonValue(effect, "group", "key");
    manager()->effectVariant(effect, "group", "key");
    manager()->effectJsonValue(effect, "group", "key", defaults());
    manager()->saveEffectJsonObj(effect);
    QCOMPARE(effect, QString("by.value"));
}

void TestEffectConfiguration::addsAMissingGroupAsNullOnDisk_data()
{
    QTest::addColumn<Reading>("read");
    QTest::addColumn<QByteArray>("expected");
    const auto addReading = [](const char *what, const QByteArray &expected,
                               const Reading &reading) {
        QTest::newRow(what) << reading << expected;
    };
    addReading("a key", R"({"new":null})", [](const QString &effect, const QString &) {
        manager()->effectJsonValue(effect, "new", "key");
    });
    addReading("a group", R"({"new":null})", [](const QString &effect, const QString &) {
        manager()->effectJsonValue(effect, "new", "");
    });
    addReading("a key as a variant", R"({"new":null})", [](const QString &effect, const QString &) {
        manager()->effectVariant(effect, "new", "key");
    });
    addReading("a group as a variant", R"({"new":null})",
               [](const QString &effect, const QString &) {
                   manager()->effectVariant(effect, "new", "");
               });
    addReading("a key with defaults that are missing: an object", R"({"new":{}})",
               [](const QString &effect, const QString &path) {
                   manager()->effectJsonValue(effect, "new", "key", path);
               });
}

void TestEffectConfiguration::addsAMissingGroupAsNullOnDisk()
{
    QFETCH(Reading, read);
    QFETCH(QByteArray, expected);
    const QString path = file("effects/" + m_effect + ".json");
    freshEffect();
    const LogCapture log;
    read(m_effect, defaults());
    QCOMPARE(pythonJson(path), QByteArray("{}"));
    manager()->saveEffectJsonObj(m_effect);
    QCOMPARE(pythonJson(path), expected);
}

void TestEffectConfiguration::savesOnlyWhenAsked()
{
    const QString path = file("effects/" + m_effect + ".json");
    writeBytes(defaults(), R"({"hue": 200})");
    freshEffect();
    QVERIFY(QFile::remove(path));
    manager()->setEffectJsonValue(m_effect, "json", "key", 1);
    manager()->setEffectJsonValue(m_effect, "whole", "", 2);
    manager()->setEffectVariant(m_effect, "variant", "key", 3);
    manager()->effectJsonValue(m_effect, "read", "key");
    manager()->effectVariant(m_effect, "read as variant", "key");
    manager()->effectJsonValue(m_effect, "default", "hue", defaults());
    QCOMPARE(bytesOf(path), kNoFile);
    QCOMPARE(bytesOf(defaults()), QByteArray(R"({"hue": 200})"));
    QCOMPARE(bytesOf(file("global.json")), kNoFile);

    manager()->saveEffectJsonObj(m_effect);
    QCOMPARE(pythonJson(path),
             QByteArray(R"({"default":{"hue":200},"json":{"key":1},"read":null,)"
                        R"("read as variant":null,"variant":{"key":3},"whole":2})"));
}

void TestEffectConfiguration::signalsNothing()
{
    const QSignalSpy changes(manager(), &Manager::appConfigChanged);
    freshEffect();
    manager()->setEffectJsonValue(m_effect, "group", "key", 1);
    manager()->setEffectVariant(m_effect, "group", "key", 2);
    manager()->saveEffectJsonObj(m_effect);
    manager()->saveControllerJsonObj("silent");
    QCOMPARE(changes.count(), 0);
}

QTEST_GUILESS_MAIN(TestEffectConfiguration)
#include "tst_effectconfiguration.moc"
