#ifndef CORVANE_TESTS_COREAUDIOROOM_H
#define CORVANE_TESTS_COREAUDIOROOM_H

#include "AudioSystem.h"

#include <support/LogCapture.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>

namespace corvane::test {

inline AudioSystem &core()
{
    return AudioSystem::instance();
}

/// Where a capturer is tested: a fresh Core Audio, a working directory and a log of its own.
class CoreAudioRoom {
public:
    CoreAudioRoom()
    {
        QDir::setCurrent(m_directory.path());
        core().reset();
    }
    ~CoreAudioRoom() { QDir::setCurrent(m_home); }
    CoreAudioRoom(const CoreAudioRoom &) = delete;
    CoreAudioRoom &operator=(const CoreAudioRoom &) = delete;

    LogCapture &log() { return m_log; }

    /// What must not be left when a test ends: log lines, units, calls for units that are gone.
    QStringList leftovers() const
    {
        QThreadPool::globalInstance()->waitForDone();
        QStringList texts = logged(m_log);
        for (const QByteArray &function : core().misuses())
            texts << function + " was called with a unit that does not live";
        if (core().liveUnits() != 0)
            texts << QString("%1 units live").arg(core().liveUnits());
        return texts;
    }

private:
    const QString m_home = QDir::currentPath();
    QTemporaryDir m_directory;
    LogCapture m_log;
};

/// All bytes of the file that capturers append their sound to.
inline QByteArray dump()
{
    QFile file("audio.pcm");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace corvane::test

#endif
