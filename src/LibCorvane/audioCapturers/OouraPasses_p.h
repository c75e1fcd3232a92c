#ifndef LIBCORVANE_OOURAPASSES_P_H
#define LIBCORVANE_OOURAPASSES_P_H

#include <LibCorvane/audioCapturers/OouraTransform_p.h>
#include <LibCorvane/audioCapturers/OouraVectors_p.h>

/// The passes of the complex DFT of M = N/2 points, but for the last one.
///
/// The points stand in bit-reversed order. A pass of span s makes four-point DFTs of the runs of s
/// points at s, 2s and 3s from each other; all of a run shares its twiddle factors. So the inner
/// loops are over neighbours, and the last pass, which needs no twiddle factors, leaves the points
/// in natural order. Backward, everything happens in reverse.
namespace audiofft::detail {
namespace {

/// e^(2πi·r/M), its square and its cube.
template <class V>
struct Twiddles {
    Complex<V> w1, w2, w3;

    Twiddles(const Complex<V> &w, const Complex<V> &square) noexcept
        : w1(w)
        , w2(square)
        , w3(w * square)
    {
    }
};

template <class V>
inline Four<V> twist(const Four<V> &p, const Twiddles<V> &t) noexcept
{
    return {p.x0, p.x1 * t.w1, p.x2 * t.w2, p.x3 * t.w3};
}

template <class V>
inline Four<V> untwist(const Four<V> &p, const Twiddles<V> &t) noexcept
{
    return {p.x0, timesConjugate(p.x1, t.w1), timesConjugate(p.x2, t.w2),
            timesConjugate(p.x3, t.w3)};
}

/// The tables as the passes see them.
struct Tables {
    std::size_t points;
    const double *sines;
    const double *blocks;
    const double *halfCosines;
    const int *reversals;
    unsigned halfBits;
    unsigned otherBits;

    explicit Tables(const Workspace &work) noexcept
        : points(work.n / 2)
        , sines(work.w)
        , blocks(work.w + points / 4)
        , halfCosines(work.w + points / 2)
        , reversals(work.ip + 2)
    {
        const auto bits = unsigned(__builtin_ctzll(points / 4));
        halfBits = (bits + 1) / 2;
        otherBits = bits / 2;
    }

    /// Of the points; so there are four-point DFTs only.
    bool isPowerOfFour() const noexcept { return halfBits == otherBits; }

    /// Of `lanes` neighbours in the order of the samples. The sine of a quarter turn, which the
    /// cosine of 0 asks for, is the 1 at the beginning of the blocks.
    template <class V>
    Twiddles<V> ofSamples(std::size_t r) const noexcept
    {
        const Complex<V> w = {V::loadFalling(sines + (points / 4 - r)), V::load(sines + r)};
        return {w, w * w};
    }

    /// Of the points of one block of a pass, all the same.
    template <class V>
    Twiddles<V> ofBlock(std::size_t block) const noexcept
    {
        const double *of = blocks + 4 * block;
        return {{V::broadcast(of[0]), V::broadcast(of[1])},
                {V::broadcast(of[2]), V::broadcast(of[3])}};
    }
};

/// `index` below a quarter of the points with its bits in reverse order.
inline std::size_t bitrv2(std::size_t index, const Tables &tables) noexcept
{
    const std::size_t mask = (std::size_t(1) << tables.halfBits) - 1;
    const auto low = std::size_t(tables.reversals[index & mask]);
    const auto high = std::size_t(tables.reversals[index >> tables.halfBits]);
    return low << tables.otherBits | high >> (tables.halfBits - tables.otherBits);
}

/// The first pass forward, of span 1, from the samples to bit-reversed order.
template <class V>
inline void cft1st(const float *samples, Points a, const Tables &tables) noexcept
{
    const std::size_t quarter = tables.points / 4;
    const std::size_t stride = 4 * quarter / V::lanes;
    for (std::size_t r = 0; r < quarter; r += V::lanes) {
        Four<V> p = {};
        V::loadPairs(samples + 2 * r, p.x0.re, p.x0.im);
        V::loadPairs(samples + 2 * (r + quarter), p.x1.re, p.x1.im);
        V::loadPairs(samples + 2 * (r + 2 * quarter), p.x2.re, p.x2.im);
        V::loadPairs(samples + 2 * (r + 3 * quarter), p.x3.re, p.x3.im);
        p = untwist(dft4(p), tables.ofSamples<V>(r));
        const Points block = a + 4 * bitrv2(r, tables);
        V::storeTransposed(block.re, stride, p.x0.re, p.x1.re, p.x2.re, p.x3.re);
        V::storeTransposed(block.im, stride, p.x0.im, p.x1.im, p.x2.im, p.x3.im);
    }
}

/// The last pass backward, from bit-reversed order to the samples, times `scale`.
template <class V>
inline void cft1stBackward(Points a, float *samples, double scale, const Tables &tables) noexcept
{
    const std::size_t quarter = tables.points / 4;
    const std::size_t stride = 4 * quarter / V::lanes;
    const auto factor = V::broadcast(scale);
    for (std::size_t r = 0; r < quarter; r += V::lanes) {
        const Points block = a + 4 * bitrv2(r, tables);
        Four<V> p = {};
        V::loadTransposed(block.re, stride, p.x0.re, p.x1.re, p.x2.re, p.x3.re);
        V::loadTransposed(block.im, stride, p.x0.im, p.x1.im, p.x2.im, p.x3.im);
        p = inverseDft4(twist(p, tables.ofSamples<V>(r)));
        V::storePairs(samples + 2 * r, factor * p.x0.re, factor * p.x0.im);
        V::storePairs(samples + 2 * (r + quarter), factor * p.x1.re, factor * p.x1.im);
        V::storePairs(samples + 2 * (r + 2 * quarter), factor * p.x2.re, factor * p.x2.im);
        V::storePairs(samples + 2 * (r + 3 * quarter), factor * p.x3.re, factor * p.x3.im);
    }
}

/// A middle pass forward. All twiddle factors of the first block are 1.
template <class V>
inline void cftmdl(Points a, std::size_t span, const Tables &tables) noexcept
{
    for (std::size_t j = 0; j < span; j += V::lanes)
        storeStraight(a + j, span, dft4(loadReversed<V>(a + j, span)));
    const std::size_t blocks = tables.points / (4 * span);
    for (std::size_t block = 1; block < blocks; ++block) {
        const Twiddles<V> twiddles = tables.ofBlock<V>(block);
        const Points at = a + 4 * span * block;
        for (std::size_t j = 0; j < span; j += V::lanes) {
            const Four<V> p = dft4(loadReversed<V>(at + j, span));
            storeStraight(at + j, span, untwist(p, twiddles));
        }
    }
}

/// The inverse of cftmdl, times 4.
template <class V>
inline void cftmdlBackward(Points a, std::size_t span, const Tables &tables) noexcept
{
    for (std::size_t j = 0; j < span; j += V::lanes)
        storeReversed(a + j, span, inverseDft4(loadStraight<V>(a + j, span)));
    const std::size_t blocks = tables.points / (4 * span);
    for (std::size_t block = 1; block < blocks; ++block) {
        const Twiddles<V> twiddles = tables.ofBlock<V>(block);
        const Points at = a + 4 * span * block;
        for (std::size_t j = 0; j < span; j += V::lanes) {
            const Four<V> p = twist(loadStraight<V>(at + j, span), twiddles);
            storeReversed(at + j, span, inverseDft4(p));
        }
    }
}

/// The DFT of the samples, taken as complex points, but for the last pass.
template <class V>
inline void cftfsub(const float *samples, Points a, const Tables &tables) noexcept
{
    cft1st<V>(samples, a, tables);
    for (std::size_t span = 4; 4 * span < tables.points; span *= 4)
        cftmdl<V>(a, span, tables);
}

/// The inverse of cftfsub, divided by the passes' gain and that of rftbsub.
template <class V>
inline void cftbsub(Points a, float *samples, const Tables &tables) noexcept
{
    for (std::size_t span = tables.points / (tables.isPowerOfFour() ? 16 : 8); span >= 4; span /= 4)
        cftmdlBackward<V>(a, span, tables);
    cft1stBackward<V>(a, samples, 1.0 / double(tables.points), tables);
}

} // namespace
} // namespace audiofft::detail

#endif
