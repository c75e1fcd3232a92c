#include <QtTest>

#include "Sound.h"
#include "Statistics.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kFrames = 2048;
constexpr double kRate = 44100.0;
constexpr int kBins = 46;

double hann(int i)
{
    return 0.5 * (1.0 - std::cos(2.0 * kPi * i / (kFrames - 1)));
}

// One bin of the transform of a windowed sine, by the definition.
float amplitudeOfBin(int bin, double frequency, double level)
{
    double re = 0.0;
    double im = 0.0;
    for (int i = 0; i < kFrames; ++i) {
        const double sample = level * hann(i) * std::sin(2.0 * kPi * frequency * i / kRate);
        re += sample * std::cos(2.0 * kPi * bin * i / kFrames);
        im -= sample * std::sin(2.0 * kPi * bin * i / kFrames);
    }
    return static_cast<float>(std::hypot(re, im));
}

SoundChannel sine(double frequency, double level)
{
    SoundChannel channel;
    for (int bin = 0; bin < kBins; ++bin) {
        const float amplitude = amplitudeOfBin(bin, frequency, level);
        channel.spectrums.append(
            {static_cast<float>(bin * kRate / 1025.0), amplitude, 20.0F * std::log10(amplitude)});
    }
    return channel;
}

SoundChannel silence()
{
    SoundChannel channel;
    for (int bin = 0; bin < kBins; ++bin)
        channel.spectrums.append({static_cast<float>(bin * kRate / 1025.0), 0.0F,
                                  -std::numeric_limits<float>::infinity()});
    return channel;
}

} // namespace

class TestPreviewSound : public QObject {
    Q_OBJECT
private slots:
    void findsTheFrequencyOfASine_data();
    void findsTheFrequencyOfASine();
    void takesTheLouderChannel();
    void hasNoFrequencyForSilence();
    void staysInTheBandAtItsEnds();
    void undoesTheNominalFrequency();
    void measuresAgainstAFullScaleSine();
    void fillsBarsFromTheFloorToFullScale();
    void risesAtOnceAndFallsSteadily();
    void readsThePeaksOfEachChannel();
    void ignoresAChunkWithoutPeaks();
    void writesOneStatusLine();
    void writesDarknessAndSilenceAsWords();
};

void TestPreviewSound::findsTheFrequencyOfASine_data()
{
    QTest::addColumn<double>("frequency");
    QTest::newRow("a tone in the middle of a bin") << 20 * kRate / kFrames;
    QTest::newRow("a tone between two bins") << 20.5 * kRate / kFrames;
    QTest::newRow("concert pitch") << 440.0;
    QTest::newRow("a low tone") << 110.0;
    QTest::newRow("a tone near the upper end") << 930.0;
}

void TestPreviewSound::findsTheFrequencyOfASine()
{
    QFETCH(double, frequency);
    const auto found = loudestPartial({sine(frequency, 0.5), silence()});
    QVERIFY(found.has_value());
    // A parabola through the decibels of a Hann window errs by less than 0.02 bins; the window's
    // side lobes around the negative frequency add less than that for tones from bin 5 on.
    QVERIFY2(std::abs(found->frequency - frequency) < 0.04 * kRate / kFrames,
             qPrintable(QString::number(found->frequency)));
}

void TestPreviewSound::takesTheLouderChannel()
{
    const auto found = loudestPartial({sine(300.0, 0.1), sine(700.0, 0.9)});
    QVERIFY(found.has_value());
    QVERIFY(std::abs(found->frequency - 700.0) < 1.0);
}

void TestPreviewSound::hasNoFrequencyForSilence()
{
    QVERIFY(!loudestPartial({silence(), silence()}).has_value());
    QVERIFY(!loudestPartial({}).has_value());
    QVERIFY(!loudestPartial({SoundChannel(), SoundChannel()}).has_value());
}

void TestPreviewSound::staysInTheBandAtItsEnds()
{
    SoundChannel channel = silence();
    channel.spectrums[0].amplitude = 3.0F;
    QCOMPARE(loudestPartial({channel})->frequency, 0.0);

    channel.spectrums[kBins - 1].amplitude = 4.0F;
    QVERIFY(std::abs(loudestPartial({channel})->frequency - 45 * kRate / kFrames) < 0.01);
}

void TestPreviewSound::undoesTheNominalFrequency()
{
    const double nominal = 20 * kRate / 1025.0;
    QVERIFY(std::abs(physicalFrequency(nominal) - 20 * kRate / 2048.0) < 1e-9);
}

void TestPreviewSound::measuresAgainstAFullScaleSine()
{
    // The window halves the 1024 that a sine of amplitude 1 brings into its bin.
    QVERIFY(std::abs(levelDecibel(amplitudeOfBin(20, 20 * kRate / kFrames, 1.0))) < 0.01F);
    QVERIFY(std::abs(levelDecibel(256.0F) + 6.0206F) < 1e-4F);
    QVERIFY(std::isinf(levelDecibel(0.0F)));
}

void TestPreviewSound::fillsBarsFromTheFloorToFullScale()
{
    QCOMPARE(filledPart(0.0F), 1.0F);
    QCOMPARE(filledPart(kFloorDecibel / 2), 0.5F);
    QCOMPARE(filledPart(kFloorDecibel), 0.0F);
    QCOMPARE(filledPart(6.0F), 1.0F);
    QCOMPARE(filledPart(-std::numeric_limits<float>::infinity()), 0.0F);
}

void TestPreviewSound::risesAtOnceAndFallsSteadily()
{
    QCOMPARE(fallingPart(0.2F, 0.9F, 0.0F), 0.9F);
    const float afterOneFrame = fallingPart(0.9F, 0.1F, 0.05F);
    const float afterTwoFrames = fallingPart(afterOneFrame, 0.1F, 0.05F);
    QVERIFY(afterOneFrame < 0.9F);
    QVERIFY(std::abs((0.9F - afterOneFrame) - (afterOneFrame - afterTwoFrames)) < 1e-6F);
    QCOMPARE(fallingPart(0.9F, 0.1F, 60.0F), 0.1F);
}

void TestPreviewSound::readsThePeaksOfEachChannel()
{
    const Peaks peaks = largestPeaks(
        {{"1.250", "2.231"}, {"0.500", "-6.931"}, {"0.125", "-20.794"}, {"5.120", "16.332"}});
    QCOMPARE(peaks.left, 125.0F);
    QCOMPARE(peaks.right, 512.0F);
}

void TestPreviewSound::ignoresAChunkWithoutPeaks()
{
    const Peaks peaks = largestPeaks({});
    QCOMPARE(peaks.left, 0.0F);
    QCOMPARE(peaks.right, 0.0F);
}

void TestPreviewSound::writesOneStatusLine()
{
    Statistics statistics;
    statistics.frames = 37;
    statistics.mean = qRgb(127, 48, 9);
    for (int i = 0; i < 43; ++i)
        statistics.addBlock({sine(440.0, 0.5), silence()});
    statistics.addPeaks({256.0F, 51.2F});
    statistics.addPeaks({25.6F, 102.4F});
    const QString line = statusLine(statistics, 2.0);
    const QRegularExpression form("^18\\.5 frames/s, mean #7f3009, "
                                  "21\\.5 blocks/s, loudest (\\d+\\.\\d) Hz, "
                                  "peaks left -6\\.0 dB, right -14\\.0 dB$");
    const auto match = form.match(line);
    QVERIFY2(match.hasMatch(), qPrintable(line));
    QVERIFY(std::abs(match.captured(1).toDouble() - 440.0) < 1.0);
}

void TestPreviewSound::writesDarknessAndSilenceAsWords()
{
    QCOMPARE(statusLine(Statistics(), 1.0),
             QString("0.0 frames/s, mean none, 0.0 blocks/s, loudest none, "
                     "peaks left silent, right silent"));
}

QTEST_APPLESS_MAIN(TestPreviewSound)
#include "tst_previewsound.moc"
