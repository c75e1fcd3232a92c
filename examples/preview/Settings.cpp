#include "Settings.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QVariant>

namespace {

const char kDisplayKey[] = "preview.display";
const char kDeviceKey[] = "preview.device";
const char kWindowKey[] = "preview.window";
const char kOptionProperty[] = "runtime.options.deskCaptureOption";

ConfigurationManager *configuration()
{
    return ConfigurationManager::instance();
}

DeskCaptureOption *option()
{
    const qlonglong address = qApp->property(kOptionProperty).toLongLong();
    return reinterpret_cast<DeskCaptureOption *>(address);
}

void keepAllIn(const QString &folder)
{
    ConfigurationManager::setConfigPath(folder);
    // The library writes layouts to Qt's place for data, which this moves (on Linux).
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder));
}

} // namespace

Settings::Settings(const QString &folder)
{
    if (!folder.isEmpty())
        keepAllIn(QDir(folder).absolutePath());
    QDir().mkpath(folder.isEmpty()
                      ? QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)
                      : folder);
    // A file that is missing would be reported at its first use.
    if (!QFileInfo::exists(configuration()->configPath() + QStringLiteral("/global.json")))
        configuration()->saveGlobalValues();
}

QString Settings::display() const
{
    return configuration()->globalValue(kDisplayKey).toString();
}

void Settings::setDisplay(const QString &display)
{
    configuration()->setAppConfig(kDisplayKey, display);
}

QString Settings::device() const
{
    return configuration()->globalValue(kDeviceKey).toString();
}

void Settings::setDevice(const QString &device)
{
    configuration()->setAppConfig(kDeviceKey, device);
}

// JSON has no bytes.
QByteArray Settings::windowGeometry() const
{
    const QString text = configuration()->globalValue(kWindowKey).toString();
    return QByteArray::fromBase64(text.toLatin1());
}

void Settings::setWindowGeometry(const QByteArray &geometry)
{
    configuration()->setAppConfig(kWindowKey, QString::fromLatin1(geometry.toBase64()));
}

Mode Settings::mode() const
{
    return option()->curMode() == static_cast<int>(Mode::Sound) ? Mode::Sound : Mode::Screen;
}

void Settings::setMode(Mode mode)
{
    option()->setCurMode(static_cast<int>(mode));
}
