#include <QtTest>

#include "Options.h"

class TestPreviewOptions : public QObject {
    Q_OBJECT
private slots:
    void showsTheWindowByDefault();
    void readsEveryOption();
    void letsTheLastOfTwoWin();
    void answersHelpAndVersion();
    void listsDevices();
    void rejects_data();
    void rejects();
};

void TestPreviewOptions::showsTheWindowByDefault()
{
    const Options options = parseOptions({"corvane-preview"});
    QCOMPARE(options.task, Options::Task::Preview);
    QVERIFY(!options.headless);
    QCOMPARE(options.seconds, 0);
    QVERIFY(options.snapshot.isEmpty());
    QVERIFY(options.device.isEmpty());
}

void TestPreviewOptions::readsEveryOption()
{
    const Options options = parseOptions({"corvane-preview", "--headless", "--seconds", "7",
                                          "--snapshot", "a b.png", "--device", "Mikrofon (außen)"});
    QCOMPARE(options.task, Options::Task::Preview);
    QVERIFY(options.headless);
    QCOMPARE(options.seconds, 7);
    QCOMPARE(options.snapshot, QString("a b.png"));
    QCOMPARE(options.device, QString("Mikrofon (außen)"));
}

void TestPreviewOptions::letsTheLastOfTwoWin()
{
    QCOMPARE(parseOptions({"corvane-preview", "--seconds", "7", "--seconds", "2"}).seconds, 2);
}

void TestPreviewOptions::answersHelpAndVersion()
{
    const Options help = parseOptions({"corvane-preview", "--help"});
    QCOMPARE(help.task, Options::Task::ShowHelp);
    for (const char *option : {"--headless", "--seconds", "--snapshot", "--device", "--list"})
        QVERIFY2(help.message.contains(option), option);

    const Options version = parseOptions({"corvane-preview", "--version"});
    QCOMPARE(version.task, Options::Task::ShowVersion);
    QVERIFY(version.message.startsWith("corvane-preview "));
}

void TestPreviewOptions::listsDevices()
{
    QCOMPARE(parseOptions({"corvane-preview", "--list"}).task, Options::Task::ListDevices);
}

void TestPreviewOptions::rejects_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("culprit");
    QTest::newRow("an unknown option") << QStringList{"--loud"} << "loud";
    QTest::newRow("an argument without an option") << QStringList{"here"} << "here";
    QTest::newRow("seconds that are no number") << QStringList{"--seconds", "soon"} << "soon";
    QTest::newRow("no seconds at all") << QStringList{"--seconds", "0"} << "0";
    QTest::newRow("negative seconds") << QStringList{"--seconds=-3"} << "-3";
    QTest::newRow("an option without its value") << QStringList{"--device"} << "device";
    QTest::newRow("an empty file name") << QStringList{"--snapshot", ""} << "snapshot";
}

void TestPreviewOptions::rejects()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, culprit);
    const Options options = parseOptions(QStringList{"corvane-preview"} + arguments);
    QCOMPARE(options.task, Options::Task::RejectArguments);
    QVERIFY2(options.message.contains(culprit), qPrintable(options.message));
}

QTEST_GUILESS_MAIN(TestPreviewOptions)
#include "tst_previewoptions.moc"
