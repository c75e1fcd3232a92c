// The window as a user finds it: its look at several sizes, and all of it by keyboard alone.
#include <QtTest>

#include "ChoiceBox.h"
#include "ElidedLabel.h"
#include "HelpDialog.h"
#include "Keys.h"
#include "ModeSwitch.h"
#include "PeakMeter.h"
#include "PictureProbe.h"
#include "PreviewWindow.h"
#include "Readout.h"
#include "SpectrumView.h"
#include "StripView.h"
#include "Theme.h"
#include "service/ServiceBar.h"
#include "service/ServiceMenu.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QPushButton>

using namespace corvane::test;

namespace {

const QString kLongName = "Monitor of Built-in Audio Analog Stereo, alsa_output.pci-0000_00_1f.3."
                          "analog-stereo.monitor";
const QColor kRed(230, 20, 30);

QImage uniform(const QColor &colour)
{
    QImage picture(300, 168, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QVector<SoundChannel> loudBlock()
{
    SoundChannel channel;
    for (int bin = 0; bin < 46; ++bin)
        channel.spectrums.append({static_cast<float>(bin) * 43.024F, 500.0F, 0.0F});
    return {channel, channel};
}

/// The part of a window's area that a child takes.
QRect placeOf(const QWidget &child)
{
    return {child.mapTo(child.window(), QPoint()), child.size()};
}

/// A window with something in each of its lists.
struct Window : PreviewWindow {
    Window()
        : PreviewWindow(StripLayout())
    {
        showDisplays({"1", "2"});
        showDisplay("1");
        showDevices({"microphone", kLongName});
        showDevice("microphone");
    }

    bool open()
    {
        show();
        activateWindow();
        return QTest::qWaitForWindowActive(this);
    }

    QList<QPushButton *> modes() const
    {
        return findChild<ModeSwitch *>()->findChildren<QPushButton *>();
    }
    ChoiceBox *displays() const { return findChildren<ChoiceBox *>()[0]; }
    ChoiceBox *devices() const { return findChildren<ChoiceBox *>()[1]; }

    /// All that a user reads or works with, outermost.
    QVector<QWidget *> parts() const
    {
        QVector<QWidget *> widgets;
        for (QWidget *child : findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (child->isVisibleTo(this) && !child->isWindow())
                widgets.append(child);
        }
        return widgets;
    }

    QImage picture() { return grab().toImage(); }
};

/// What a screen reader would call it.
QString nameOf(const QWidget &widget)
{
    if (!widget.accessibleName().isEmpty())
        return widget.accessibleName();
    const auto *button = qobject_cast<const QAbstractButton *>(&widget);
    return button ? button->text().remove('&') : QString();
}

/// What the widget tells a mouse that rests on it.
QString toolTipOf(QWidget &widget)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), widget.mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(&widget, &event);
    return widget.toolTip();
}

int pixelsNear(const QImage &picture, const QColor &colour, int tolerance)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            count += isNear(picture.pixelColor(x, y), colour, tolerance) ? 1 : 0;
    return count;
}

} // namespace

class TestPreviewWindow : public QObject {
    Q_OBJECT
private slots:
    void keepsItsPartsApartAtEverySize_data();
    void keepsItsPartsApartAtEverySize();
    void fillsEachPartAtEverySize_data() { keepsItsPartsApartAtEverySize_data(); }
    void fillsEachPartAtEverySize();
    void fitsASmallScreen();
    void cutsALongNameInItsMiddle();
    void cutsALongTroubleAtItsEnd();
    void tellsWhyThereIsNoSound();
    void tabVisitsTheControlsInOrder();
    void showsWhereTheFocusIs();
    void namesEveryControl();
    void switchesTheModeByKey_data();
    void switchesTheModeByKey();
    void goesToTheListsByKey();
    void fillsTheScreenByKey();
    void explainsItselfByKey();
    void closesByKey();
};

void TestPreviewWindow::keepsItsPartsApartAtEverySize_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("a small screen") << QSize(800, 600);
    QTest::newRow("as it opens") << QSize(1240, 660);
    QTest::newRow("a large screen") << QSize(2560, 1440);
    QTest::newRow("an upright screen") << QSize(1080, 1920);
}

void TestPreviewWindow::keepsItsPartsApartAtEverySize()
{
    QFETCH(QSize, size);
    Window window;
    window.serviceBar().offer("Version 2 can be downloaded.", "Download");
    window.resize(size);
    QCOMPARE(window.picture().size(), size);
    const QVector<QWidget *> parts = window.parts();
    QVERIFY(parts.size() > 10);
    for (int i = 0; i < parts.size(); ++i) {
        const QRect place = placeOf(*parts[i]);
        QVERIFY2(window.rect().contains(place), parts[i]->metaObject()->className());
        for (int other = 0; other < i; ++other)
            QVERIFY2(!place.intersects(placeOf(*parts[other])),
                     parts[i]->metaObject()->className());
    }
}

void TestPreviewWindow::fillsEachPartAtEverySize()
{
    QFETCH(QSize, size);
    Window window;
    window.resize(size);
    window.showPicture(uniform(kRed));
    window.showBlock(loudBlock());
    window.showPeaks({500.0F, 500.0F});
    const QImage picture = window.picture();
    QVERIFY(isNear(picture.pixelColor(1, 1), theme::kGround, 0));

    const auto *strip = window.findChild<StripView *>();
    const QImage stripPart = partOf(picture, *strip);
    QVERIFY(strip->pictureArea().width() > stripPart.width() / 2.0);
    QVERIFY(isNear(colourIn(stripPart, strip->pictureArea()), kRed, 2));

    const QImage spectrum = partOf(picture, *window.findChild<SpectrumView *>());
    for (const QRgb channel : {theme::kLeft, theme::kRight}) {
        // In a narrow window they touch.
        const QVector<int> heights = barHeights(spectrum, channel);
        QVERIFY(!heights.isEmpty() && heights.size() <= 46);
        QVERIFY(heights[heights.size() / 2] > spectrum.height() / 3);
    }

    const QImage meter = partOf(picture, *window.findChild<PeakMeter *>());
    QVERIFY(pixelsNear(meter, theme::kMeterHigh, 8) > 0);
}

void TestPreviewWindow::fitsASmallScreen()
{
    Window window;
    window.showDevices({kLongName});
    const QSize least = window.minimumSizeHint();
    QVERIFY2(least.width() <= 800 && least.height() <= 600,
             qPrintable(QString("%1 x %2").arg(least.width()).arg(least.height())));
}

void TestPreviewWindow::cutsALongNameInItsMiddle()
{
    Window window;
    window.showDevice(kLongName);
    window.resize(1240, 660);
    window.picture();
    const ChoiceBox *devices = window.devices();
    const QString shown = devices->shownText();
    const int cut = shown.indexOf("…");
    QVERIFY2(cut > 3 && cut < shown.size() - 4, qPrintable(shown));
    QVERIFY(kLongName.startsWith(shown.left(cut)));
    QVERIFY(kLongName.endsWith(shown.mid(cut + 1)));
    QCOMPARE(devices->itemData(1, Qt::ToolTipRole).toString(), kLongName);
    // Short names are left alone.
    window.showDevice("microphone");
    QCOMPARE(devices->shownText(), QString("microphone"));
}

void TestPreviewWindow::cutsALongTroubleAtItsEnd()
{
    Window window;
    window.resize(800, 600);
    const QString trouble = "The device '" + kLongName + "' does not start.";
    window.showTrouble(trouble);
    window.picture();
    auto *label = window.findChild<ElidedLabel *>("trouble");
    QVERIFY(label->shownText().endsWith("…"));
    QVERIFY(trouble.startsWith(label->shownText().chopped(1)));
    QVERIFY(window.rect().contains(placeOf(*label)));
    QCOMPARE(toolTipOf(*label), trouble);

    window.showTrouble("No.");
    QCOMPARE(label->shownText(), QString("No."));
    QCOMPARE(toolTipOf(*label), QString());
}

void TestPreviewWindow::tellsWhyThereIsNoSound()
{
    Window window;
    auto *spectrum = window.findChild<SpectrumView *>();
    const auto textPixels = [&] {
        const QImage part = partOf(window.picture(), *spectrum);
        // Beside the names of the levels, between the levels of -48 dB.
        const QRect middle(part.width() / 4, part.height() * 2 / 5, part.width() / 2,
                           part.height() / 5);
        return pixelsNear(part.copy(middle), theme::kQuietText, 40);
    };
    QCOMPARE(textPixels(), 0);
    window.showSoundMessage("There is no sound input device.");
    QVERIFY(textPixels() > 50);
    window.showSoundMessage(QString());
    QCOMPARE(textPixels(), 0);

    window.showSoundMessage("Waiting");
    const QImage waiting = partOf(window.picture(), *spectrum);
    window.showBlock(loudBlock());
    const QImage loud = partOf(window.picture(), *spectrum);
    QVERIFY(barHeights(waiting, theme::kLeft).isEmpty());
    QCOMPARE(barHeights(loud, theme::kLeft).size(), 46);
    window.showDevice("microphone");
    QCOMPARE(textPixels(), 0);
}

void TestPreviewWindow::tabVisitsTheControlsInOrder()
{
    Window window;
    window.serviceBar().offer("Version 2 can be downloaded.", "Download");
    QVERIFY(window.open());
    window.modes()[0]->setFocus();
    QStringList visited;
    for (int i = 0; i < 8; ++i) {
        visited.append(nameOf(*QApplication::focusWidget()));
        QTest::keyClick(&window, Qt::Key_Tab);
    }
    QCOMPARE(visited,
             QStringList({"Screen", "Display", "Sound device", "Service", "Keys and version",
                          "Download", "Close", "Screen"}));
    // Within the switch it is the arrows, as with all buttons of which one is on.
    window.modes()[0]->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    QCOMPARE(nameOf(*QApplication::focusWidget()), QString("Sound"));
}

void TestPreviewWindow::showsWhereTheFocusIs()
{
    Window window;
    QVERIFY(window.open());
    const QColor accent(theme::kLeft);
    const QVector<QWidget *> controls{window.modes()[0], window.displays(), window.devices(),
                                      window.findChild<ServiceMenu *>(),
                                      window.findChild<QPushButton *>("help")};
    for (QWidget *control : controls) {
        window.setFocus();
        QVERIFY(!control->hasFocus());
        QVERIFY2(pixelsNear(partOf(window.picture(), *control), accent, 30) == 0,
                 qPrintable(nameOf(*control)));
        control->setFocus();
        // All around it, but for the round corners.
        const int around = control->width() + control->height();
        QVERIFY2(pixelsNear(partOf(window.picture(), *control), accent, 30) > around,
                 qPrintable(nameOf(*control)));
    }
}

void TestPreviewWindow::namesEveryControl()
{
    Window window;
    window.serviceBar().offer("Version 2 can be downloaded.", "Download");
    int named = 0;
    for (QWidget *child : window.findChildren<QWidget *>()) {
        // Lists that open have windows of their own.
        if (child->window() != &window || !(child->focusPolicy() & Qt::TabFocus))
            continue;
        QVERIFY2(!nameOf(*child).isEmpty(), child->metaObject()->className());
        ++named;
    }
    QVERIFY(named >= 8);
    for (const QWidget *view : {static_cast<QWidget *>(window.findChild<StripView *>()),
                                static_cast<QWidget *>(window.findChild<SpectrumView *>()),
                                static_cast<QWidget *>(window.findChild<PeakMeter *>())})
        QVERIFY2(!view->accessibleName().isEmpty(), view->metaObject()->className());
    for (const Readout *readout : window.findChildren<Readout *>())
        QVERIFY(!readout->findChild<QLabel *>("value")->accessibleName().isEmpty());
}

void TestPreviewWindow::switchesTheModeByKey_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::newRow("Ctrl+1 takes the screen") << "Ctrl+1" << 1 << 0;
    QTest::newRow("Ctrl+2 takes the sound") << "Ctrl+2" << 0 << 1;
    QTest::newRow("the letter of the screen") << "Alt+C" << 1 << 0;
    QTest::newRow("the letter of the sound") << "Alt+O" << 0 << 1;
}

void TestPreviewWindow::switchesTheModeByKey()
{
    QFETCH(QString, key);
    QFETCH(int, before);
    QFETCH(int, after);
    Window window;
    window.showMode(static_cast<Mode>(before));
    QVERIFY(window.open());
    QVector<Mode> chosen;
    connect(&window, &PreviewWindow::modeChosen, this, [&](Mode mode) { chosen.append(mode); });
    QTest::keySequence(&window, QKeySequence(key));
    QTRY_COMPARE(chosen, QVector<Mode>{static_cast<Mode>(after)});
    QVERIFY(window.modes()[after]->isChecked());
}

void TestPreviewWindow::goesToTheListsByKey()
{
    Window window;
    QVERIFY(window.open());
    QTest::keySequence(&window, QKeySequence(keys::kDevice));
    QCOMPARE(QApplication::focusWidget(), window.devices());
    QTest::keySequence(&window, QKeySequence(keys::kDisplay));
    QCOMPARE(QApplication::focusWidget(), window.displays());
    QSignalSpy chosen(&window, &PreviewWindow::displayChosen);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QCOMPARE(chosen.count(), 1);
    QCOMPARE(chosen[0][0].toString(), QString("2"));
}

void TestPreviewWindow::fillsTheScreenByKey()
{
    Window window;
    QVERIFY(window.open());
    QTest::keySequence(&window, QKeySequence(keys::kFullScreen));
    QVERIFY(window.isFullScreen());
    QTest::keySequence(&window, QKeySequence(keys::kFullScreen));
    QVERIFY(!window.isFullScreen());
    QTest::keySequence(&window, QKeySequence(keys::kFullScreen));
    QTest::keySequence(&window, QKeySequence(keys::kLeaveFullScreen));
    QVERIFY(!window.isFullScreen());
    QVERIFY(window.isVisible());
}

void TestPreviewWindow::explainsItselfByKey()
{
    Window window;
    QVERIFY(window.open());
    QTest::keySequence(&window, QKeySequence(keys::kHelp));
    QPointer<HelpDialog> dialog(window.findChild<HelpDialog *>());
    QVERIFY(dialog);
    QString text;
    for (const QLabel *label : dialog->findChildren<QLabel *>())
        text += label->text() + '\n';
    for (const char *piece :
         {CORVANE_PREVIEW_VERSION, keys::kFollowScreen, keys::kFollowSound, keys::kDisplay,
          keys::kDevice, keys::kFullScreen, keys::kHelp, keys::kQuit})
        QVERIFY2(text.contains(piece), piece);
    QTest::keyClick(dialog.data(), Qt::Key_Escape);
    QTRY_VERIFY(!dialog);

    QVERIFY(window.open());
    QTest::mouseClick(window.findChild<QPushButton *>("help"), Qt::LeftButton);
    QVERIFY(window.findChild<HelpDialog *>());
}

void TestPreviewWindow::closesByKey()
{
    Window window;
    QVERIFY(window.open());
    const QSignalSpy closing(&window, &PreviewWindow::closing);
    QTest::keySequence(&window, QKeySequence(keys::kQuit));
    QCOMPARE(closing.count(), 1);
    QVERIFY(!window.isVisible());
}

QTEST_MAIN(TestPreviewWindow)
#include "tst_previewwindow.moc"
