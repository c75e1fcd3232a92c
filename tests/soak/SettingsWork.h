#ifndef CORVANE_TESTS_SETTINGSWORK_H
#define CORVANE_TESTS_SETTINGSWORK_H

#include "Work.h"

#include <QObject>
#include <QTimer>

namespace corvane::test {

/// Writes settings of all kinds, texts that never come again among them, and saves them.
class SettingsWork : public QObject, public Work {
    Q_OBJECT
public:
    SettingsWork();

    void begin() override;
    void end() override;
    QMap<QString, qint64> takeDone() override;
    QString failure() const override;

private:
    void change();
    void save();
    void compareFile();

    QTimer m_timer;
    qint64 m_step = 0;
    qint64 m_writes = 0;
    qint64 m_saves = 0;
    int m_wrongFiles = 0;
};

} // namespace corvane::test

#endif
