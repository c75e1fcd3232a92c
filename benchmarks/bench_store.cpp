// Nested values read and written in a store, and a document saved, beside nlohmann-json and
// QSettings: the same settings in each, the same process.
#include "RunBenchmarks.h"
#include "StoreContent.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSettings>
#include <QTemporaryDir>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using namespace corvane::bench;
using nlohmann::json;

constexpr const char *kValuePath = "runtime.options.mode";
constexpr const char *kNewPath = "runtime.options.member5";
constexpr const char *kEffect = "music.wave";
constexpr const char *kGroup = "options";
constexpr const char *kKey = "mode";
constexpr const char *kNewKey = "member5";

const QTemporaryDir &directory()
{
    static const QTemporaryDir made;
    return made;
}

ConfigurationManager &manager()
{
    ConfigurationManager::setConfigPath(directory().filePath("root"));
    return *ConfigurationManager::instance();
}

class GlobalValues {
public:
    explicit GlobalValues(const QJsonObject &all) { manager().globalJsonObj() = all; }
    static QJsonObject content(Shape shape, int count) { return globalSettings(shape, count); }

    int value() { return m_manager.globalValue(m_path).toInt(); }
    void setValue(int value) { m_manager.setGlobalValue(m_path, value); }
    void addKey(int value) { m_manager.setGlobalValue(m_newPath, value); }
    void removeKey() { m_manager.setGlobalValue(m_newPath, QJsonValue::Undefined); }

private:
    ConfigurationManager &m_manager = manager();
    const QString m_path = kValuePath;
    const QString m_newPath = kNewPath;
};

class EffectValues {
public:
    explicit EffectValues(const QJsonObject &all) { manager().effectJsonObj(kEffect) = all; }
    static QJsonObject content(Shape shape, int count) { return settings(shape, count); }

    int value() { return m_manager.effectJsonValue(m_effect, m_group, m_key).toInt(); }
    void setValue(int value) { m_manager.setEffectJsonValue(m_effect, m_group, m_key, value); }
    void addKey(int value) { m_manager.setEffectJsonValue(m_effect, m_group, m_newKey, value); }
    void removeKey()
    {
        m_manager.setEffectJsonValue(m_effect, m_group, m_newKey, QJsonValue::Undefined);
    }

private:
    ConfigurationManager &m_manager = manager();
    const QString m_effect = kEffect;
    const QString m_group = kGroup;
    const QString m_key = kKey;
    const QString m_newKey = kNewKey;
};

json parsed(const QJsonObject &object)
{
    return json::parse(QJsonDocument(object).toJson().toStdString());
}

/// Paths become pointers at each use, as a host does that has their text.
class NlohmannGlobals {
public:
    explicit NlohmannGlobals(const QJsonObject &all)
        : m_all(parsed(all))
    {
    }
    static QJsonObject content(Shape shape, int count) { return globalSettings(shape, count); }

    int value() { return m_all.value(json::json_pointer(m_path), 0); }
    void setValue(int value) { m_all[json::json_pointer(m_path)] = value; }
    void addKey(int value) { m_all[json::json_pointer(m_newPath)] = value; }
    void removeKey()
    {
        const json::json_pointer pointer(m_newPath);
        m_all[pointer.parent_pointer()].erase(pointer.back());
    }

private:
    json m_all;
    const std::string m_path = "/runtime/options/mode";
    const std::string m_newPath = "/runtime/options/member5";
};

/// A document for each effect, found by its name.
class NlohmannEffects {
public:
    explicit NlohmannEffects(const QJsonObject &all) { m_effects[m_effect] = parsed(all); }
    static QJsonObject content(Shape shape, int count) { return settings(shape, count); }

    int value() { return m_effects[m_effect].value(at(m_key), 0); }
    void setValue(int value) { m_effects[m_effect][at(m_key)] = value; }
    void addKey(int value) { m_effects[m_effect][at(m_newKey)] = value; }
    void removeKey() { m_effects[m_effect][m_group].erase(m_newKey); }

private:
    json::json_pointer at(const std::string &key) const
    {
        return json::json_pointer() / m_group / key;
    }

    std::unordered_map<std::string, json> m_effects;
    const std::string m_effect = kEffect;
    const std::string m_group = kGroup;
    const std::string m_key = kKey;
    const std::string m_newKey = kNewKey;
};

void fill(QSettings &settings, const QJsonObject &object, const QString &prefix = QString())
{
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (member->isObject())
            fill(settings, member->toObject(), prefix + member.key() + '/');
        else
            settings.setValue(prefix + member.key(), member->toVariant());
    }
}

std::unique_ptr<QSettings> filledSettings(const QJsonObject &all)
{
    const QString path = directory().filePath("settings.ini");
    QFile::remove(path);
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    fill(*settings, all);
    settings->sync();
    return settings;
}

class SettingsGlobals {
public:
    explicit SettingsGlobals(const QJsonObject &all)
        : m_settings(filledSettings(all))
    {
    }
    static QJsonObject content(Shape shape, int count) { return globalSettings(shape, count); }

    int value() { return m_settings->value(m_key).toInt(); }
    void setValue(int value) { m_settings->setValue(m_key, value); }
    void addKey(int value) { m_settings->setValue(m_newKey, value); }
    void removeKey() { m_settings->remove(m_newKey); }

private:
    const std::unique_ptr<QSettings> m_settings;
    const QString m_key = "runtime/options/mode";
    const QString m_newKey = "runtime/options/member5";
};

class SettingsEffects {
public:
    explicit SettingsEffects(const QJsonObject &all)
        : m_settings(filledSettings(all))
    {
    }
    static QJsonObject content(Shape shape, int count) { return settings(shape, count); }

    int value() { return m_settings->value(at(m_key)).toInt(); }
    void setValue(int value) { m_settings->setValue(at(m_key), value); }
    void addKey(int value) { m_settings->setValue(at(m_newKey), value); }
    void removeKey() { m_settings->remove(at(m_newKey)); }

private:
    QString at(const QString &key) const { return m_group + '/' + key; }

    const std::unique_ptr<QSettings> m_settings;
    const QString m_group = kGroup;
    const QString m_key = kKey;
    const QString m_newKey = kNewKey;
};

template <class Store>
Store storeOf(const benchmark::State &state)
{
    return Store(Store::content(Shape(state.range(0)), int(state.range(1))));
}

template <class Store>
void read(benchmark::State &state)
{
    auto store = storeOf<Store>(state);
    int value = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = store.value());
    if (value != kValue)
        state.SkipWithError("wrong result");
}

template <class Store>
void write(benchmark::State &state)
{
    auto store = storeOf<Store>(state);
    int value = 0;
    for (auto _ : state)
        store.setValue(++value);
    if (store.value() != value)
        state.SkipWithError("wrong result");
}

template <class Store>
void addAndRemove(benchmark::State &state)
{
    auto store = storeOf<Store>(state);
    int value = 0;
    for (auto _ : state) {
        store.addKey(++value);
        store.removeKey();
    }
    if (store.value() != kValue)
        state.SkipWithError("wrong result");
}

/// Each write finds all objects on the way shared with a copy that was made before.
void writeWhileCopied(benchmark::State &state)
{
    auto store = storeOf<GlobalValues>(state);
    QJsonObject copy;
    int value = 0;
    for (auto _ : state) {
        copy = manager().globalJsonObj();
        store.setValue(++value);
    }
    const auto kept = ConfigurationManager::valWithXPath(copy, kValuePath).toInt();
    if (store.value() != value || (value > 1 && kept != value - 1))
        state.SkipWithError("wrong result");
}

/// What the library's save does, with the bytes of another document.
bool rewrite(const QString &path, const std::string &bytes)
{
    QFile::remove(path);
    QFile file(path);
    return file.open(QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Unbuffered)
        && file.write(bytes.data(), qint64(bytes.size())) == qint64(bytes.size());
}

void reportSize(benchmark::State &state, const QString &path)
{
    state.counters["file"] = double(QFileInfo(path).size());
}

void verifySaved(benchmark::State &state, const QString &path)
{
    reportSize(state, path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)
        || json::parse(file.readAll().toStdString()) != parsed(document()))
        state.SkipWithError("wrong result");
}

void saveLibrary(benchmark::State &state)
{
    manager().globalJsonObj() = document();
    for (auto _ : state)
        manager().saveGlobalValues();
    verifySaved(state, manager().configPath() + "/global.json");
}

void saveNlohmann(benchmark::State &state)
{
    const QString path = directory().filePath("nlohmann.json");
    const json all = parsed(document());
    bool saved = false;
    for (auto _ : state)
        saved = rewrite(path, all.dump(4));
    if (!saved)
        state.SkipWithError("not written");
    verifySaved(state, path);
}

/// It writes when something has changed only.
void saveSettings(benchmark::State &state)
{
    const auto settings = filledSettings(document());
    int value = 0;
    for (auto _ : state) {
        settings->setValue("mode", ++value);
        settings->sync();
    }
    reportSize(state, settings->fileName());
    QFile file(settings->fileName());
    if (!file.open(QIODevice::ReadOnly)
        || !file.readAll().contains("\nmode=" + QByteArray::number(value) + '\n'))
        state.SkipWithError("wrong result");
}

double fastest(const std::vector<double> &times)
{
    return *std::min_element(times.begin(), times.end());
}

void add(const std::string &name, void (*run)(benchmark::State &))
{
    auto *added = benchmark::RegisterBenchmark(name.c_str(), run);
    added->ComputeStatistics("min", fastest)->ArgNames({"shape", "members"});
    for (const Shape shape : {Shape::LastStep, Shape::FirstStep, Shape::OtherBranch}) {
        added->Args({int(shape), 1000});
        added->Args({int(shape), 100000});
    }
}

template <class Store>
void addStore(const std::string &name)
{
    add("read/" + name, read<Store>);
    add("write/" + name, write<Store>);
    add("add and remove/" + name, addAndRemove<Store>);
}

void addSave(const std::string &name, void (*run)(benchmark::State &))
{
    benchmark::RegisterBenchmark(("save/" + name).c_str(), run)
        ->ComputeStatistics("min", fastest)
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    addStore<GlobalValues>("global, LibCorvane");
    addStore<NlohmannGlobals>("global, nlohmann-json");
    addStore<SettingsGlobals>("global, QSettings");
    addStore<EffectValues>("effect, LibCorvane");
    addStore<NlohmannEffects>("effect, nlohmann-json");
    addStore<SettingsEffects>("effect, QSettings");
    add("write while copied/global, LibCorvane", writeWhileCopied);
    addSave("LibCorvane", saveLibrary);
    addSave("nlohmann-json", saveNlohmann);
    addSave("QSettings", saveSettings);
    return corvane::bench::runBenchmarks(argc, argv);
}
