#ifndef CORVANE_TESTS_FFTWREFERENCE_H
#define CORVANE_TESTS_FFTWREFERENCE_H

#include "TestSignals.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::test {

/// Half a unit in the last place of a float, relative to its value, and the same of a double.
inline const double kFloatRounding = std::ldexp(1.0, -24);
inline const double kDoubleRounding = std::ldexp(1.0, -53);
inline const double kSmallestFloat = std::ldexp(1.0, -149);

struct Bins {
    Floats re;
    Floats im;

    explicit Bins(std::size_t size)
        : re(size / 2 + 1)
        , im(size / 2 + 1)
    {
    }
};

struct ExactBins {
    std::vector<double> re;
    std::vector<double> im;
    double norm = 0.0;
};

inline double normOf(const Floats &values)
{
    double sum = 0.0;
    for (const float value : values)
        sum += double(value) * double(value);
    return std::sqrt(sum);
}

/// How far a transform of `size` points in double precision may be from another one.
///
/// A pass multiplies by a twiddle factor and adds. Its result is off, in the Euclidean norm, by at
/// most the norm times the error of one twiddled sum: 4 roundings of the product and the sum, times
/// √2, and 4 for a twiddle factor that is itself the rounded product of rounded values, so less
/// than 10 roundings for each factor of two of the length. (Higham, Accuracy and Stability of
/// Numerical Algorithms, 24.1.) The untangling of the bins counts as one more factor of two. A
/// single bin is off by no more than the norm, and both transforms may be off in opposite
/// directions.
inline double transformError(std::size_t size, double norm)
{
    return 2.0 * 10.0 * kDoubleRounding * (std::log2(double(size)) + 1.0) * norm;
}

/// A result may also be off by its own rounding to float.
inline double resultError(double exact, double error)
{
    return (std::abs(exact) + error) * kFloatRounding + kSmallestFloat + error;
}

inline ExactBins fftwForward(const Floats &samples)
{
    const std::size_t size = samples.size();
    std::vector<double> in(size);
    std::vector<fftw_complex> out(size / 2 + 1);
    const fftw_plan plan = fftw_plan_dft_r2c_1d(int(size), in.data(), out.data(), FFTW_ESTIMATE);
    std::copy(samples.begin(), samples.end(), in.begin());
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    ExactBins spectrum;
    for (const auto &bin : out) {
        spectrum.re.push_back(bin[0]);
        spectrum.im.push_back(bin[1]);
    }
    spectrum.norm = std::sqrt(double(size)) * normOf(samples);
    return spectrum;
}

inline std::vector<double> fftwBackward(const Bins &spectrum)
{
    const std::size_t size = 2 * (spectrum.re.size() - 1);
    std::vector<fftw_complex> in(size / 2 + 1);
    std::vector<double> out(size);
    const fftw_plan plan = fftw_plan_dft_c2r_1d(int(size), in.data(), out.data(), FFTW_ESTIMATE);
    for (std::size_t k = 0; k < in.size(); ++k) {
        in[k][0] = double(spectrum.re[k]);
        in[k][1] = double(spectrum.im[k]);
    }
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    for (double &sample : out)
        sample /= double(size);
    return out;
}

} // namespace corvane::test

#endif
