// Reading and setting single settings of an effect.

#include <support/ConfigurationSupport.h>
#include <support/EffectFiles.h>
#include <support/PythonJson.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane::test;
using Manager = ConfigurationManager;

namespace {

Manager *manager()
{
    return Manager::instance();
}

// Names the overload, or does not compile.
constexpr QJsonValue (Manager::*kRead)(QString, QString, QString) = &Manager::effectJsonValue;

const QJsonValue kNull = QJsonValue::Null;
const QJsonValue kUndefined = QJsonValue::Undefined;

QJsonObject parsed(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

} // namespace

// One object per process: each test and each data row uses an effect of its own.
class TestEffectSettings : public QObject, private EffectFiles {
    Q_OBJECT
private slots:
    void init();

    void readsASetting_data();
    void readsASetting();
    void readsASettingAsAVariant_data();
    void readsASettingAsAVariant();
    void setsASetting_data();
    void setsASetting();
    void replacesTheGroupForAnEmptyKey();
    void setsAVariant_data();
    void setsAVariant();
    void setsAVariantWithAnEmptyKeyAsAMember();
    void readsBackWhatItSets_data();
    void readsBackWhatItSets();

private:
    QJsonObject *m_object = nullptr;
};

void TestEffectSettings::init()
{
    takeNextEffect();
    m_object = &freshEffect();
    QVERIFY(m_object->isEmpty());
}

void TestEffectSettings::readsASetting_data()
{
    QTest::addColumn<QJsonObject>("before");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("expected");
    QTest::addColumn<QJsonObject>("after");
    const auto add = [](const char *what, const char *before, const char *group, const char *key,
                        const QJsonValue &expected, const char *after = nullptr) {
        QTest::newRow(what) << parsed(before) << QString(group) << QString(key) << expected
                            << parsed(after ? after : before);
    };
    const char *whole = R"({"colour": {"hue": 200, "none": null}, "speed": 3})";
    add("a key", whole, "colour", "hue", 200);
    add("a key that holds null", whole, "colour", "none", kNull);
    add("a missing key", whole, "colour", "Hue", kUndefined);
    add("the whole group for an empty key", whole, "colour", "",
        QJsonObject{{"hue", 200}, {"none", kNull}});
    add("a key of a group that is a number", whole, "speed", "hue", kUndefined);
    add("a whole group that is a number", whole, "speed", "", 3);
    add("a key of a group that is null", R"({"g": null})", "g", "key", kUndefined);
    add("a whole group that is null", R"({"g": null})", "g", "", kNull);
    add("a key of a group that is an array", R"({"g": [1]})", "g", "0", kUndefined);
    add("a whole group that is an array", R"({"g": [1]})", "g", "", QJsonArray{1});
    add("a whole group that is empty", R"({"g": {}})", "g", "", QJsonObject());
    add("a dot is part of a name", R"({"a.b": {"c.d": 1}})", "a.b", "c.d", 1);
    add("a group with an empty name", R"({"": {"c": 1}})", "", "c", 1);

    add("a key of a missing group adds the group", R"({"a": 1})", "new", "key", kUndefined,
        R"({"a": 1, "new": null})");
    add("a missing group read whole is added", R"({"a": 1})", "new", "", kNull,
        R"({"a": 1, "new": null})");
    add("a dot does not lead into a group", R"({"a": {"b": 1}})", "a.b", "", kNull,
        R"({"a": {"b": 1}, "a.b": null})");
    add("a missing group with an empty name is added", "{}", "", "", kNull, R"({"": null})");
}

void TestEffectSettings::readsASetting()
{
    QFETCH(QJsonObject, before);
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QJsonValue, expected);
    QFETCH(QJsonObject, after);
    const LogCapture log;
    *m_object = before;
    QCOMPARE((manager()->*kRead)(m_effect, group, key), expected);
    QCOMPARE(*m_object, after);

    *m_object = before;
    const QVariant variant = manager()->effectVariant(m_effect, group, key);
    QCOMPARE(variant, expected.toVariant());
    QCOMPARE(variant.isValid(), !expected.isUndefined());
    QCOMPARE(*m_object, after);
    QCOMPARE(logged(log), QStringList());
}

void TestEffectSettings::readsASettingAsAVariant_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("true") << QJsonValue(true) << QVariant(true);
    QTest::newRow("a number is a double") << QJsonValue(2.5) << QVariant(2.5);
    QTest::newRow("a text") << QJsonValue("wave") << QVariant("wave");
    QTest::newRow("null is a null pointer") << kNull << QVariant::fromValue(nullptr);
    QTest::newRow("an array is a list")
        << QJsonValue(QJsonArray{"a", true}) << QVariant(QVariantList{"a", true});
    QTest::newRow("an object is a map")
        << QJsonValue(QJsonObject{{"a", "b"}}) << QVariant(QVariantMap{{"a", "b"}});
    QTest::newRow("a missing key is invalid") << kUndefined << QVariant();
}

void TestEffectSettings::readsASettingAsAVariant()
{
    QFETCH(QJsonValue, value);
    QFETCH(QVariant, expected);
    *m_object = QJsonObject{{"group", QJsonObject{{"key", value}}}};
    const QVariant variant = manager()->effectVariant(m_effect, "group", "key");
    QCOMPARE(variant, expected);
    QCOMPARE(variant.isValid(), expected.isValid());
}

void TestEffectSettings::setsASetting_data()
{
    QTest::addColumn<QJsonObject>("before");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QJsonObject>("after");
    const auto add = [](const char *what, const char *before, const char *group, const char *key,
                        const QJsonValue &value, const char *after) {
        QTest::newRow(what) << parsed(before) << QString(group) << QString(key) << value
                            << parsed(after);
    };
    const char *whole = R"({"colour": {"hue": 200, "name": "sky"}, "speed": 3})";
    add("a new key beside others", whole, "colour", "new", 1,
        R"({"colour": {"hue": 200, "name": "sky", "new": 1}, "speed": 3})");
    add("a key that is there", whole, "colour", "hue", QJsonArray{1, "x"},
        R"({"colour": {"hue": [1, "x"], "name": "sky"}, "speed": 3})");
    add("null", whole, "colour", "hue", kNull,
        R"({"colour": {"hue": null, "name": "sky"}, "speed": 3})");
    add("Undefined removes the key", whole, "colour", "hue", kUndefined,
        R"({"colour": {"name": "sky"}, "speed": 3})");
    add("Undefined for a missing key leaves the group", whole, "colour", "new", kUndefined, whole);
    add("a missing group becomes an object", R"({"a": 1})", "g", "key", 2,
        R"({"a": 1, "g": {"key": 2}})");
    add("a group that is a number loses it", R"({"g": 7})", "g", "key", 2, R"({"g": {"key": 2}})");
    add("a group that is a text loses it", R"({"g": "x"})", "g", "key", 2, R"({"g": {"key": 2}})");
    add("a group that is an array loses it", R"({"g": [1]})", "g", "key", 2,
        R"({"g": {"key": 2}})");
    add("a group that is null loses it", R"({"g": null})", "g", "key", 2, R"({"g": {"key": 2}})");
    add("a group that is a number loses it to Undefined", R"({"g": 7})", "g", "key", kUndefined,
        R"({"g": {}})");
    add("a missing group becomes an object for Undefined", "{}", "g", "key", kUndefined,
        R"({"g": {}})");
    add("a dot is part of a name", R"({"a": {"b": 1}})", "a.b", "c.d", 2,
        R"({"a": {"b": 1}, "a.b": {"c.d": 2}})");
    add("a group with an empty name", "{}", "", "key", 1, R"({"": {"key": 1}})");
}

/// Both forms do the same as long as there is a key.
void TestEffectSettings::setsASetting()
{
    QFETCH(QJsonObject, before);
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QJsonValue, value);
    QFETCH(QJsonObject, after);
    const LogCapture log;
    *m_object = before;
    manager()->setEffectJsonValue(m_effect, group, key, value);
    QCOMPARE(*m_object, after);

    // No variant stands for Undefined, so it cannot remove.
    if (!value.isUndefined()) {
        *m_object = before;
        manager()->setEffectVariant(m_effect, group, key, value.toVariant());
        QCOMPARE(*m_object, after);
    }
    QCOMPARE(logged(log), QStringList());
}

void TestEffectSettings::replacesTheGroupForAnEmptyKey()
{
    *m_object = parsed(R"({"colour": {"hue": 200}, "speed": 3})");
    manager()->setEffectJsonValue(m_effect, "colour", "", QJsonObject{{"name", "sky"}});
    manager()->setEffectJsonValue(m_effect, "new", QString(), "red");
    QCOMPARE(*m_object, parsed(R"({"colour": {"name": "sky"}, "new": "red", "speed": 3})"));
    manager()->setEffectJsonValue(m_effect, "colour", "", 5);
    manager()->setEffectJsonValue(m_effect, "new", "", kNull);
    manager()->setEffectJsonValue(m_effect, "speed", "", kUndefined);
    QCOMPARE(*m_object, parsed(R"({"colour": 5, "new": null})"));
}

void TestEffectSettings::setsAVariant_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QJsonValue>("expected");
    QTest::newRow("a bool") << QVariant(true) << QJsonValue(true);
    QTest::newRow("an int") << QVariant(7) << QJsonValue(7);
    QTest::newRow("a double") << QVariant(0.25) << QJsonValue(0.25);
    QTest::newRow("a text") << QVariant("größe") << QJsonValue("größe");
    QTest::newRow("a list of texts")
        << QVariant(QStringList{"a", "b"}) << QJsonValue(QJsonArray{"a", "b"});
    QTest::newRow("a list") << QVariant(QVariantList{1, "b"}) << QJsonValue(QJsonArray{1, "b"});
    QTest::newRow("a map") << QVariant(QVariantMap{{"a", 1}}) << QJsonValue(QJsonObject{{"a", 1}});
    QTest::newRow("a JSON object")
        << QVariant(QJsonObject{{"a", 1}}) << QJsonValue(QJsonObject{{"a", 1}});
    QTest::newRow("an invalid one is null") << QVariant() << kNull;
    QTest::newRow("an infinite number is null") << QVariant(qInf()) << kNull;
}

void TestEffectSettings::setsAVariant()
{
    QFETCH(QVariant, value);
    QFETCH(QJsonValue, expected);
    *m_object = QJsonObject{{"group", QJsonObject{{"other", 1}}}};
    manager()->setEffectVariant(m_effect, "group", "key", value);
    QCOMPARE(*m_object, (QJsonObject{{"group", QJsonObject{{"key", expected}, {"other", 1}}}}));
}

void TestEffectSettings::setsAVariantWithAnEmptyKeyAsAMember()
{
    *m_object = QJsonObject{{"group", QJsonObject{{"key", 1}}}, {"number", 2}};
    manager()->setEffectVariant(m_effect, "group", "", 5);
    manager()->setEffectVariant(m_effect, "number", QString(), "x");
    QCOMPARE(*m_object,
             (QJsonObject{{"group", QJsonObject{{"", 5}, {"key", 1}}},
                          {"number", QJsonObject{{"", "x"}}}}));
    // The reading form takes an empty key for the whole group.
    QCOMPARE(manager()->effectVariant(m_effect, "number", ""),
             QVariant(QVariantMap{{QString(), "x"}}));
    manager()->saveEffectJsonObj(m_effect);
    QCOMPARE(pythonJson(file("effects/" + m_effect + ".json")),
             QByteArray(R"({"group":{"":5,"key":1},"number":{"":"x"}})"));
}

void TestEffectSettings::readsBackWhatItSets_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QByteArray>("onDisk");
    QTest::newRow("an integer beyond int")
        << QJsonValue(9007199254740991.0) << QByteArray("9007199254740991");
    QTest::newRow("a fraction") << QJsonValue(0.1) << QByteArray("0.1");
    QTest::newRow("quotes, a backslash and lines")
        << QJsonValue("\"\\\n\t") << QByteArray(R"("\"\\\n\t")");
    QTest::newRow("other letters") << QJsonValue("灯💡") << QByteArray(R"("\u706f\ud83d\udca1")");
    QTest::newRow("a NUL") << QJsonValue(QString(QChar::Null)) << QByteArray(R"("\u0000")");
    QTest::newRow("an empty object") << QJsonValue(QJsonObject()) << QByteArray("{}");
    QTest::newRow("an empty array") << QJsonValue(QJsonArray()) << QByteArray("[]");
    QTest::newRow("false") << QJsonValue(false) << QByteArray("false");
}

void TestEffectSettings::readsBackWhatItSets()
{
    QFETCH(QJsonValue, value);
    QFETCH(QByteArray, onDisk);
    const QString path = file("effects/" + m_effect + ".json");
    manager()->setEffectJsonValue(m_effect, "group", "key", value);
    QCOMPARE(manager()->effectJsonValue(m_effect, "group", "key"), value);
    manager()->saveEffectJsonObj(m_effect);
    QCOMPARE(pythonJson(path), "{\"group\":{\"key\":" + onDisk + "}}");
    const QJsonObject loaded = Manager::loadJsonObjectFromFile(path);
    QCOMPARE(loaded, *m_object);
}

QTEST_GUILESS_MAIN(TestEffectSettings)
#include "tst_effectsettings.moc"
