#include "PreviewSession.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int kReportMs = 1000;
// Enough for a device that begins with silence.
constexpr int kBlocksBeforeSnapshot = 12;

void printLine(std::FILE *stream, const QString &text)
{
    std::fprintf(stream, "%s\n", qUtf8Printable(text));
    std::fflush(stream);
}

} // namespace

PreviewSession::PreviewSession(const Options &options, const QStringList &devices)
    : m_options(options)
    , m_window(devices)
{
    connect(&m_feed, &AudioFeed::blockArrived, this, &PreviewSession::takeBlock);
    connect(&m_feed, &AudioFeed::peaksArrived, this, &PreviewSession::takePeaks);
    connect(&m_window, &PreviewWindow::deviceChosen, this, &PreviewSession::listenTo);
    connect(&m_everySecond, &QTimer::timeout, this, &PreviewSession::report);
    connect(qApp, &QCoreApplication::aboutToQuit, &m_feed, &AudioFeed::leave);
    m_everySecond.setTimerType(Qt::PreciseTimer);
}

void PreviewSession::start(const QString &device)
{
    if (!device.isEmpty())
        listenTo(device);
    else
        m_window.showTrouble(QStringLiteral("There is no sound input device."));
    m_sinceReport.start();
    m_everySecond.start(kReportMs);
    if (!m_options.headless)
        m_window.show();
}

void PreviewSession::listenTo(const QString &device)
{
    m_window.showDevice(device);
    m_window.showTrouble(QString());
    if (m_feed.listenTo(device))
        return;
    const QString trouble = QStringLiteral("The device '%1' does not start.").arg(device);
    m_window.showTrouble(trouble);
    printLine(stderr, trouble);
}

void PreviewSession::takeBlock(const QVector<SoundChannel> &block)
{
    m_statistics.addBlock(block);
    m_window.showBlock(block);
    const bool snapshotIsAll = !m_options.snapshot.isEmpty() && m_options.seconds == 0;
    if (++m_blocks == kBlocksBeforeSnapshot && snapshotIsAll) {
        report();
        finish();
    }
}

void PreviewSession::takePeaks(const Peaks &peaks)
{
    m_statistics.addPeaks(peaks);
    m_window.showPeaks(peaks);
}

void PreviewSession::report()
{
    const double seconds = static_cast<double>(m_sinceReport.restart()) / 1000.0;
    m_window.showStatistics(m_statistics, seconds);
    if (m_options.headless)
        printLine(stdout, statusLine(m_statistics, seconds));
    m_statistics = {};
    if (++m_reports == m_options.seconds)
        finish();
}

void PreviewSession::finish()
{
    const bool failed = !m_options.snapshot.isEmpty() && !m_window.savePicture(m_options.snapshot);
    if (failed)
        printLine(stderr, QStringLiteral("Cannot write '%1'.").arg(m_options.snapshot));
    QCoreApplication::exit(failed ? 1 : 0);
}
