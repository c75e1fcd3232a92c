// What one access to the store takes from the heap, in a small store and in a large one. Counted,
// not timed: what copies members takes memory for each of them.
#include <support/HeapCount.h>
#include <support/HeapInUse.h>
#include <support/LogCapture.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using namespace corvane::test;
using Manager = ConfigurationManager;
using Access = std::function<void()>;

Q_DECLARE_METATYPE(Access)

namespace {

constexpr int kFew = 10;
constexpr int kMany = 5000;
/// Below what any copy of a level of so many members takes: 8 bytes for each.
constexpr std::size_t kLeastCopy = std::size_t(8) * kMany;

QJsonObject members(int count)
{
    QJsonObject object;
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("member%1").arg(i, 6, 10, QLatin1Char('0'));
        object.insert(name, i % 2 == 0 ? QJsonValue(i) : QJsonValue(name));
    }
    return object;
}

/// The settings that the accesses name, with so many more beside each of them.
void fillStore(int count)
{
    QJsonObject options = members(count);
    options["mode"] = 1;
    options["colour"] = "red";
    QJsonObject runtime = members(count);
    runtime["options"] = options;
    QJsonObject all = members(count);
    all["runtime"] = runtime;
    Manager::instance()->globalJsonObj() = all;
    Manager::instance()->effectJsonObj("music.wave") = runtime;
    Manager::instance()->controllerJsonObj("desk") = runtime;
}

std::size_t bytesOfAccess(const Access &access)
{
    const std::size_t before = bytesAskedFor();
    access();
    return bytesAskedFor() - before;
}

/// Of the second access: the first one parts what the filled objects share.
std::size_t bytesInAStoreOf(int count, const Access &access)
{
    fillStore(count);
    access();
    return bytesOfAccess(access);
}

Manager &manager()
{
    return *Manager::instance();
}

} // namespace

class TestConfigurationMemory : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void countsWhatTheHeapGives();
    void takesNoMoreInALargeStore_data();
    void takesNoMoreInALargeStore();
    void readsTakeNoMoreThanTheTextThatTheyGive();
    void newKeysTakeLittleMoreThanTheirOwnRoom();
    void copiesOnceWhatAHostKeeps_data();
    void copiesOnceWhatAHostKeeps();
    void savesGiveBackTheRoomOfReplacedTexts_data();
    void savesGiveBackTheRoomOfReplacedTexts();
    void savesLeaveReferencesAndCopiesAlone();

private:
    QTemporaryDir m_directory;
};

void TestConfigurationMemory::initTestCase()
{
    const LogCapture unreadFiles;
    Manager::setConfigPath(m_directory.filePath("root"));
    fillStore(kFew);
}

void TestConfigurationMemory::countsWhatTheHeapGives()
{
    QCOMPARE(bytesOfAccess([] {}), std::size_t(0));
    const auto bytes = bytesOfAccess([] { QByteArray(100000, 'x'); });
    QVERIFY2(bytes >= 100000 && bytes < 101000, qPrintable(QString::number(bytes)));
}

void TestConfigurationMemory::takesNoMoreInALargeStore_data()
{
    QTest::addColumn<Access>("access");
    const auto row = [](const char *name, const Access &access) { QTest::newRow(name) << access; };
    row("reading a global value", [] { manager().globalValue("runtime.options.mode"); });
    row("reading a global text", [] { manager().globalValue("runtime.options.colour"); });
    row("reading a branch", [] { manager().globalValue("runtime.options"); });
    row("reading the whole object", [] { manager().appConfig(""); });
    row("reading what is not there", [] { manager().globalValue("runtime.options.none"); });
    row("reading below what is not there", [] { manager().globalValue("none.options.mode"); });
    row("reading a value of any object",
        [] { Manager::valWithXPath(manager().controllerJsonObj("desk"), "options.mode"); });
    row("reading a value of an effect",
        [] { manager().effectJsonValue("music.wave", "options", "mode"); });
    row("reading a group of an effect",
        [] { manager().effectJsonValue("music.wave", "options", ""); });
    row("reading what an effect has with a default file at hand",
        [] { manager().effectJsonValue("music.wave", "options", "mode", "unread.json"); });
    row("reading a variant", [] { manager().effectVariant("music.wave", "options", "mode"); });
    row("writing a global value", [] { manager().setGlobalValue("runtime.options.mode", 5); });
    row("writing a global value by keys", [] {
        Manager::setGlobalValue(QStringList{"runtime", "options", "mode"}, 5);
    });
    row("writing an object", [] {
        manager().setGlobalValue("runtime.options.mode", QJsonObject{{"a", 1}});
    });
    row("removing a key that is not there",
        [] { manager().setGlobalValue("runtime.options.none", QJsonValue::Undefined); });
    row("writing a value of an effect",
        [] { manager().setEffectJsonValue("music.wave", "options", "mode", 5); });
    row("writing a variant",
        [] { manager().setEffectVariant("music.wave", "options", "mode", 5); });
    row("replacing a group", [] {
        manager().setEffectJsonValue("music.wave", "options", "", QJsonObject{{"a", 1}});
    });
}

void TestConfigurationMemory::takesNoMoreInALargeStore()
{
    QFETCH(Access, access);
    QCOMPARE(bytesInAStoreOf(kMany, access), bytesInAStoreOf(kFew, access));
}

void TestConfigurationMemory::readsTakeNoMoreThanTheTextThatTheyGive()
{
    const QString path = QStringLiteral("runtime.options.mode");
    int mode = 0;
    QCOMPARE(bytesInAStoreOf(kMany, [&] { mode = manager().globalValue(path).toInt(); }),
             std::size_t(0));
    QCOMPARE(mode, 1);
    QString colour;
    const QString colourPath = QStringLiteral("runtime.options.colour");
    const auto bytes =
        bytesInAStoreOf(kMany, [&] { colour = manager().globalValue(colourPath).toString(); });
    QVERIFY2(bytes < 100, qPrintable(QString::number(bytes)));
    QCOMPARE(colour, QString("red"));
}

// Qt's containers make room in steps that grow with them: the sum counts.
void TestConfigurationMemory::newKeysTakeLittleMoreThanTheirOwnRoom()
{
    fillStore(kMany);
    manager().setGlobalValue("runtime.options.mode", 5);
    const auto bytes = bytesOfAccess([] {
        for (int i = 0; i < 2000; ++i)
            manager().setGlobalValue(QStringLiteral("runtime.options.new%1").arg(i), i);
    });
    QVERIFY2(bytes < 100 * kLeastCopy, qPrintable(QString::number(bytes)));
}

void TestConfigurationMemory::copiesOnceWhatAHostKeeps_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("levels");
    QTest::newRow("a number is a value of its own") << "runtime.options.mode" << 0;
    QTest::newRow("a text shares the object that it is in") << "runtime.options.colour" << 1;
    QTest::newRow("a branch shares itself") << "runtime.options" << 1;
    QTest::newRow("a branch shares what is in it") << "runtime" << 2;
    QTest::newRow("the whole object shares all levels") << "" << 3;
}

void TestConfigurationMemory::copiesOnceWhatAHostKeeps()
{
    QFETCH(QString, path);
    QFETCH(int, levels);
    const auto write = [] { manager().setGlobalValue("runtime.options.mode", 5); };
    fillStore(kMany);
    write();
    const std::size_t alone = bytesOfAccess(write);
    const QJsonValue kept = manager().globalValue(path);
    const std::size_t first = bytesOfAccess(write);
    QVERIFY2(first >= levels * kLeastCopy, qPrintable(QString::number(first)));
    QCOMPARE(first == alone, levels == 0);
    QCOMPARE(bytesOfAccess(write), alone);
}

void TestConfigurationMemory::savesGiveBackTheRoomOfReplacedTexts_data()
{
    QTest::addColumn<Access>("replaceText");
    const auto text = [](int number) { return QString::number(number).rightJustified(1000, '0'); };
    const auto row = [](const char *name, const Access &access) { QTest::newRow(name) << access; };
    row("of a global value",
        [text, i = 0]() mutable { manager().setAppConfig("runtime.options.colour", text(++i)); });
    row("of an effect", [text, i = 0]() mutable {
        manager().setEffectJsonValue("music.wave", "options", "colour", text(++i));
        manager().saveEffectJsonObj("music.wave");
    });
    row("of an object that the host changes", [text, i = 0]() mutable {
        manager().controllerJsonObj("desk")["name"] = text(++i);
        manager().saveControllerJsonObj("desk");
    });
    row("in names that were removed", [text, i = 0]() mutable {
        manager().globalJsonObj().remove(text(i));
        manager().globalJsonObj().insert(text(++i), true);
        manager().saveGlobalValues();
    });
}

// The room of what was replaced since the last fresh copy may still be there: far less than that of
// all texts.
void TestConfigurationMemory::savesGiveBackTheRoomOfReplacedTexts()
{
    QFETCH(Access, replaceText);
    constexpr int kRounds = 1000;
    fillStore(kFew);
    for (int i = 0; i < 100; ++i)
        replaceText();
    const qint64 before = heapInUse();
    for (int i = 0; i < kRounds; ++i)
        replaceText();
    const qint64 grown = heapInUse() - before;
    QVERIFY2(grown < kRounds * 1000 / 4, qPrintable(QString::number(grown)));
}

void TestConfigurationMemory::savesLeaveReferencesAndCopiesAlone()
{
    fillStore(kFew);
    QJsonObject &reference = manager().globalJsonObj();
    const QJsonObject copy = reference;
    for (int i = 0; i < 200; ++i) {
        manager().setGlobalValue("runtime.options.mode", i);
        manager().saveGlobalValues();
    }
    QCOMPARE(&manager().globalJsonObj(), &reference);
    QCOMPARE(Manager::valWithXPath(reference, "runtime.options.mode").toInt(), 199);
    QCOMPARE(Manager::valWithXPath(copy, "runtime.options.mode").toInt(), 1);
    reference["beside"] = true;
    manager().setGlobalValue("runtime.options.mode", 1);
    QJsonObject expected = copy;
    expected["beside"] = true;
    QCOMPARE(reference, expected);
}

QTEST_GUILESS_MAIN(TestConfigurationMemory)
#include "tst_configurationmemory.moc"
