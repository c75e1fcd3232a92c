#ifndef CORVANE_TESTS_EFFECTFILES_H
#define CORVANE_TESTS_EFFECTFILES_H

#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>

namespace corvane::test {

/// What tests of effects' settings begin with: a data root of the program's own, and an effect that
/// no test has used before. The store is one for each process, and so is this.
class EffectFiles {
protected:
    EffectFiles();

    /// For each test and data row: another effect, and no file of defaults.
    void takeNextEffect();
    /// The object of the effect, new and empty.
    QJsonObject &freshEffect();

    QString file(const QString &name) const { return m_root + '/' + name; }
    QString defaults() const { return m_directory.filePath("defaults.json"); }

    QTemporaryDir m_directory;
    QString m_root;
    QString m_effect;

private:
    int m_effects = 0;
};

} // namespace corvane::test

#endif
