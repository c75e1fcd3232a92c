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
        require(ConfigurationManager::valWithXPath(object, path) == asKept(value),
                "what was set at a path is read there");
}

QByteArray written(const QJsonObject &object)
{
    return QJsonDocument(object).toJson();
}

// Not the objects: Qt compares integers that no double tells apart, and loses them on the way. A
// mark that Qt hides still decides on the order of the names until they were written and read.
void requireEqualCopy(const QJsonObject &object, bool hasNoMark)
{
    const QByteArray original = written(object);
    const QByteArray copy = written(corvane::freshCopy(object));
    if (hasNoMark)
        require(copy == original, "a copy says the same");
    require(written(settingsIn(copy)) == written(settingsIn(original)),
            "what a copy saves is read as what the original saves");
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

    requireEqualCopy(object, hasNoMark);
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
