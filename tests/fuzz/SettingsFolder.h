#ifndef CORVANE_TESTS_FUZZ_SETTINGSFOLDER_H
#define CORVANE_TESTS_FUZZ_SETTINGSFOLDER_H

#include "Fuzzing.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QFile>
#include <QTemporaryDir>

namespace corvane::fuzz {

/// A data root of the process' own, with the one configuration manager in it.
class SettingsFolder {
public:
    SettingsFolder()
    {
        require(m_folder.isValid(), "there is a temporary folder");
        ConfigurationManager::setConfigPath(m_folder.path());
        manager = ConfigurationManager::instance();
    }

    QString file(const QString &name) const { return m_folder.filePath(name); }

    static QByteArray bytesOf(const QString &path)
    {
        QFile file(path);
        require(file.open(QIODevice::ReadOnly), "a file is there");
        return file.readAll();
    }

    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                "a file can be written");
    }

    ConfigurationManager *manager;

private:
    const QTemporaryDir m_folder;
};

} // namespace corvane::fuzz

#endif
