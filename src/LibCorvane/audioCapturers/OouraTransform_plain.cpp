#include <LibCorvane/audioCapturers/OouraKernels_p.h>

namespace audiofft::detail {
namespace {

constexpr std::size_t kFewSamples = 8;

/// e^(2πi·steps/8).
Complex<OneLane> eighthTurns(std::size_t steps) noexcept
{
    constexpr double kDiagonal = 0.70710678118654752440;
    constexpr double kSines[] = {0.0, kDiagonal, 1.0, kDiagonal, 0.0, -kDiagonal, -1.0, -kDiagonal};
    return {kSines[(steps + 2) % 8], kSines[steps % 8]};
}

/// Four or eight samples by the definition: they are too few for two passes.
void forwardOfFew(const Workspace &work, const float *samples, Bins bins) noexcept
{
    Complex<OneLane> sums[kFewSamples / 2 + 1] = {};
    const std::size_t step = 8 / work.n;
    for (std::size_t k = 0; k <= work.n / 2; ++k) {
        for (std::size_t n = 0; n < work.n; ++n) {
            const Complex<OneLane> sample = {double(samples[n]), 0.0};
            sums[k] = sums[k] + timesConjugate(sample, eighthTurns(step * k * n));
        }
    }
    sums[0].im = sums[work.n / 2].im = 0.0;
    for (std::size_t k = 0; k <= work.n / 2; ++k) {
        bins.re[k] = float(sums[k].re);
        bins.im[k] = float(sums[k].im);
    }
}

void backwardToFew(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    double sums[kFewSamples] = {};
    const std::size_t step = 8 / work.n;
    const std::size_t last = work.n / 2;
    for (std::size_t n = 0; n < work.n; ++n) {
        sums[n] = double(bins.re[0]) + (n % 2 == 0 ? 1.0 : -1.0) * double(bins.re[last]);
        for (std::size_t k = 1; k < last; ++k) {
            const Complex<OneLane> bin = {double(bins.re[k]), double(bins.im[k])};
            sums[n] += 2.0 * (bin * eighthTurns(step * k * n)).re;
        }
    }
    for (std::size_t n = 0; n < work.n; ++n)
        samples[n] = float(sums[n] / double(work.n));
}

void forwardOfAny(const Workspace &work, const float *samples, Bins bins) noexcept
{
    if (work.n <= kFewSamples)
        return forwardOfFew(work, samples, bins);
    forward<OneLane>(work, samples, bins);
}

void backwardToAny(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    if (work.n <= kFewSamples)
        return backwardToFew(work, bins, samples);
    backward<OneLane>(work, bins, samples);
}

} // namespace

const Path kPlainPath = {"plain", 4, forwardOfAny, backwardToAny};

} // namespace audiofft::detail
