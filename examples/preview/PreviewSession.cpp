#include "PreviewSession.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kReportMs = 1000;
// Enough for a device that begins with silence.
constexpr int kBlocksBeforeSnapshot = 12;
constexpr int kSecondsBeforeSnapshot = 10;

// A usual strip: one LED every few centimetres of a wide monitor.
const char kStripName[] = "preview";
constexpr int kStripHeight = 18;
constexpr int kStripWidth = 32;
constexpr int kStripBottom = 32;

void printLine(std::FILE *stream, const QString &text)
{
    std::fprintf(stream, "%s\n", qUtf8Printable(text));
    std::fflush(stream);
}

QString firstAvailable(const QStringList &wanted, const QStringList &available)
{
    for (const QString &one : wanted) {
        if (available.contains(one))
            return one;
    }
    return available.value(0);
}

QImage pictureOf(const cv::Mat &frame)
{
    return QImage(frame.data, frame.cols, frame.rows, static_cast<int>(frame.step),
                  QImage::Format_RGBA8888)
        .convertToFormat(QImage::Format_RGB32);
}

} // namespace

PreviewSession::PreviewSession(const Options &options, Settings &settings, ScreenFeed &screen,
                               const QStringList &devices)
    : m_options(options)
    , m_settings(settings)
    , m_screen(screen)
    , m_strip(generateStrip(kStripName, kStripHeight, kStripWidth, kStripBottom))
    , m_window(m_strip.layout())
    , m_service(m_window.serviceMenu(), m_window.serviceBar())
    , m_devices(devices)
    , m_wantedDisplay(options.display.isEmpty() ? settings.display() : options.display)
{
    connectFeeds();
    connectChoices();
    connect(&m_everySecond, &QTimer::timeout, this, &PreviewSession::report);
    m_everySecond.setTimerType(Qt::PreciseTimer);
}

void PreviewSession::connectFeeds()
{
    connect(&m_screen, &ScreenFeed::frameArrived, this, &PreviewSession::takeFrame);
    connect(&m_screen, &ScreenFeed::displaysChanged, this, &PreviewSession::takeUpDisplays);
    connect(&m_sound, &AudioFeed::blockArrived, this, &PreviewSession::takeBlock);
    connect(&m_sound, &AudioFeed::peaksArrived, this, &PreviewSession::takePeaks);
    connect(qApp, &QCoreApplication::aboutToQuit, &m_screen, &ScreenFeed::end);
    connect(qApp, &QCoreApplication::aboutToQuit, &m_sound, &AudioFeed::leave);
}

void PreviewSession::connectChoices()
{
    connect(&m_window, &PreviewWindow::displayChosen, this, [this](const QString &display) {
        m_settings.setDisplay(display);
        m_wantedDisplay = display;
        watch(display);
    });
    connect(&m_window, &PreviewWindow::deviceChosen, this, [this](const QString &device) {
        m_settings.setDevice(device);
        listenTo(device);
    });
    connect(&m_window, &PreviewWindow::modeChosen, this, [this](Mode mode) {
        m_settings.setMode(mode);
        follow(mode);
    });
}

void PreviewSession::start()
{
    follow(m_options.mode.value_or(m_settings.mode()));
    takeUpDisplays();
    takeUpDevices();
    if (m_strip.layout().keys.isEmpty())
        complain(QStringLiteral("The layout of the strip cannot be kept."));
    m_sinceReport.start();
    m_sinceBlock.start();
    m_everySecond.start(kReportMs);
    if (!m_options.headless)
        showWindow();
}

void PreviewSession::showWindow()
{
    m_window.restoreGeometry(m_settings.windowGeometry());
    m_window.show();
    connect(&m_window, &PreviewWindow::closing, this,
            [this] { m_settings.setWindowGeometry(m_window.saveGeometry()); });
}

void PreviewSession::takeUpDisplays()
{
    const QStringList displays = m_screen.displays();
    m_window.showDisplays(displays);
    watch(firstAvailable({m_wantedDisplay}, displays));
}

void PreviewSession::takeUpDevices()
{
    m_window.showDevices(m_devices);
    if (!m_devices.isEmpty()) {
        listenTo(firstAvailable({m_options.device, m_settings.device()}, m_devices));
        return;
    }
    m_window.showSoundMessage(QStringLiteral("There is no sound input device.\n"
                                             "Connect one and start again."));
    printLine(stderr, QStringLiteral("There is no sound input device."));
}

void PreviewSession::watch(const QString &display)
{
    m_strip.takeFrame({});
    showStrip();
    if (display.isEmpty()) {
        m_window.showMessage(QStringLiteral("There is no display to capture.\n"
                                            "As soon as there is one, it appears here."));
        printLine(stderr, QStringLiteral("There is no display to capture."));
        return;
    }
    m_window.showDisplay(display);
    m_window.showMessage(QStringLiteral("Waiting for the display's first picture."));
    m_screen.watch(display);
}

void PreviewSession::listenTo(const QString &device)
{
    m_strip.forgetSound();
    showStrip();
    m_window.showDevice(device);
    m_window.showSoundMessage(QStringLiteral("Waiting for the device's first sound."));
    m_window.showTrouble(QString());
    if (m_sound.listenTo(device))
        return;
    m_window.showSoundMessage(QStringLiteral("The device does not start.\n"
                                             "Choose another one, or this one again."));
    complain(QStringLiteral("The device '%1' does not start.").arg(device));
}

void PreviewSession::follow(Mode mode)
{
    m_strip.setMode(mode);
    m_window.showMode(mode);
    showStrip();
}

void PreviewSession::complain(const QString &trouble)
{
    m_window.showTrouble(trouble);
    printLine(stderr, trouble);
}

void PreviewSession::takeFrame(const cv::Mat &frame)
{
    ++m_statistics.frames;
    m_strip.takeFrame(frame);
    m_window.showPicture(pictureOf(frame));
    showStrip();
    endWithFirstPicture();
}

void PreviewSession::takeBlock(const QVector<SoundChannel> &block)
{
    ++m_blocks;
    m_statistics.addBlock(block);
    m_strip.takeBlock(block, static_cast<float>(m_sinceBlock.restart()) / 1000.0F);
    m_window.showBlock(block);
    if (m_strip.mode() == Mode::Sound)
        showStrip();
    endWithFirstPicture();
}

void PreviewSession::takePeaks(const Peaks &peaks)
{
    m_statistics.addPeaks(peaks);
    m_window.showPeaks(peaks);
}

void PreviewSession::showStrip()
{
    m_window.showColours(m_strip.colours());
}

bool PreviewSession::hasSeenAndHeard() const
{
    const bool hasSeen = m_screen.display().isEmpty() || !m_screen.frame().empty();
    return hasSeen && (m_devices.isEmpty() || m_blocks >= kBlocksBeforeSnapshot);
}

void PreviewSession::endWithFirstPicture()
{
    if (m_options.snapshot.isEmpty() || m_options.seconds > 0 || !hasSeenAndHeard())
        return;
    if (!m_finished)
        report();
    finish();
}

void PreviewSession::report()
{
    const double seconds = static_cast<double>(std::max<qint64>(1, m_sinceReport.restart())) / 1000;
    if (!m_screen.frame().empty())
        m_statistics.mean = meanColour(m_screen.frame());
    m_window.showStatistics(m_statistics, seconds);
    if (m_options.headless)
        printLine(stdout, statusLine(m_statistics, seconds));
    m_statistics = {};
    const int last = m_options.seconds == 0 && !m_options.snapshot.isEmpty()
        ? kSecondsBeforeSnapshot
        : m_options.seconds;
    if (++m_reports == last)
        finish();
}

void PreviewSession::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    m_everySecond.stop();
    const bool failed = !m_options.snapshot.isEmpty() && !m_window.savePicture(m_options.snapshot);
    if (failed)
        printLine(stderr, QStringLiteral("Cannot write '%1'.").arg(m_options.snapshot));
    QCoreApplication::exit(failed ? 1 : 0);
}
