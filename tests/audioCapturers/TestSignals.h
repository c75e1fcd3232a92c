#ifndef CORVANE_TESTS_TESTSIGNALS_H
#define CORVANE_TESTS_TESTSIGNALS_H

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace corvane::test {

using Floats = std::vector<float>;

inline Floats randomFloats(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    Floats values(count);
    for (float &value : values)
        value = float(std::ldexp(double(generator()), -31) - 1.0);
    return values;
}

inline Floats sampled(std::size_t size, const std::function<double(std::size_t)> &value)
{
    Floats samples(size);
    for (std::size_t n = 0; n < size; ++n)
        samples[n] = float(value(n));
    return samples;
}

/// The phase of bin k at sample n, in radians, from an exactly reduced angle.
inline double phase(std::size_t k, std::size_t n, std::size_t size)
{
    return 2.0 * M_PI * double(k * n % size) / double(size);
}

struct Signal {
    const char *name;
    Floats samples;
};

inline std::vector<Signal> signalsOf(std::size_t size)
{
    const std::size_t bin = size / 4 > 1 ? size / 8 + 1 : 1;
    return {
        {"noise", randomFloats(size, unsigned(size))},
        {"an impulse at the start",
         sampled(size, [](std::size_t n) { return n == 0 ? 1.0 : 0.0; })},
        {"an impulse near the end",
         sampled(size, [size](std::size_t n) { return n == size - 2 ? -0.5 : 0.0; })},
        {"a constant", sampled(size, [](std::size_t) { return 0.75; })},
        {"the Nyquist frequency",
         sampled(size, [](std::size_t n) { return n % 2 == 0 ? 1.0 : -1.0; })},
        {"a cosine", sampled(size, [=](std::size_t n) { return std::cos(phase(bin, n, size)); })},
        {"a sine", sampled(size, [=](std::size_t n) { return std::sin(phase(bin, n, size)); })},
        {"silence", Floats(size)},
    };
}

} // namespace corvane::test

#endif
