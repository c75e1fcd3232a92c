// Screens as Qt finds them, offscreen and on private X servers.

#include <support/XServer.h>

#include <LibCorvane/common/HardwareInfo.h>

#include <QApplication>
#include <QtTest>

using namespace corvane::test;

namespace {

/// The text in an application on that platform; one application at a time.
QString screens(const QByteArray &platform)
{
    qputenv("QT_QPA_PLATFORM", platform);
    int count = 1;
    char name[] = "screens";
    char *arguments[] = {name, nullptr};
    const QApplication application(count, arguments);
    return HardwareInfo::screen();
}

} // namespace

class TestHardwareInfoScreens : public QObject {
    Q_OBJECT
private slots:
    void listsTheOffscreenOne();
    void listsTheServersOne();
    void listsAllOfTheServers();
};

void TestHardwareInfoScreens::listsTheOffscreenOne()
{
    QCOMPARE(screens("offscreen"), QString("(800 X 600) X 1"));
}

void TestHardwareInfoScreens::listsTheServersOne()
{
    const XServer server({QSize(2560, 1600), 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    QCOMPARE(screens("xcb"), QString("(2560 X 1600) X 1"));
}

void TestHardwareInfoScreens::listsAllOfTheServers()
{
    const QStringList more{"-screen", "1", "1400x900x24", "-screen", "2", "1600x1000x24"};
    const XServer server({QSize(1600, 1000), 24, more});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    QCOMPARE(screens("xcb"), QString("(1600 X 1000) X 2、 (1400 X 900) X 1"));
}

QTEST_APPLESS_MAIN(TestHardwareInfoScreens)
#include "tst_hardwareinfo_screens.moc"
