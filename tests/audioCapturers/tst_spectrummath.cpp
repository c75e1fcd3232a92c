#include <LibCorvane/audioCapturers/SpectrumMath_p.h>

#include <QTest>

#include <cmath>
#include <limits>
#include <type_traits>

static_assert(std::is_trivially_copyable_v<Spectrum>);
static_assert(std::is_same_v<decltype(SoundChannel::channel), quint64>);

class TestSpectrumMath : public QObject {
    Q_OBJECT
private slots:
    void windowIsTheSymmetricHannWindow();
    void binBelow_data();
    void binBelow();
    void clampedStrength_data();
    void clampedStrength();
    void binRecordCarriesFrequencyAmplitudeAndDecibel();
    void silentBinHasMinusInfinityDecibel();
    void strengthDividesTheAmplitude();
    void peakTexts_data();
    void peakTexts();
};

void TestSpectrumMath::windowIsTheSymmetricHannWindow()
{
    const std::vector<float> window = corvane::hannWindow();
    QCOMPARE(window.size(), size_t(2048));
    QCOMPARE(window.front(), 0.0F);
    QVERIFY(window.back() < 1e-12F); // cos(2π) in double precision
    for (size_t i = 0; i < 1024; ++i) {
        const double sine = std::sin(std::acos(-1.0) * double(i) / 2047.0);
        // sin² is the same function by another formula; half a unit of float, plus the few units of
        // double that both formulas lose.
        QVERIFY(std::abs(window[i] - sine * sine) < 6e-8);
        QVERIFY(std::abs(window[i] - window[2047 - i]) < 6e-8);
    }
}

void TestSpectrumMath::binBelow_data()
{
    QTest::addColumn<int>("frequency");
    QTest::addColumn<int>("rate");
    QTest::addColumn<int>("bin");

    QTest::newRow("20 Hz at 44100 Hz lies in the DC bin") << 20 << 44100 << 0;
    QTest::newRow("1000 Hz at 44100 Hz") << 1000 << 44100 << 46;
    QTest::newRow("20 Hz at 48000 Hz lies in the DC bin") << 20 << 48000 << 0;
    QTest::newRow("1000 Hz at 48000 Hz") << 1000 << 48000 << 42;
    QTest::newRow("20 Hz at 8000 Hz is truncated") << 20 << 8000 << 5;
    QTest::newRow("1000 Hz at 2000 Hz is Nyquist") << 1000 << 2000 << 1024;
    QTest::newRow("above Nyquist the last bin counts") << 1000 << 1999 << 1024;
    QTest::newRow("both edges may lie above Nyquist") << 20 << 1 << 1024;
    QTest::newRow("no rate at all") << 1000 << 0 << 1024;
    QTest::newRow("the highest rate") << 1000 << std::numeric_limits<int>::max() << 0;
}

void TestSpectrumMath::binBelow()
{
    QFETCH(int, frequency);
    QFETCH(int, rate);
    QTEST(corvane::binBelow(frequency, rate), "bin");
}

void TestSpectrumMath::clampedStrength_data()
{
    QTest::addColumn<double>("strength");
    QTest::addColumn<double>("clamped");

    QTest::newRow("above 1 gives 1") << 2.0 << 1.0;
    QTest::newRow("1 stays") << 1.0 << 1.0;
    QTest::newRow("between stays") << 0.25 << 0.25;
    QTest::newRow("0 stays") << 0.0 << 0.0;
    QTest::newRow("below 0 gives 0") << -1.0 << 0.0;
    QTest::newRow("infinity gives 1") << std::numeric_limits<double>::infinity() << 1.0;
    QTest::newRow("not a number gives 0") << std::nan("") << 0.0;
}

void TestSpectrumMath::clampedStrength()
{
    QFETCH(double, strength);
    QTEST(corvane::clampedStrength(strength), "clamped");
}

void TestSpectrumMath::binRecordCarriesFrequencyAmplitudeAndDecibel()
{
    const Spectrum spectrum = corvane::spectrumOfBin(45, -30.0F, 40.0F, 44100, 1.0);
    QCOMPARE(spectrum.frequency, 45.0F / 1025.0F * 44100.0F);
    QVERIFY(std::abs(spectrum.frequency - 1936.0976F) < 0.001F);
    QCOMPARE(spectrum.amplitude, 50.0F);
    QVERIFY(std::abs(spectrum.decibel - 33.9794F) < 0.0001F);
}

void TestSpectrumMath::silentBinHasMinusInfinityDecibel()
{
    const Spectrum spectrum = corvane::spectrumOfBin(0, 0.0F, 0.0F, 44100, 1.0);
    QCOMPARE(spectrum.frequency, 0.0F);
    QCOMPARE(spectrum.amplitude, 0.0F);
    QCOMPARE(spectrum.decibel, -std::numeric_limits<float>::infinity());
}

void TestSpectrumMath::strengthDividesTheAmplitude()
{
    QCOMPARE(corvane::spectrumOfBin(1, 3.0F, 4.0F, 44100, 0.5).amplitude, 10.0F);
    QCOMPARE(corvane::spectrumOfBin(1, 3.0F, 4.0F, 44100, 0.0).amplitude, 5.0F);
}

void TestSpectrumMath::peakTexts_data()
{
    QTest::addColumn<QVector<float>>("amplitudes");
    QTest::addColumn<QString>("level");
    QTest::addColumn<QString>("logarithm");

    QTest::newRow("no bins are silent") << QVector<float>{} << "0.000"
                                        << "-inf";
    QTest::newRow("amplitudes of 0 are silent") << QVector<float>{0, 0} << "0.000"
                                                << "-inf";
    QTest::newRow("the largest amplitude counts") << QVector<float>{1, 12.5F, 3} << "0.125"
                                                  << "-20.794"; // 10 · ln 0.125
    QTest::newRow("a level of 1 has the logarithm 0") << QVector<float>{100} << "1.000"
                                                      << "0.000";
    QTest::newRow("a level above 1") << QVector<float>{271.82818F} << "2.718"
                                     << "10.000";
    QTest::newRow("three decimals are rounded") << QVector<float>{0.05F} << "0.001"
                                                << "-76.009";
}

void TestSpectrumMath::peakTexts()
{
    QFETCH(QVector<float>, amplitudes);
    QFETCH(QString, level);
    QFETCH(QString, logarithm);
    SoundChannel channel;
    for (const float amplitude : amplitudes)
        channel.spectrums.append({0.0F, amplitude, 0.0F});
    QCOMPARE(corvane::peakTexts(channel), (QVector<QString>{level, logarithm}));
}

QTEST_APPLESS_MAIN(TestSpectrumMath)
#include "tst_spectrummath.moc"
