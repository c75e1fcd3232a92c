#ifndef CORVANE_TESTS_SOUNDWORK_H
#define CORVANE_TESTS_SOUNDWORK_H

#include "Work.h"

#include <support/SoundServer.h>

#include <QObject>
#include <QSharedPointer>
#include <QTimer>

class IAudioCapture;

namespace corvane::test {

/// Listens to one device of a private sound server all the time, and to each of the others for a
/// moment, in turn: those are started and stopped over and over.
class SoundWork : public QObject, public Work {
    Q_OBJECT
public:
    SoundWork();
    ~SoundWork() override;

    void begin() override;
    void end() override;
    QMap<QString, qint64> takeDone() override;
    QString failure() const override;

private:
    void listen();
    void takeNext();
    void giveBack();

    SoundServer m_server;
    QStringList m_devices;
    QSharedPointer<IAudioCapture> m_held;
    QString m_visited;
    int m_next = 0;
    QTimer m_timer;
    qint64 m_spectra = 0;
    qint64 m_visits = 0;
    qint64 m_visitsWithSound = 0;
    bool m_isHeard = false;
    int m_ticks = 0;
    qint64 m_badSpectra = 0;
};

} // namespace corvane::test

#endif
