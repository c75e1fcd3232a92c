#include "PreviewWindow.h"

#include "ChoiceBox.h"
#include "ModeSwitch.h"
#include "PeakMeter.h"
#include "Readout.h"
#include "SpectrumView.h"
#include "StripView.h"
#include "Theme.h"
#include "service/ServiceBar.h"
#include "service/ServiceMenu.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kMargin = 24;
constexpr int kGap = 16;
// How the monitor and the spectrum share the width.
constexpr int kStripShare = 8;
constexpr int kSpectrumShare = 5;

QString hex(QRgb colour)
{
    return QColor(colour).name();
}

QString windowStyle()
{
    return QStringLiteral(
               "PreviewWindow, QDialog { background: %1; }"
               "QLabel, QComboBox, QPushButton, QMenu, QLineEdit, QPlainTextEdit, QListWidget"
               "  { color: %2; font-size: 13px; }"
               "QLabel#title { font-size: 18px; font-weight: bold; }"
               "QLabel#value { font-size: 22px; }"
               "QLabel#caption, QLabel#subtitle { color: %3; font-size: 11px; }"
               "QLabel#trouble { color: %4; }"
               "QComboBox, ModeSwitch, QMenu, QLineEdit, QPlainTextEdit, QListWidget, QProgressBar"
               "  { background: %5; border: 1px solid %6; border-radius: 6px; }"
               "QComboBox { padding: 6px 12px; }"
               "QComboBox:disabled { color: %3; }"
               "QComboBox::drop-down { border: none; width: 28px; }"
               "QComboBox QAbstractItemView { background: %5; color: %2;"
               "  selection-background-color: %6; }"
               "QLineEdit, QPlainTextEdit, QListWidget { padding: 4px;"
               "  selection-background-color: %6; }"
               "QMenu::item { padding: 6px 24px; }"
               "QMenu::item:selected { background: %6; }"
               "QProgressBar { min-height: 6px; max-height: 6px; border-radius: 4px; }"
               "QProgressBar::chunk { background: %7; border-radius: 3px; }"
               "QPushButton { background: transparent; border: none;"
               "  border-radius: 4px; padding: 4px 14px; color: %3; }"
               "QPushButton:checked { background: %6; color: %2; }"
               "QPushButton:focus { color: %2; }"
               "ServiceMenu, ServiceBar QPushButton, QDialog QPushButton { background: %5;"
               "  border: 1px solid %6; border-radius: 6px; padding: 6px 12px; color: %2; }"
               "ServiceMenu { padding-right: 28px; }"
               "ServiceMenu::menu-indicator { subcontrol-position: right center; right: 10px; }"
               "QDialog QPushButton:disabled { color: %3; }")
        .arg(hex(theme::kGround), hex(theme::kText), hex(theme::kQuietText), hex(theme::kMeterHigh),
             hex(theme::kPanel), hex(theme::kLine), hex(theme::kLeft));
}

QLabel *makeLabel(const QString &text, const QString &role, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(role);
    return label;
}

} // namespace

PreviewWindow::PreviewWindow(const StripLayout &layout, QWidget *parent)
    : QWidget(parent)
    , m_mode(new ModeSwitch(this))
    , m_displays(new ChoiceBox(QStringLiteral("Display %1"), QStringLiteral("No display"), this))
    , m_devices(new ChoiceBox(QStringLiteral("%1"), QStringLiteral("No sound device"), this))
    , m_serviceMenu(new ServiceMenu(this))
    , m_strip(new StripView(layout, this))
    , m_spectrum(new SpectrumView(this))
    , m_meter(new PeakMeter(this))
    , m_frames(new Readout(QStringLiteral("new frames per second"), this))
    , m_mean(new Readout(QStringLiteral("mean colour"), this))
    , m_loudest(new Readout(QStringLiteral("loudest frequency"), this))
    , m_blocks(new Readout(QStringLiteral("blocks per second"), this))
    , m_trouble(makeLabel(QString(), QStringLiteral("trouble"), this))
    , m_serviceBar(new ServiceBar(this))
{
    setWindowTitle(QStringLiteral("LibCorvane preview"));
    setStyleSheet(windowStyle());
    resize(1240, 660);
    connect(m_mode, &ModeSwitch::modeChosen, this, &PreviewWindow::modeChosen);
    connect(m_displays, &ChoiceBox::chosen, this, &PreviewWindow::displayChosen);
    connect(m_devices, &ChoiceBox::chosen, this, &PreviewWindow::deviceChosen);

    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    rows->setSpacing(kGap);
    rows->addLayout(makeHeader());
    rows->addLayout(makeMiddle(), 1);
    rows->addLayout(makeFooter());
    rows->addWidget(m_serviceBar);
}

QLayout *PreviewWindow::makeHeader()
{
    auto *titles = new QVBoxLayout;
    titles->setSpacing(2);
    titles->addWidget(makeLabel(QStringLiteral("LibCorvane"), QStringLiteral("title"), this));
    titles->addWidget(makeLabel(QStringLiteral("a display, its LED strip and a sound device, live"),
                                QStringLiteral("subtitle"), this));
    auto *header = new QHBoxLayout;
    header->setSpacing(kGap);
    header->addLayout(titles);
    header->addStretch(1);
    header->addWidget(m_mode);
    header->addWidget(m_displays);
    header->addWidget(m_devices);
    header->addWidget(m_serviceMenu);
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
    footer->addStretch(1);
    footer->addWidget(m_trouble);
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
