#include "Simulation.h"

#include <LibCorvane/platform/ScreenRecordingPermission_p.h>

#include <QTest>

using corvane::test::Simulation;

class TestScreenRecordingPermission : public QObject {
    Q_OBJECT
private slots:
    void init();
    void askingTheSystemAsksNobodyElse_data();
    void askingTheSystemAsksNobodyElse();
    void requestGivesTheAnswer_data();
    void requestGivesTheAnswer();
    void laterAnswerIsSeen();

private:
    Simulation &m_simulation = Simulation::instance();
};

void TestScreenRecordingPermission::init()
{
    m_simulation.reset();
}

void TestScreenRecordingPermission::askingTheSystemAsksNobodyElse_data()
{
    QTest::addColumn<bool>("granted");
    QTest::newRow("the permission is there") << true;
    QTest::newRow("the permission is missing") << false;
}

void TestScreenRecordingPermission::askingTheSystemAsksNobodyElse()
{
    QFETCH(bool, granted);
    m_simulation.setPermission(granted, true);
    QCOMPARE(corvane::mayRecordScreen(), granted);
    QCOMPARE(m_simulation.takeCalls(), QStringList("CGPreflightScreenCaptureAccess"));
}

void TestScreenRecordingPermission::requestGivesTheAnswer_data()
{
    QTest::addColumn<bool>("granted");
    QTest::newRow("the user grants it") << true;
    QTest::newRow("the user refuses it") << false;
}

void TestScreenRecordingPermission::requestGivesTheAnswer()
{
    QFETCH(bool, granted);
    m_simulation.setPermission(false, granted);
    QCOMPARE(corvane::requestScreenRecording(), granted);
    QCOMPARE(m_simulation.takeCalls(), QStringList("CGRequestScreenCaptureAccess"));
}

void TestScreenRecordingPermission::laterAnswerIsSeen()
{
    m_simulation.setPermission(false, false);
    QVERIFY(!corvane::requestScreenRecording());
    QVERIFY(!corvane::mayRecordScreen());
    m_simulation.setPermission(true, true);
    QVERIFY(corvane::mayRecordScreen());
}

QTEST_APPLESS_MAIN(TestScreenRecordingPermission)
#include "tst_screenrecordingpermission.moc"
