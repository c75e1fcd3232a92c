// The displays are scripted: how the manager counts the users of their capturers, on any thread.

#include "ManagerLines.h"
#include "ScriptedDisplays.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>

#include <QEventLoop>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>

using namespace corvane::test;

namespace {

ScriptedDisplays &displays()
{
    return ScriptedDisplays::instance();
}

/// A manager with what subclasses may call.
class OpenManager : public DeskDuplManagerMac {
public:
    OpenManager()
        : DeskDuplManagerMac(nullptr)
    {
    }
    using DeskDuplManagerMac::makeCapturer;
};

} // namespace

class TestDeskDuplManagerUsers : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void usersAreCounted();
    void firstUserGetsTheCapturerOfTheStart();
    void releasingTooOftenStaysAtZero();
    void displaysAreCountedApart();
    void capturerLivesAsLongAsSomebodyHoldsIt();
    void unknownIdIsAnsweredWithNothing_data();
    void unknownIdIsAnsweredWithNothing();
    void descriptionIsEmpty();

    void unknownIdIsNotMade_data();
    void unknownIdIsNotMade();
    void remadeCapturerReplacesTheFormer();

    void otherThreadGetsWhatIsThereAtOnce();
    void otherThreadWaitsForAnIdleManager();
    void otherThreadWaitsForABusyManager();
    void threadsThatWaitForEachOtherAreAllServed();

private:
    QTemporaryDir m_directory;
};

void TestDeskDuplManagerUsers::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
}

void TestDeskDuplManagerUsers::init()
{
    displays().reset({2, 10});
}

void TestDeskDuplManagerUsers::cleanup()
{
    settle();
}

void TestDeskDuplManagerUsers::usersAreCounted()
{
    DeskDuplManagerMac manager(nullptr);
    const LogCapture log;
    const auto first = manager.acquireCapturer("2");
    QVERIFY(first);
    QCOMPARE(manager.acquireCapturer("2"), first);
    manager.releaseCapturer("2");
    manager.releaseCapturer("2");
    const auto second = manager.acquireCapturer("2");
    QVERIFY(second != first);
    manager.releaseCapturer("2");
    QCOMPARE(logged(log),
             QStringList({acquired("2", 1), acquired("2", 2)}) + released("2", 1) + released("2", 0)
                 + QStringList({making("2"), acquired("2", 1)}) + released("2", 0));
}

void TestDeskDuplManagerUsers::firstUserGetsTheCapturerOfTheStart()
{
    DeskDuplManagerMac manager(nullptr);
    displays().takeCalls();
    const auto capturer = manager.acquireCapturer("10");
    QCOMPARE(displays().takeCalls(), QStringList());
    capturer->setOutputSize({64, 36});
    QCOMPARE(displays().takeCalls(), QStringList("set 10 64x36"));
    QVERIFY(qobject_cast<AVFoundationCapture *>(capturer.data()));
    QCOMPARE(capturer->parent(), nullptr);
    QCOMPARE(capturer->thread(), manager.thread());
    manager.releaseCapturer("10");
}

void TestDeskDuplManagerUsers::releasingTooOftenStaysAtZero()
{
    DeskDuplManagerMac manager(nullptr);
    displays().takeCalls();
    LogCapture log;
    manager.releaseCapturer("2"); // gives up the capturer of the start
    manager.releaseCapturer("2");
    QCOMPARE(logged(log), released("2", 0) + released("2", 0));
    log.clear();
    QVERIFY(manager.acquireCapturer("2"));
    QCOMPARE(logged(log), QStringList({making("2"), acquired("2", 1)}));
    QCOMPARE(displays().takeCalls(), QStringList("alloc 2"));
}

void TestDeskDuplManagerUsers::displaysAreCountedApart()
{
    DeskDuplManagerMac manager(nullptr);
    const LogCapture log;
    const auto first = manager.acquireCapturer("2");
    const auto second = manager.acquireCapturer("10");
    QVERIFY(first != second);
    manager.releaseCapturer("10");
    manager.releaseCapturer("2");
    QCOMPARE(logged(log),
             QStringList({acquired("2", 1), acquired("10", 1)}) + released("10", 0)
                 + released("2", 0));
}

void TestDeskDuplManagerUsers::capturerLivesAsLongAsSomebodyHoldsIt()
{
    DeskDuplManagerMac manager(nullptr);
    auto held = manager.acquireCapturer("2");
    const QPointer<IDeskCapture> watched(held.data());
    manager.releaseCapturer("2");
    settle();
    QVERIFY(watched);
    held.reset();
    QVERIFY(watched); // destroyed by the event loop, not at once
    settle();
    QVERIFY(!watched);
}

void TestDeskDuplManagerUsers::unknownIdIsAnsweredWithNothing_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("a number that no display has") << "3";
    QTest::newRow("a number below 0") << "-1";
    QTest::newRow("a number beyond int") << "99999999999";
    QTest::newRow("a display's number with a blank") << " 2";
    QTest::newRow("a display's number with a zero before it") << "02";
    QTest::newRow("no number") << "main";
    QTest::newRow("an empty id") << "";
    QTest::newRow("a null id") << QString();
}

void TestDeskDuplManagerUsers::unknownIdIsAnsweredWithNothing()
{
    QFETCH(QString, id);
    DeskDuplManagerMac manager(nullptr);
    const LogCapture log;
    QVERIFY(manager.acquireCapturer(id).isNull());
    QVERIFY(manager.capturerDesc(id).isEmpty());
    QVERIFY(!manager.capturerDesc(id).isNull());
    QCOMPARE(logged(log), QStringList());
    manager.releaseCapturer(id);
    QCOMPARE(logged(log),
             QStringList(line("critical", "releaseCapturer",
                              QString("Not found capturer to release capturer reference count : "
                                      "\"%1\"")
                                  .arg(id))));
    QCOMPARE(manager.allCapturer(), QStringList({"10", "2"}));
    QVERIFY(manager.acquireCapturer("2"));
    QCOMPARE(logged(log).last(), acquired("2", 1));
}

void TestDeskDuplManagerUsers::descriptionIsEmpty()
{
    DeskDuplManagerMac manager(nullptr);
    QVERIFY(manager.capturerDesc("2").isEmpty());
}

void TestDeskDuplManagerUsers::unknownIdIsNotMade_data()
{
    unknownIdIsAnsweredWithNothing_data();
}

void TestDeskDuplManagerUsers::unknownIdIsNotMade()
{
    QFETCH(QString, id);
    OpenManager manager;
    displays().takeCalls();
    const LogCapture log;
    manager.makeCapturer(id);
    QCOMPARE(logged(log),
             QStringList(line(
                 "critical", "makeCapturer",
                 QString("Not found capturer context to making capturer, id:  \"%1\"").arg(id))));
    QCOMPARE(displays().takeCalls(), QStringList());
}

void TestDeskDuplManagerUsers::remadeCapturerReplacesTheFormer()
{
    OpenManager manager;
    const QPointer<IDeskCapture> former(manager.acquireCapturer("2").data());
    const LogCapture log;
    manager.makeCapturer("2");
    QVERIFY(former);
    settle();
    QVERIFY(!former);
    const auto remade = manager.acquireCapturer("2");
    QVERIFY(remade->nextFrame().empty());
    QCOMPARE(logged(log), QStringList(acquired("2", 2)));
}

void TestDeskDuplManagerUsers::otherThreadGetsWhatIsThereAtOnce()
{
    DeskDuplManagerMac manager(nullptr);
    displays().takeCalls();
    QSharedPointer<IDeskCapture> capturer;
    const LogCapture log;
    // This thread runs no event loop meanwhile.
    std::thread([&] {
        capturer = manager.acquireCapturer("2");
        manager.acquireCapturer("2");
        manager.releaseCapturer("2");
        manager.capturerDesc("2");
        manager.acquireCapturer("unknown");
    }).join();
    QVERIFY(capturer);
    QCOMPARE(displays().takeCalls(), QStringList());
    QCOMPARE(logged(log), QStringList({acquired("2", 1), acquired("2", 2)}) + released("2", 1));
}

void TestDeskDuplManagerUsers::otherThreadWaitsForAnIdleManager()
{
    DeskDuplManagerMac manager(nullptr);
    manager.releaseCapturer("2");
    displays().reset();
    const LogCapture log;
    QSharedPointer<IDeskCapture> capturer;
    QEventLoop loop;
    std::thread user([&] {
        capturer = manager.acquireCapturer("2");
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    user.join();
    QVERIFY(capturer);
    QCOMPARE(capturer->thread(), manager.thread());
    QCOMPARE(displays().takeCalls(), QStringList("alloc 2"));
    QCOMPARE(displays().makers(), QSet<QThread *>{manager.thread()});
    QCOMPARE(logged(log), QStringList({making("2"), acquired("2", 1)}));
}

void TestDeskDuplManagerUsers::otherThreadWaitsForABusyManager()
{
    DeskDuplManagerMac manager(nullptr);
    manager.releaseCapturer("2");
    displays().reset();
    const LogCapture log;
    std::atomic<bool> served{false};
    std::thread user([&] { served = !manager.acquireCapturer("2").isNull(); });
    // Busy with something else than its events until the user is waiting.
    while (logged(log).isEmpty())
        QThread::yieldCurrentThread();
    QCOMPARE(logged(log), QStringList(making("2")));
    QVERIFY(!served);
    QCOMPARE(displays().takeCalls(), QStringList());

    QTRY_VERIFY(served);
    user.join();
    QCOMPARE(displays().makers(), QSet<QThread *>{manager.thread()});
    QCOMPARE(logged(log), QStringList({making("2"), acquired("2", 1)}));
}

void TestDeskDuplManagerUsers::threadsThatWaitForEachOtherAreAllServed()
{
    DeskDuplManagerMac manager(nullptr);
    manager.releaseCapturer("2");
    manager.releaseCapturer("10");
    const LogCapture log;
    std::atomic<int> served{0};
    const auto use = [&](const QString &id) { served += manager.acquireCapturer(id) ? 1 : 0; };
    std::thread users[] = {std::thread(use, "2"), std::thread(use, "10"), std::thread(use, "2")};
    QTRY_COMPARE(served.load(), 3);
    for (std::thread &user : users)
        user.join();
    const QStringList lines = logged(log);
    QCOMPARE(lines.count(making("2")), 1);
    QCOMPARE(lines.count(making("10")), 1);
    QVERIFY(lines.contains(acquired("2", 2)));
    QVERIFY(lines.contains(acquired("10", 1)));
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerUsers)
#include "tst_deskduplmanager_users.moc"
