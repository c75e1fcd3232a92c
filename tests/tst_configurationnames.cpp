// The names of controllers and effects are what users type, and become names of files.

#include <support/ConfigurationSupport.h>
#include <support/HostProcess.h>
#include <support/PythonJson.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>

using namespace corvane::test;
using Manager = ConfigurationManager;

namespace {

Manager *manager()
{
    return Manager::instance();
}

QJsonObject &objectOf(bool effect, const QString &name)
{
    return effect ? manager()->effectJsonObj(name) : manager()->controllerJsonObj(name);
}

void save(bool effect, const QString &name)
{
    effect ? manager()->saveEffectJsonObj(name) : manager()->saveControllerJsonObj(name);
}

/// One row for a controller and one for an effect.
void addRows(const char *what, const QString &name, const QString &ofController,
             const QString &ofEffect)
{
    QTest::addRow("controller: %s", what) << false << name << ofController;
    QTest::addRow("effect: %s", what) << true << name << ofEffect;
}

void addRows(const char *what, const QString &name)
{
    addRows(what, name, name, name);
}

QString repeated(const char *letter, int count)
{
    return QString(letter).repeated(count);
}

QString withNul(const char *before, const char *after)
{
    return QString(before) + QChar::Null + after;
}

} // namespace

// One object per process: each test uses names of its own, or names that only it saves.
class TestConfigurationNames : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void readsJsonIndependently_data();
    void readsJsonIndependently();

    void keepsWhatTheUserTypes_data();
    void keepsWhatTheUserTypes();
    void keepsLookAlikesApart();
    void sharesAFileBetweenSpellings();
    void keepsAControllerNamedGlobalApart();

    void losesNothingWhenTheSystemRefusesTheName_data();
    void losesNothingWhenTheSystemRefusesTheName();
    void takesASlashForASubDirectory_data();
    void takesASlashForASubDirectory();
    void leavesItsDirectoryOnlyForControllers();
    void readsNoOtherFileForANul();

private:
    QString file(const QString &name) const { return m_root + '/' + name; }
    QString file(bool effect, const QString &fileName) const
    {
        return file((effect ? "effects/" : "controllers/") + fileName + ".json");
    }

    QTemporaryDir m_directory;
    QString m_root;
};

void TestConfigurationNames::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_root = m_directory.filePath("root");
    Manager::setConfigPath(m_root);
    QCOMPARE(manager()->configPath(), m_root);
}

void TestConfigurationNames::readsJsonIndependently_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("sorted, without blanks")
        << QByteArray("{ \"b\": [1, 2.5],\n \"a\": \"\xc3\xbc\" }")
        << QByteArray(R"({"a":"\u00fc","b":[1,2.5]})");
    QTest::newRow("no JSON") << QByteArray("{")
                             << QByteArray("(python3: json.decoder.JSONDecodeError: Expecting "
                                           "property name enclosed in double quotes: "
                                           "line 1 column 2 (char 1))");
    QTest::newRow("a member that occurs twice")
        << QByteArray(R"({"a": 1, "a": 2})")
        << QByteArray("(python3: ValueError: a member occurs twice)");
    QTest::newRow("not a number") << QByteArray("[NaN]")
                                  << QByteArray("(python3: ValueError: NaN is no JSON)");
    QTest::newRow("no UTF-8") << QByteArray("\"\xfc\"")
                              << QByteArray("(python3: UnicodeDecodeError: 'utf-8' codec can't "
                                            "decode byte 0xfc in position 1: invalid start byte)");
}

void TestConfigurationNames::readsJsonIndependently()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, expected);
    const QTemporaryDir directory;
    writeBytes(directory.filePath("file.json"), bytes);
    QCOMPARE(pythonJson(directory.filePath("file.json")), expected);
}

void TestConfigurationNames::keepsWhatTheUserTypes_data()
{
    QTest::addColumn<bool>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fileName");
    addRows("no name at all", "");
    addRows("blanks within", "my new desk");
    addRows("a blank before and after", " desk ");
    addRows("a blank only", " ");
    addRows("dots", "v1.2.desk", "v1.2.desk", "v1_2_desk");
    addRows("a dot before, which hides the file", ".desk", ".desk", "_desk");
    addRows("one dot only", ".", ".", "_");
    addRows("two dots only", "..", "..", "__");
    addRows("an extension", "desk.json", "desk.json", "desk_json");
    addRows("colons", ":a:b::", "_a_b__", "_a_b__");
    addRows("colons and dots", "a.b:c", "a.b_c", "a_b_c");
    addRows("the name of the global object", "global");
    addRows("umlauts", "Größe äöü ß");
    addRows("Cyrillic letters", "Подсветка");
    addRows("Chinese letters", "桌面灯光");
    addRows("letters from right to left", "שולחן");
    addRows("an emoji", "💡👩‍💻");
    addRows("a letter with a combining accent", "cafe\u0301");
    addRows("one half of a surrogate pair", QString(QChar(0xd83d)) + 'x', "?x", "?x");
    addRows("double quotes", "the \"big\" one");
    addRows("single quotes", "it's '$HOME'");
    addRows("a backslash", "C:\\desk\\n", "C_\\desk\\n", "C_\\desk\\n");
    addRows("a newline and a tab", "two\nlines\t");
    addRows("a control character", "bell\a");
    addRows("place markers", "%1 %2 %s %n");
    addRows("wildcards", "*?[a-z]");
    addRows("what looks like an option", "-rf");
    addRows("what looks like a home directory", "~root");
    addRows("what looks like a key path", "a[3]");
    addRows("as many bytes as fit: 250", repeated("x", 250));
    addRows("as many bytes as fit: 125 letters of two", repeated("ü", 125));
    addRows("as many bytes as fit: 83 letters of three, and one", repeated("灯", 83) + 'x');
}

void TestConfigurationNames::keepsWhatTheUserTypes()
{
    QFETCH(bool, effect);
    QFETCH(QString, name);
    QFETCH(QString, fileName);
    const QString path = file(effect, fileName);
    QFile::remove(path);
    const QStringList before = treeOf(m_root);
    const QString tag = QTest::currentDataTag();
    const QByteArray saved = R"({"brightness":80,"of":")" + tag.toUtf8() + R"("})";

    objectOf(effect, name) = QJsonObject{{"brightness", 80}, {"of", tag}};
    const LogCapture log;
    save(effect, name);
    QCOMPARE(pythonJson(path), saved);
    QStringList expected = before + QStringList{QDir(m_root).relativeFilePath(path)};
    expected.sort();
    QCOMPARE(treeOf(m_root), expected);
    QCOMPARE(Manager::loadJsonObjectFromFile(path), objectOf(effect, name));
    QCOMPARE(logged(log), QStringList());

    const QString read = effect ? "effectJsonObj" : "controllerJsonObj";
    const HostResult other = runHost(CORVANE_CONFIG_HOST, {"setConfigPath", m_root, read, name});
    QCOMPARE(other.log, QByteArray());
    QCOMPARE(other.output, saved + '\n');
}

void TestConfigurationNames::keepsLookAlikesApart()
{
    const QStringList names{"caf\u00e9", "cafe\u0301", "café ", "cafe", "саfe"};
    for (const QString &name : names)
        manager()->controllerJsonObj("look-alike " + name)["name"] = name.toUtf8().toHex().data();
    for (const QString &name : names)
        manager()->saveControllerJsonObj("look-alike " + name);
    QCOMPARE(treeOf(file("controllers")).filter("look-alike").size(), names.size());
    for (const QString &name : names) {
        const QByteArray expected = R"({"name":")" + name.toUtf8().toHex() + R"("})";
        QCOMPARE(pythonJson(file("controllers/look-alike " + name + ".json")), expected);
    }
}

void TestConfigurationNames::sharesAFileBetweenSpellings()
{
    manager()->controllerJsonObj("one:file")["by"] = "colon";
    manager()->controllerJsonObj("one_file")["by"] = "underscore";
    manager()->saveControllerJsonObj("one_file");
    manager()->saveControllerJsonObj("one:file");
    QCOMPARE(pythonJson(file("controllers/one_file.json")), QByteArray(R"({"by":"colon"})"));
    QCOMPARE(manager()->controllerJsonObj("one_file"), (QJsonObject{{"by", "underscore"}}));
}

void TestConfigurationNames::keepsAControllerNamedGlobalApart()
{
    manager()->globalJsonObj()["by"] = "the application";
    manager()->controllerJsonObj("global") = QJsonObject{{"by", "the controller"}};
    manager()->effectJsonObj("global") = QJsonObject{{"by", "the effect"}};
    manager()->saveControllerJsonObj("global");
    manager()->saveEffectJsonObj("global");
    manager()->saveGlobalValues();
    QCOMPARE(pythonJson(file("global.json")), QByteArray(R"({"by":"the application"})"));
    QCOMPARE(pythonJson(file("controllers/global.json")), QByteArray(R"({"by":"the controller"})"));
    QCOMPARE(pythonJson(file("effects/global.json")), QByteArray(R"({"by":"the effect"})"));
}

void TestConfigurationNames::losesNothingWhenTheSystemRefusesTheName_data()
{
    QTest::addColumn<bool>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("error");
    const auto addRefused = [](const char *what, const QString &name, const QString &shown,
                               int error) {
        QTest::addRow("controller: %s", what) << false << name << shown << error;
        QTest::addRow("effect: %s", what) << true << name << shown << error;
    };
    const auto addTooLong = [&](const char *what, const QString &name) {
        addRefused(what, name, name, ENAMETOOLONG);
    };
    addTooLong("a byte too long: 251", repeated("x", 251));
    addTooLong("a byte too long: 83 letters of three, and one of two", repeated("灯", 83) + "ü");
    addTooLong("255 bytes without the extension", repeated("x", 255));
    addTooLong("much too long", repeated("ü", 5000));
    addTooLong("a path too long", repeated("x/", 5000));
    addRefused("a sub-directory that is not there", "no/desk", "no/desk", ENOENT);
    addRefused("a slash at the end", "no/", "no/", ENOENT);
    addRefused("a file in the sub-directory's place", "bystander_json/x", "bystander_json/x",
               ENOTDIR);
    addRefused("a NUL at the end", withNul("bystander_json", ""), "bystander_json\\u0000", EINVAL);
    addRefused("a NUL within", withNul("bystander_json", "x"), "bystander_json\\u0000x", EINVAL);
    addRefused("a NUL before", withNul("", "x"), "\\u0000x", EINVAL);
    addRefused("a NUL only", withNul("", ""), "\\u0000", EINVAL);
}

void TestConfigurationNames::losesNothingWhenTheSystemRefusesTheName()
{
    QFETCH(bool, effect);
    QFETCH(QString, name);
    QFETCH(int, error);
    QFETCH(QString, shown);
    // What a name that ends at its NUL, or at its slash, would hit.
    const QString bystander = file(effect, "").replace(".json", "bystander_json");
    writeBytes(bystander, R"({"kept": true})");
    const QStringList before = treeOf(m_root);

    const LogCapture log;
    objectOf(effect, name)["brightness"] = 80;
    QCOMPARE(logged(log), openFailure(file(effect, shown), reason(error)));
    save(effect, name);
    save(effect, name);
    const QStringList refused = saveFailure(file(effect, shown), reason(error));
    QCOMPARE(logged(log).mid(1), refused + refused);
    QCOMPARE(objectOf(effect, name), (QJsonObject{{"brightness", 80}}));
    QCOMPARE(treeOf(m_root), before);
    QCOMPARE(pythonJson(bystander), QByteArray(R"({"kept":true})"));
}

void TestConfigurationNames::takesASlashForASubDirectory_data()
{
    QTest::addColumn<bool>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fileName");
    addRows("one level", "room/desk");
    addRows("two levels", "room/shelf/top");
    addRows("two slashes count as one", "room//twice", "room/twice", "room/twice");
    addRows("a name that is hidden", "room/", "room/", "room/");
}

void TestConfigurationNames::takesASlashForASubDirectory()
{
    QFETCH(bool, effect);
    QFETCH(QString, name);
    QFETCH(QString, fileName);
    QVERIFY(QDir(file(effect ? "effects" : "controllers")).mkpath("room/shelf"));
    QFile::remove(file(effect, fileName));
    objectOf(effect, name) = QJsonObject{{"brightness", 80}};
    const LogCapture log;
    save(effect, name);
    QCOMPARE(pythonJson(file(effect, fileName)), QByteArray(R"({"brightness":80})"));
    QCOMPARE(logged(log), QStringList());
}

void TestConfigurationNames::leavesItsDirectoryOnlyForControllers()
{
    writeBytes(file("outside.json"), R"({"by": "the host"})");
    QCOMPARE(manager()->controllerJsonObj("../outside"), (QJsonObject{{"by", "the host"}}));

    const LogCapture log;
    manager()->effectJsonObj("../outside")["by"] = "the effect";
    manager()->saveEffectJsonObj("../outside");
    QCOMPARE(logged(log),
             openFailure(file("effects/__/outside.json"), reason(ENOENT))
                 + saveFailure(file("effects/__/outside.json"), reason(ENOENT)));
    QCOMPARE(pythonJson(file("outside.json")), QByteArray(R"({"by":"the host"})"));
}

void TestConfigurationNames::readsNoOtherFileForANul()
{
    writeBytes(file("other"), R"({"by": "another"})");
    const QString path = file("other") + QChar::Null + ".json";
    const LogCapture log;
    QVERIFY(Manager::loadJsonObjectFromFile(path).isEmpty());
    QCOMPARE(logged(log), openFailure(file("other\\u0000.json"), reason(EINVAL)));
}

QTEST_GUILESS_MAIN(TestConfigurationNames)
#include "tst_configurationnames.moc"
