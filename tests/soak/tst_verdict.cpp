#include "Verdict.h"

#include <QTest>

using namespace corvane::test;

namespace {

constexpr Allowance kAllowance{1000, 100};

QVector<Round> steadyRounds(int count)
{
    Round round;
    round.state = {100000, 5000, 7, 30};
    round.done = {{"frames", 10}, {"saves", 2}};
    return QVector<Round>(count, round);
}

} // namespace

class TestVerdict : public QObject {
    Q_OBJECT
private slots:
    void slopeIsThatOfTheLine_data();
    void slopeIsThatOfTheLine();
    void steadyRoundsPass();
    void oneRoundProvesNothing();
    void whatGrowsFails_data();
    void whatGrowsFails();
    void whatStaysWithinTheAllowancePasses();
    void oneHighRoundIsNoRise();
    void idleWorkFails();
};

void TestVerdict::slopeIsThatOfTheLine_data()
{
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<double>("slope");
    QTest::newRow("no value has no slope") << QVector<double>() << 0.0;
    QTest::newRow("one value has no slope") << QVector<double>{3} << 0.0;
    QTest::newRow("two values span it") << QVector<double>{1, 4} << 3.0;
    QTest::newRow("a falling line is negative") << QVector<double>{9, 7, 5} << -2.0;
    QTest::newRow("a bump in the middle does not count") << QVector<double>{5, 8, 5} << 0.0;
    QTest::newRow("a rise at the end counts in part") << QVector<double>{0, 0, 0, 10} << 3.0;
}

void TestVerdict::slopeIsThatOfTheLine()
{
    QFETCH(QVector<double>, values);
    QFETCH(double, slope);
    QCOMPARE(slopeOf(values), slope);
}

void TestVerdict::steadyRoundsPass()
{
    QCOMPARE(complaints(steadyRounds(5), kAllowance), QStringList());
}

void TestVerdict::oneRoundProvesNothing()
{
    QCOMPARE(complaints(steadyRounds(1), kAllowance).size(), 1);
    QCOMPARE(complaints({}, kAllowance).size(), 1);
}

void TestVerdict::whatGrowsFails_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<int>("descriptors");
    QTest::addColumn<qint64>("resident");
    QTest::addColumn<qint64>("heapEachRound");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("a thread more")
        << 8 << 30 << 100000LL << 0LL << "threads: 7 after the first round, 8 at the end";
    QTest::newRow("a thread less is no steady state either")
        << 6 << 30 << 100000LL << 0LL << "threads: 7 after the first round, 6 at the end";
    QTest::newRow("a descriptor more")
        << 7 << 31 << 100000LL << 0LL << "descriptors: 30 after the first round, 31 at the end";
    QTest::newRow("memory beyond the allowance")
        << 7 << 30 << 101001LL << 0LL
        << "resident bytes: 100000 after the first round, 101001 at the end";
    QTest::newRow("a heap that rises a little in each round")
        << 7 << 30 << 100000LL << 26LL << "heap in use: a rise of 104 bytes";
}

void TestVerdict::whatGrowsFails()
{
    QFETCH(int, threads);
    QFETCH(int, descriptors);
    QFETCH(qint64, resident);
    QFETCH(qint64, heapEachRound);
    QFETCH(QString, complaint);
    auto rounds = steadyRounds(5);
    for (int i = 0; i < rounds.size(); ++i)
        rounds[i].state.heapBytes += i * heapEachRound;
    rounds.last().state.threads = threads;
    rounds.last().state.descriptors = descriptors;
    rounds.last().state.residentBytes = resident;
    QCOMPARE(complaints(rounds, kAllowance), QStringList(complaint));
}

void TestVerdict::whatStaysWithinTheAllowancePasses()
{
    auto rounds = steadyRounds(5);
    for (int i = 0; i < rounds.size(); ++i)
        rounds[i].state.heapBytes += i * 25;
    rounds.last().state.residentBytes += 1000;
    QCOMPARE(complaints(rounds, kAllowance), QStringList());
}

void TestVerdict::oneHighRoundIsNoRise()
{
    auto rounds = steadyRounds(5);
    rounds[2].state.heapBytes += 4000;
    QCOMPARE(complaints(rounds, kAllowance), QStringList());
}

void TestVerdict::idleWorkFails()
{
    auto rounds = steadyRounds(3);
    rounds[1].done["frames"] = 0;
    QCOMPARE(complaints(rounds, kAllowance), QStringList("frames: none in round 2"));
}

QTEST_APPLESS_MAIN(TestVerdict)
#include "tst_verdict.moc"
