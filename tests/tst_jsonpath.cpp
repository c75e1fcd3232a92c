#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/JsonPath_p.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <type_traits>

using Manager = ConfigurationManager;

static_assert(std::is_same_v<decltype(Manager::setValWithXPath(std::declval<QJsonObject &>(),
                                                               QString(), QJsonValue())),
                             void>);
static_assert(std::is_same_v<decltype(Manager::setValWithXPath(std::declval<QJsonObject &>(),
                                                               QStringList(), QJsonValue())),
                             QJsonValue>);

static_assert(std::is_same_v<decltype(&isArrayIndex), bool (*)(const QString &, int &)>);

namespace {

QJsonObject parse(const QByteArray &json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        qFatal("The test's own JSON is wrong: %s", json.constData());
    return document.object();
}

constexpr const char *kSettings = R"({
    "": "empty name",
    "Runtime": "upper case",
    "a": {"b": {"": "empty below", "c": 1}},
    "list": [1, {"x": 2}],
    "list[1]": "an ordinary name",
    "no": false,
    "nothing": null,
    "number": 5,
    "runtime": {"options": {"mode": 3, "none": null}},
    "text": "word",
    "with blank": {"ключ": "значение"}
})";

} // namespace

class TestJsonPath : public QObject {
    Q_OBJECT
private slots:
    void splits_data();
    void splits();
    void reads_data();
    void reads();
    void readsTheWholeObjectAtTheEmptyPath();
    void readsFromAnEmptyObject();
    void writes_data();
    void writes();
    void writesOddKeysOfAList_data();
    void writesOddKeysOfAList();
    void returnsTheChangedObject();
    void leavesTheCallersKeysAlone();
    void leavesOtherHoldersOfTheDataAlone();
    void storesTheObjectInItself();
    void buildsADeepTree();
    void arrayIndex_data();
    void arrayIndex();
};

void TestJsonPath::splits_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("keys");
    QTest::newRow("one key") << "a" << QStringList{"a"};
    QTest::newRow("three keys") << "a.b.c" << QStringList{"a", "b", "c"};
    QTest::newRow("empty segments within vanish") << "a..b" << QStringList{"a", "b"};
    QTest::newRow("a leading dot vanishes") << ".a.b" << QStringList{"a", "b"};
    QTest::newRow("a trailing dot vanishes") << "a.b." << QStringList{"a", "b"};
    QTest::newRow("blanks are part of keys") << " a . b" << QStringList{" a ", " b"};
    QTest::newRow("an index is part of a key") << "a[2].b" << QStringList{"a[2]", "b"};
    QTest::newRow("more keys than most paths have")
        << "a.b.c.d.e.f.g.h.i.j" << QString("abcdefghij").split("", Qt::SkipEmptyParts);
    QTest::newRow("dots only have no keys") << "..." << QStringList{};
    QTest::newRow("the empty path has no keys") << "" << QStringList{};
}

void TestJsonPath::splits()
{
    QFETCH(QString, path);
    QFETCH(QStringList, keys);
    QStringList result;
    for (const QStringView key : corvane::jsonPathKeys(path))
        result.append(key.toString());
    QCOMPARE(result, keys);
}

void TestJsonPath::reads_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonValue>("expected");
    const QJsonValue null = QJsonValue::Null;
    const QJsonValue undefined = QJsonValue::Undefined;
    QTest::newRow("one key is a look-up") << "number" << QJsonValue(5);
    QTest::newRow("three steps") << "runtime.options.mode" << QJsonValue(3);
    QTest::newRow("an object at the end") << "a" << QJsonValue(parse(kSettings)["a"]);
    QTest::newRow("an array at the end") << "list" << QJsonValue(parse(kSettings)["list"]);
    QTest::newRow("false at the end") << "no" << QJsonValue(false);
    QTest::newRow("null at the end") << "runtime.options.none" << null;
    QTest::newRow("empty segments do not count") << "..a...b.c." << QJsonValue(1);
    QTest::newRow("keys are case-sensitive") << "Runtime" << QJsonValue("upper case");
    QTest::newRow("case-sensitive within") << "runtime.Options.mode" << null;
    QTest::newRow("case-sensitive at the end") << "runtime.options.Mode" << undefined;
    QTest::newRow("an index is part of the name") << "list[1]" << QJsonValue("an ordinary name");
    QTest::newRow("keys with blanks and other letters")
        << "with blank.ключ" << QJsonValue("значение");
    QTest::newRow("missing only member gives Undefined") << "x" << undefined;
    QTest::newRow("missing last member gives Undefined") << "a.b.x" << undefined;
    QTest::newRow("missing step on the way gives Null") << "x.y" << null;
    QTest::newRow("missing step deep on the way gives Null") << "a.x.y" << null;
    QTest::newRow("array on the way gives Null") << "list.x" << null;
    QTest::newRow("no step into an array") << "list.1" << null;
    QTest::newRow("text on the way gives Null") << "text.y" << null;
    QTest::newRow("number on the way gives Null") << "number.y" << null;
    QTest::newRow("bool on the way gives Null") << "no.y" << null;
    QTest::newRow("null on the way gives Null") << "nothing.y" << null;
    QTest::newRow("dots only give Undefined") << "..." << undefined;
}

void TestJsonPath::reads()
{
    QFETCH(QString, path);
    QFETCH(QJsonValue, expected);
    const QJsonObject object = parse(kSettings);
    QCOMPARE(corvane::jsonValueAt(object, path), expected);
    QCOMPARE(Manager::valWithXPath(object, path), expected);
    QCOMPARE(object, parse(kSettings));
}

void TestJsonPath::readsTheWholeObjectAtTheEmptyPath()
{
    const QJsonObject object = parse(kSettings);
    QCOMPARE(corvane::jsonValueAt(object, ""), QJsonValue(object));
    QCOMPARE(Manager::valWithXPath(object, ""), QJsonValue(object));
    QCOMPARE(Manager::valWithXPath(object, QString()), QJsonValue(object));
    QCOMPARE(Manager::valWithXPath({}, ""), QJsonValue(QJsonObject()));
}

void TestJsonPath::readsFromAnEmptyObject()
{
    QVERIFY(Manager::valWithXPath({}, "x").isUndefined());
    QVERIFY(Manager::valWithXPath({}, "x.y").isNull());
    QVERIFY(Manager::valWithXPath(parse(R"({"a": {}})"), "a.x").isUndefined());
}

void TestJsonPath::writes_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QByteArray>("after");
    const auto row = [](const char *name, const char *before, const char *path,
                        const QJsonValue &value, const char *after) {
        QTest::newRow(name) << QByteArray(before) << QString(path) << value << QByteArray(after);
    };
    row("one key is added", R"({})", "k", 1, R"({"k":1})");
    row("objects on the way are made", R"({})", "a.b.c", 1, R"({"a":{"b":{"c":1}}})");
    row("a number on the way is replaced", R"({"a":5})", "a.b", 2, R"({"a":{"b":2}})");
    row("an array on the way is replaced", R"({"a":[1,2]})", "a.b", 2, R"({"a":{"b":2}})");
    row("a text on the way is replaced", R"({"a":"t"})", "a.b", 2, R"({"a":{"b":2}})");
    row("a bool on the way is replaced", R"({"a":true})", "a.b", 2, R"({"a":{"b":2}})");
    row("a null on the way is replaced", R"({"a":null})", "a.b", 2, R"({"a":{"b":2}})");
    row("an array deep on the way is replaced", R"({"a":{"b":[1],"z":0}})", "a.b.c", 2,
        R"({"a":{"b":{"c":2},"z":0}})");
    row("an object at the end is replaced", R"({"a":{"b":{"c":1}}})", "a.b", "v",
        R"({"a":{"b":"v"}})");
    row("an array at the end is replaced", R"({"j":0,"k":[1],"l":2})", "k", "v",
        R"({"j":0,"k":"v","l":2})");
    row("members beside the path are kept at every level",
        R"({"a":{"a":1,"b":{"a":2,"c":3,"d":[4]},"c":5},"b":{"b":6},"c":null})", "a.b.c", 9,
        R"({"a":{"a":1,"b":{"a":2,"c":9,"d":[4]},"c":5},"b":{"b":6},"c":null})");
    row("a double dot is one dot", R"({})", "a..b", 1, R"({"a":{"b":1}})");
    row("dots at both ends vanish", R"({})", ".a.b.", 1, R"({"a":{"b":1}})");
    row("an index is part of the name", R"({"a":[1]})", "a[0].b", 1, R"({"a":[1],"a[0]":{"b":1}})");
    row("keys are case-sensitive", R"({"a":1})", "A", 2, R"({"A":2,"a":1})");
    row("an object as the value", R"({})", "a.b", QJsonObject{{"c", 1}}, R"({"a":{"b":{"c":1}}})");
    row("null as the value", R"({"a":{"b":1}})", "a.b", QJsonValue::Null, R"({"a":{"b":null}})");
    row("Undefined removes the member", R"({"a":{"b":1,"c":2}})", "a.b", QJsonValue::Undefined,
        R"({"a":{"c":2}})");
    row("the empty path changes nothing", R"({"a":1})", "", 2, R"({"a":1})");
    row("dots only change nothing", R"({"a":1})", "..", 2, R"({"a":1})");
}

void TestJsonPath::writes()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, path);
    QFETCH(QJsonValue, value);
    QFETCH(QByteArray, after);
    const QStringList keys = path.split('.', Qt::SkipEmptyParts);
    const QJsonObject expected = parse(after);

    QJsonObject byPrivateFunction = parse(before);
    corvane::setJsonValueAt(byPrivateFunction, corvane::jsonPathKeys(path), value);
    QCOMPARE(byPrivateFunction, expected);

    QJsonObject byPath = parse(before);
    Manager::setValWithXPath(byPath, path, value);
    QCOMPARE(byPath, expected);

    QJsonObject byKeys = parse(before);
    const QJsonValue result = Manager::setValWithXPath(byKeys, keys, value);
    QCOMPARE(byKeys, expected);
    QCOMPARE(result, QJsonValue(expected));

    QCOMPARE(QJsonDocument(byPath).toJson(QJsonDocument::Compact), after);
}

void TestJsonPath::writesOddKeysOfAList_data()
{
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("a dot within a key")
        << QStringList{"a.b", "c"} << QByteArray(R"({"a.b":{"c":1}})");
    QTest::newRow("an empty key") << QStringList{"a", ""} << QByteArray(R"({"a":{"":1}})");
    QTest::newRow("a null key") << QStringList{"a", QString()} << QByteArray(R"({"a":{"":1}})");
    QTest::newRow("an empty first key") << QStringList{"", "a"} << QByteArray(R"({"":{"a":1}})");
}

void TestJsonPath::writesOddKeysOfAList()
{
    QFETCH(QStringList, keys);
    QFETCH(QByteArray, after);
    QJsonObject object;
    Manager::setValWithXPath(object, keys, 1);
    QCOMPARE(QJsonDocument(object).toJson(QJsonDocument::Compact), after);
}

void TestJsonPath::returnsTheChangedObject()
{
    QJsonObject object{{"z", 0}};
    const QJsonValue result = Manager::setValWithXPath(object, QStringList{"a", "b"}, 1);
    QVERIFY(result.isObject());
    QCOMPARE(result.toObject(), parse(R"({"a":{"b":1},"z":0})"));
    Manager::setValWithXPath(object, QStringLiteral("a.b"), 2);
    QCOMPARE(result.toObject(), parse(R"({"a":{"b":1},"z":0})"));
    QCOMPARE(object, parse(R"({"a":{"b":2},"z":0})"));
}

void TestJsonPath::leavesTheCallersKeysAlone()
{
    const QStringList keys{"a", "b", "c"};
    QJsonObject object;
    Manager::setValWithXPath(object, keys, 1);
    QCOMPARE(keys, (QStringList{"a", "b", "c"}));
}

void TestJsonPath::leavesOtherHoldersOfTheDataAlone()
{
    QJsonObject object = parse(kSettings);
    const QJsonObject copy = object;
    const QJsonObject inner = object["runtime"].toObject()["options"].toObject();
    Manager::setValWithXPath(object, QStringLiteral("runtime.options.mode"), 4);
    QCOMPARE(Manager::valWithXPath(object, "runtime.options.mode"), QJsonValue(4));
    QCOMPARE(copy, parse(kSettings));
    QCOMPARE(inner["mode"], QJsonValue(3));
}

void TestJsonPath::storesTheObjectInItself()
{
    QJsonObject object = parse(R"({"a":{"b":1}})");
    Manager::setValWithXPath(object, QStringLiteral("a.c"), object);
    QCOMPARE(object, parse(R"({"a":{"b":1,"c":{"a":{"b":1}}}})"));
}

void TestJsonPath::buildsADeepTree()
{
    const QString path = QStringLiteral("k.").repeated(200) + "end";
    QJsonObject object;
    Manager::setValWithXPath(object, path, "deep");
    QCOMPARE(Manager::valWithXPath(object, path), QJsonValue("deep"));
    QCOMPARE(object.keys(), QStringList{"k"});
}

void TestJsonPath::arrayIndex_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("index");
    const int unchanged = -77;
    QTest::newRow("digits in brackets") << "[12]" << true << 12;
    QTest::newRow("anywhere in the text") << "item[7]x" << true << 7;
    QTest::newRow("the first match counts") << "[x][3][4]" << true << 3;
    QTest::newRow("the innermost bracket counts") << "[[5]]" << true << 5;
    QTest::newRow("leading zeros are decimal") << "[010]" << true << 10;
    QTest::newRow("zero") << "[0]" << true << 0;
    QTest::newRow("the largest int") << "[2147483647]" << true << 2147483647;
    QTest::newRow("one more than the largest int") << "[2147483648]" << false << 0;
    QTest::newRow("far too large") << "[99999999999]" << false << 0;
    QTest::newRow("a too large first match hides the next") << "[99999999999][1]" << false << 0;
    QTest::newRow("a sign is no digit") << "[-1]" << false << unchanged;
    QTest::newRow("a blank is no digit") << "[ 1]" << false << unchanged;
    QTest::newRow("no digits") << "[]" << false << unchanged;
    QTest::newRow("no brackets") << "12" << false << unchanged;
    QTest::newRow("no closing bracket") << "[12" << false << unchanged;
    QTest::newRow("other scripts' digits") << "[\u0661]" << false << unchanged;
    QTest::newRow("an index after half a surrogate pair")
        << QString(QChar(0xd800)) + "[3]" << true << 3;
    QTest::newRow("half a surrogate pair between the brackets")
        << QString("[") + QChar(0xdc00) + "3]" << false << unchanged;
    QTest::newRow("empty text") << "" << false << unchanged;
}

void TestJsonPath::arrayIndex()
{
    QFETCH(QString, text);
    QFETCH(bool, found);
    int result = -77;
    QCOMPARE(isArrayIndex(text, result), found);
    QTEST(result, "index");
}

QTEST_APPLESS_MAIN(TestJsonPath)
#include "tst_jsonpath.moc"
