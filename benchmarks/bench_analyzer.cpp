// A whole block through the analyser, 2048 stereo frames of 16 bits in and the bins of two channels
// out, beside the straightforward pipeline around FFTW that gives the same records.
#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>
#include <audioCapturers/PcmSignals.h>

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

namespace {

constexpr int kFrames = 2048;
constexpr int kRate = 44100;
constexpr int kBins = 46;

class FftwPipeline {
public:
    FftwPipeline()
        : m_in(fftw_alloc_real(kFrames))
        , m_out(fftw_alloc_complex(kFrames / 2 + 1))
        , m_plan(fftw_plan_dft_r2c_1d(kFrames, m_in, m_out, FFTW_MEASURE))
    {
        for (int i = 0; i < kFrames; ++i)
            m_window[i] = 0.5 - 0.5 * std::cos(2.0 * M_PI * i / (kFrames - 1));
    }
    FftwPipeline(const FftwPipeline &) = delete;
    FftwPipeline &operator=(const FftwPipeline &) = delete;
    ~FftwPipeline()
    {
        fftw_destroy_plan(m_plan);
        fftw_free(m_in);
        fftw_free(m_out);
    }

    QVector<SoundChannel> handle(const int16_t *frames)
    {
        QVector<SoundChannel> channels(2);
        for (int c = 0; c < 2; ++c) {
            channels[c].channel = quint64(c + 1);
            for (int i = 0; i < kFrames; ++i)
                m_in[i] = frames[2 * i + c] / 32768.0 * m_window[i];
            fftw_execute(m_plan);
            channels[c].spectrums.resize(kBins);
            for (int b = 0; b < kBins; ++b)
                channels[c].spectrums[b] = record(b);
        }
        return channels;
    }

private:
    Spectrum record(int bin) const
    {
        const double re = m_out[bin][0];
        const double im = m_out[bin][1];
        const double amplitude = std::sqrt(re * re + im * im);
        return {float(bin) / 1025.0F * kRate, float(amplitude),
                float(20.0 * std::log10(amplitude))};
    }

    double m_window[kFrames];
    double *m_in;
    fftw_complex *m_out;
    fftw_plan m_plan;
};

/// The largest difference of two amplitudes, relative to the largest amplitude.
double difference(const QVector<SoundChannel> &a, const QVector<SoundChannel> &b)
{
    double largest = 0.0;
    double apart = 0.0;
    for (int c = 0; c < 2; ++c) {
        for (int i = 0; i < kBins; ++i) {
            const double x = a[c].spectrums[i].amplitude;
            const double y = b[c].spectrums[i].amplitude;
            largest = std::max(largest, x);
            apart = std::max(apart, std::abs(x - y));
        }
    }
    return apart / largest;
}

void verify(benchmark::State &state, const QVector<SoundChannel> &result, const QByteArray &block)
{
    FftwPipeline reference;
    const auto expected = reference.handle(reinterpret_cast<const int16_t *>(block.constData()));
    if (result.size() != 2 || result[0].spectrums.size() != kBins
        || !(difference(expected, result) < 1e-6))
        state.SkipWithError("wrong result");
}

void analyser(benchmark::State &state)
{
    const QByteArray block = corvane::test::noise<int16_t>(2 * kFrames, 1);
    const auto *bytes = reinterpret_cast<const unsigned char *>(block.constData());
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, kRate, AV_CH_LAYOUT_STEREO);
    QVector<QVector<SoundChannel>> blocks;
    for (auto _ : state)
        blocks = analyzer.handle(bytes, block.size());
    verify(state, blocks.value(0), block);
}

void pipeline(benchmark::State &state)
{
    const QByteArray block = corvane::test::noise<int16_t>(2 * kFrames, 1);
    FftwPipeline fftw;
    QVector<SoundChannel> channels;
    for (auto _ : state)
        channels = fftw.handle(reinterpret_cast<const int16_t *>(block.constData()));
    verify(state, channels, block);
}

BENCHMARK(analyser)->Name("LibCorvane, a stereo block");
BENCHMARK(pipeline)->Name("FFTW double pipeline, a stereo block");

} // namespace

BENCHMARK_MAIN();
