#include "PreviewWindow.h"

#include "ChoiceBox.h"
#include "ElidedLabel.h"
#include "HelpDialog.h"
#include "Keys.h"
#include "ModeSwitch.h"
#include "PeakMeter.h"
#include "Readout.h"
#include "SpectrumView.h"
#include "StripView.h"
#include "Style.h"
#include "service/ServiceBar.h"
#include "service/ServiceMenu.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kMargin = 24;
constexpr int kGap = 16;
// How the monitor and the spectrum share the width.
constexpr int kStripShare = 8;
constexpr int kSpectrumShare = 5;

template <typename Label>
Label *makeLabel(const QString &text, const QString &role, QWidget *parent)
{
    auto *label = new Label(text, parent);
    label->setObjectName(role);
    return label;
}

/// For those who do not see it, and for those who rest the mouse on it.
void name(QWidget *widget, const QString &text, const char *key = nullptr)
{
    widget->setAccessibleName(text);
    if (key)
        widget->setToolTip(QStringLiteral("%1 (%2)").arg(text, QString::fromLatin1(key)));
}

} // namespace

PreviewWindow::PreviewWindow(const StripLayout &layout, QWidget *parent)
    : QWidget(parent)
    , m_mode(new ModeSwitch(this))
    , m_displays(new ChoiceBox(QStringLiteral("Display %1"), QStringLiteral("No display"), this))
    , m_devices(new ChoiceBox(QStringLiteral("%1"), QStringLiteral("No device"), this))
    , m_serviceMenu(new ServiceMenu(this))
    , m_help(new QPushButton(QStringLiteral("?"), this))
    , m_strip(new StripView(layout, this))
    , m_spectrum(new SpectrumView(this))
    , m_meter(new PeakMeter(this))
    , m_frames(new Readout(QStringLiteral("new frames per second"), this))
    , m_mean(new Readout(QStringLiteral("mean colour"), this))
    , m_loudest(new Readout(QStringLiteral("loudest frequency"), this))
    , m_blocks(new Readout(QStringLiteral("blocks per second"), this))
    , m_trouble(makeLabel<ElidedLabel>(QString(), QStringLiteral("trouble"), this))
    , m_serviceBar(new ServiceBar(this))
{
    setWindowTitle(QStringLiteral("LibCorvane preview"));
    setStyleSheet(windowStyle());
    resize(1240, 660);
    connect(m_mode, &ModeSwitch::modeChosen, this, &PreviewWindow::modeChosen);
    connect(m_displays, &ChoiceBox::chosen, this, &PreviewWindow::displayChosen);
    connect(m_devices, &ChoiceBox::chosen, this, &PreviewWindow::deviceChosen);
    connect(m_help, &QPushButton::clicked, this, &PreviewWindow::openHelp);
    nameParts();
    addKeys();

    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    rows->setSpacing(kGap);
    rows->addLayout(makeHeader());
    rows->addLayout(makeMiddle(), 1);
    rows->addLayout(makeFooter());
    rows->addWidget(m_serviceBar);
}

void PreviewWindow::nameParts()
{
    m_help->setObjectName(QStringLiteral("help"));
    name(m_mode, QStringLiteral("What lights the strip"));
    name(m_displays, QStringLiteral("Display"), keys::kDisplay);
    name(m_devices, QStringLiteral("Sound device"), keys::kDevice);
    name(m_help, QStringLiteral("Keys and version"), keys::kHelp);
    name(m_strip, QStringLiteral("The display with its LED strip"));
    name(m_spectrum, QStringLiteral("Spectrum of the sound"));
    name(m_meter, QStringLiteral("Peak levels of the sound"));
    name(m_serviceBar, QStringLiteral("News from the service"));
}

void PreviewWindow::addKeys()
{
    addKey(keys::kFollowScreen, [this] { chooseMode(Mode::Screen); });
    addKey(keys::kFollowSound, [this] { chooseMode(Mode::Sound); });
    addKey(keys::kDisplay, [this] { m_displays->setFocus(Qt::ShortcutFocusReason); });
    addKey(keys::kDevice, [this] { m_devices->setFocus(Qt::ShortcutFocusReason); });
    addKey(keys::kFullScreen, [this] { setWindowState(windowState() ^ Qt::WindowFullScreen); });
    addKey(keys::kLeaveFullScreen,
           [this] { setWindowState(windowState() & ~Qt::WindowFullScreen); });
    addKey(keys::kHelp, [this] { openHelp(); });
    addKey(keys::kQuit, [this] { close(); });
}

template <typename Action>
void PreviewWindow::addKey(const char *key, Action action)
{
    auto *shortcut = new QShortcut(QKeySequence(QString::fromLatin1(key)), this);
    connect(shortcut, &QShortcut::activated, this, action);
}

void PreviewWindow::chooseMode(Mode mode)
{
    showMode(mode);
    emit modeChosen(mode);
}

void PreviewWindow::openHelp()
{
    auto *dialog = new HelpDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void PreviewWindow::closeEvent(QCloseEvent *event)
{
    emit closing();
    QWidget::closeEvent(event);
}

QLayout *PreviewWindow::makeHeader()
{
    auto *titles = new QVBoxLayout;
    titles->setSpacing(2);
    titles->addWidget(
        makeLabel<QLabel>(QStringLiteral("LibCorvane"), QStringLiteral("title"), this));
    auto *subtitle =
        makeLabel<ElidedLabel>(QStringLiteral("a display, its LED strip and a sound device, live"),
                               QStringLiteral("subtitle"), this);
    // What the choices leave is enough for it.
    subtitle->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    titles->addWidget(subtitle);
    auto *header = new QHBoxLayout;
    header->setSpacing(kGap);
    header->addLayout(titles, 1);
    header->addWidget(m_mode);
    header->addWidget(m_displays);
    header->addWidget(m_devices);
    header->addWidget(m_serviceMenu);
    header->addWidget(m_help);
    return header;
}

QLayout *PreviewWindow::makeMiddle()
{
    auto *middle = new QHBoxLayout;
    middle->setSpacing(kGap);
    middle->addWidget(m_strip, kStripShare);
    middle->addWidget(m_spectrum, kSpectrumShare);
    middle->addWidget(m_meter);
    return middle;
}

QLayout *PreviewWindow::makeFooter()
{
    auto *footer = new QHBoxLayout;
    footer->setSpacing(3 * kGap);
    for (Readout *readout : {m_frames, m_mean, m_loudest, m_blocks})
        footer->addWidget(readout);
    m_trouble->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    footer->addWidget(m_trouble, 1);
    return footer;
}

void PreviewWindow::showDisplays(const QStringList &displays)
{
    m_displays->setChoices(displays);
}

void PreviewWindow::showDisplay(const QString &display)
{
    m_displays->setChoice(display);
}

void PreviewWindow::showDevices(const QStringList &devices)
{
    m_devices->setChoices(devices);
}

void PreviewWindow::showDevice(const QString &device)
{
    m_devices->setChoice(device);
    m_spectrum->clear();
    m_meter->clear();
}

void PreviewWindow::showMode(Mode mode)
{
    m_mode->setMode(mode);
}

void PreviewWindow::showPicture(const QImage &picture)
{
    m_strip->showPicture(picture);
}

void PreviewWindow::showMessage(const QString &text)
{
    m_strip->showMessage(text);
}

void PreviewWindow::showSoundMessage(const QString &text)
{
    m_spectrum->showMessage(text);
}

void PreviewWindow::showColours(const QVector<QRgb> &colours)
{
    m_strip->showColours(colours);
}

void PreviewWindow::showBlock(const QVector<SoundChannel> &block)
{
    m_spectrum->showBlock(block);
}

void PreviewWindow::showPeaks(const Peaks &peaks)
{
    m_meter->showPeaks(peaks);
}

void PreviewWindow::showStatistics(const Statistics &statistics, double seconds)
{
    m_frames->setValue(QString::number(statistics.frames / seconds, 'f', 1));
    m_mean->setValue(colourText(statistics.mean));
    m_loudest->setValue(frequencyText(statistics.loudest));
    m_blocks->setValue(QString::number(statistics.blocks / seconds, 'f', 1));
}

void PreviewWindow::showTrouble(const QString &text)
{
    m_trouble->setText(text);
}

bool PreviewWindow::savePicture(const QString &fileName)
{
    return grab().save(fileName, "PNG");
}
