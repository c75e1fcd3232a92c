// The manager's DeskCaptureOption: read from the settings, published, and saved on every change.

#include "ManagerLines.h"
#include "ScriptedDisplays.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/ConfigurationSupport.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace corvane::test;

namespace {

const char kKey[] = "screenCaptureMode";
const char kProperty[] = "runtime.options.deskCaptureOption";

DeskCaptureOption *publishedOption()
{
    return reinterpret_cast<DeskCaptureOption *>(
        QCoreApplication::instance()->property(kProperty).toLongLong());
}

ConfigurationManager &settings()
{
    return *ConfigurationManager::instance();
}

} // namespace

class TestDeskDuplManagerOption : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void valuesOfTheHostAreKept();
    void isPublishedAsANumber();
    void isAChildOfTheManager();
    void laterManagerPublishesItsOwn();
    void startsWithTheStoredMode_data();
    void startsWithTheStoredMode();
    void seedingSavesNothing();
    void everyChangeIsSaved();
    void rejectedModeIsNotSaved();
    void goesWithTheManager();

private:
    QString file() const { return m_directory.filePath("global.json"); }
    QJsonValue storedMode() const
    {
        return QJsonDocument::fromJson(bytesOf(file())).object().value(kKey);
    }

    QTemporaryDir m_directory;
};

void TestDeskDuplManagerOption::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    writeBytes(file(), R"({"screenCaptureMode": 1, "mine": "kept"})");
    // Runs first, as the file is read once in a process.
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(publishedOption()->curMode(), 1);
}

void TestDeskDuplManagerOption::init()
{
    settings().setGlobalValue(QString(kKey), QJsonValue::Undefined);
    writeBytes(file(), "untouched");
}

void TestDeskDuplManagerOption::valuesOfTheHostAreKept()
{
    const DeskDuplManagerMac manager(nullptr);
    publishedOption()->setCurMode(2);
    QCOMPARE(QJsonDocument::fromJson(bytesOf(file())).object(),
             (QJsonObject{{kKey, 2}, {"mine", "kept"}}));
}

void TestDeskDuplManagerOption::isPublishedAsANumber()
{
    const DeskDuplManagerMac manager(nullptr);
    const QVariant property = QCoreApplication::instance()->property(kProperty);
    QCOMPARE(property.userType(), int(QMetaType::LongLong));
    QCOMPARE(publishedOption()->totalOfMode(), 3);
    QCOMPARE(publishedOption()->curMode(), 0);
}

void TestDeskDuplManagerOption::isAChildOfTheManager()
{
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.findChildren<DeskCaptureOption *>(),
             QList<DeskCaptureOption *>{publishedOption()});
    QCOMPARE(publishedOption()->parent(), &manager);
}

void TestDeskDuplManagerOption::laterManagerPublishesItsOwn()
{
    const DeskDuplManagerMac first(nullptr);
    publishedOption()->setCurMode(2);
    const DeskDuplManagerMac second(nullptr);
    QCOMPARE(publishedOption()->parent(), &second);
    QCOMPARE(publishedOption()->curMode(), 2);
}

void TestDeskDuplManagerOption::startsWithTheStoredMode_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<int>("mode");
    QTest::newRow("no mode stored") << QJsonValue(QJsonValue::Undefined) << 0;
    QTest::newRow("null") << QJsonValue() << 0;
    QTest::newRow("the first mode") << QJsonValue(0) << 0;
    QTest::newRow("the second mode") << QJsonValue(1) << 1;
    QTest::newRow("the last mode") << QJsonValue(2) << 2;
    QTest::newRow("one above the last is the last") << QJsonValue(3) << 2;
    QTest::newRow("far above the last is the last") << QJsonValue(7) << 2;
    QTest::newRow("below the first is the first") << QJsonValue(-4) << 0;
    QTest::newRow("a text is no number") << QJsonValue("2") << 0;
    QTest::newRow("a truth value is no number") << QJsonValue(true) << 0;
    QTest::newRow("an object is no number") << QJsonValue(QJsonObject{{"mode", 2}}) << 0;
    QTest::newRow("a fraction is no whole number") << QJsonValue(1.5) << 0;
}

void TestDeskDuplManagerOption::startsWithTheStoredMode()
{
    QFETCH(QJsonValue, stored);
    QFETCH(int, mode);
    settings().setGlobalValue(QString(kKey), stored);
    const LogCapture log;
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(publishedOption()->curMode(), mode);
    QStringList expected;
    if (mode != 0) {
        expected << QString("info|default|DeskCaptureOption::setCurMode|[DeskCaptureOption]: The "
                            "current desk catpure mode already changed to  %1 mode.")
                        .arg(mode);
    }
    QCOMPARE(logged(log), expected);
}

void TestDeskDuplManagerOption::seedingSavesNothing()
{
    settings().setGlobalValue(QString(kKey), 7);
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(publishedOption()->curMode(), 2);
    QCOMPARE(settings().globalValue(kKey), QJsonValue(7));
    QCOMPARE(bytesOf(file()), QByteArray("untouched"));
}

void TestDeskDuplManagerOption::everyChangeIsSaved()
{
    const DeskDuplManagerMac manager(nullptr);
    for (const int mode : {2, 1, 0}) {
        publishedOption()->setCurMode(mode);
        QCOMPARE(settings().globalValue(kKey), QJsonValue(mode));
        QCOMPARE(storedMode(), QJsonValue(mode));
    }
    writeBytes(file(), "untouched");
    publishedOption()->setCurMode(0);
    publishedOption()->setTotalOfMode(5);
    QCOMPARE(bytesOf(file()), QByteArray("untouched"));
    publishedOption()->setCurMode(4);
    QCOMPARE(storedMode(), QJsonValue(4));
}

void TestDeskDuplManagerOption::rejectedModeIsNotSaved()
{
    const DeskDuplManagerMac manager(nullptr);
    const LogCapture log;
    publishedOption()->setCurMode(3);
    publishedOption()->setCurMode(-1);
    QCOMPARE(log.messages(QtInfoMsg),
             QStringList({"[DeskCaptureOption]: The newCurMode:  3  is out of range[0,  2 ]",
                          "[DeskCaptureOption]: The newCurMode:  -1  is out of range[0,  2 ]"}));
    QCOMPARE(settings().globalValue(kKey), QJsonValue(QJsonValue::Undefined));
    QCOMPARE(bytesOf(file()), QByteArray("untouched"));
}

void TestDeskDuplManagerOption::goesWithTheManager()
{
    QPointer<DeskCaptureOption> option;
    {
        const DeskDuplManagerMac manager(nullptr);
        option = publishedOption();
        QVERIFY(option);
    }
    QVERIFY(!option);
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerOption)
#include "tst_deskduplmanager_option.moc"
