#ifndef CORVANE_TESTS_SOUNDSERVER_H
#define CORVANE_TESTS_SOUNDSERVER_H

#include "Interpose.h"

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace corvane::test {

/// A private PulseAudio server with chosen devices, the only sound system that this process (and
/// the processes it starts) sees. Must be made before Qt first asks for audio devices.
class SoundServer {
public:
    /// \param modules one line per device, as in the server's start-up script, for example
    /// "module-sine-source source_name=tone frequency=440".
    /// \param alsaConfiguration the whole ALSA configuration; empty means no ALSA devices.
    explicit SoundServer(const QStringList &modules, const QString &alsaConfiguration = {});
    ~SoundServer();
    SoundServer(const SoundServer &) = delete;
    SoundServer &operator=(const SoundServer &) = delete;

    /// Whether the server answers; otherwise log() says why.
    bool isRunning() const;
    /// Ends the server as a crash would, with connections open.
    void crash();
    /// Starts it again after crash(), with the same devices. No event is handled meanwhile.
    /// \return isRunning().
    bool restart();
    QString log() const;

private:
    /// Ends with the test program, also when that crashes.
    class Process : public QProcess {
        void setupChildProcess() override;
    };

    void isolateProcess(const QString &alsaConfiguration);
    void start();
    QString path(const QString &name) const;

    const QStringList m_modules;
    QTemporaryDir m_directory;
    Process m_process;
};

/// A function of the server's library for clients, which Qt's plug-in has loaded.
template <typename Function>
Function *pulseFunction(const char *name)
{
    return functionOf<Function>("libpulse.so.0", name);
}

} // namespace corvane::test

#endif
