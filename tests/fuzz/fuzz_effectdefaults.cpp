// The settings of effects and their defaults against a model. Lines: an operation and the effect's
// number, a group, a key, and a value where one is set. What follows a line "--" are the bytes of
// the file of defaults.

#include "JsonText.h"
#include "SettingsFolder.h"

#include <QDir>

#include <iterator>
#include <map>

using namespace corvane::fuzz;

namespace {

// Few, since the objects of all effects that were ever used stay in memory.
const char *const kEffects[] = {"plain",   "music.wave", "music_wave",     "a:b", "..",
                                "größe 1", "",           "no/such/folder", "\n"};

using Groups = std::map<QString, QJsonValue>;

struct Setting {
    QString effect;
    QString group;
    QString key;
};

struct Defaults {
    QString path;
    QJsonObject object;
};

QString flat(QString effect)
{
    return effect.replace('.', '_');
}

QJsonValue read(Groups &groups, const Setting &setting)
{
    const QJsonValue group = groups.try_emplace(setting.group, QJsonValue::Null).first->second;
    return setting.key.isEmpty() ? group : group.toObject().value(setting.key);
}

void write(Groups &groups, const Setting &setting, const QJsonValue &value, bool isKeyed)
{
    if (isKeyed) {
        QJsonObject object = groups[setting.group].toObject();
        object.insert(setting.key, value);
        groups[setting.group] = object;
    } else if (value.isUndefined()) {
        groups.erase(setting.group);
    } else {
        groups[setting.group] = asKept(value);
    }
}

QJsonValue readWithDefaults(Groups &groups, const Setting &setting, const QJsonObject &defaults)
{
    const QJsonValue value = read(groups, setting);
    if (!value.isNull() && !value.isUndefined())
        return value;
    groups[setting.group] = defaults;
    if (defaults.isEmpty())
        return QJsonValue::Null;
    return setting.key.isEmpty() ? QJsonValue(defaults) : defaults.value(setting.key);
}

bool holds(const QJsonObject &object, const Groups &groups)
{
    const auto isSame = [&object](const auto &group) {
        return object.contains(group.first) && object.value(group.first) == group.second;
    };
    return size_t(object.size()) == groups.size()
        && std::all_of(groups.begin(), groups.end(), isSame);
}

class Effects {
public:
    explicit Effects(const SettingsFolder &folder)
        : m_folder(folder)
    {
        for (const char *effect : kEffects)
            m_folder.manager->effectJsonObj(effect) = QJsonObject();
    }

    void apply(char operation, const Setting &setting, Input &input, const Defaults &defaults);
    void check() const;
    void saveAll() const;

private:
    const SettingsFolder &m_folder;
    std::map<QString, Groups> m_models;
};

void Effects::apply(char operation, const Setting &setting, Input &input, const Defaults &defaults)
{
    ConfigurationManager &manager = *m_folder.manager;
    const auto &[effect, group, key] = setting;
    Groups &groups = m_models[flat(effect)];
    switch (operation) {
    case 'r':
        require(manager.effectJsonValue(effect, group, key) == read(groups, setting),
                "a setting is read");
        break;
    case 'v':
        require(manager.effectVariant(effect, group, key) == read(groups, setting).toVariant(),
                "a variant is read");
        break;
    case 's': {
        const QJsonValue value = valueOf(input.line());
        manager.setEffectJsonValue(effect, group, key, value);
        write(groups, setting, value, !key.isEmpty());
        break;
    }
    case 'w': {
        const QJsonValue value = valueOf(input.line());
        manager.setEffectVariant(effect, group, key, value.toVariant());
        write(groups, setting, QJsonValue::fromVariant(value.toVariant()), true);
        break;
    }
    case 'd':
        require(manager.effectJsonValue(effect, group, key, defaults.path)
                    == readWithDefaults(groups, setting, defaults.object),
                "defaults are read");
        break;
    case 'm': // not there
    case 'f': // a folder
        require(manager.effectJsonValue(effect, group, key,
                                        operation == 'f' ? QDir::tempPath() : defaults.path + 'x')
                    == readWithDefaults(groups, setting, {}),
                "defaults that cannot be read are empty");
        break;
    default:
        break;
    }
}

void Effects::check() const
{
    for (const auto &[effect, groups] : m_models)
        require(holds(m_folder.manager->effectJsonObj(effect), groups),
                "an effect holds what was set, and nothing else");
}

void Effects::saveAll() const
{
    for (const auto &model : m_models) {
        const QString effect = model.first;
        if (effect.contains('/'))
            continue; // has no folder
        const QJsonObject &object = m_folder.manager->effectJsonObj(effect);
        m_folder.manager->saveEffectJsonObj(effect);
        const QString path =
            m_folder.file("effects/" + QString(effect).replace(':', '_') + ".json");
        if (isStorable(object))
            require(ConfigurationManager::loadJsonObjectFromFile(path) == object,
                    "what was saved is read back");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const SettingsFolder folder;
    Input whole(data, size);
    const QByteArray operations = whole.upTo("--\n");
    const QByteArray bytes = whole.rest();
    const Defaults defaults{folder.file("defaults.json"), settingsIn(bytes)};
    SettingsFolder::write(defaults.path, bytes);

    Effects effects(folder);
    Input input(reinterpret_cast<const uint8_t *>(operations.constData()),
                size_t(operations.size()));
    while (!input.isAtEnd()) {
        const char operation = input.number<char>();
        const auto number = size_t(uchar(input.line().append('0')[0])) % std::size(kEffects);
        const QString group = textOf(input.line());
        const QString key = textOf(input.line());
        effects.apply(operation, {kEffects[number], group, key}, input, defaults);
        effects.check();
    }
    if (isReadBack(Input(data, size).rest()))
        effects.saveAll();
    return 0;
}
