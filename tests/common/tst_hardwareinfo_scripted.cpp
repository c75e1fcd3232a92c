// Machines that this one is not: interfaces, drives and screens are scripted.

#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>

#include <LibCorvane/common/HardwareInfo.h>

#include <QApplication>
#include <QDesktopWidget>
#include <QDir>
#include <QStorageInfo>
#include <QtTest>

using namespace corvane::test;

namespace {

struct Drive {
    QString path;
    QString name;
    qint64 available;
    qint64 total;
};

QVector<Drive> scriptedDrives;
/// What the last storage was pointed at.
Drive current;
QVector<QRect> scriptedScreens;

constexpr qint64 kGibibyte = qint64(1) << 30;

QStringList macLines(int count, const QString &result)
{
    const QString prefix = "debug|default|HardwareInfo::getMacStr|";
    QStringList lines;
    lines << prefix + QString("QNetworkInterface::allInterfaces() count: %1").arg(count);
    if (result.isEmpty())
        lines << "warning|default|HardwareInfo::getMacStr|"
                 "******Local hardware address acquisition failed!";
    lines << prefix + QString("HardwareInfo::getMacStr: \"%1\"").arg(result);
    return lines;
}

} // namespace

Q_DECLARE_METATYPE(Drive)

// These stand before Qt's own.

QFileInfoList QDir::drives()
{
    QFileInfoList roots;
    for (const Drive &drive : scriptedDrives)
        roots << QFileInfo(drive.path);
    return roots;
}

void QStorageInfo::setPath(const QString &path)
{
    current = {};
    for (const Drive &drive : scriptedDrives)
        current = drive.path == path ? drive : current;
}

QString QStorageInfo::name() const
{
    return current.name;
}

qint64 QStorageInfo::bytesAvailable() const
{
    return current.available;
}

qint64 QStorageInfo::bytesTotal() const
{
    return current.total;
}

// What root may use is not what the user may.
qint64 QStorageInfo::bytesFree() const
{
    return -1;
}

int QDesktopWidget::numScreens() const
{
    return scriptedScreens.size();
}

const QRect QDesktopWidget::screenGeometry(int screen) const
{
    return scriptedScreens.value(screen);
}

class TestHardwareInfoScripted : public QObject {
    Q_OBJECT
private slots:
    void findsAnAddress_data();
    void findsAnAddress();
    void describesEachDrive_data();
    void describesEachDrive();
    void listsTheScreens_data();
    void listsTheScreens();
};

void TestHardwareInfoScripted::findsAnAddress_data()
{
    const ScriptedInterface first{"AA:BB:CC:DD:EE:FF"};
    const ScriptedInterface second{"00:11:22:33:44:55"};
    const ScriptedInterface tunnel{"", QNetworkInterface::IsUp | QNetworkInterface::IsPointToPoint};
    QTest::addColumn<QVector<ScriptedInterface>>("interfaces");
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("address");
    const auto row = [](const char *name, const QVector<ScriptedInterface> &interfaces,
                        const QString &wanted, const QString &address) {
        QTest::newRow(name) << interfaces << wanted << address;
    };
    row("the first one", {first}, "0", "AABBCCDDEEFF");
    row("the first of two", {first, second}, "0", "AABBCCDDEEFF");
    row("the first behind the loop-back one", {loopBack(), second, first}, "0", "001122334455");
    row("a first one that is down", {{"AA:BB:CC:DD:EE:FF", {}}, second}, "0", "AABBCCDDEEFF");
    row("a first one without an address", {tunnel, first}, "0", "");
    row("the one that is wanted", {first, second, tunnel}, "001122334455", "001122334455");
    row("the wanted one before others", {first, second}, "AABBCCDDEEFF", "AABBCCDDEEFF");
    row("the last when no one has the address", {first, second}, "112233445566", "001122334455");
    row("the last that is no loop-back one", {first, second, loopBack()}, "1", "001122334455");
    row("the last when the wanted one is in small letters", {first, second}, "aabbccddeeff",
        "001122334455");
    row("the last when the wanted one has colons", {first, second}, "AA:BB:CC:DD:EE:FF",
        "001122334455");
    row("the last, which has none", {first, tunnel}, "112233445566", "");
    row("one without an address is wanted", {tunnel, first}, "", "");
    row("nothing is wanted and all have one", {first, second}, "", "001122334455");
    row("only the loop-back one", {loopBack()}, "0", "");
    row("the loop-back one is not to be had", {loopBack()}, "000000000000", "");
    row("no interface", {}, "0", "");
}

void TestHardwareInfoScripted::findsAnAddress()
{
    QFETCH(QVector<ScriptedInterface>, interfaces);
    QFETCH(QString, wanted);
    QFETCH(QString, address);
    setInterfaces(interfaces);
    const LogCapture log;
    QCOMPARE(HardwareInfo::getMacStr(wanted), address);
    QCOMPARE(logged(log), macLines(interfaces.size(), address));
}

void TestHardwareInfoScripted::describesEachDrive_data()
{
    const Drive large{"/", "Macintosh HD", 100 * kGibibyte, 512 * kGibibyte};
    QTest::addColumn<QVector<Drive>>("drives");
    QTest::addColumn<QString>("text");
    QTest::newRow("one drive") << QVector<Drive>{large} << "Macintosh HD 100G/536870912G  ";
    QTest::newRow("two drives") << QVector<Drive>{large, {"/tmp", "", kGibibyte - 1, 4096}}
                                << "Macintosh HD 100G/536870912G   0G/4G  ";
    QTest::newRow("no drive") << QVector<Drive>{} << "";
}

void TestHardwareInfoScripted::describesEachDrive()
{
    QFETCH(QVector<Drive>, drives);
    scriptedDrives = drives;
    QTEST(HardwareInfo::disk(), "text");
}

void TestHardwareInfoScripted::listsTheScreens_data()
{
    QTest::addColumn<QVector<QRect>>("screens");
    QTest::addColumn<QString>("text");
    QTest::newRow("one") << QVector<QRect>{{0, 0, 2560, 1600}} << "(2560 X 1600) X 1";
    QTest::newRow("two alike, one other, in places of their own")
        << QVector<QRect>{{0, 0, 1920, 1080}, {-1920, 200, 1920, 1080}, {1920, 0, 2560, 1440}}
        << "(1920 X 1080) X 2、 (2560 X 1440) X 1";
    QTest::newRow("none") << QVector<QRect>{} << "";
}

void TestHardwareInfoScripted::listsTheScreens()
{
    QFETCH(QVector<QRect>, screens);
    scriptedScreens = screens;
    QTEST(HardwareInfo::screen(), "text");
}

QTEST_MAIN(TestHardwareInfoScripted)
#include "tst_hardwareinfo_scripted.moc"
