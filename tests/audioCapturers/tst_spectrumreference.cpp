// The analyser against a second one: a resampler of the test's own, and a transform in double
// precision.

#include "AnalyzedBlocks.h"
#include "PcmSignals.h"

#include <QTest>

#include <fftw3.h>

#include <array>
#include <cmath>
#include <complex>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

using namespace corvane::test;

namespace {

QByteArray noiseOf(AVSampleFormat format, int samples)
{
    switch (format) {
    case AV_SAMPLE_FMT_U8:
        return noise<uint8_t>(samples, 1);
    case AV_SAMPLE_FMT_S16:
        return noise<int16_t>(samples, 2);
    case AV_SAMPLE_FMT_S32:
        return noise<int32_t>(samples, 3);
    case AV_SAMPLE_FMT_S64:
        return noise<int64_t>(samples, 4);
    case AV_SAMPLE_FMT_FLT:
        return noise<float>(samples, 5);
    case AV_SAMPLE_FMT_DBL:
        return noise<double>(samples, 6);
    default:
        return {};
    }
}

struct FreeResampler {
    void operator()(SwrContext *context) const { swr_free(&context); }
};

/// The whole stream as left and right, by a resampler of the test's own.
std::array<std::vector<float>, 2> toStereo(const QByteArray &bytes, AVSampleFormat format, int rate,
                                           uint64_t layout, int frames)
{
#if LIBSWRESAMPLE_VERSION_INT >= AV_VERSION_INT(4, 7, 100)
    AVChannelLayout in = {};
    AVChannelLayout out = {};
    av_channel_layout_from_mask(&in, layout);
    av_channel_layout_from_mask(&out, AV_CH_LAYOUT_STEREO);
    SwrContext *raw = nullptr;
    swr_alloc_set_opts2(&raw, &out, AV_SAMPLE_FMT_FLTP, rate, &in, format, rate, 0, nullptr);
#else
    SwrContext *raw = swr_alloc_set_opts(nullptr, AV_CH_LAYOUT_STEREO, AV_SAMPLE_FMT_FLTP, rate,
                                         static_cast<int64_t>(layout), format, rate, 0, nullptr);
#endif
    const std::unique_ptr<SwrContext, FreeResampler> context(raw);
    std::array<std::vector<float>, 2> stereo{std::vector<float>(size_t(frames)),
                                             std::vector<float>(size_t(frames))};
    if (!context || swr_init(context.get()) < 0)
        return {};
    uint8_t *planes[] = {reinterpret_cast<uint8_t *>(stereo[0].data()),
                         reinterpret_cast<uint8_t *>(stereo[1].data())};
    const auto *data = reinterpret_cast<const uint8_t *>(bytes.constData());
    if (swr_convert(context.get(), planes, frames, &data, frames) != frames)
        return {};
    return stereo;
}

/// The spectrum of one windowed block in double precision, and ‖x·w‖₁.
struct ReferenceBlock {
    std::vector<std::complex<double>> bins;
    double norm = 0.0;
};

ReferenceBlock transform(const float *samples)
{
    std::vector<double> windowed(kFrames);
    ReferenceBlock block{std::vector<std::complex<double>>(kFrames / 2 + 1), 0.0};
    for (int i = 0; i < kFrames; ++i) {
        const double hann = 0.5 - 0.5 * std::cos(2.0 * M_PI * i / (kFrames - 1));
        windowed[size_t(i)] = samples[i] * hann;
        block.norm += std::abs(windowed[size_t(i)]);
    }
    fftw_plan plan =
        fftw_plan_dft_r2c_1d(kFrames, windowed.data(),
                             reinterpret_cast<fftw_complex *>(block.bins.data()), FFTW_ESTIMATE);
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    return block;
}

} // namespace

class TestSpectrumReference : public QObject {
    Q_OBJECT
private slots:
    void spectraAgreeWithReference_data();
    void spectraAgreeWithReference();
};

void TestSpectrumReference::spectraAgreeWithReference_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("rate");
    QTest::addColumn<quint64>("layout");
    QTest::addColumn<int>("channels");

    const struct {
        const char *name;
        AVSampleFormat format;
    } formats[] = {{"U8", AV_SAMPLE_FMT_U8},     {"S16", AV_SAMPLE_FMT_S16},
                   {"S32", AV_SAMPLE_FMT_S32},   {"S64", AV_SAMPLE_FMT_S64},
                   {"float", AV_SAMPLE_FMT_FLT}, {"double", AV_SAMPLE_FMT_DBL}};
    const struct {
        const char *name;
        quint64 mask;
        int channels;
    } layouts[] = {
        {"mono", AV_CH_LAYOUT_MONO, 1},   {"stereo", AV_CH_LAYOUT_STEREO, 2},
        {"2.1", AV_CH_LAYOUT_2POINT1, 3}, {"5.1", AV_CH_LAYOUT_5POINT1, 6},
        {"7.1", AV_CH_LAYOUT_7POINT1, 8}, {"hexadecagonal", AV_CH_LAYOUT_HEXADECAGONAL, 16}};
    for (const auto &format : formats) {
        for (const auto &layout : layouts) {
            for (const int rate : {2000, 8000, 11025, 44100, 48000, 96000, 192000}) {
                QTest::addRow("%s %s at %d Hz", format.name, layout.name, rate)
                    << int(format.format) << rate << layout.mask << layout.channels;
            }
        }
    }
}

void TestSpectrumReference::spectraAgreeWithReference()
{
    QFETCH(int, format);
    QFETCH(int, rate);
    QFETCH(quint64, layout);
    QFETCH(int, channels);
    const auto sampleFormat = static_cast<AVSampleFormat>(format);
    const QByteArray bytes = noiseOf(sampleFormat, 2 * kFrames * channels);

    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(format, rate, layout);
    const Blocks blocks = analyse(analyzer, bytes);
    QCOMPARE(blocks.size(), 2);

    const auto stereo = toStereo(bytes, sampleFormat, rate, layout, 2 * kFrames);
    QCOMPARE(stereo[0].size(), size_t(2 * kFrames));
    const int low = 20 * kFrames / rate;
    const int high = 1000 * kFrames / rate;
    for (int block = 0; block < 2; ++block) {
        QCOMPARE(blocks[block].size(), 2);
        for (int c = 0; c < 2; ++c) {
            const SoundChannel &channel = blocks[block][c];
            QCOMPARE(channel.channel, quint64(c + 1));
            QCOMPARE(channel.spectrums.size(), high - low);
            const ReferenceBlock reference = transform(stereo[size_t(c)].data() + block * kFrames);
            for (int b = low; b < high; ++b) {
                const Spectrum &spectrum = channel.spectrums[b - low];
                QCOMPARE(spectrum.frequency, float(b) / 1025.0F * float(rate));
                // Each factor x·w is rounded to float, and so is w: at most 2⁻²³ of |x·w| each,
                // which adds up to 2⁻²³·‖x·w‖₁ in a bin. re, im and the amplitude are rounded once
                // more: 2⁻²³ of the amplitude. The double transform's own error is far below.
                const double amplitude = std::abs(reference.bins[size_t(b)]);
                const double bound = std::ldexp(1.01, -23) * (reference.norm + amplitude);
                QVERIFY2(std::abs(spectrum.amplitude - amplitude) <= bound,
                         qPrintable(QString("bin %1: %2 for %3")
                                        .arg(b)
                                        .arg(spectrum.amplitude)
                                        .arg(amplitude)));
                // The amplitude's rounding (2⁻²⁴) is 20 ÷ ln 10 · 2⁻²⁴ dB; then the text's own.
                const double decibel = 20.0 * std::log10(double(spectrum.amplitude));
                QVERIFY(std::abs(spectrum.decibel - decibel)
                        <= std::ldexp(9.0 + std::abs(decibel), -24));
            }
        }
    }
}

QTEST_APPLESS_MAIN(TestSpectrumReference)
#include "tst_spectrumreference.moc"
