#include <QtTest>

#include "PictureProbe.h"
#include "PreviewWindow.h"
#include "SpectrumView.h"
#include "Theme.h"

using namespace corvane::test;

namespace {

constexpr float kFullScale = 512.0F;
constexpr int kBins = 46;

SoundChannel channelWith(int loudBin, float amplitude)
{
    SoundChannel channel;
    for (int bin = 0; bin < kBins; ++bin)
        channel.spectrums.append({static_cast<float>(bin) * 43.024F, 0.0F, 0.0F});
    channel.spectrums[loudBin].amplitude = amplitude;
    return channel;
}

QImage pictureOf(QWidget &widget)
{
    return widget.grab().toImage();
}

} // namespace

class TestPreviewPicture : public QObject {
    Q_OBJECT
private slots:
    void drawsABarForEachBin();
    void drawsTheChannelsApart();
    void drawsFullScaleAsTheWholeHeight();
    void forgetsTheSoundOfAnotherDevice();
    void ignoresABlockWithoutBothChannels();
    void showsAWindowWithoutDevices();
    void cannotSaveIntoAMissingFolder();
};

void TestPreviewPicture::drawsABarForEachBin()
{
    SpectrumView view;
    view.resize(800, 400);
    view.showBlock({channelWith(20, kFullScale), channelWith(20, kFullScale)});
    const QVector<int> heights = barHeights(pictureOf(view), theme::kLeft);
    QCOMPARE(heights.size(), kBins);
    QCOMPARE(highestBar(heights), 20);
}

void TestPreviewPicture::drawsTheChannelsApart()
{
    SpectrumView view;
    view.resize(800, 400);
    view.showBlock({channelWith(5, kFullScale), channelWith(40, kFullScale)});
    const QImage picture = pictureOf(view);
    QCOMPARE(highestBar(barHeights(picture, theme::kLeft)), 5);
    QCOMPARE(highestBar(barHeights(picture, theme::kRight)), 40);
}

void TestPreviewPicture::drawsFullScaleAsTheWholeHeight()
{
    SpectrumView view;
    view.resize(800, 400);
    // -36 dB is the middle of the scale.
    view.showBlock({channelWith(9, kFullScale), channelWith(9, kFullScale * 0.015849F)});
    const QImage picture = pictureOf(view);
    const int full = barHeights(picture, theme::kLeft).value(9);
    const int half = barHeights(picture, theme::kRight).value(9);
    QVERIFY2(full > 150, qPrintable(QString::number(full)));
    // Rounded corners and antialiased rows.
    QVERIFY2(qAbs(full - 2 * half) <= 4, qPrintable(QString("%1 %2").arg(full).arg(half)));
}

void TestPreviewPicture::forgetsTheSoundOfAnotherDevice()
{
    PreviewWindow window{StripLayout()};
    window.showDevices({"one", "two"});
    window.showBlock({channelWith(20, kFullScale), channelWith(20, kFullScale)});
    QCOMPARE(barHeights(pictureOf(window), theme::kLeft).size(), kBins);
    window.showDevice("two");
    QVERIFY(barHeights(pictureOf(window), theme::kLeft).isEmpty());
}

void TestPreviewPicture::ignoresABlockWithoutBothChannels()
{
    SpectrumView view;
    view.resize(800, 400);
    view.showBlock({channelWith(20, kFullScale)});
    view.showBlock({});
    QVERIFY(barHeights(pictureOf(view), theme::kLeft).isEmpty());
}

void TestPreviewPicture::showsAWindowWithoutDevices()
{
    PreviewWindow window{StripLayout()};
    const QImage before = pictureOf(window);
    QVERIFY(!before.isNull());
    window.showTrouble("There is no sound input device.");
    QVERIFY(pictureOf(window) != before);
}

void TestPreviewPicture::cannotSaveIntoAMissingFolder()
{
    const QTemporaryDir directory;
    PreviewWindow window{StripLayout()};
    QVERIFY(window.savePicture(directory.filePath("picture.png")));
    QVERIFY(!window.savePicture(directory.filePath("missing/picture.png")));
}

QTEST_MAIN(TestPreviewPicture)
#include "tst_previewpicture.moc"
