// The forward transform beside the usual alternatives, all behind the same interface: float samples
// in, separate float real and imaginary parts out. The copies that this takes are part of the time.
#include "FftwReference.h"
#include "RunBenchmarks.h"
#include "TransformPaths.h"

#include <fftw3.h>
#include <kiss_fftr.h>

#include <string>

namespace {

using namespace corvane::test;

template <unsigned planning>
class FftwDouble {
public:
    FftwDouble() = default;
    FftwDouble(const FftwDouble &) = delete;
    FftwDouble &operator=(const FftwDouble &) = delete;
    ~FftwDouble()
    {
        fftw_destroy_plan(m_plan);
        fftw_free(m_in);
        fftw_free(m_out);
    }

    void init(std::size_t size)
    {
        m_size = size;
        m_in = fftw_alloc_real(size);
        m_out = fftw_alloc_complex(size / 2 + 1);
        m_plan = fftw_plan_dft_r2c_1d(int(size), m_in, m_out, planning);
    }

    void fft(const float *data, float *re, float *im)
    {
        for (std::size_t n = 0; n < m_size; ++n)
            m_in[n] = double(data[n]);
        fftw_execute(m_plan);
        for (std::size_t k = 0; k <= m_size / 2; ++k) {
            re[k] = float(m_out[k][0]);
            im[k] = float(m_out[k][1]);
        }
    }

private:
    std::size_t m_size = 0;
    double *m_in = nullptr;
    fftw_complex *m_out = nullptr;
    fftw_plan m_plan = nullptr;
};

class FftwSingle {
public:
    FftwSingle() = default;
    FftwSingle(const FftwSingle &) = delete;
    FftwSingle &operator=(const FftwSingle &) = delete;
    ~FftwSingle()
    {
        fftwf_destroy_plan(m_plan);
        fftwf_free(m_in);
        fftwf_free(m_out);
    }

    void init(std::size_t size)
    {
        m_size = size;
        m_in = fftwf_alloc_real(size);
        m_out = fftwf_alloc_complex(size / 2 + 1);
        m_plan = fftwf_plan_dft_r2c_1d(int(size), m_in, m_out, FFTW_MEASURE);
    }

    void fft(const float *data, float *re, float *im)
    {
        std::copy(data, data + m_size, m_in);
        fftwf_execute(m_plan);
        for (std::size_t k = 0; k <= m_size / 2; ++k) {
            re[k] = m_out[k][0];
            im[k] = m_out[k][1];
        }
    }

private:
    std::size_t m_size = 0;
    float *m_in = nullptr;
    fftwf_complex *m_out = nullptr;
    fftwf_plan m_plan = nullptr;
};

class KissFft {
public:
    KissFft() = default;
    KissFft(const KissFft &) = delete;
    KissFft &operator=(const KissFft &) = delete;
    ~KissFft() { kiss_fftr_free(m_config); }

    void init(std::size_t size)
    {
        m_config = kiss_fftr_alloc(int(size), 0, nullptr, nullptr);
        m_out.resize(size / 2 + 1);
    }

    void fft(const float *data, float *re, float *im)
    {
        kiss_fftr(m_config, data, m_out.data());
        for (std::size_t k = 0; k < m_out.size(); ++k) {
            re[k] = m_out[k].r;
            im[k] = m_out[k].i;
        }
    }

private:
    kiss_fftr_cfg m_config = nullptr;
    std::vector<kiss_fft_cpx> m_out;
};

// The distance to the exact bins, relative to them, both in the Euclidean norm.
double relativeError(const Floats &samples, const Bins &bins)
{
    const ExactBins exact = fftwForward(samples);
    double sum = 0.0;
    for (std::size_t k = 0; k < bins.re.size(); ++k) {
        const double re = double(bins.re[k]) - exact.re[k];
        const double im = double(bins.im[k]) - exact.im[k];
        sum += re * re + im * im;
    }
    return std::sqrt(2.0 * sum) / exact.norm;
}

template <class Transform>
void forward(benchmark::State &state, Transform &transform)
{
    const auto size = std::size_t(state.range(0));
    const Floats samples = randomFloats(size, 1);
    Bins bins(size);
    transform.init(size);
    for (auto _ : state) {
        transform.fft(samples.data(), bins.re.data(), bins.im.data());
        benchmark::ClobberMemory();
    }
    const double error = relativeError(samples, bins);
    state.counters["error"] = error;
    if (!(error < 1e-6))
        state.SkipWithError("wrong result");
}

template <class Transform>
void forwardOf(benchmark::State &state)
{
    Transform transform;
    forward(state, transform);
}

void registerAll()
{
    // The fastest repetition is the one that other programs disturbed least.
    const auto fastest = [](const std::vector<double> &times) {
        return *std::min_element(times.begin(), times.end());
    };
    const auto add = [fastest](const char *name, const auto &run) {
        auto *added = benchmark::RegisterBenchmark(name, run)->ComputeStatistics("min", fastest);
        for (const int size : {256, 1024, 2048, 16384})
            added->Arg(size);
    };
    add("LibCorvane", forwardOf<audiofft::OouraFFT>);
    for (const auto *path : availablePaths()) {
        const std::string name = std::string("LibCorvane ") + path->name;
        add(name.c_str(), [path](benchmark::State &state) {
            PathTransform transform(*path);
            forward(state, transform);
        });
    }
    add("FFTW double, MEASURE", forwardOf<FftwDouble<FFTW_MEASURE>>);
    add("FFTW double, ESTIMATE", forwardOf<FftwDouble<FFTW_ESTIMATE>>);
    add("FFTW single, MEASURE", forwardOf<FftwSingle>);
    add("KissFFT single", forwardOf<KissFft>);
}

} // namespace

int main(int argc, char **argv)
{
    registerAll();
    return corvane::bench::runBenchmarks(argc, argv);
}
