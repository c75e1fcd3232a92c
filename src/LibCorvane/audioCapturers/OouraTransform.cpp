#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cmath>

namespace audiofft::detail {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// sin(2π·k/n) for 0 ≤ k ≤ n/4, and so cos(2π·(n/4 − k)/n). Angles above an eighth of a turn are
/// reflected, since small angles are the exacter ones.
double quarterSine(int k, int n) noexcept
{
    if (k <= n / 8)
        return std::sin(2.0 * kPi * (double(k) / n));
    const int rest = n / 4 - k;
    return std::cos(2.0 * kPi * (double(rest) / n));
}

int reversedBits(int value, int bits) noexcept
{
    int reversed = 0;
    for (int bit = 0; bit < bits; ++bit)
        reversed |= (value >> bit & 1) << (bits - 1 - bit);
    return reversed;
}

/// e^(2πi·r/points) and its square, for r below a quarter of the points.
void makeBlock(int r, int points, double *block) noexcept
{
    const int quarter = points / 4;
    block[0] = quarterSine(quarter - r, points);
    block[1] = quarterSine(r, points);
    const bool isObtuse = 2 * r > quarter;
    block[2] =
        isObtuse ? -quarterSine(2 * r - quarter, points) : quarterSine(quarter - 2 * r, points);
    block[3] = quarterSine(isObtuse ? 2 * (quarter - r) : 2 * r, points);
}

} // namespace

void makewt(int nw, int *ip, double *w) noexcept
{
    ip[0] = nw;
    w[0] = 1.0;
    if (nw < 2)
        return;
    const int points = 2 * nw;
    const int quarter = points / 4;
    for (int r = 0; r < quarter; ++r)
        w[r] = quarterSine(r, points);
    double *blocks = w + quarter;
    blocks[0] = 1.0;
    const int bits = __builtin_ctz(unsigned(quarter));
    for (int index = 0; index < quarter / 4; ++index, blocks += 4)
        makeBlock(reversedBits(index, bits), points, blocks);
    const int halfBits = (bits + 1) / 2;
    for (int index = 0; index < 1 << halfBits; ++index)
        ip[2 + index] = reversedBits(index, halfBits);
}

void makect(int nc, int *ip, double *c) noexcept
{
    ip[1] = nc;
    for (int k = 0; k < nc; ++k)
        c[k] = 0.5 * quarterSine(nc - k, 4 * nc);
}

namespace {

const Path &fastestPath(std::size_t length) noexcept
{
    const Path *const *path = paths();
    while (length < (*path)->smallestLength)
        ++path;
    return **path;
}

} // namespace

void rdft(const Workspace &work, const float *samples, Bins bins) noexcept
{
    fastestPath(work.n).forward(work, samples, bins);
}

void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    fastestPath(work.n).backward(work, bins, samples);
}

} // namespace audiofft::detail
