#include "SettingsWork.h"

#include <LibCorvane/ConfigurationManager.h>
#include <support/LogCapture.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace corvane::test {
namespace {

constexpr int kWriteMs = 20;
/// No multiple of the effects or controllers, so that all of them are saved.
constexpr int kWritesPerSave = 5;
constexpr int kEffects = 8;
constexpr int kControllers = 4;
/// After as many saves of an object the library has given back what replaced texts took.
constexpr int kSavesPerFreshCopy = 32;

ConfigurationManager &manager()
{
    return *ConfigurationManager::instance();
}

QString effect(qint64 step)
{
    return QString("music.wave%1").arg(step % kEffects);
}

QString controller(qint64 step)
{
    return QString("desk:%1").arg(step % kControllers);
}

/// Of 20 to 79 letters, and never the same.
QString textOf(qint64 step)
{
    return QString("text %1 ")
        .arg(step, 14, 10, QLatin1Char('0'))
        .leftJustified(20 + step % 60, QLatin1Char('x'));
}

/// The members beside those that change.
QJsonObject filledGroup()
{
    QJsonObject group;
    for (int i = 0; i < 50; ++i)
        group.insert(QString("member%1").arg(i), i % 2 == 0 ? QJsonValue(i) : QJsonValue("fixed"));
    return group;
}

} // namespace

SettingsWork::SettingsWork()
{
    connect(&m_timer, &QTimer::timeout, this, &SettingsWork::change);
    m_timer.setInterval(kWriteMs);
    const LogCapture unreadFiles;
    for (int i = 0; i < kEffects; ++i)
        manager().setEffectJsonValue(effect(i), "options", QString(), filledGroup());
    for (int i = 0; i < kControllers; ++i)
        manager().controllerJsonObj(controller(i)).insert("strip", filledGroup());
    manager().save();
}

void SettingsWork::begin()
{
    m_timer.start();
}

void SettingsWork::end()
{
    m_timer.stop();
    save();
    compareFile();
    for (int i = 0; i < kSavesPerFreshCopy; ++i)
        manager().save();
}

void SettingsWork::change()
{
    ++m_step;
    const QString text = textOf(m_step);
    manager().setGlobalValue("soak.step", double(m_step));
    manager().setGlobalValue("soak.text", text);
    manager().setEffectJsonValue(effect(m_step), "options", "text", text);
    manager().setEffectVariant(effect(m_step), "options", "step", double(m_step));
    QJsonObject &strip = manager().controllerJsonObj(controller(m_step));
    ConfigurationManager::setValWithXPath(strip, "strip.text", text);
    m_writes += 5;
    if (m_step % kWritesPerSave == 0)
        save();
}

void SettingsWork::save()
{
    manager().setAppConfig("soak.saved", textOf(m_step));
    manager().saveEffectJsonObj(effect(m_step));
    manager().saveControllerJsonObj(controller(m_step));
    m_saves += 3;
}

void SettingsWork::compareFile()
{
    QFile file(manager().configPath() + "/global.json");
    const bool isRead = file.open(QIODevice::ReadOnly);
    if (!isRead || QJsonDocument::fromJson(file.readAll()).object() != manager().globalJsonObj())
        ++m_wrongFiles;
}

QMap<QString, qint64> SettingsWork::takeDone()
{
    return {{"settings written", std::exchange(m_writes, 0)},
            {"files saved", std::exchange(m_saves, 0)}};
}

QString SettingsWork::failure() const
{
    return m_wrongFiles == 0 ? QString() : QString("global.json was not as it was saved");
}

} // namespace corvane::test
