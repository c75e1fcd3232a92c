#include "PreviewWindow.h"

#include "DeviceChoice.h"
#include "PeakMeter.h"
#include "Readout.h"
#include "SpectrumView.h"
#include "Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kMargin = 24;
constexpr int kGap = 16;

QString hex(QRgb colour)
{
    return QColor(colour).name();
}

QString windowStyle()
{
    return QStringLiteral("PreviewWindow { background: %1; }"
                          "QLabel, QComboBox { color: %2; font-size: 13px; }"
                          "QLabel#title { font-size: 18px; font-weight: bold; }"
                          "QLabel#value { font-size: 22px; }"
                          "QLabel#caption, QLabel#subtitle { color: %3; font-size: 11px; }"
                          "QLabel#trouble { color: %4; }"
                          "QComboBox { background: %5; border: 1px solid %6; border-radius: 6px;"
                          "  padding: 6px 12px; min-width: 240px; }"
                          "QComboBox::drop-down { border: none; width: 28px; }"
                          "QComboBox QAbstractItemView { background: %5; color: %2;"
                          "  selection-background-color: %6; }")
        .arg(hex(theme::kGround), hex(theme::kText), hex(theme::kQuietText), hex(theme::kMeterHigh),
             hex(theme::kPanel), hex(theme::kLine));
}

QLabel *makeLabel(const QString &text, const QString &role, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(role);
    return label;
}

} // namespace

PreviewWindow::PreviewWindow(const QStringList &devices, QWidget *parent)
    : QWidget(parent)
    , m_devices(new DeviceChoice(this))
    , m_spectrum(new SpectrumView(this))
    , m_meter(new PeakMeter(this))
    , m_loudest(new Readout(QStringLiteral("loudest frequency"), this))
    , m_rate(new Readout(QStringLiteral("blocks per second"), this))
    , m_trouble(makeLabel(QString(), QStringLiteral("trouble"), this))
{
    setWindowTitle(QStringLiteral("LibCorvane preview"));
    setStyleSheet(windowStyle());
    resize(960, 560);
    m_devices->addItems(devices);
    m_devices->setEnabled(!devices.isEmpty());
    connect(m_devices, &DeviceChoice::textActivated, this, &PreviewWindow::deviceChosen);

    auto *middle = new QHBoxLayout;
    middle->setSpacing(kGap);
    middle->addWidget(m_spectrum, 1);
    middle->addWidget(m_meter);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->addLayout(makeHeader());
    layout->addLayout(middle, 1);
    layout->addLayout(makeFooter());
}

QLayout *PreviewWindow::makeHeader()
{
    auto *titles = new QVBoxLayout;
    titles->setSpacing(2);
    titles->addWidget(makeLabel(QStringLiteral("LibCorvane"), QStringLiteral("title"), this));
    titles->addWidget(makeLabel(QStringLiteral("live spectrum of a sound device"),
                                QStringLiteral("subtitle"), this));
    auto *header = new QHBoxLayout;
    header->addLayout(titles);
    header->addStretch(1);
    header->addWidget(m_devices);
    return header;
}

QLayout *PreviewWindow::makeFooter()
{
    auto *footer = new QHBoxLayout;
    footer->setSpacing(3 * kGap);
    footer->addWidget(m_loudest);
    footer->addWidget(m_rate);
    footer->addStretch(1);
    footer->addWidget(m_trouble);
    return footer;
}

void PreviewWindow::showDevice(const QString &device)
{
    m_devices->setCurrentText(device);
    m_spectrum->clear();
    m_meter->clear();
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
    m_loudest->setValue(frequencyText(statistics.loudest));
    m_rate->setValue(QString::number(statistics.blocks / seconds, 'f', 1));
}

void PreviewWindow::showTrouble(const QString &text)
{
    m_trouble->setText(text);
}

bool PreviewWindow::savePicture(const QString &fileName)
{
    return grab().save(fileName, "PNG");
}
