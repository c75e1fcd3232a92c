// A host process of its own for tests of what happens once per process: the choice of the data
// root, and the end of the configuration object. It runs the commands it is given, in order:
//
//     ConfigHost COMMAND [ARGUMENT…] [COMMAND [ARGUMENT…]]…
//
// Reading commands print one line each. Log lines go to standard error as QT_MESSAGE_PATTERN says.

#include <LibCorvane/ConfigurationManager.h>

#include <QCoreApplication>
#include <QHash>
#include <QJsonDocument>
#include <QStandardPaths>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

struct Command {
    int arguments = 0;
    std::function<void(const QStringList &)> run;
};

ConfigurationManager *manager()
{
    return ConfigurationManager::instance();
}

void print(const QString &line)
{
    std::puts(qUtf8Printable(line));
}

QString toText(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void announceTheEnd()
{
    QObject::connect(manager(), &QObject::destroyed, [] { std::puts("destroyed"); });
}

void exitWhenChanged()
{
    QObject::connect(manager(), &ConfigurationManager::appConfigChanged, [] { std::exit(3); });
}

QHash<QString, Command> commands()
{
    using Arguments = const QStringList &;
    return {
        {"setConfigPath", {1, [](Arguments a) { ConfigurationManager::setConfigPath(a.at(0)); }}},
        {"gsConfigPath", {0, [](Arguments) { print(ConfigurationManager::gsConfigPath); }}},
        {"standardPath",
         {0,
          [](Arguments) {
              print(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
          }}},
        {"configPath", {0, [](Arguments) { print(manager()->configPath()); }}},
        {"resourcesPath", {0, [](Arguments) { print(manager()->resourcesPath()); }}},
        {"logsPath", {0, [](Arguments) { print(manager()->logsPath()); }}},
        {"globalJsonObj", {0, [](Arguments) { print(toText(manager()->globalJsonObj())); }}},
        {"setGlobalValue", {2, [](Arguments a) { manager()->setGlobalValue(a.at(0), a.at(1)); }}},
        {"removeGlobalValue",
         {1, [](Arguments a) { manager()->setGlobalValue(a.at(0), QJsonValue::Undefined); }}},
        {"setAppConfig", {2, [](Arguments a) { manager()->setAppConfig(a.at(0), a.at(1)); }}},
        {"saveGlobalValues", {0, [](Arguments) { manager()->saveGlobalValues(); }}},
        {"controllerJsonObj",
         {1, [](Arguments a) { print(toText(manager()->controllerJsonObj(a.at(0)))); }}},
        {"effectJsonObj",
         {1, [](Arguments a) { print(toText(manager()->effectJsonObj(a.at(0)))); }}},
        {"reset", {0, [](Arguments) { manager()->reset(); }}},
        {"EnableCleanStartup", {0, [](Arguments) { manager()->EnableCleanStartup(); }}},
        {"announceTheEnd", {0, [](Arguments) { announceTheEnd(); }}},
        {"exitWhenChanged", {0, [](Arguments) { exitWhenChanged(); }}},
    };
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QHash<QString, Command> known = commands();
    QStringList words = application.arguments().mid(1);
    while (!words.isEmpty()) {
        const QString name = words.takeFirst();
        if (!known.contains(name) || words.size() < known[name].arguments) {
            std::fprintf(stderr, "ConfigHost: bad command %s\n", qUtf8Printable(name));
            return 2;
        }
        known[name].run(words.mid(0, known[name].arguments));
        words = words.mid(known[name].arguments);
    }
    return 0;
}
