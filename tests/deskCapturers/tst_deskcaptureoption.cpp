#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <support/LogCapture.h>

#include <QSignalSpy>
#include <QTest>

#include <climits>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<QObject, DeskCaptureOption>);
static_assert(!std::is_copy_constructible_v<DeskCaptureOption>);

namespace {

QString infoLine(const QString &text)
{
    return "info|default|DeskCaptureOption::setCurMode|[DeskCaptureOption]: " + text;
}

QString changed(int mode)
{
    // The spelling, and the two blanks that a text ending in one gets, are part of the interface.
    return infoLine(
        QString("The current desk catpure mode already changed to  %1 mode.").arg(mode));
}

QString rejected(int mode, qint64 highest)
{
    return infoLine(
        QString("The newCurMode:  %1  is out of range[0,  %2 ]").arg(mode).arg(highest));
}

} // namespace

class TestDeskCaptureOption : public QObject {
    Q_OBJECT
private slots:
    void startsWithOneMode();
    void hasTwoPropertiesWithSignals();
    void belongsToItsParent();
    void totalMayBeAnything_data();
    void totalMayBeAnything();
    void smallerTotalKeepsTheMode();
    void changeIsLoggedThenAnnounced();
    void currentModeIsNoChange();
    void modeOutOfRangeIsRejected_data();
    void modeOutOfRangeIsRejected();
    void propertiesWork();
};

void TestDeskCaptureOption::startsWithOneMode()
{
    const LogCapture log;
    DeskCaptureOption option(nullptr);
    QCOMPARE(option.totalOfMode(), 1);
    QCOMPARE(option.curMode(), 0);
    QCOMPARE(logged(log), QStringList());
    option.setCurMode(1);
    QCOMPARE(logged(log), QStringList(rejected(1, 0)));
    QCOMPARE(option.curMode(), 0);
}

void TestDeskCaptureOption::hasTwoPropertiesWithSignals()
{
    const QMetaObject &meta = DeskCaptureOption::staticMetaObject;
    QStringList found;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        found << QStringList{property.typeName(), property.name(),
                             property.isWritable() ? "writable" : "fixed",
                             property.notifySignal().methodSignature()}
                     .join(' ');
    }
    QCOMPARE(found,
             QStringList({"int totalOfMode writable totalOfModeChanged()",
                          "int curMode writable curModeChanged()"}));
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
}

void TestDeskCaptureOption::belongsToItsParent()
{
    QObject parent;
    const auto *option = new DeskCaptureOption(&parent);
    QCOMPARE(option->parent(), &parent);
}

void TestDeskCaptureOption::totalMayBeAnything_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("emissions");
    QTest::newRow("the total it has is no change") << 1 << 0;
    QTest::newRow("another total is announced once") << 3 << 1;
    QTest::newRow("no modes at all") << 0 << 1;
    QTest::newRow("less than no modes") << -5 << 1;
    QTest::newRow("the smallest number") << INT_MIN << 1;
}

void TestDeskCaptureOption::totalMayBeAnything()
{
    QFETCH(int, total);
    DeskCaptureOption option(nullptr);
    const QSignalSpy totals(&option, &DeskCaptureOption::totalOfModeChanged);
    const QSignalSpy modes(&option, &DeskCaptureOption::curModeChanged);
    const LogCapture log;
    option.setTotalOfMode(total);
    option.setTotalOfMode(total);
    QCOMPARE(option.totalOfMode(), total);
    QTEST(totals.size(), "emissions");
    QCOMPARE(modes.size(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestDeskCaptureOption::smallerTotalKeepsTheMode()
{
    DeskCaptureOption option(nullptr);
    option.setTotalOfMode(3);
    option.setCurMode(2);
    const LogCapture log;
    option.setTotalOfMode(1);
    QCOMPARE(option.curMode(), 2);
    option.setCurMode(2); // out of range by now, but no change
    QCOMPARE(logged(log), QStringList());
    option.setCurMode(1);
    QCOMPARE(logged(log), QStringList(rejected(1, 0)));
    option.setCurMode(0);
    QCOMPARE(option.curMode(), 0);
}

void TestDeskCaptureOption::changeIsLoggedThenAnnounced()
{
    DeskCaptureOption option(nullptr);
    option.setTotalOfMode(3);
    const LogCapture log;
    QStringList heard;
    connect(&option, &DeskCaptureOption::curModeChanged, this,
            [&] { heard << logged(log) << QString("announced %1").arg(option.curMode()); });
    option.setCurMode(2);
    QCOMPARE(heard, QStringList({changed(2), "announced 2"}));
}

void TestDeskCaptureOption::currentModeIsNoChange()
{
    DeskCaptureOption option(nullptr);
    option.setTotalOfMode(3);
    option.setCurMode(2);
    const QSignalSpy modes(&option, &DeskCaptureOption::curModeChanged);
    const LogCapture log;
    option.setCurMode(2);
    QCOMPARE(modes.size(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestDeskCaptureOption::modeOutOfRangeIsRejected_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("mode");
    QTest::newRow("one below the range") << 3 << -1;
    QTest::newRow("one above the range") << 3 << 3;
    QTest::newRow("the smallest number") << 3 << INT_MIN;
    QTest::newRow("the largest number") << 3 << INT_MAX;
    QTest::newRow("any mode when there are none") << 0 << 1;
    QTest::newRow("any mode when there are less than none") << INT_MIN << 1;
}

void TestDeskCaptureOption::modeOutOfRangeIsRejected()
{
    QFETCH(int, total);
    QFETCH(int, mode);
    DeskCaptureOption option(nullptr);
    option.setTotalOfMode(total);
    const QSignalSpy modes(&option, &DeskCaptureOption::curModeChanged);
    const LogCapture log;
    option.setCurMode(mode);
    QCOMPARE(option.curMode(), 0);
    QCOMPARE(modes.size(), 0);
    QCOMPARE(logged(log), QStringList(rejected(mode, qint64(total) - 1)));
}

void TestDeskCaptureOption::propertiesWork()
{
    DeskCaptureOption option(nullptr);
    QVERIFY(option.setProperty("totalOfMode", 2));
    QVERIFY(option.setProperty("curMode", 1));
    QCOMPARE(option.property("totalOfMode"), QVariant(2));
    QCOMPARE(option.property("curMode"), QVariant(1));
}

QTEST_GUILESS_MAIN(TestDeskCaptureOption)
#include "tst_deskcaptureoption.moc"
