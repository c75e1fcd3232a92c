#ifndef CORVANE_TESTS_XSERVER_H
#define CORVANE_TESTS_XSERVER_H

#include <QProcess>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>

namespace corvane::test {

/// What a private X server starts with.
struct XServerOptions {
    /// The largest size, too: a screen can shrink and come back, but not grow beyond this.
    QSize size{1280, 720};
    /// Bits per pixel that carry colour: 16, 24 or 30.
    int depth = 24;
    /// More of the server's own arguments, for example {"-extension", "RENDER"} to leave one out.
    QStringList arguments;
};

/// A private X server without a screen. Its display number is unlikely to be taken by another
/// server while this one is down, so that clients can connect again after restart().
class XServer {
public:
    explicit XServer(const XServerOptions &options = {});
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    /// The value for DISPLAY, such as ":4711".
    QString display() const;
    /// Points DISPLAY of this process, and of those it starts, to this server.
    void useForThisProcess() const;

    /// Whether the server accepts clients; otherwise log() says why.
    bool isRunning() const;
    QString log() const;
    qint64 processId() const;
    /// What the server has used of the processor since it was started.
    std::chrono::nanoseconds cpuTime() const;

    /// Ends the server as a crash would, with connections open.
    void crash();
    /// Starts it again, after crash() too, on the same display and with an empty screen.
    /// \return isRunning().
    bool restart();
    /// Keeps the server from answering until resume(). Returns when it has stopped.
    void pause();
    void resume();

private:
    /// Ends with the test program, also when that crashes.
    class Process : public QProcess {
        void setupChildProcess() override;
    };

    bool start();
    void stop();
    void removeTraces() const;

    XServerOptions m_options;
    QTemporaryDir m_directory;
    Process m_process;
    int m_number = 0;
    bool m_accepts = false;
};

} // namespace corvane::test

#endif
