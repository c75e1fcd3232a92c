// A manager in a process without an application object: nowhere to publish the option.

#include "ScriptedDisplays.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <support/LogCapture.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

using namespace corvane::test;

class TestDeskDuplManagerNoApplication : public QObject {
    Q_OBJECT
private slots:
    void worksAllTheSame();
};

void TestDeskDuplManagerNoApplication::worksAllTheSame()
{
    const QTemporaryDir directory;
    ConfigurationManager::setConfigPath(directory.path());
    ScriptedDisplays::instance().reset({2});
    QCOMPARE(QCoreApplication::instance(), nullptr);
    const LogCapture log; // Qt warns about the idle threads' event loops
    DeskDuplManagerMac manager(nullptr);
    QCOMPARE(manager.defaultCapturer(), QString("2"));
    const auto capturer = manager.acquireCapturer("2");
    QVERIFY(capturer->nextFrame().empty());
    manager.findChild<DeskCaptureOption *>()->setCurMode(1);
    QCOMPARE(ConfigurationManager::instance()->globalValue("screenCaptureMode"), QJsonValue(1));
}

QTEST_APPLESS_MAIN(TestDeskDuplManagerNoApplication)
#include "tst_deskduplmanager_noapplication.moc"
