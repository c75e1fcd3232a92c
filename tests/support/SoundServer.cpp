#include "SoundServer.h"

#include <QAudioDeviceInfo>
#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

struct pa_context;
struct pa_threaded_mainloop;

namespace corvane::test {
namespace {

constexpr int kStartTimeoutMs = 20000;

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// Whether somebody listens at a socket: its file is there a moment before.
bool isListenedAt(const QString &path)
{
    const QByteArray name = path.toLocal8Bit();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (size_t(name.size()) >= sizeof address.sun_path)
        return false;
    std::copy(name.begin(), name.end(), address.sun_path);
    const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isConnected =
        connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    close(client);
    return isConnected;
}

pa_threaded_mainloop *mainLoop = nullptr; // of Qt's plug-in; it has one at a time

/// Keeps the thread of Qt's plug-in out; nothing while there is none.
class MainLoopLock {
public:
    MainLoopLock()
    {
        if (m_loop)
            pulseFunction<void(pa_threaded_mainloop *)>("pa_threaded_mainloop_lock")(m_loop);
    }
    ~MainLoopLock()
    {
        if (m_loop)
            pulseFunction<void(pa_threaded_mainloop *)>("pa_threaded_mainloop_unlock")(m_loop);
    }
    MainLoopLock(const MainLoopLock &) = delete;
    MainLoopLock &operator=(const MainLoopLock &) = delete;

private:
    pa_threaded_mainloop *const m_loop = mainLoop;
};

} // namespace

SoundServer::SoundServer(const QStringList &modules, const QString &alsaConfiguration)
    : m_modules(modules)
{
    isolateProcess(alsaConfiguration);
    start();
    const auto settled = [this] {
        return isRunning() || m_process.state() == QProcess::NotRunning;
    };
    if (!QTest::qWaitFor(settled, kStartTimeoutMs))
        crash();
}

SoundServer::~SoundServer()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished())
        crash();
}

bool SoundServer::isRunning() const
{
    return m_process.state() == QProcess::Running && isListenedAt(path("native"));
}

void SoundServer::crash()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool SoundServer::restart()
{
    QFile::remove(path("native"));
    QFile::remove(path("log"));
    start();
    constexpr int stepMs = 10;
    for (int waitedMs = 0; !isRunning() && waitedMs < kStartTimeoutMs; waitedMs += stepMs) {
        if (m_process.waitForFinished(stepMs))
            return false;
    }
    return isRunning();
}

QString SoundServer::log() const
{
    QFile file(path("log"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

void SoundServer::Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

void SoundServer::isolateProcess(const QString &alsaConfiguration)
{
    writeFile(path("client.conf"), "autospawn = no\n");
    if (!alsaConfiguration.isEmpty()) // Qt makes up a device from a configuration without any
        writeFile(path("alsa.conf"), alsaConfiguration.toUtf8());
    qputenv("HOME", path("").toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", path("").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", path("").toLocal8Bit());
    qputenv("PULSE_CLIENTCONFIG", path("client.conf").toLocal8Bit());
    qputenv("PULSE_COOKIE", path("cookie").toLocal8Bit());
    qputenv("PULSE_SERVER", "unix:" + path("native").toLocal8Bit());
    qputenv("ALSA_CONFIG_PATH", path("alsa.conf").toLocal8Bit());
}

void SoundServer::start()
{
    QStringList arguments{"-n",
                          "--daemonize=no",
                          "--use-pid-file=no",
                          "--exit-idle-time=-1",
                          "--high-priority=no",
                          "--realtime=no",
                          "--log-target=newfile:" + path("log")};
    for (const QString &module : m_modules)
        arguments << "-L" << module;
    // The socket comes last: once it is there, so are the devices.
    arguments << "-L"
              << "module-native-protocol-unix auth-anonymous=1 socket=" + path("native");
    m_process.start("pulseaudio", arguments);
}

QString SoundServer::path(const QString &name) const
{
    return m_directory.filePath(name);
}

} // namespace corvane::test

// Qt's PulseAudio back-end does two things without the lock of its own thread: it disconnects at
// exit, upon which libpulse aborts now and then, and it reads a device's preferred format, which
// that thread may be replacing, and freeing, at that moment. A test program's own functions come
// first and take the lock.

extern "C" pa_threaded_mainloop *pa_threaded_mainloop_new()
{
    using namespace corvane::test;
    mainLoop = pulseFunction<pa_threaded_mainloop *()>("pa_threaded_mainloop_new")();
    return mainLoop;
}

extern "C" void pa_threaded_mainloop_free(pa_threaded_mainloop *loop)
{
    using namespace corvane::test;
    mainLoop = nullptr;
    pulseFunction<void(pa_threaded_mainloop *)>("pa_threaded_mainloop_free")(loop);
}

extern "C" void pa_context_disconnect(pa_context *context)
{
    using namespace corvane::test;
    const MainLoopLock lock;
    pulseFunction<void(pa_context *)>("pa_context_disconnect")(context);
}

QAudioFormat QAudioDeviceInfo::preferredFormat() const
{
    using namespace corvane::test;
    static const auto next = nextFunction<QAudioFormat(const QAudioDeviceInfo *)>(
        "_ZNK16QAudioDeviceInfo15preferredFormatEv");
    const MainLoopLock lock;
    return next(this);
}
