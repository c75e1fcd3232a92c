#include "EffectFiles.h"

#include "ConfigurationSupport.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QFile>

namespace corvane::test {

EffectFiles::EffectFiles()
    : m_root(m_directory.filePath("root"))
{
    if (!m_directory.isValid())
        qFatal("Cannot make a temporary directory");
    ConfigurationManager::setConfigPath(m_root);
    if (ConfigurationManager::instance()->configPath() != m_root)
        qFatal("The store was used before");
}

void EffectFiles::takeNextEffect()
{
    m_effect = "effect " + QString::number(++m_effects);
    QFile::remove(defaults());
}

QJsonObject &EffectFiles::freshEffect()
{
    writeBytes(file("effects/" + m_effect + ".json"), "{}");
    return ConfigurationManager::instance()->effectJsonObj(m_effect);
}

} // namespace corvane::test
