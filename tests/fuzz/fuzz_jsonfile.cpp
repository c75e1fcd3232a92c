// A settings file of any bytes: read, changed, saved and read again. What follows a line "--" are
// pairs of lines, a path and the value to set there.

#include "JsonText.h"
#include "SettingsFolder.h"

#include <LibCorvane/JsonCopy_p.h>

using namespace corvane::fuzz;

namespace {

constexpr char kName[] = "settings";

QJsonObject load(const QString &path)
{
    return ConfigurationManager::loadJsonObjectFromFile(path);
}

void change(QJsonObject &object, Input &input)
{
    const QString path = textOf(input.line());
    const QJsonValue value = valueOf(input.line());
    ConfigurationManager::setValWithXPath(object, path, value);
    if (path.count('.') < path.size())
        require(ConfigurationManager::valWithXPath(object, path) == value,
                "what was set at a path is read there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const SettingsFolder folder;
    const QString path = folder.file("settings.json");
    Input input(data, size);

    const bool hasNoMark = isReadBack(Input(data, size).rest());
    const QByteArray bytes = input.upTo("\n--\n");
    SettingsFolder::write(path, bytes);
    const int lines = loggedLines();
    QJsonObject object = load(path);
    require(object == settingsIn(bytes), "a file says what Qt reads in it");
    require(loggedLines() - lines <= 1, "a broken file is logged once");

    while (!input.isAtEnd())
        change(object, input);

    // Not the objects: Qt compares integers that no double tells apart, and loses them on the way.
    require(QJsonDocument(corvane::freshCopy(object)).toJson() == QJsonDocument(object).toJson(),
            "a copy says the same");
    folder.manager->jsonObject(kName) = object;
    folder.manager->saveJsonObject(kName);
    const QJsonObject again = load(path);
    if (!hasNoMark || !isStorable(object))
        return 0;
    require(again == object, "what was saved is read back");

    const QByteArray saved = SettingsFolder::bytesOf(path);
    folder.manager->jsonObject(kName) = again;
    folder.manager->saveJsonObject(kName);
    require(SettingsFolder::bytesOf(path) == saved, "saving what was read changes nothing");
    return 0;
}
