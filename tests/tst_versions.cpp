#include <LibCorvane/NetRCManager.h>

#include <QtTest>

class TestVersions : public QObject {
    Q_OBJECT
private slots:
    void compares_data();
    void compares();
    void readsDates_data();
    void readsDates();
};

void TestVersions::compares_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("aIsGreater");
    QTest::addColumn<bool>("bIsGreater");
    const auto equal = [](const char *name, const char *a, const char *b) {
        QTest::newRow(name) << a << b << false << false;
    };
    const auto greater = [](const char *name, const char *a, const char *b) {
        QTest::newRow(name) << a << b << true << false;
    };
    equal("the same text", "1.2.3", "1.2.3");
    equal("a missing last part counts as 0", "1.2", "1.2.0");
    equal("several missing parts count as 0", "1", "1.0.0.0");
    equal("leading zeros mean nothing", "1.02", "1.2");
    equal("letters count as 0", "1.a", "1.0");
    equal("a suffix makes the whole part 0", "1.3-beta", "1.0");
    equal("an empty part counts as 0", "1..2", "1.0.2");
    equal("a dot at the end adds an empty part", "1.2.", "1.2");
    equal("two empty texts", "", "");
    equal("an empty text counts as 0", "", "0");
    equal("a number beyond the integers counts as 0", "99999999999", "0");
    equal("a number of another base counts as 0", "0x10", "0");
    greater("parts are numbers, not texts", "1.10", "1.9");
    greater("the third part of two digits", "1.2.10", "1.2.9");
    greater("the first part outweighs all others", "2", "1.99.99");
    greater("an additional part", "1.2.0.1", "1.2");
    greater("a part against no number", "1.1", "1.a");
    greater("zero against a negative part", "1.0", "1.-1");
    greater("the first difference decides", "1.3.0", "1.2.9");
}

void TestVersions::compares()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QTEST(compareVersion(a, b), "aIsGreater");
    QTEST(compareVersion(b, a), "bIsGreater");
}

void TestVersions::readsDates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDate>("date");
    const char *months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 1; month <= 12; ++month)
        QTest::newRow(months[month - 1])
            << QString("%1 14 2024").arg(months[month - 1]) << QDate(2024, month, 14);
    QTest::newRow("a leap day") << "Feb 29 2024" << QDate(2024, 2, 29);
    QTest::newRow("a day that is not there") << "Feb 30 2024" << QDate();
    QTest::newRow("a day of one digit after a zero") << "Mar 04 2024" << QDate(2024, 3, 4);
    QTest::newRow("a month's number") << "03 14 2024" << QDate(2024, 3, 14);
    QTest::newRow("a month in capitals") << "MAR 14 2024" << QDate();
    QTest::newRow("a month's full name") << "March 14 2024" << QDate();
    QTest::newRow("a month of another language") << "Mai 14 2024" << QDate();
    QTest::newRow("an empty text") << "" << QDate();
    // As compilers write the 4th: what comes of it is Qt's.
    QTest::newRow("a day padded with a blank")
        << "Mar  4 2024" << QDate::fromString("03  4 2024", "MM dd yyyy");
}

void TestVersions::readsDates()
{
    QFETCH(QString, text);
    QTEST(convertDateMacro(text), "date");
}

QTEST_GUILESS_MAIN(TestVersions)
#include "tst_versions.moc"
