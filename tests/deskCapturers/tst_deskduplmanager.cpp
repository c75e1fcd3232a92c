// The displays are scripted: what the manager makes of them, and how it goes.

#include "ManagerLines.h"
#include "ScriptedDisplays.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>

#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<IDeskDuplManager, DeskDuplManagerMac>);
static_assert(std::is_abstract_v<IDeskDuplManager>);
static_assert(!std::is_copy_constructible_v<DeskDuplManagerMac>);

namespace {

const char kInterfaceId[] = "com.corvane.interfaceId.IDeskDuplManager";

ScriptedDisplays &displays()
{
    return ScriptedDisplays::instance();
}

} // namespace

class TestDeskDuplManager : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void isCastByItsNamesAndItsId_data();
    void isCastByItsNamesAndItsId();
    void interfaceHasTwoSignals();
    void hasNoParentEver();

    void displaysAreListedInStringOrder();
    void noDisplaysAreNoError();
    void everyDisplayIsStartedInTheSystemsOrder();
    void eachDisplayIsAnnouncedDuringConstruction();
    void displayListedTwiceIsOneDisplay();
    void refusedDisplayHasACapturerAllTheSame();
    void idBeyondIntIsTheMainDisplay();
    void eachDisplayHasAThread();

    void destructionDropsTheCapturersLater();
    void destructionSkipsWhatIsReleased();
    void pointerMayBeDroppedAfterTheManager();

private:
    QTemporaryDir m_directory;
};

void TestDeskDuplManager::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
}

void TestDeskDuplManager::init()
{
    displays().reset({2, 10});
}

void TestDeskDuplManager::cleanup()
{
    settle();
}

void TestDeskDuplManager::isCastByItsNamesAndItsId_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("the interface's id") << QByteArray(kInterfaceId) << true;
    QTest::newRow("the interface's name") << QByteArray("IDeskDuplManager") << true;
    QTest::newRow("the class") << QByteArray("DeskDuplManagerMac") << true;
    QTest::newRow("the base of all") << QByteArray("QObject") << true;
    QTest::newRow("another class") << QByteArray("IDeskCapture") << false;
}

void TestDeskDuplManager::isCastByItsNamesAndItsId()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, succeeds);
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.qt_metacast(name.constData()) != nullptr, succeeds);
    QObject *object = &manager;
    QCOMPARE(qobject_cast<IDeskDuplManager *>(object), &manager);
    QCOMPARE(qobject_cast<DeskDuplManagerMac *>(object), &manager);
    QCOMPARE(QByteArray(qobject_interface_iid<IDeskDuplManager *>()), QByteArray(kInterfaceId));
}

void TestDeskDuplManager::interfaceHasTwoSignals()
{
    const QMetaObject &meta = IDeskDuplManager::staticMetaObject;
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        found << meta.method(i).methodSignature() + ' ' + meta.method(i).parameterNames().join();
    QCOMPARE(found,
             QStringList({"capturerReady(QString) capIdx", "capturerFailed(QString) capIdx"}));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
}

void TestDeskDuplManager::hasNoParentEver()
{
    QObject parent;
    const DeskDuplManagerMac manager(&parent);
    QCOMPARE(manager.parent(), nullptr);
    QVERIFY(parent.children().isEmpty());
}

void TestDeskDuplManager::displaysAreListedInStringOrder()
{
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList({"10", "2"}));
    QCOMPARE(manager.defaultCapturer(), QString("10"));
}

void TestDeskDuplManager::noDisplaysAreNoError()
{
    displays().reset();
    const LogCapture log;
    {
        DeskDuplManagerMac manager(nullptr);
        QCOMPARE(manager.allCapturer(), QStringList());
        QVERIFY(manager.defaultCapturer().isNull());
        QVERIFY(manager.acquireCapturer("").isNull());
    }
    QCOMPARE(logged(log), QStringList());
}

void TestDeskDuplManager::everyDisplayIsStartedInTheSystemsOrder()
{
    const LogCapture log;
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(displays().takeCalls(), QStringList({"alloc 2", "alloc 10"}));
    QCOMPARE(displays().makers(), QSet<QThread *>{QThread::currentThread()});
    QCOMPARE(logged(log), QStringList());
}

void TestDeskDuplManager::eachDisplayIsAnnouncedDuringConstruction()
{
    QStringList events;
    displays().onListing([&] {
        // The option is published by now, and its parent is the manager.
        const auto address = QCoreApplication::instance()
                                 ->property("runtime.options.deskCaptureOption")
                                 .toLongLong();
        const auto *option = reinterpret_cast<DeskCaptureOption *>(address);
        auto *manager = static_cast<IDeskDuplManager *>(option->parent());
        connect(manager, &IDeskDuplManager::capturerReady, this, [&, manager](const QString &id) {
            events << displays().takeCalls() << "ready " + id
                   << "known: " + manager->allCapturer().join(' ');
        });
        connect(manager, &IDeskDuplManager::capturerFailed, this,
                [&](const QString &id) { events << "failed " + id; });
    });
    displays().refuse(10);
    const LogCapture log;
    const DeskDuplManagerMac manager(nullptr);
    QCOMPARE(
        events,
        QStringList({"alloc 2", "ready 2", "known: 2", "alloc 10", "ready 10", "known: 10 2"}));
}

void TestDeskDuplManager::displayListedTwiceIsOneDisplay()
{
    displays().reset({2, 10, 2});
    const LogCapture log;
    {
        DeskDuplManagerMac manager(nullptr);
        QCOMPARE(displays().takeCalls(), QStringList({"alloc 2", "alloc 10", "alloc 2"}));
        QCOMPARE(manager.allCapturer(), QStringList({"10", "2"}));
        int running = 0;
        for (const QThread *thread : manager.findChildren<QThread *>())
            running += thread->isRunning() ? 1 : 0;
        QCOMPARE(running, 2);
        const auto capturer = manager.acquireCapturer("2");
        settle(); // the earlier capturer goes now
        QVERIFY(capturer->nextFrame().empty());
        QCOMPARE(displays().takeCalls(), QStringList("next 2"));
    } // Qt ends a process that destroys a running thread
    QCOMPARE(logged(log), QStringList(acquired("2", 1)));
}

void TestDeskDuplManager::refusedDisplayHasACapturerAllTheSame()
{
    displays().refuse(10);
    LogCapture log;
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(logged(log),
             QStringList("critical|default|AVFoundationCapture::start|[AVFoundationCapture]: "
                         "Cannot init AVFoundation capture"));
    QCOMPARE(manager.allCapturer(), QStringList({"10", "2"}));
    log.clear();
    const auto capturer = manager.acquireCapturer("10");
    QVERIFY(capturer);
    QVERIFY(capturer->nextFrame().empty());
    manager.releaseCapturer("10");
    QCOMPARE(logged(log), QStringList(acquired("10", 1)) + released("10", 0));
}

void TestDeskDuplManager::idBeyondIntIsTheMainDisplay()
{
    displays().reset({4000000000U});
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.allCapturer(), QStringList("4000000000"));
    QCOMPARE(displays().takeCalls(), QStringList("alloc 0"));
}

void TestDeskDuplManager::eachDisplayHasAThread()
{
    QList<QPointer<QThread>> threads;
    {
        const DeskDuplManagerMac manager(nullptr);
        for (QThread *thread : manager.findChildren<QThread *>())
            threads << thread;
        QCOMPARE(threads.size(), 2);
        for (const auto &thread : threads) {
            QVERIFY(thread->isRunning());
            QCOMPARE(thread->parent(), &manager);
        }
    }
    for (const auto &thread : threads)
        QVERIFY(!thread);
}

void TestDeskDuplManager::destructionDropsTheCapturersLater()
{
    const LogCapture log;
    QPointer<IDeskCapture> used;
    int destroyed = 0;
    {
        DeskDuplManagerMac manager(nullptr);
        used = manager.acquireCapturer("2").data();
        connect(used, &QObject::destroyed, this, [&] { ++destroyed; });
    }
    QVERIFY(used);
    settle();
    QVERIFY(!used);
    QCOMPARE(destroyed, 1);
}

void TestDeskDuplManager::destructionSkipsWhatIsReleased()
{
    const LogCapture log;
    {
        DeskDuplManagerMac manager(nullptr);
        manager.releaseCapturer("2");
        manager.releaseCapturer("10");
    }
    settle();
    QCOMPARE(logged(log), released("2", 0) + released("10", 0));
}

void TestDeskDuplManager::pointerMayBeDroppedAfterTheManager()
{
    const LogCapture log;
    auto manager = std::make_unique<DeskDuplManagerMac>(nullptr);
    auto kept = manager->acquireCapturer("2");
    auto keptForLong = manager->acquireCapturer("10");
    const QPointer<IDeskCapture> watched(keptForLong.data());
    manager.reset();
    kept.reset(); // deleted twice later, which is once
    settle();
    QVERIFY(!watched);
    keptForLong.reset();
    settle();
}

QTEST_GUILESS_MAIN(TestDeskDuplManager)
#include "tst_deskduplmanager.moc"
