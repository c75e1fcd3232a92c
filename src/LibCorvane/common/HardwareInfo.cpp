#include "HardwareInfo.h"

#include "HardwareTexts_p.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopWidget>
#include <QDir>
#include <QNetworkInterface>
#include <QSettings>
#include <QStorageInfo>
#include <QSysInfo>

#include <algorithm>
#include <memory>

namespace {

constexpr unsigned int kVersionLeaf = 1;

constexpr const char *kProcessorKey =
    R"(HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System\CentralProcessor\0)";
constexpr const char *kAdapterKeys[] = {
    R"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\services\nvlddmkm\Device0)",
    R"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\igfx\Device0)",
    R"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\amdkmdap\Device0)",
};

QString nativeSetting(const char *key, const QString &value)
{
    const auto settings = std::make_unique<QSettings>(QLatin1String(key), QSettings::NativeFormat);
    return settings->value(value, QVariant()).toString();
}

/// The addresses of all interfaces but the loop-back ones, without separators.
QStringList hardwareAddresses(const QList<QNetworkInterface> &interfaces)
{
    QStringList addresses;
    for (const QNetworkInterface &interface : interfaces) {
        if (!interface.flags().testFlag(QNetworkInterface::IsLoopBack))
            addresses << corvane::withoutColons(interface.hardwareAddress());
    }
    return addresses;
}

} // namespace

HardwareInfo::HardwareInfo(QObject *parent)
    : QObject(parent)
{
}

HardwareInfo::~HardwareInfo() = default;

QString HardwareInfo::get_cpuId()
{
    return corvane::cpuIdText(corvane::cpuIdWords(kVersionLeaf));
}

void HardwareInfo::getcpuid(unsigned int *block, unsigned int leaf)
{
    const auto words = corvane::cpuIdWords(leaf);
    if (words)
        std::copy(words->begin(), words->end(), block);
}

QString HardwareInfo::cpuType()
{
    return nativeSetting(kProcessorKey, QStringLiteral("ProcessorNameString"));
}

QString HardwareInfo::memory()
{
    return QString();
}

QString HardwareInfo::osVersion()
{
    // The end says nothing of the system, and readers of reports expect it.
    return QSysInfo::productType() + u' ' + QSysInfo::productVersion()
        + QLatin1String(R"( dmkm\Device0)");
}

QString HardwareInfo::dCard()
{
    QStringList names;
    for (const char *key : kAdapterKeys)
        names << nativeSetting(key, QStringLiteral("Device Description"));
    return corvane::adaptersText(names);
}

QString HardwareInfo::screen()
{
    // Qt ends the process when a desktop is asked for without one.
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()))
        return QString();
    const QDesktopWidget *desktop = QApplication::desktop();
    QVector<QSize> sizes;
    for (int i = 0; i < desktop->numScreens(); ++i)
        sizes << desktop->screenGeometry(i).size();
    return corvane::screensText(sizes);
}

QString HardwareInfo::disk()
{
    QString text;
    const QFileInfoList drives = QDir::drives();
    for (const QFileInfo &drive : drives) {
        QStorageInfo storage;
        storage.setPath(drive.absoluteFilePath());
        text += corvane::driveText(storage.name(), storage.bytesAvailable(), storage.bytesTotal());
    }
    return text;
}

QString HardwareInfo::audioOut()
{
    return QString();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the address by value.
QString HardwareInfo::getMacStr(QString wanted)
{
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    qDebug() << "QNetworkInterface::allInterfaces() count:" << interfaces.count();
    const QStringList addresses = hardwareAddresses(interfaces);
    const bool any = wanted == QLatin1String("0");
    QString result;
    for (const QString &address : addresses) {
        result = address;
        if (any || address == wanted)
            break;
    }
    if (result.isEmpty())
        qWarning() << "******Local hardware address acquisition failed!";
    qDebug() << "HardwareInfo::getMacStr:" << result;
    return result;
}
