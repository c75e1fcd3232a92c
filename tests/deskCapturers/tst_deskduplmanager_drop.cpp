// A host's other thread drops its pointer while the manager's thread deletes the capturer.

#include "ManagerLines.h"
#include "ScriptedDisplays.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

using namespace corvane::test;

namespace {

/// A capturer that another thread wants deleted later, and what becomes of it meanwhile.
struct Drop {
    std::atomic<QObject *> capturer{nullptr};
    std::atomic<bool> isUnderWay{false};
    std::atomic<bool> isDestroyed{false};
    std::atomic<bool> cameTooLate{false};
};

Drop &drop()
{
    static Drop instance;
    return instance;
}

} // namespace

// Stands before Qt's own, and gives the thread that destroys the capturer the time to do so.
void QObject::deleteLater()
{
    constexpr int kTurns = 10000;
    static const auto next =
        corvane::test::nextFunction<void(QObject *)>("_ZN7QObject11deleteLaterEv");
    if (this == drop().capturer) {
        drop().isUnderWay = true;
        for (int i = 0; i < kTurns && !drop().isDestroyed; ++i)
            std::this_thread::yield();
        drop().cameTooLate = drop().isDestroyed.load();
    }
    if (!drop().cameTooLate)
        next(this);
}

class TestDeskDuplManagerDrop : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void pointerMayBeDroppedWhileTheCapturerGoes();

private:
    QTemporaryDir m_directory;
};

void TestDeskDuplManagerDrop::initTestCase()
{
    QVERIFY(m_directory.isValid());
    ConfigurationManager::setConfigPath(m_directory.path());
    ConfigurationManager::instance()->saveGlobalValues(); // a missing file would be a log line
    ScriptedDisplays::instance().reset({2});
}

void TestDeskDuplManagerDrop::pointerMayBeDroppedWhileTheCapturerGoes()
{
    const LogCapture log;
    auto manager = std::make_unique<DeskDuplManagerMac>(nullptr);
    auto kept = manager->acquireCapturer("2");
    connect(
        kept.data(), &QObject::destroyed, this, [] { drop().isDestroyed = true; },
        Qt::DirectConnection);
    manager.reset();
    drop().capturer = kept.data();
    std::thread user([&kept] { kept.reset(); });
    while (!drop().isUnderWay)
        std::this_thread::yield();
    settle();
    user.join();
    QVERIFY(drop().isDestroyed);
    QVERIFY(!drop().cameTooLate);
}

QTEST_GUILESS_MAIN(TestDeskDuplManagerDrop)
#include "tst_deskduplmanager_drop.moc"
