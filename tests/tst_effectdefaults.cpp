// Settings of an effect that are read from a file of defaults.

#include <support/ConfigurationSupport.h>
#include <support/EffectFiles.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>

using namespace corvane::test;
using Manager = ConfigurationManager;

namespace {

// Names the overload, or does not compile.
constexpr QJsonValue (Manager::*kRead)(QString, QString, QString,
                                       QString) = &Manager::effectJsonValue;

Manager *manager()
{
    return Manager::instance();
}

const QJsonValue kNull = QJsonValue::Null;
const QJsonValue kUndefined = QJsonValue::Undefined;
const QByteArray kNoFile = "(no file)";

QString notFound(const QString &effect, const QString &group, const QString &key)
{
    return QString("info|default|ConfigurationManager::effectJsonValue|"
                   "Not found effect config object about \"%1\" \"%2\" \"%3\"")
        .arg(effect, group, key);
}

QString failed(const QString &path)
{
    return "critical|default|ConfigurationManager::effectJsonValue|"
           "Failed to get config object from \""
        + path + '"';
}

QString succeeded(const QString &path)
{
    return "debug|default|ConfigurationManager::effectJsonValue|"
           "Succeeded to get config object from \""
        + path + '"';
}

} // namespace

// One object per process: each test uses effects of its own.
class TestEffectDefaults : public QObject, private EffectFiles {
    Q_OBJECT
private slots:
    void init();

    void readsNoDefaultsWhileTheSettingIsThere_data();
    void readsNoDefaultsWhileTheSettingIsThere();
    void fallsBackOnDefaults_data();
    void fallsBackOnDefaults();
    void keepsDefaultsForLaterReads();
    void readsDefaultsAgainForAKeyTheyLack();
    void keepsTheOtherGroupsOfTheEffect();
    void takesTheDefaultPathAsItIs();
    void logsWhatTheCallerWrote();
};

void TestEffectDefaults::init()
{
    takeNextEffect();
}

void TestEffectDefaults::readsNoDefaultsWhileTheSettingIsThere_data()
{
    QTest::addColumn<QJsonValue>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("expected");
    QTest::newRow("a key") << QJsonValue(QJsonObject{{"key", 1}}) << "key" << QJsonValue(1);
    QTest::newRow("a key that is false")
        << QJsonValue(QJsonObject{{"key", false}}) << "key" << QJsonValue(false);
    QTest::newRow("a key that is 0")
        << QJsonValue(QJsonObject{{"key", 0}}) << "key" << QJsonValue(0);
    QTest::newRow("a key that is an empty text")
        << QJsonValue(QJsonObject{{"key", ""}}) << "key" << QJsonValue("");
    QTest::newRow("a key that is an empty object")
        << QJsonValue(QJsonObject{{"key", QJsonObject()}}) << "key" << QJsonValue(QJsonObject());
    QTest::newRow("a group") << QJsonValue(QJsonObject{{"key", 1}}) << ""
                             << QJsonValue(QJsonObject{{"key", 1}});
    QTest::newRow("an empty group") << QJsonValue(QJsonObject()) << "" << QJsonValue(QJsonObject());
    QTest::newRow("a group that is a number") << QJsonValue(7) << "" << QJsonValue(7);
}

void TestEffectDefaults::readsNoDefaultsWhileTheSettingIsThere()
{
    QFETCH(QJsonValue, group);
    QFETCH(QString, key);
    QFETCH(QJsonValue, expected);
    const QJsonObject before{{"group", group}, {"other", 1}};
    QJsonObject &object = freshEffect();
    object = before;
    // Reading the first would log; the second would change the group.
    writeBytes(defaults(), R"({"key": "default"})");
    const LogCapture log;
    for (const QString &path : {m_directory.filePath("absent.json"), defaults()})
        QCOMPARE((manager()->*kRead)(m_effect, "group", key, path), expected);
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(object, before);
}

void TestEffectDefaults::fallsBackOnDefaults_data()
{
    QTest::addColumn<QJsonValue>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QJsonValue>("expected");
    QTest::addColumn<QJsonObject>("after");
    QTest::addColumn<QStringList>("lines");
    const QString path = defaults();
    const QByteArray good = R"({"hue": 200, "none": null, "deep": {"a": [1]}})";
    const QJsonObject whole{
        {"deep", QJsonObject{{"a", QJsonArray{1}}}}, {"hue", 200}, {"none", kNull}};
    const QStringList success{succeeded(path)};
    QTest::newRow("a key of a missing group")
        << kUndefined << "hue" << good << QJsonValue(200) << whole << success;
    QTest::newRow("a key of a group that is null")
        << kNull << "hue" << good << QJsonValue(200) << whole << success;
    QTest::newRow("a key of a group that is a number")
        << QJsonValue(7) << "hue" << good << QJsonValue(200) << whole << success;
    QTest::newRow("a missing key: other keys of the group are lost")
        << QJsonValue(QJsonObject{{"mine", 1}}) << "hue" << good << QJsonValue(200) << whole
        << success;
    QTest::newRow("a key that is null") << QJsonValue(QJsonObject{{"hue", kNull}}) << "hue" << good
                                        << QJsonValue(200) << whole << success;
    QTest::newRow("a key that holds an object")
        << kUndefined << "deep" << good << whole["deep"] << whole << success;
    QTest::newRow("a key that the defaults lack")
        << kUndefined << "Hue" << good << kUndefined << whole << success;
    QTest::newRow("a key that is null in the defaults too")
        << kUndefined << "none" << good << kNull << whole << success;
    QTest::newRow("a missing group, read whole")
        << kUndefined << "" << good << QJsonValue(whole) << whole << success;
    QTest::newRow("a group that is null, read whole")
        << kNull << "" << good << QJsonValue(whole) << whole << success;

    const QStringList failure{failed(path)};
    const QJsonObject empty;
    const QJsonValue old = QJsonObject{{"mine", 1}};
    QTest::newRow("an empty object by default")
        << old << "hue" << QByteArray("{}") << kNull << empty << failure;
    QTest::newRow("an empty object by default, read whole")
        << kUndefined << "" << QByteArray("{}") << kNull << empty << failure;
    QTest::newRow("an array by default")
        << old << "hue" << QByteArray("[1]") << kNull << empty << failure;
    QTest::newRow("no JSON by default") << old << "hue" << QByteArray("{") << kNull << empty
                                        << parseFailure(path, "unterminated object") + failure;
    QTest::newRow("no file by default")
        << old << "hue" << kNoFile << kNull << empty << openFailure(path, reason(ENOENT)) + failure;
    QTest::newRow("no file by default, read whole") << kUndefined << "" << kNoFile << kNull << empty
                                                    << openFailure(path, reason(ENOENT)) + failure;
}

void TestEffectDefaults::fallsBackOnDefaults()
{
    QFETCH(QJsonValue, group);
    QFETCH(QString, key);
    QFETCH(QByteArray, file);
    QFETCH(QJsonValue, expected);
    QFETCH(QJsonObject, after);
    QFETCH(QStringList, lines);
    if (file != kNoFile)
        writeBytes(defaults(), file);
    freshEffect() = QJsonObject{{"group", group}};
    const LogCapture log;
    QCOMPARE((manager()->*kRead)(m_effect, "group", key, defaults()), expected);
    QCOMPARE(logged(log), QStringList{notFound(m_effect, "group", key)} + lines);
    QCOMPARE(manager()->effectJsonObj(m_effect), (QJsonObject{{"group", after}}));
    QCOMPARE(bytesOf(defaults()), file);
    for (const LogLine &line : {log.lines().first(), log.lines().last()})
        QVERIFY2(line.function.contains("(QString, QString, QString, QString)"),
                 qPrintable(line.function));
}

void TestEffectDefaults::keepsDefaultsForLaterReads()
{
    writeBytes(defaults(), R"({"hue": 200, "speed": 3})");
    freshEffect();
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "hue", defaults()), QJsonValue(200));
    QVERIFY(QFile::remove(defaults()));
    const LogCapture log;
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "hue", defaults()), QJsonValue(200));
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "speed", defaults()), QJsonValue(3));
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "speed"), QJsonValue(3));
    QCOMPARE(logged(log), QStringList());
}

void TestEffectDefaults::readsDefaultsAgainForAKeyTheyLack()
{
    writeBytes(defaults(), R"({"hue": 200})");
    QJsonObject &object = freshEffect();
    QVERIFY(manager()->effectJsonValue(m_effect, "group", "speed", defaults()).isUndefined());
    manager()->setEffectJsonValue(m_effect, "group", "hue", 10);
    const LogCapture log;
    QVERIFY(manager()->effectJsonValue(m_effect, "group", "speed", defaults()).isUndefined());
    QCOMPARE(logged(log),
             (QStringList{notFound(m_effect, "group", "speed"), succeeded(defaults())}));
    QCOMPARE(object, (QJsonObject{{"group", QJsonObject{{"hue", 200}}}}));
}

void TestEffectDefaults::keepsTheOtherGroupsOfTheEffect()
{
    writeBytes(defaults(), R"({"hue": 200})");
    QJsonObject &object = freshEffect();
    object = QJsonObject{{"a", 1}, {"z", QJsonObject{{"y", 2}}}};
    manager()->effectJsonValue(m_effect, "group", "hue", defaults());
    QCOMPARE(object,
             (QJsonObject{
                 {"a", 1}, {"group", QJsonObject{{"hue", 200}}}, {"z", QJsonObject{{"y", 2}}}}));
}

void TestEffectDefaults::takesTheDefaultPathAsItIs()
{
    // There in the data root, and without a colon: neither is what the path says.
    writeBytes(file("relative:path.json"), R"({"hue": 1})");
    writeBytes(file("relative_path.json"), R"({"hue": 2})");
    freshEffect();
    const LogCapture log;
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "hue", "relative:path.json"), kNull);
    QCOMPARE(logged(log).mid(1),
             openFailure("relative:path.json", reason(ENOENT))
                 + QStringList{failed("relative:path.json")});

    const QString there = QDir::current().relativeFilePath(file("relative:path.json"));
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "hue", there), QJsonValue(1));
}

void TestEffectDefaults::logsWhatTheCallerWrote()
{
    const LogCapture log;
    manager()->effectJsonValue("music.wave:1", "my \"group\"", "größe %1", "absent.json");
    const QString effect = file("effects/music_wave_1.json");
    QCOMPARE(logged(log),
             openFailure(effect, reason(ENOENT))
                 + QStringList{notFound("music.wave:1", "my \\\"group\\\"", "größe %1")}
                 + openFailure("absent.json", reason(ENOENT)) + QStringList{failed("absent.json")});
}

QTEST_GUILESS_MAIN(TestEffectDefaults)
#include "tst_effectdefaults.moc"
