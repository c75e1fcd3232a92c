#include "ManySettings.h"

#include "../capture/Usage.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <stdexcept>

namespace corvane::bench {
namespace {

const QVector<int> kEffects{1250, 2500, 5000, 10000};
/// What a host uses of all of them, spread evenly: the same memory, however many there are.
constexpr int kEffectsInUse = 250;
const QVector<int> kKeys{250, 500, 1000, 2000};

ConfigurationManager &manager()
{
    return *ConfigurationManager::instance();
}

QString effect(int number)
{
    return QString("music.wave%1").arg(number);
}

int numberInUse(int access, int count)
{
    return access % kEffectsInUse * (count / kEffectsInUse);
}

QString effectFile(int number)
{
    return manager().configPath() + QString("/effects/music_wave%1.json").arg(number);
}

/// Four groups of ten.
QByteArray effectContent(int number)
{
    QJsonObject group;
    for (int i = 0; i < 9; ++i)
        group.insert(QString("member%1").arg(i), i % 2 == 0 ? QJsonValue(i) : QJsonValue("text"));
    group.insert("number", number);
    const QJsonObject all{
        {"colours", group}, {"motion", group}, {"options", group}, {"sound", group}};
    return QJsonDocument(all).toJson();
}

void writeEffects(int count)
{
    for (int i = 0; i < count; ++i) {
        QFile file(effectFile(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(effectContent(i)) < 0)
            throw std::runtime_error("an effect cannot be written");
    }
}

void readEffects(int from, int to)
{
    for (int i = from; i < to; ++i) {
        if (manager().effectJsonValue(effect(i), "options", "number").toInt() != i)
            throw std::runtime_error("an effect has a wrong value");
    }
}

void readEffectsInUse(int count)
{
    for (int i = 0; i < count; ++i)
        readEffects(numberInUse(i, count), numberInUse(i, count) + 1);
}

void changeEffectsInUse(int count)
{
    for (int i = 0; i < count; ++i) {
        const int number = numberInUse(i, count);
        manager().setEffectJsonValue(effect(number), "motion", "number", -number);
    }
}

void changeEffects(int count)
{
    for (int i = 0; i < count; ++i)
        manager().setEffectJsonValue(effect(i), "motion", "number", -i);
}

/// The last one, with what has been changed.
void verifySaved(int count)
{
    QFile file(effectFile(count - 1));
    const bool isRead = file.open(QIODevice::ReadOnly);
    const QJsonObject saved = QJsonDocument::fromJson(file.readAll()).object();
    if (!isRead || saved["motion"].toObject()["number"].toInt() != 1 - count)
        throw std::runtime_error("an effect has not been saved");
}

/// The keys of the layout that was written for a strip.
int keysOf(const QString &controller)
{
    QFile file(QStandardPaths::writableLocation(QStandardPaths::DataLocation) + "/controler_config/"
               + controller + ".json");
    const bool isRead = file.open(QIODevice::ReadOnly);
    return isRead ? QJsonDocument::fromJson(file.readAll()).object()["key_num"].toInt() : 0;
}

} // namespace

QVector<Series> manyEffects()
{
    writeEffects(kEffects.last());
    Series load{"loading an effect", {}};
    Series read{"reading a value, 250 effects in use", {}};
    Series write{"writing a value, 250 effects in use", {}};
    Series readAll{"reading a value of all effects in turn", {}, false};
    Series writeAll{"writing a value of all effects in turn", {}, false};
    Series save{"saving all effects, for each", {}};
    int loaded = 0;
    for (const int count : kEffects) {
        const auto before = processTime();
        readEffects(loaded, count);
        // As if all had been loaded at this pace.
        load.points << Point{count, (processTime() - before) * count / (count - loaded)};
        loaded = count;
        read.points << Point{count, leastTime([&] { readEffectsInUse(count); })};
        write.points << Point{count, leastTime([&] { changeEffectsInUse(count); })};
        readAll.points << Point{count, leastTime([&] { readEffects(0, count); })};
        writeAll.points << Point{count, leastTime([&] { changeEffects(count); })};
        save.points << Point{count, leastTime([] { manager().save(); })};
        verifySaved(count);
    }
    return {load, read, write, readAll, writeAll, save};
}

QVector<Series> manyKeys()
{
    Series layout{"a strip's layout file, for each LED", {}};
    for (const int count : kKeys) {
        const int side = count / 6;
        const int top = (count - 2 * side) / 2;
        const QString name = QString("strip%1").arg(count);
        const auto generate = [&] {
            manager().generateControllerConfig(name, side, top, count - 2 * side - top);
        };
        layout.points << Point{count, leastTime(generate)};
        if (keysOf(name) != count)
            throw std::runtime_error("a layout has a wrong number of keys");
    }
    return {layout};
}

} // namespace corvane::bench
