#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cmath>

namespace audiofft::detail {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// cos(2π·k/n) for 0 ≤ k ≤ n/4. Angles above an eighth of a turn are reflected, since small angles
/// are the exacter ones.
double quarterCosine(int k, int n) noexcept
{
    if (8LL * k <= n)
        return std::cos(2.0 * kPi * (double(k) / n));
    return std::sin(2.0 * kPi * (double(n / 4 - k) / n));
}

int reversedBits(int value, int bits) noexcept
{
    int reversed = 0;
    for (int bit = 0; bit < bits; ++bit)
        reversed |= (value >> bit & 1) << (bits - 1 - bit);
    return reversed;
}

} // namespace

void makewt(int nw, int *ip, double *w) noexcept
{
    ip[0] = nw;
    if (nw < 2) {
        w[0] = 1.0;
        return;
    }
    const int points = 2 * nw;
    const int quarter = points / 4;
    for (int r = 0; r < quarter; ++r) {
        w[r] = quarterCosine(r, points);
        w[quarter + r] = r == 0 ? 0.0 : quarterCosine(quarter - r, points);
    }
    const int bits = (__builtin_ctz(unsigned(quarter)) + 1) / 2;
    for (int index = 0; index < 1 << bits; ++index)
        ip[2 + index] = reversedBits(index, bits);
}

void makect(int nc, int *ip, double *c) noexcept
{
    ip[1] = nc;
    for (int k = 0; k < nc; ++k)
        c[k] = 0.5 * quarterCosine(k, 4 * nc);
}

namespace {

bool takesAvx2(const Workspace &work) noexcept
{
    return work.n >= avx2::kSmallestLength && avx2::isSupported();
}

} // namespace

void rdft(const Workspace &work, const float *samples, Bins bins) noexcept
{
    if (takesAvx2(work))
        return avx2::rdft(work, samples, bins);
    plain::rdft(work, samples, bins);
}

void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    if (takesAvx2(work))
        return avx2::rdft(work, bins, samples);
    plain::rdft(work, bins, samples);
}

} // namespace audiofft::detail
