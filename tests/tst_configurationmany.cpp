// As many effects and LEDs as no host has: nothing is lost or mixed up.
#include "ControllerLayoutReference.h"

#include <support/ConfigurationSupport.h>
#include <support/LogCapture.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane::test;

namespace {

constexpr int kEffects = 10000;

ConfigurationManager &manager()
{
    return *ConfigurationManager::instance();
}

QString effect(int number)
{
    return QString("many.effect%1").arg(number);
}

QString effectPath(int number)
{
    return manager().configPath() + QString("/effects/many_effect%1.json").arg(number);
}

QJsonObject content(int number)
{
    return {{"options", QJsonObject{{"number", number}, {"name", QString::number(number)}}}};
}

Table keysOf(const QJsonObject &layout)
{
    Table keys;
    for (const QJsonValue key : layout["key_array"].toArray())
        keys << Numbers{key["id"].toInt(), key["x"].toInt(), key["y"].toInt()};
    return keys;
}

} // namespace

class TestConfigurationMany : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void tenThousandEffectsKeepTheirOwnSettings();
    void aThousandLedsHaveTheirPlaces();

private:
    QTemporaryDir m_directory;
};

void TestConfigurationMany::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_DATA_HOME", m_directory.filePath("data").toLocal8Bit());
    ConfigurationManager::setConfigPath(m_directory.filePath("root"));
    for (int i = 0; i < kEffects; ++i)
        writeBytes(effectPath(i), QJsonDocument(content(i)).toJson());
}

void TestConfigurationMany::tenThousandEffectsKeepTheirOwnSettings()
{
    const LogCapture log;
    for (int i = 0; i < kEffects; ++i)
        QCOMPARE(manager().effectJsonValue(effect(i), "options", "number").toInt(), i);
    for (int i = 0; i < kEffects; ++i)
        manager().setEffectJsonValue(effect(i), "options", "changed", -i);
    manager().save();
    for (int i = 0; i < kEffects; ++i) {
        QJsonObject expected = content(i)["options"].toObject();
        expected["changed"] = -i;
        const QJsonDocument saved = QJsonDocument::fromJson(bytesOf(effectPath(i)));
        QCOMPARE(saved.object(), QJsonObject({{"options", expected}}));
    }
    QCOMPARE(log.messages(), QStringList());
}

void TestConfigurationMany::aThousandLedsHaveTheirPlaces()
{
    const LogCapture log;
    manager().generateControllerConfig("long", 180, 320, 320);
    const QString path = QStandardPaths::writableLocation(QStandardPaths::DataLocation)
        + "/controler_config/long.json";
    const QJsonObject layout = QJsonDocument::fromJson(bytesOf(path)).object();
    const Table expected = LayoutReference({180, 320, 320}).layout().keys;
    QCOMPARE(expected.size(), 1000);
    QCOMPARE(layout["key_num"].toInt(), 1000);
    QCOMPARE(keysOf(layout), expected);
}

QTEST_GUILESS_MAIN(TestConfigurationMany)
#include "tst_configurationmany.moc"
