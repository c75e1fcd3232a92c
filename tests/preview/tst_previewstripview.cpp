#include <QtTest>

#include "ChoiceBox.h"
#include "Glow.h"
#include "ModeSwitch.h"
#include "PictureProbe.h"
#include "StripView.h"
#include "Theme.h"

#include <QAbstractButton>

using namespace corvane::test;

namespace {

using Side = StripLayout::Side;

const QSize kGrid(8, 5);
constexpr int kReflection = 2;

/// A strip without a gap, but for a bottom that ends after half of its keys.
StripLayout sampleStrip()
{
    StripLayout layout;
    layout.grid = kGrid;
    for (int y = kGrid.height() - 1; y >= 0; --y)
        layout.keys.append({{0, y}, Side::Left});
    for (int x = 0; x < kGrid.width(); ++x)
        layout.keys.append({{x, 0}, Side::Top});
    for (int y = 0; y < kGrid.height(); ++y)
        layout.keys.append({{kGrid.width() - 1, y}, Side::Right});
    for (int x = kGrid.width() - 1; x >= kGrid.width() / 2; --x)
        layout.keys.append({{x, kGrid.height() - 1}, Side::Bottom});
    return layout;
}

QImage uniform(const QSize &size, const QColor &colour)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QImage pictureOf(QWidget &widget)
{
    return widget.grab().toImage();
}

int brightnessOf(const QColor &colour)
{
    return qMax(colour.red(), qMax(colour.green(), colour.blue()));
}

} // namespace

class TestPreviewStripView : public QObject {
    Q_OBJECT
private slots:
    void keepsTheShapeOfTheDisplay_data();
    void keepsTheShapeOfTheDisplay();
    void placesTheLedsApartAroundThePicture();
    void drawsThePictureInItsPlace();
    void drawsEachLedInItsColour();
    void drawsDarkLedsWithoutColours();
    void throwsLightOnTheWallNearby();
    void lightsALongRowAsAsked();
    void showsAMessageInPlaceOfThePicture();
    void switchesModes();
    void offersChoicesByTheirIds();
    void offersNothingWithoutChoices();
};

void TestPreviewStripView::keepsTheShapeOfTheDisplay_data()
{
    QTest::addColumn<QSize>("display");
    QTest::newRow("a wide display") << QSize(300, 168);
    QTest::newRow("a very wide display") << QSize(300, 84);
    QTest::newRow("an upright display") << QSize(300, 533);
    QTest::newRow("a square display") << QSize(300, 300);
}

void TestPreviewStripView::keepsTheShapeOfTheDisplay()
{
    QFETCH(QSize, display);
    StripView view(sampleStrip());
    view.resize(640, 480);
    view.showPicture(uniform(display, Qt::red));
    const QRectF area = view.pictureArea();
    const qreal shape = static_cast<qreal>(display.width()) / display.height();
    QVERIFY(qAbs(area.width() / area.height() - shape) < 0.001 * shape);
    QVERIFY(area.width() > 320 || area.height() > 320);
    for (int key = 0; key < sampleStrip().keys.size(); ++key)
        QVERIFY(QRectF(view.rect()).contains(view.ledArea(key)));
}

void TestPreviewStripView::placesTheLedsApartAroundThePicture()
{
    const StripLayout layout = sampleStrip();
    StripView view(layout);
    view.resize(640, 480);
    const QRectF picture = view.pictureArea();
    for (int key = 0; key < layout.keys.size(); ++key) {
        QVERIFY(!view.ledArea(key).intersects(picture));
        for (int other = 0; other < key; ++other)
            QVERIFY(!view.ledArea(key).intersects(view.ledArea(other)));
    }
    // Up the left side, to the right along the top, and so on around.
    QVERIFY(view.ledArea(0).center().x() < picture.left());
    QVERIFY(view.ledArea(0).top() > view.ledArea(4).bottom());
    QVERIFY(view.ledArea(5).center().y() < picture.top());
    QVERIFY(view.ledArea(5).right() < view.ledArea(12).left());
    QVERIFY(view.ledArea(13).center().x() > picture.right());
    QVERIFY(view.ledArea(13).bottom() < view.ledArea(17).top());
    QVERIFY(view.ledArea(18).center().y() > picture.bottom());
    QVERIFY(view.ledArea(18).left() > view.ledArea(21).right());
}

void TestPreviewStripView::drawsThePictureInItsPlace()
{
    StripView view(sampleStrip());
    view.resize(640, 480);
    QImage picture = uniform({300, 168}, Qt::red);
    for (int y = 0; y < 168; ++y)
        for (int x = 150; x < 300; ++x)
            picture.setPixelColor(x, y, y < 84 ? Qt::green : Qt::blue);
    view.showPicture(picture);

    const QImage shown = pictureOf(view);
    const QRectF area = view.pictureArea();
    const QSizeF half = area.size() / 2;
    QCOMPARE(colourIn(shown, {area.topLeft(), half}), QColor(Qt::red));
    QCOMPARE(colourIn(shown, {QPointF(area.center().x(), area.top()), half}), QColor(Qt::green));
    QCOMPARE(colourIn(shown, {area.center(), half}), QColor(Qt::blue));
    QVERIFY(colourIn(shown, {area.topLeft() - QPointF(5, 5), QSizeF(2, 2)}) != QColor(Qt::red));
}

void TestPreviewStripView::drawsEachLedInItsColour()
{
    const StripLayout layout = sampleStrip();
    StripView view(layout);
    view.resize(640, 480);
    QVector<QRgb> colours;
    for (int key = 0; key < layout.keys.size(); ++key)
        colours.append(QColor::fromHsv(key * 16, 200, 220).rgb());
    view.showColours(colours);
    const QImage shown = pictureOf(view);
    for (int key = 0; key < colours.size(); ++key)
        QVERIFY2(isNear(colourIn(shown, view.ledArea(key)), QColor(colours[key]), kReflection),
                 qPrintable(QString::number(key)));
}

void TestPreviewStripView::drawsDarkLedsWithoutColours()
{
    StripView view(sampleStrip());
    view.resize(640, 480);
    const QImage shown = pictureOf(view);
    for (int key = 0; key < sampleStrip().keys.size(); ++key)
        QVERIFY(isNear(colourIn(shown, view.ledArea(key)), QColor(theme::kLine), kReflection));
}

void TestPreviewStripView::throwsLightOnTheWallNearby()
{
    const StripLayout layout = sampleStrip();
    StripView view(layout);
    view.resize(640, 480);
    QVector<QRgb> colours(layout.keys.size(), qRgb(0, 0, 0));
    for (int key = 0; key < kGrid.height(); ++key)
        colours[key] = qRgb(255, 0, 0);
    view.showColours(colours);

    const QImage shown = pictureOf(view);
    const QRectF led = view.ledArea(2);
    const QColor beside = colourIn(shown, led.translated(-led.width() - 8, 0));
    QVERIFY2(beside.red() > 3 * beside.green(), qPrintable(beside.name()));
    const QColor farOff = colourIn(shown, view.ledArea(15).translated(led.width() + 8, 0));
    QVERIFY2(isNear(farOff, QColor(theme::kPanel), kReflection), qPrintable(farOff.name()));
}

void TestPreviewStripView::lightsALongRowAsAsked()
{
    QVector<Light> row;
    for (int x = 0; x < 200; ++x)
        row.append({{x + 0.5, 50.5}, qRgb(200, 100, 0)});
    const QImage wall = litWall({200, 100}, qRgb(0, 0, 40), row, 0.5F);
    // Box filters are flatter at the top than the Gaussian that the brightness is reckoned by.
    QVERIFY2(isNear(wall.pixelColor(100, 50), QColor(100, 50, 40), 12),
             qPrintable(wall.pixelColor(100, 50).name()));
    // It fades to all sides, alike.
    for (int distance = 1; distance < 45; ++distance) {
        QCOMPARE(wall.pixel(100, 50 + distance), wall.pixel(100, 50 - distance));
        QVERIFY(wall.pixelColor(100, 50 + distance).red()
                <= wall.pixelColor(100, 49 + distance).red());
    }
    QCOMPARE(wall.pixel(100, 99), qRgb(0, 0, 40));
    QCOMPARE(litWall({20, 10}, qRgb(1, 2, 3), {}, 1.0F).pixel(5, 5), qRgb(1, 2, 3));
}

void TestPreviewStripView::showsAMessageInPlaceOfThePicture()
{
    StripView view(sampleStrip());
    view.resize(640, 480);
    view.showPicture(uniform({300, 168}, Qt::red));
    view.showMessage("No display");
    const QImage shown = pictureOf(view);
    const QRect area = view.pictureArea().toRect();
    QCOMPARE(shown.pixelColor(area.topLeft() + QPoint(20, 20)), QColor(theme::kMonitor));
    int letters = 0;
    for (int x = area.left(); x < area.right(); ++x)
        for (int y = area.top(); y < area.bottom(); ++y)
            letters += brightnessOf(shown.pixelColor(x, y)) > 100 ? 1 : 0;
    QVERIFY(letters > 50);

    view.showPicture(uniform({300, 168}, Qt::red));
    QCOMPARE(colourIn(pictureOf(view), area), QColor(Qt::red));
}

void TestPreviewStripView::switchesModes()
{
    ModeSwitch modes;
    QVector<Mode> chosen;
    connect(&modes, &ModeSwitch::modeChosen, this, [&chosen](Mode mode) { chosen.append(mode); });
    const auto buttons = modes.findChildren<QAbstractButton *>();
    QCOMPARE(buttons.size(), 2);
    QVERIFY(buttons[0]->isChecked());

    modes.setMode(Mode::Sound);
    QVERIFY(buttons[1]->isChecked() && !buttons[0]->isChecked());
    QVERIFY(chosen.isEmpty());

    QTest::mouseClick(buttons[0], Qt::LeftButton);
    QTest::mouseClick(buttons[1], Qt::LeftButton);
    QCOMPARE(chosen, QVector<Mode>({Mode::Screen, Mode::Sound}));
    QVERIFY(buttons[1]->isChecked() && !buttons[0]->isChecked());
}

void TestPreviewStripView::offersChoicesByTheirIds()
{
    ChoiceBox box("Display %1", "No display", nullptr);
    QStringList chosen;
    connect(&box, &ChoiceBox::chosen, this, [&chosen](const QString &id) { chosen.append(id); });
    box.setChoices({"10", "2"});
    box.setChoice("2");
    QCOMPARE(box.currentText(), QString("Display 2"));
    QVERIFY(box.isEnabled());
    QVERIFY(chosen.isEmpty());

    QTest::keyClick(&box, Qt::Key_Up);
    QCOMPARE(chosen, QStringList("10"));
    QCOMPARE(box.currentText(), QString("Display 10"));
}

void TestPreviewStripView::offersNothingWithoutChoices()
{
    ChoiceBox box("Display %1", "No display", nullptr);
    QVERIFY(!box.isEnabled());
    QCOMPARE(box.currentText(), QString("No display"));
    box.setChoices({"1"});
    QVERIFY(box.isEnabled());
    QCOMPARE(box.count(), 1);
    box.setChoices({});
    QVERIFY(!box.isEnabled());
    QCOMPARE(box.currentText(), QString("No display"));
}

QTEST_MAIN(TestPreviewStripView)
#include "tst_previewstripview.moc"
