#ifndef CORVANE_TESTS_PCMSIGNALS_H
#define CORVANE_TESTS_PCMSIGNALS_H

#include <QByteArray>

#include <cmath>
#include <cstdint>
#include <random>

namespace corvane::test {

/// Interleaved S16 frames of one sine per channel, at half of full scale.
inline QByteArray stereoSine(int frames, int sampleRate, double leftHz, double rightHz)
{
    const double step = 2.0 * std::acos(-1.0) / sampleRate;
    QByteArray bytes(frames * 4, Qt::Uninitialized);
    auto *samples = reinterpret_cast<int16_t *>(bytes.data());
    for (int i = 0; i < frames; ++i) {
        samples[2 * i] = static_cast<int16_t>(std::lround(16384 * std::sin(step * leftHz * i)));
        samples[2 * i + 1] =
            static_cast<int16_t>(std::lround(16384 * std::sin(step * rightHz * i)));
    }
    return bytes;
}

/// Random samples of a type in -1…1 or, for integers, over their whole range.
template <typename Sample>
QByteArray noise(int samples, unsigned seed)
{
    std::mt19937_64 random(seed);
    QByteArray bytes(samples * int(sizeof(Sample)), Qt::Uninitialized);
    auto *out = reinterpret_cast<Sample *>(bytes.data());
    for (int i = 0; i < samples; ++i) {
        if constexpr (std::is_integral_v<Sample>)
            out[i] = static_cast<Sample>(random());
        else
            out[i] = std::uniform_real_distribution<Sample>(-1, 1)(random);
    }
    return bytes;
}

} // namespace corvane::test

#endif
