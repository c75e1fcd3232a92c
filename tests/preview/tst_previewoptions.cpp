#include <QtTest>

#include "Options.h"

class TestPreviewOptions : public QObject {
    Q_OBJECT
private slots:
    void showsTheWindowByDefault();
    void readsEveryOption();
    void letsTheLastOfTwoWin();
    void answersHelpAndVersion();
    void keepsHelpReadable();
    void lists();
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
    QVERIFY(options.display.isEmpty());
    QVERIFY(options.device.isEmpty());
    QVERIFY(!options.mode.has_value());
    QVERIFY(options.config.isEmpty());
}

void TestPreviewOptions::readsEveryOption()
{
    const Options options = parseOptions(
        {"corvane-preview", "--headless", "--seconds", "7", "--snapshot", "a b.png", "--display",
         "2", "--device", "Mikrofon (außen)", "--mode", "sound", "--config", "here"});
    QCOMPARE(options.task, Options::Task::Preview);
    QVERIFY(options.headless);
    QCOMPARE(options.seconds, 7);
    QCOMPARE(options.snapshot, QString("a b.png"));
    QCOMPARE(options.display, QString("2"));
    QCOMPARE(options.device, QString("Mikrofon (außen)"));
    QCOMPARE(options.mode, std::optional(Mode::Sound));
    QCOMPARE(options.config, QString("here"));
    QCOMPARE(parseOptions({"corvane-preview", "--mode=screen"}).mode, std::optional(Mode::Screen));
}

void TestPreviewOptions::letsTheLastOfTwoWin()
{
    QCOMPARE(parseOptions({"corvane-preview", "--seconds", "7", "--seconds", "2"}).seconds, 2);
}

void TestPreviewOptions::answersHelpAndVersion()
{
    const QString help = parseOptions({"corvane-preview", "--help"}).message;
    QCOMPARE(parseOptions({"corvane-preview", "--help"}).task, Options::Task::ShowHelp);
    QCOMPARE(parseOptions({"corvane-preview", "-h"}).message, help);
    int last = 0;
    for (const char *option :
         {"-h, --help", "-v, --version", "--list", "--headless", "--seconds <N>",
          "--snapshot <FILE.png>", "--display <ID>", "--device <NAME>", "--mode <screen|sound>",
          "--config <DIR>", "--service <HOST>", "Ctrl+1", "Ctrl+Q", "Exit status"}) {
        const int at = help.indexOf(option);
        QVERIFY2(at > last, option);
        last = at;
    }

    for (const char *option : {"--version", "-v"}) {
        const Options version = parseOptions({"corvane-preview", option});
        QCOMPARE(version.task, Options::Task::ShowVersion);
        QCOMPARE(version.message, QString("corvane-preview " CORVANE_PREVIEW_VERSION "\n"));
    }
}

void TestPreviewOptions::keepsHelpReadable()
{
    const QString help = parseOptions({"corvane-preview", "--help"}).message;
    QVERIFY(help.startsWith("Usage: corvane-preview [options]\n"));
    QVERIFY(help.endsWith('\n'));
    for (const QString &line : help.split('\n'))
        QVERIFY2(line.size() <= 80 && !line.endsWith(' '), qPrintable(line));
}

void TestPreviewOptions::lists()
{
    QCOMPARE(parseOptions({"corvane-preview", "--list"}).task, Options::Task::List);
}

void TestPreviewOptions::rejects_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("culprit");
    QTest::newRow("an unknown option") << QStringList{"--loud"} << "loud";
    QTest::newRow("an option of Qt's own") << QStringList{"--help-all"} << "help-all";
    QTest::newRow("an empty host") << QStringList{"--service", ""} << "service";
    QTest::newRow("an argument without an option") << QStringList{"here"} << "here";
    QTest::newRow("seconds that are no number") << QStringList{"--seconds", "soon"} << "soon";
    QTest::newRow("no seconds at all") << QStringList{"--seconds", "0"} << "0";
    QTest::newRow("negative seconds") << QStringList{"--seconds=-3"} << "-3";
    QTest::newRow("an option without its value") << QStringList{"--device"} << "device";
    QTest::newRow("an empty file name") << QStringList{"--snapshot", ""} << "snapshot";
    QTest::newRow("an empty folder") << QStringList{"--config", ""} << "config";
    QTest::newRow("an unknown mode") << QStringList{"--mode", "smell"} << "smell";
    QTest::newRow("a mode in other letters") << QStringList{"--mode", "Sound"} << "Sound";
    QTest::newRow("an empty mode") << QStringList{"--mode", ""} << "mode";
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
