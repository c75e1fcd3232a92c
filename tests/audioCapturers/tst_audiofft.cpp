#include "FftwReference.h"
#include "TestSignals.h"
#include "TransformPaths.h"

#include <QtTest>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

using audiofft::AudioFFT;
using audiofft::OouraFFT;
using audiofft::detail::AudioFFTImpl;
using audiofft::detail::Path;
using namespace corvane::test;

static_assert(std::is_abstract_v<AudioFFTImpl>);
static_assert(std::has_virtual_destructor_v<AudioFFTImpl>);
static_assert(std::is_base_of_v<AudioFFTImpl, OouraFFT>);
static_assert(!std::is_copy_constructible_v<AudioFFT> && !std::is_copy_assignable_v<AudioFFT>);
static_assert(!std::is_copy_constructible_v<OouraFFT> && !std::is_copy_assignable_v<OouraFFT>);
static_assert(std::is_default_constructible_v<AudioFFT>);

namespace {

// Counts what this program and the library take from the heap through operator new.
int allocations = 0;

// The transform of a row: along one path, or along the one that the library chooses.
std::unique_ptr<AudioFFTImpl> makeTransform(const QString &pathName, std::size_t size)
{
    std::unique_ptr<AudioFFTImpl> transform = std::make_unique<OouraFFT>();
    for (const Path *path : availablePaths()) {
        if (pathName == path->name)
            transform = std::make_unique<PathTransform>(*path);
    }
    transform->init(size);
    return transform;
}

bool isNear(double actual, double expected, double error)
{
    return std::abs(actual - expected) <= error;
}

} // namespace

void *operator new(std::size_t size)
{
    ++allocations;
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

class TestAudioFFT : public QObject {
    Q_OBJECT
private slots:
    void complexSizeIsHalfTheSizeAndOne();

    void fftAgreesWithFftw_data() { addPathsAndSizes(); }
    void fftAgreesWithFftw();
    void ifftAgreesWithFftw_data() { addPathsAndSizes(); }
    void ifftAgreesWithFftw();
    void ifftBringsTheSamplesBack_data() { addPathsAndSizes(); }
    void ifftBringsTheSamplesBack();
    void inputAndOutputMayShareMemory_data() { addPathsAndSizes(); }
    void inputAndOutputMayShareMemory();
    void arraysNeedNoAlignment_data() { addPathsAndSizes(); }
    void arraysNeedNoAlignment();

    void waveOfOneBinFillsThatBinOnly_data();
    void waveOfOneBinFillsThatBinOnly();
    void constantGivesTheLengthTimesItsValue();
    void firstAndLastImaginaryPartAreZero();
    void ifftIgnoresFirstAndLastImaginaryPart();

    void tablesFillTheirPlaceAndStateTheirLength();
    void transformsDoNotAllocate();
    void sameLengthAgainKeepsTheTables();
    void otherLengthReplacesTheTables();

private:
    static void addPathsAndSizes();
    static void addRows(const QString &path, std::size_t smallest);
};

void TestAudioFFT::addRows(const QString &path, std::size_t smallest)
{
    for (std::size_t size = smallest; size <= 65536; size *= 2)
        QTest::newRow(qPrintable(QString("%1, %2 samples").arg(path).arg(size)))
            << path << int(size);
}

void TestAudioFFT::addPathsAndSizes()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    addRows("the library's choice", 4);
    for (const Path *path : availablePaths())
        addRows(path->name, path->smallestLength);
}

void TestAudioFFT::complexSizeIsHalfTheSizeAndOne()
{
    QCOMPARE(AudioFFT::ComplexSize(2048), std::size_t(1025));
    QCOMPARE(AudioFFT::ComplexSize(4), std::size_t(3));
    QCOMPARE(AudioFFT::ComplexSize(1), std::size_t(1));
}

void TestAudioFFT::fftAgreesWithFftw()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const auto transform = makeTransform(path, std::size_t(size));
    for (const Signal &signal : signalsOf(std::size_t(size))) {
        const ExactBins expected = fftwForward(signal.samples);
        const double error = transformError(std::size_t(size), expected.norm);
        Bins actual{std::size_t(size)};
        transform->fft(signal.samples.data(), actual.re.data(), actual.im.data());
        for (std::size_t k = 0; k < actual.re.size(); ++k) {
            QVERIFY2(
                isNear(actual.re[k], expected.re[k], resultError(expected.re[k], error))
                    && isNear(actual.im[k], expected.im[k], resultError(expected.im[k], error)),
                qPrintable(QString("bin %1 of %2").arg(k).arg(signal.name)));
        }
    }
}

void TestAudioFFT::ifftAgreesWithFftw()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const auto transform = makeTransform(path, std::size_t(size));
    const std::size_t bins = AudioFFT::ComplexSize(std::size_t(size));
    Bins spectrum{std::size_t(size)};
    spectrum.re = randomFloats(bins, unsigned(size) + 1);
    spectrum.im = randomFloats(bins, unsigned(size) + 2);
    spectrum.im.front() = spectrum.im.back() = 0.0F;
    const std::vector<double> expected = fftwBackward(spectrum);
    // The bins that are not stored double the sum of squares, and the result is divided by `size`.
    const double norm = std::sqrt(2.0) * std::hypot(normOf(spectrum.re), normOf(spectrum.im));
    const double error = transformError(std::size_t(size), norm / std::sqrt(double(size)));
    Floats actual(std::size_t(size), 0.0F);
    transform->ifft(actual.data(), spectrum.re.data(), spectrum.im.data());
    for (std::size_t n = 0; n < actual.size(); ++n)
        QVERIFY2(isNear(actual[n], expected[n], resultError(expected[n], error)),
                 qPrintable(QString("sample %1").arg(n)));
}

void TestAudioFFT::ifftBringsTheSamplesBack()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const auto transform = makeTransform(path, std::size_t(size));
    for (const Signal &signal : signalsOf(std::size_t(size))) {
        Bins spectrum{std::size_t(size)};
        Floats actual(std::size_t(size), 1.0F);
        transform->fft(signal.samples.data(), spectrum.re.data(), spectrum.im.data());
        transform->ifft(actual.data(), spectrum.re.data(), spectrum.im.data());
        // Rounding the bins to float moves the samples, in the Euclidean norm, by no more than the
        // same share; then each sample is rounded too.
        Floats difference(actual.size());
        std::transform(actual.begin(), actual.end(), signal.samples.begin(), difference.begin(),
                       std::minus<float>());
        const double norm = normOf(signal.samples);
        const double moved = kFloatRounding * norm + transformError(std::size_t(size), norm);
        QVERIFY2(normOf(difference)
                     <= moved + kFloatRounding * (norm + moved) + kSmallestFloat * size,
                 signal.name);
    }
}

void TestAudioFFT::inputAndOutputMayShareMemory()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const auto transform = makeTransform(path, std::size_t(size));
    const Floats samples = randomFloats(std::size_t(size), 1);
    Bins apart{std::size_t(size)};
    transform->fft(samples.data(), apart.re.data(), apart.im.data());
    Floats back(samples.size());
    transform->ifft(back.data(), apart.re.data(), apart.im.data());

    Floats shared = samples;
    Floats other(apart.im.size());
    transform->fft(shared.data(), shared.data(), other.data());
    QVERIFY(std::equal(apart.re.begin(), apart.re.end(), shared.begin()));
    QVERIFY(other == apart.im);
    transform->ifft(shared.data(), shared.data(), other.data());
    QVERIFY(shared == back);

    shared = samples;
    transform->fft(shared.data(), other.data(), shared.data());
    QVERIFY(std::equal(apart.im.begin(), apart.im.end(), shared.begin()));
    QVERIFY(other == apart.re);
    transform->ifft(shared.data(), other.data(), shared.data());
    QVERIFY(shared == back);
}

void TestAudioFFT::arraysNeedNoAlignment()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const auto transform = makeTransform(path, std::size_t(size));
    const Floats samples = randomFloats(std::size_t(size), 2);
    Bins aligned{std::size_t(size)};
    transform->fft(samples.data(), aligned.re.data(), aligned.im.data());

    Floats shifted(1);
    shifted.insert(shifted.end(), samples.begin(), samples.end());
    Floats re(aligned.re.size() + 1);
    Floats im(aligned.im.size() + 1);
    transform->fft(shifted.data() + 1, re.data() + 1, im.data() + 1);
    QVERIFY(std::equal(aligned.re.begin(), aligned.re.end(), re.begin() + 1));
    QVERIFY(std::equal(aligned.im.begin(), aligned.im.end(), im.begin() + 1));
}

void TestAudioFFT::waveOfOneBinFillsThatBinOnly_data()
{
    QTest::addColumn<int>("bin");
    for (int bin : {1, 2, 3, 46, 511, 512, 513, 1023})
        QTest::addRow("bin %d of 1024", bin) << bin;
}

void TestAudioFFT::waveOfOneBinFillsThatBinOnly()
{
    QFETCH(int, bin);
    constexpr std::size_t size = 2048;
    const auto k = std::size_t(bin);
    AudioFFT fft;
    fft.init(size);
    // Each of the samples is rounded to float, by at most 2^-25 since none exceeds 1.
    const double error = size * std::ldexp(1.0, -25) + resultError(size / 2.0, 0.0);

    Bins cosine(size);
    const Floats even = sampled(size, [=](std::size_t n) { return std::cos(phase(k, n, size)); });
    fft.fft(even.data(), cosine.re.data(), cosine.im.data());
    Bins sine(size);
    const Floats odd = sampled(size, [=](std::size_t n) { return std::sin(phase(k, n, size)); });
    fft.fft(odd.data(), sine.re.data(), sine.im.data());

    for (std::size_t i = 0; i < cosine.re.size(); ++i) {
        const double height = i == k ? size / 2.0 : 0.0;
        QVERIFY(isNear(cosine.re[i], height, error));
        QVERIFY(isNear(cosine.im[i], 0.0, error));
        QVERIFY(isNear(sine.re[i], 0.0, error));
        QVERIFY(isNear(sine.im[i], -height, error));
    }
}

void TestAudioFFT::constantGivesTheLengthTimesItsValue()
{
    AudioFFT fft;
    fft.init(2048);
    const Floats samples(2048, 0.25F);
    Bins spectrum(2048);
    fft.fft(samples.data(), spectrum.re.data(), spectrum.im.data());
    QCOMPARE(spectrum.re.front(), 512.0F);
    QVERIFY(std::all_of(spectrum.re.begin() + 1, spectrum.re.end(),
                        [](float value) { return value == 0.0F; }));
}

void TestAudioFFT::firstAndLastImaginaryPartAreZero()
{
    AudioFFT fft;
    fft.init(2048);
    const Floats samples = randomFloats(2048, 3);
    Bins spectrum(2048);
    spectrum.im.front() = spectrum.im.back() = 1.0F;
    fft.fft(samples.data(), spectrum.re.data(), spectrum.im.data());
    QCOMPARE(spectrum.im.front(), 0.0F);
    QCOMPARE(spectrum.im.back(), 0.0F);
}

void TestAudioFFT::ifftIgnoresFirstAndLastImaginaryPart()
{
    AudioFFT fft;
    fft.init(2048);
    Bins spectrum(2048);
    spectrum.re = randomFloats(1025, 4);
    spectrum.im = randomFloats(1025, 5);
    Floats first(2048);
    fft.ifft(first.data(), spectrum.re.data(), spectrum.im.data());
    spectrum.im.front() = 1e6F;
    spectrum.im.back() = qQNaN();
    Floats second(2048);
    fft.ifft(second.data(), spectrum.re.data(), spectrum.im.data());
    QVERIFY(first == second);
}

void TestAudioFFT::tablesFillTheirPlaceAndStateTheirLength()
{
    for (int size = 4; size <= 65536; size *= 2) {
        const auto quarter = std::size_t(size / 4);
        std::vector<int> ip(3 + std::size_t(std::sqrt(double(size))), -7);
        std::vector<double> w(2 * quarter + 1, qQNaN());
        audiofft::detail::makewt(size / 4, ip.data(), w.data());
        QVERIFY(std::isnan(w[quarter]));
        audiofft::detail::makect(size / 4, ip.data(), w.data() + quarter);
        QVERIFY(
            std::none_of(w.begin() + quarter, w.end() - 1, [](double x) { return std::isnan(x); }));
        QVERIFY(std::isnan(w.back()));
        QCOMPARE(ip[0], size / 4);
        QCOMPARE(ip[1], size / 4);
        QCOMPARE(ip.back(), -7);
    }
}

void TestAudioFFT::transformsDoNotAllocate()
{
    AudioFFT fft;
    const int beforeInit = allocations;
    fft.init(2048);
    QVERIFY(allocations > beforeInit); // the library's allocations are counted

    Floats samples = randomFloats(2048, 6);
    Bins spectrum(2048);
    const int before = allocations;
    fft.fft(samples.data(), spectrum.re.data(), spectrum.im.data());
    fft.ifft(samples.data(), spectrum.re.data(), spectrum.im.data());
    fft.init(2048);
    QCOMPARE(allocations, before);
}

void TestAudioFFT::sameLengthAgainKeepsTheTables()
{
    // Cosines are inexact, so that building tables leaves a mark in the floating-point status.
    AudioFFT fft;
    std::feclearexcept(FE_INEXACT);
    fft.init(2048);
    QVERIFY(std::fetestexcept(FE_INEXACT));
    std::feclearexcept(FE_INEXACT);
    fft.init(2048);
    QVERIFY(!std::fetestexcept(FE_INEXACT));
}

void TestAudioFFT::otherLengthReplacesTheTables()
{
    AudioFFT changed;
    for (const std::size_t size : {4096, 256, 4, 2048}) {
        changed.init(size);
        AudioFFT fresh;
        fresh.init(size);
        const Floats samples = randomFloats(size, 7);
        Bins actual(size);
        Bins expected(size);
        changed.fft(samples.data(), actual.re.data(), actual.im.data());
        fresh.fft(samples.data(), expected.re.data(), expected.im.data());
        QVERIFY(actual.re == expected.re);
        QVERIFY(actual.im == expected.im);
    }
}

QTEST_APPLESS_MAIN(TestAudioFFT)
#include "tst_audiofft.moc"
