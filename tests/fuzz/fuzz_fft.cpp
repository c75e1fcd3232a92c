// The transform, along each of its code paths, against sums in long double. Bytes: the length's
// logarithm, how samples are given, an exponent for samples of one byte; then the samples.

#include "../audioCapturers/TransformErrors.h"
#include "../audioCapturers/TransformPaths.h"
#include "Fuzzing.h"

#include <LibCorvane/audioCapturers/AudioFFT.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>

using namespace corvane::fuzz;
using namespace corvane::test;

namespace {

using audiofft::detail::AudioFFTImpl;
using Wide = long double;

constexpr int kSmallestLog = 2;
constexpr int kLargestLog = 8;

Floats samplesOf(Input &input, std::size_t size)
{
    const bool isPlain = input.number<uint8_t>() % 2 == 0;
    const int exponent = input.number<int8_t>();
    Floats samples(size);
    for (float &sample : samples)
        sample =
            isPlain ? input.number<float>() : std::ldexp(float(input.number<int8_t>()), exponent);
    return samples;
}

/// The cosines of 2π·k/N for k = 0 … N − 1.
const std::vector<Wide> &cosines(std::size_t size)
{
    static std::map<std::size_t, std::vector<Wide>> tables;
    std::vector<Wide> &table = tables[size];
    for (std::size_t k = table.size(); k < size; ++k)
        table.push_back(std::cos(2 * std::acos(Wide(-1)) * Wide(k) / Wide(size)));
    return table;
}

struct Reference {
    std::vector<Wide> re;
    std::vector<Wide> im;
};

/// The sum of all samples, each by the cosine that lies so many places further on in the table.
Wide sum(const Floats &samples, const Wide *cosine, std::size_t start, std::size_t step)
{
    const std::size_t mask = samples.size() - 1;
    Wide result = 0;
    for (const float sample : samples) {
        result += Wide(sample) * cosine[start & mask];
        start += step;
    }
    return result;
}

/// By the definition. The error of so few sums in long double, N · 2⁻⁶⁴ of the norm at most, is
/// lost in the bound on the transform's own.
Reference reference(const Floats &samples)
{
    const std::size_t size = samples.size();
    const Wide *cosine = cosines(size).data();
    Reference bins;
    for (std::size_t k = 0; k <= size / 2; ++k) {
        bins.re.push_back(sum(samples, cosine, 0, k));
        bins.im.push_back(sum(samples, cosine, size / 4, k)); // −sin
    }
    return bins;
}

/// Narrowing keeps the order, so that this also holds at the ends of float's range.
bool isWithin(float actual, Wide exact, double error)
{
    return float(exact - Wide(error)) <= actual && actual <= float(exact + Wide(error));
}

void check(AudioFFTImpl &transform, const Floats &samples, const Reference &expected)
{
    const std::size_t size = samples.size();
    const double norm = normOf(samples);
    const double error = transformError(size, std::sqrt(double(size)) * norm);
    Bins bins(size);
    transform.fft(samples.data(), bins.re.data(), bins.im.data());
    for (std::size_t k = 0; k < bins.re.size(); ++k) {
        require(isWithin(bins.re[k], expected.re[k], error), "a real part is near the sum");
        require(isWithin(bins.im[k], expected.im[k], error), "an imaginary part is near the sum");
    }
    require(bins.im.front() == 0 && bins.im.back() == 0, "the first and the last bin are real");
}

/// What is no number or beyond all numbers: nothing is promised but an end.
void run(AudioFFTImpl &transform, const Floats &samples)
{
    Bins bins(samples.size());
    Floats back(samples.size());
    transform.fft(samples.data(), bins.re.data(), bins.im.data());
    transform.ifft(back.data(), bins.re.data(), bins.im.data());
}

/// Rounding the bins to float moves the samples by the same share in the Euclidean norm; then each
/// is rounded itself. Bins beyond float's range bring nothing back.
void checkWayBack(AudioFFTImpl &transform, const Floats &samples)
{
    const std::size_t size = samples.size();
    Bins bins(size);
    Floats back(size);
    transform.fft(samples.data(), bins.re.data(), bins.im.data());
    transform.ifft(back.data(), bins.re.data(), bins.im.data());
    const double norm = normOf(samples);
    if (norm * double(size) > double(std::numeric_limits<float>::max()))
        return;
    Floats difference(size);
    std::transform(back.begin(), back.end(), samples.begin(), difference.begin(),
                   std::minus<float>());
    const double moved = kFloatRounding * norm + transformError(size, norm);
    require(normOf(difference)
                <= moved + kFloatRounding * (norm + 2 * moved) + kSmallestFloat * double(2 * size),
            "the way back leads to the samples");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const int log = kSmallestLog + input.number<uint8_t>() % (kLargestLog - kSmallestLog + 1);
    const auto length = std::size_t(1) << log;
    const Floats samples = samplesOf(input, length);
    const bool isFinite =
        std::all_of(samples.begin(), samples.end(), [](float x) { return std::isfinite(x); });
    const Reference expected = reference(samples);

    std::vector<std::unique_ptr<AudioFFTImpl>> transforms;
    transforms.push_back(std::make_unique<audiofft::OouraFFT>());
    for (const auto *path : availablePaths()) {
        if (length >= path->smallestLength)
            transforms.push_back(std::make_unique<PathTransform>(*path));
    }
    for (const auto &transform : transforms) {
        transform->init(length);
        run(*transform, samples);
        if (!isFinite)
            continue;
        check(*transform, samples, expected);
        checkWayBack(*transform, samples);
    }
    return 0;
}
