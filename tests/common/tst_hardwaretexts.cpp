#include <LibCorvane/common/HardwareTexts_p.h>

#include <QtTest>

using namespace corvane;

Q_DECLARE_METATYPE(corvane::CpuIdWords)

class TestHardwareTexts : public QObject {
    Q_OBJECT
private slots:
    void printsTheFourthWordThenTheFirst_data();
    void printsTheFourthWordThenTheFirst();
    void identifiesNoProcessorWithoutTheInstruction();
    void listsScreens_data();
    void listsScreens();
    void describesDrives_data();
    void describesDrives();
    void listsAdapters_data();
    void listsAdapters();
    void takesColonsOut_data();
    void takesColonsOut();
};

void TestHardwareTexts::printsTheFourthWordThenTheFirst_data()
{
    QTest::addColumn<CpuIdWords>("words");
    QTest::addColumn<QString>("text");
    QTest::newRow("a usual processor")
        << CpuIdWords{0x906ea, 0x100800, 0x7ffafbff, 0xbfebfbff} << "BFEBFBFF906EA";
    QTest::newRow("small words are not padded") << CpuIdWords{0xa, 1, 2, 0xb} << "BA";
    QTest::newRow("words of all bits")
        << CpuIdWords{0xffffffff, 0, 0, 0x80000000} << "80000000FFFFFFFF";
    QTest::newRow("words of 0") << CpuIdWords{} << "00";
}

void TestHardwareTexts::printsTheFourthWordThenTheFirst()
{
    QFETCH(CpuIdWords, words);
    QTEST(cpuIdText(words), "text");
}

void TestHardwareTexts::identifiesNoProcessorWithoutTheInstruction()
{
    QVERIFY(!cpuIdWords(1));
    QCOMPARE(cpuIdText(cpuIdWords(1)), QString());
}

void TestHardwareTexts::listsScreens_data()
{
    const QSize fullHd(1920, 1080);
    const QSize quadHd(2560, 1440);
    QTest::addColumn<QVector<QSize>>("screens");
    QTest::addColumn<QString>("text");
    QTest::newRow("no screen gives nothing") << QVector<QSize>{} << QString();
    QTest::newRow("one screen") << QVector<QSize>{{2560, 1600}} << "(2560 X 1600) X 1";
    QTest::newRow("two alike and a larger one")
        << QVector<QSize>{fullHd, fullHd, quadHd} << "(1920 X 1080) X 2、 (2560 X 1440) X 1";
    QTest::newRow("two alike with another between")
        << QVector<QSize>{quadHd, fullHd, quadHd} << "(2560 X 1440) X 2、 (1920 X 1080) X 1";
    QTest::newRow("the same turned is another size")
        << QVector<QSize>{fullHd, fullHd.transposed()} << "(1920 X 1080) X 1、 (1080 X 1920) X 1";
    QTest::newRow("three sizes") << QVector<QSize>{{1, 2}, {3, 4}, {5, 6}, {3, 4}}
                                 << "(1 X 2) X 1、 (3 X 4) X 2、 (5 X 6) X 1";
    QTest::newRow("no thousands separators")
        << QVector<QSize>{{15360, 8640}} << "(15360 X 8640) X 1";
}

void TestHardwareTexts::listsScreens()
{
    QFETCH(QVector<QSize>, screens);
    QTEST(screensText(screens), "text");
}

void TestHardwareTexts::describesDrives_data()
{
    constexpr qint64 gibibyte = qint64(1) << 30;
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("freeBytes");
    QTest::addColumn<qint64>("totalBytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("100 of 512 GiB")
        << "Macintosh HD" << 100 * gibibyte << 512 * gibibyte << "Macintosh HD 100G/536870912G  ";
    QTest::newRow("no name leaves a blank") << "" << gibibyte << gibibyte << " 1G/1048576G  ";
    QTest::newRow("figures are rounded down")
        << "a" << 2 * gibibyte - 1 << qint64(2047) << "a 1G/1G  ";
    QTest::newRow("a full disk") << "a" << qint64(0) << qint64(1024) << "a 0G/1G  ";
    QTest::newRow("a disk that does not answer") << "a" << qint64(-1) << qint64(-1) << "a 0G/0G  ";
    QTest::newRow("a name that looks like a place")
        << "%2 %1 %3" << gibibyte << gibibyte << "%2 %1 %3 1G/1048576G  ";
    QTest::newRow("more than 32 bits of KiB")
        << "a" << qint64(0) << (qint64(1) << 50) << "a 0G/1099511627776G  ";
}

void TestHardwareTexts::describesDrives()
{
    QFETCH(QString, name);
    QFETCH(qint64, freeBytes);
    QFETCH(qint64, totalBytes);
    QTEST(driveText(name, freeBytes, totalBytes), "text");
}

void TestHardwareTexts::listsAdapters_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << QStringList{"", "", ""} << "";
    QTest::newRow("the first") << QStringList{"N", "", ""} << "N";
    QTest::newRow("the second, without a line before") << QStringList{"", "I", ""} << "I";
    QTest::newRow("the third") << QStringList{"", "", "A"} << "A";
    QTest::newRow("all") << QStringList{"N", "I", "A"} << "N\nI\nA";
    QTest::newRow("the last two") << QStringList{"", "I", "A"} << "I\nA";
    QTest::newRow("blanks around names are left out")
        << QStringList{" N 1 ", "\t", "\nA\r\n"} << "N 1\nA";
}

void TestHardwareTexts::listsAdapters()
{
    QFETCH(QStringList, names);
    QTEST(adaptersText(names), "text");
}

void TestHardwareTexts::takesColonsOut_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("text");
    QTest::newRow("an address") << "AA:BB:CC:DD:EE:FF"
                                << "AABBCCDDEEFF";
    QTest::newRow("none") << ""
                          << "";
    QTest::newRow("without colons") << "AABB"
                                    << "AABB";
    QTest::newRow("empty parts") << ":A::B:"
                                 << "AB";
}

void TestHardwareTexts::takesColonsOut()
{
    QFETCH(QString, address);
    QTEST(withoutColons(address), "text");
}

QTEST_APPLESS_MAIN(TestHardwareTexts)
#include "tst_hardwaretexts.moc"
