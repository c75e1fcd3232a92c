#ifndef CORVANE_TESTS_TRANSFORMERRORS_H
#define CORVANE_TESTS_TRANSFORMERRORS_H

#include "TestSignals.h"

#include <cmath>

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

} // namespace corvane::test

#endif
