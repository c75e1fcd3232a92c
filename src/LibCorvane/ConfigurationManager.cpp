#include "ConfigurationManager.h"

#include "ControllerLayout_p.h"
#include "JsonCopy_p.h"
#include "JsonPath_p.h"
#include "SettingsFile_p.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QStandardPaths>

using namespace corvane;

namespace {

constexpr const char *kSubDirectories[] = {"controllers", "logs", "effects", "dumps", "resources"};
// The two files are no directories, so they stay, and each is warned of: hosts know these lines.
constexpr const char *kResetEntries[] = {"/resources", "/effects", "/controllers", "/global.json",
                                         "/config.json"};

// A fresh copy takes a little longer than the save itself: 4 % on top of all saves.
constexpr int kSavesPerFreshCopy = 32;

QString globalName()
{
    return QStringLiteral("global");
}

QString controllerName(const QString &controller)
{
    return QStringLiteral("controllers/") + controller;
}

QString effectName(const QString &effect)
{
    QString name = QStringLiteral("effects/") + effect;
    return name.replace(u'.', u'_');
}

JsonKeys viewsOf(const QStringList &keys)
{
    JsonKeys views;
    for (const QString &key : keys)
        views.append(key);
    return views;
}

QString chooseDataRoot(const QString &wanted)
{
    if (!wanted.isEmpty())
        return wanted;
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
}

void makeSubDirectories(const QString &root)
{
    const QDir directory(root);
    for (const char *name : kSubDirectories)
        directory.mkdir(QLatin1String(name));
}

} // namespace

// The object is destroyed before the path: static objects go in the reverse of this order.
QString ConfigurationManager::gsConfigPath;
std::unique_ptr<ConfigurationManager> ConfigurationManager::s_instance;

ConfigurationManager::ConfigurationManager()
    : m_configPath(chooseDataRoot(gsConfigPath))
{
    QDir().mkdir(m_configPath);
    makeSubDirectories(m_configPath);
}

ConfigurationManager::~ConfigurationManager() = default;

ConfigurationManager *ConfigurationManager::instance()
{
    if (!s_instance)
        s_instance.reset(new ConfigurationManager);
    return s_instance.get();
}

void ConfigurationManager::setConfigPath(const QString &path)
{
    gsConfigPath = path;
}

QString ConfigurationManager::configPath() const
{
    return m_configPath;
}

QString ConfigurationManager::resourcesPath() const
{
    return m_configPath + QLatin1String("/resources");
}

QString ConfigurationManager::logsPath() const
{
    return m_configPath + QLatin1String("/logs");
}

QString ConfigurationManager::filePath(const QString &name) const
{
    QString fileName = name;
    fileName.replace(u':', u'_');
    return m_configPath + u'/' + fileName + QLatin1String(".json");
}

QJsonObject &ConfigurationManager::jsonObject(const QString &name)
{
    auto entry = m_objects.find(name);
    if (entry == m_objects.end())
        entry = m_objects.insert(name, {loadJsonObjectFromFile(filePath(name))});
    return entry->object;
}

QJsonObject ConfigurationManager::loadJsonObjectFromFile(const QString &path)
{
    QFile file(path);
    if (holdsNul(path) || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qCritical() << "Failed to open" << path << " errStr:" << openError(file);
        return {};
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (error.error != QJsonParseError::NoError) {
        qCritical() << "Failed to parse" << path << error.errorString();
        return {};
    }
    return document.object();
}

void ConfigurationManager::saveJsonObject(const QString &name)
{
    const QString path = filePath(name);
    CachedObject &cached = m_objects[name];
    const auto error = rewriteFile(path, QJsonDocument(cached.object).toJson());
    if (error)
        qCritical() << "Failed to opened :" << path << "errStr: " << *error;
    if (++cached.saves % kSavesPerFreshCopy == 0)
        cached.object = freshCopy(cached.object);
}

void ConfigurationManager::save()
{
    const QStringList names = m_objects.keys();
    for (const QString &name : names)
        saveJsonObject(name);
}

QJsonObject &ConfigurationManager::AppConfigJsonObj()
{
    return jsonObject(globalName());
}

QJsonObject &ConfigurationManager::globalJsonObj()
{
    return jsonObject(globalName());
}

void ConfigurationManager::saveAppConfigJsonObj()
{
    saveJsonObject(globalName());
}

void ConfigurationManager::saveGlobalJsonObj()
{
    saveJsonObject(globalName());
}

void ConfigurationManager::saveGlobalValues()
{
    saveJsonObject(globalName());
}

QJsonValue ConfigurationManager::globalValue(const QString &path)
{
    return valWithXPath(globalJsonObj(), path);
}

QJsonValue ConfigurationManager::appConfig(const QString &path)
{
    return globalValue(path);
}

void ConfigurationManager::setGlobalValue(const QString &path, const QJsonValue &value)
{
    setValWithXPath(globalJsonObj(), path, value);
}

void ConfigurationManager::setGlobalValue(const QStringList &keys, const QJsonValue &value)
{
    setJsonValueAt(instance()->globalJsonObj(), viewsOf(keys), value);
}

void ConfigurationManager::setAppConfig(const QString &path, const QJsonValue &value)
{
    setGlobalValue(path, value);
    saveGlobalValues();
    emit appConfigChanged(path);
}

QJsonObject &ConfigurationManager::controllerJsonObj(const QString &controller)
{
    return jsonObject(controllerName(controller));
}

void ConfigurationManager::saveControllerJsonObj(const QString &controller)
{
    saveJsonObject(controllerName(controller));
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface takes effects, groups and keys by
// value.
QJsonObject &ConfigurationManager::effectJsonObj(QString effect)
{
    return jsonObject(effectName(effect));
}

void ConfigurationManager::saveEffectJsonObj(QString effect)
{
    saveJsonObject(effectName(effect));
}

QJsonValue ConfigurationManager::effectJsonValue(QString effect, QString group, QString key)
{
    // Not value(): a group that is read for the first time becomes a member, null.
    const QJsonValue value = effectJsonObj(effect)[group];
    return key.isEmpty() ? value : value.toObject().value(key);
}

QVariant ConfigurationManager::effectVariant(QString effect, QString group, QString key)
{
    return effectJsonValue(effect, group, key).toVariant();
}

void ConfigurationManager::setEffectJsonValue(QString effect, QString group, QString key,
                                              const QJsonValue &value)
{
    JsonKeys keys{group};
    if (!key.isEmpty())
        keys.append(key);
    setJsonValueAt(effectJsonObj(effect), keys, value);
}

void ConfigurationManager::setEffectVariant(QString effect, QString group, QString key,
                                            QVariant value)
{
    // An empty key is a key like any other here, unlike in setEffectJsonValue().
    setJsonValueAt(effectJsonObj(effect), {group, key}, QJsonValue::fromVariant(value));
}

QJsonValue ConfigurationManager::effectJsonValue(QString effect, QString group, QString key,
                                                 QString defaultPath)
{
    QJsonValue value = effectJsonValue(effect, group, key);
    if (!value.isNull() && !value.isUndefined())
        return value;
    qInfo() << "Not found effect config object about" << effect << group << key;
    const QJsonObject defaults = loadJsonObjectFromFile(defaultPath);
    // Also when there are none: the group is an empty object from then on.
    setEffectJsonValue(effect, group, QString(), defaults);
    if (defaults.isEmpty()) {
        qCritical() << "Failed to get config object from" << defaultPath;
        return QJsonValue::Null;
    }
    qDebug() << "Succeeded to get config object from" << defaultPath;
    return key.isEmpty() ? QJsonValue(defaults) : defaults.value(key);
}
// NOLINTEND(performance-unnecessary-value-param)

void ConfigurationManager::reset()
{
    for (const char *entry : kResetEntries)
        removeDirectory(m_configPath + QLatin1String(entry));
    makeSubDirectories(m_configPath);
}

void ConfigurationManager::EnableCleanStartup()
{
    setGlobalValue(QStringLiteral("cleanStartup"), true);
    saveGlobalValues();
}

QJsonValue ConfigurationManager::valWithXPath(const QJsonObject &object, const QString &path)
{
    return jsonValueAt(object, path);
}

void ConfigurationManager::setValWithXPath(QJsonObject &object, const QString &path,
                                           const QJsonValue &value)
{
    setJsonValueAt(object, jsonPathKeys(path), value);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the keys by value.
QJsonValue ConfigurationManager::setValWithXPath(QJsonObject &object, QStringList keys,
                                                 const QJsonValue &value)
{
    setJsonValueAt(object, viewsOf(keys), value);
    return object;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the name by value.
void ConfigurationManager::generateControllerConfig(QString name, int height, int width, int bottom)
{
    const ControllerStrip strip{height, width, bottom};
    qDebug() << name << " count:" << strip.keyCount() << " height:" << height << " width:" << width;
    const QJsonObject layout = controllerLayout(strip);
    if (!layout.isEmpty())
        writeLayoutFile(name, QJsonDocument(layout).toJson());
}

bool removeDirectory(const QString &path)
{
    const QDir directory(path);
    // Qt takes an empty path for the working directory, which nobody means to lose.
    if (path.isEmpty() || holdsNul(path) || !directory.exists()) {
        qWarning() << "Directory does not exist:" << path;
        return false;
    }
    const QFileInfoList entries = directory.entryInfoList(
        QDir::NoDotAndDotDot | QDir::Hidden | QDir::AllEntries, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        // A link to a directory counts as one: what it leads to is emptied. Hosts rely on that.
        if (entry.isDir()) {
            if (!removeDirectory(entry.filePath()))
                return false;
        } else if (!QFile::remove(entry.filePath())) {
            qWarning() << "Failed to remove file:" << entry.filePath();
            return false;
        }
    }
    if (!QDir().rmdir(path)) {
        qWarning() << "Failed to remove directory:" << path;
        return false;
    }
    return true;
}

bool isArrayIndex(const QString &text, int &index)
{
    const QStringView digits = arrayIndexDigits(text);
    if (digits.isEmpty())
        return false;
    bool fits = false;
    index = digits.toInt(&fits);
    return fits;
}
