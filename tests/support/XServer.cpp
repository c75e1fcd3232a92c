#include "XServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <ctime>

namespace corvane::test {
namespace {

constexpr int kStartTimeoutMs = 20000;
constexpr int kAttempts = 20;

/// Servers that look for a number themselves take the lowest free ones; these are far above, and
/// differ from process to process.
int nextNumber()
{
    constexpr int lowest = 200;
    constexpr int count = 50000;
    static int made = 0;
    return lowest + int((QCoreApplication::applicationPid() + kAttempts * made++) % count);
}

/// Waits for the display number, which the server writes once it accepts clients.
bool saysItsNumber(QProcess &process)
{
    QElapsedTimer timer;
    timer.start();
    while (!process.canReadLine()) {
        const auto left = int(kStartTimeoutMs - timer.elapsed());
        if (left <= 0 || !process.waitForReadyRead(left))
            return false;
    }
    return true;
}

} // namespace

XServer::XServer(const XServerOptions &options)
    : m_options(options)
{
    m_process.setStandardErrorFile(m_directory.filePath("log"), QIODevice::Append);
    const int first = nextNumber();
    for (m_number = first; m_number < first + kAttempts; ++m_number) {
        if (start())
            return;
    }
}

XServer::~XServer()
{
    stop();
}

QString XServer::display() const
{
    return ':' + QString::number(m_number);
}

void XServer::useForThisProcess() const
{
    qputenv("DISPLAY", display().toLatin1());
}

bool XServer::isRunning() const
{
    return m_accepts && m_process.state() == QProcess::Running;
}

QString XServer::log() const
{
    QFile file(m_directory.filePath("log"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

qint64 XServer::processId() const
{
    return m_process.processId();
}

std::chrono::nanoseconds XServer::cpuTime() const
{
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(pid_t(processId()), &clock) == 0)
        clock_gettime(clock, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

void XServer::crash()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

bool XServer::restart()
{
    stop();
    return start();
}

void XServer::pause()
{
    siginfo_t state{};
    kill(pid_t(processId()), SIGSTOP);
    waitid(P_PID, id_t(processId()), &state, WSTOPPED | WEXITED | WNOWAIT);
}

void XServer::resume()
{
    kill(pid_t(processId()), SIGCONT);
}

void XServer::Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

bool XServer::start()
{
    const QString screen = QStringLiteral("%1x%2x%3")
                               .arg(m_options.size.width())
                               .arg(m_options.size.height())
                               .arg(m_options.depth);
    const QStringList arguments{display(), "-displayfd", "1",    "-nolisten", "tcp", "-noreset",
                                "-screen", "0",          screen, "-dpi",      "96"};
    m_process.start("Xvfb", arguments + m_options.arguments);
    m_accepts = saysItsNumber(m_process);
    if (!m_accepts)
        crash();
    return m_accepts;
}

void XServer::stop()
{
    if (m_process.state() != QProcess::NotRunning) {
        resume();
        m_process.terminate();
        if (!m_process.waitForFinished())
            crash();
    }
    removeTraces();
}

void XServer::removeTraces() const
{
    if (!m_accepts) // the number may be another server's
        return;
    QFile::remove(QStringLiteral("/tmp/.X%1-lock").arg(m_number));
    QFile::remove(QStringLiteral("/tmp/.X11-unix/X%1").arg(m_number));
}

} // namespace corvane::test
