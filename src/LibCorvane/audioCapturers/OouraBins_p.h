#ifndef LIBCORVANE_OOURABINS_P_H
#define LIBCORVANE_OOURABINS_P_H

#include <LibCorvane/audioCapturers/OouraPasses_p.h>

/// The last pass of the complex DFT and, in the same loop, the step from its points to the bins of
/// the real samples that they pair. Points k and M − k give bins k and M − k.
namespace audiofft::detail {
namespace {

template <class V>
struct Pair {
    Complex<V> low, high;
};

/// Bins k and M − k from points k and M − k. `turn` is half of e^(2πi·k/N).
template <class V>
inline Pair<V> untangled(const Pair<V> &p, const Complex<V> &turn) noexcept
{
    const Complex<V> mirror = conjugate(p.high);
    const Complex<V> even = halved(p.low + mirror);
    const Complex<V> odd = timesI(timesConjugate(p.low - mirror, turn));
    return {even - odd, conjugate(even + odd)};
}

/// Points k and M − k from bins k and M − k.
template <class V>
inline Pair<V> tangled(const Pair<V> &p, const Complex<V> &turn) noexcept
{
    const Complex<V> mirror = conjugate(p.high);
    const Complex<V> even = halved(p.low + mirror);
    const Complex<V> odd = timesI((p.low - mirror) * turn);
    return {even + odd, conjugate(even - odd)};
}

/// Bins k, k + 1… and M − k, M − k − 1… for the lanes of a vector.
template <class V>
inline Pair<V> loadRising(ConstBins from, std::size_t k, std::size_t mirror) noexcept
{
    return {{V::loadFloats(from.re + k), V::loadFloats(from.im + k)},
            {V::loadFloatsFalling(from.re + mirror), V::loadFloatsFalling(from.im + mirror)}};
}

template <class V>
inline void storeRising(Bins to, std::size_t k, std::size_t mirror, const Pair<V> &bins) noexcept
{
    V::storeFloats(to.re + k, bins.low.re);
    V::storeFloats(to.im + k, bins.low.im);
    V::storeFloatsFalling(to.re + mirror, bins.high.re);
    V::storeFloatsFalling(to.im + mirror, bins.high.im);
}

/// Bins k, k − 1… and M − k, M − k + 1… for the lanes of a vector.
template <class V>
inline Pair<V> loadFalling(ConstBins from, std::size_t k, std::size_t mirror) noexcept
{
    const Pair<V> bins = loadRising<V>(from, mirror, k);
    return {bins.high, bins.low};
}

template <class V>
inline void storeFalling(Bins to, std::size_t k, std::size_t mirror, const Pair<V> &bins) noexcept
{
    storeRising<V>(to, mirror, k, {bins.high, bins.low});
}

/// Bins 0 and M, which are real, and M/2, from points 0 and M/2.
inline void untangleEnds(const Complex<OneLane> &first, const Complex<OneLane> &middle,
                         std::size_t points, Bins bins) noexcept
{
    bins.re[0] = float(first.re + first.im);
    bins.im[0] = 0.0F;
    bins.re[points / 2] = float(middle.re);
    bins.im[points / 2] = float(-middle.im);
    bins.re[points] = float(first.re - first.im);
    bins.im[points] = 0.0F;
}

inline Complex<OneLane> tangledFirst(ConstBins bins, std::size_t points) noexcept
{
    const auto first = double(bins.re[0]);
    const auto last = double(bins.re[points]);
    return halved<OneLane>({first + last, first - last});
}

inline Complex<OneLane> tangledMiddle(ConstBins bins, std::size_t points) noexcept
{
    return {double(bins.re[points / 2]), -double(bins.im[points / 2])};
}

/// Halves of e^(2πi·j/N) for j = k, span + k, span − k and 2·span − k, where N = 8·span.
template <class V>
struct Turns {
    Complex<V> k, spanAndK, spanLessK, twoSpansLessK;

    Turns(const double *halfCosines, std::size_t span, std::size_t column) noexcept
    {
        const auto c0 = V::load(halfCosines + column);
        const auto c1 = V::loadFalling(halfCosines + (span - column));
        const auto c2 = V::load(halfCosines + (span + column));
        const auto c3 = V::loadFalling(halfCosines + (2 * span - column));
        k = {c0, c3};
        spanAndK = {c2, c1};
        spanLessK = {c1, c2};
        twoSpansLessK = {c3, c0};
    }
};

/// The last pass forward, of span M/4, from points to bins. Column k of the pass and column span −
/// k together give eight points: four pairs k and M − k.
template <class V>
inline void rftfsub4(Points a, const Tables &tables, Bins bins) noexcept
{
    const std::size_t points = tables.points;
    const std::size_t span = points / 4;
    const Four<OneLane> end = dft4(loadReversed<OneLane>(a, span));
    const double diagonal = tables.halfCosines[span];
    untangleEnds(end.x0, end.x2, points, bins);
    storeRising(bins, span, 3 * span, untangled<OneLane>({end.x1, end.x3}, {diagonal, diagonal}));
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const Four<V> x = dft4(loadReversed<V>(a + k, span));
        const Four<V> y = dft4(loadReversedFalling<V>(a + (span - k), span));
        const Turns<V> turns(tables.halfCosines, span, k);
        storeRising(bins, k, points - k, untangled<V>({x.x0, y.x3}, turns.k));
        storeRising(bins, span + k, points - span - k, untangled<V>({x.x1, y.x2}, turns.spanAndK));
        storeFalling(bins, span - k, points - span + k,
                     untangled<V>({y.x0, x.x3}, turns.spanLessK));
        storeFalling(bins, 2 * span - k, points - 2 * span + k,
                     untangled<V>({y.x1, x.x2}, turns.twoSpansLessK));
    }
}

/// The inverse of rftfsub4, times 4.
template <class V>
inline void rftbsub4(ConstBins bins, Points a, const Tables &tables) noexcept
{
    const std::size_t points = tables.points;
    const std::size_t span = points / 4;
    const double diagonal = tables.halfCosines[span];
    const auto between = tangled(loadRising<OneLane>(bins, span, 3 * span), {diagonal, diagonal});
    const Four<OneLane> end = {tangledFirst(bins, points), between.low, tangledMiddle(bins, points),
                               between.high};
    storeReversed(a, span, inverseDft4(end));
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const Turns<V> turns(tables.halfCosines, span, k);
        const auto p0 = tangled(loadRising<V>(bins, k, points - k), turns.k);
        const auto p1 = tangled(loadRising<V>(bins, span + k, points - span - k), turns.spanAndK);
        const auto p2 = tangled(loadFalling<V>(bins, span - k, points - span + k), turns.spanLessK);
        const auto p3 =
            tangled(loadFalling<V>(bins, 2 * span - k, points - 2 * span + k), turns.twoSpansLessK);
        const Four<V> x = {p0.low, p1.low, p3.high, p2.high};
        const Four<V> y = {p2.low, p3.low, p1.high, p0.high};
        storeReversed(a + k, span, inverseDft4(x));
        storeReversedFalling(a + (span - k), span, inverseDft4(y));
    }
}

/// The last pass forward where an odd power of two leaves one of two-point DFTs, of span M/2.
template <class V>
inline void rftfsub2(Points a, const Tables &tables, Bins bins) noexcept
{
    const std::size_t points = tables.points;
    const std::size_t span = points / 2;
    const Complex<OneLane> end0 = load<OneLane>(a);
    const Complex<OneLane> end1 = load<OneLane>(a + span);
    untangleEnds(end0 + end1, end0 - end1, points, bins);
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const Complex<V> x0 = load<V>(a + k);
        const Complex<V> x1 = load<V>(a + (span + k));
        const Complex<V> y0 = loadFalling<V>(a + (span - k));
        const Complex<V> y1 = loadFalling<V>(a + (2 * span - k));
        const auto cosine = V::load(tables.halfCosines + k);
        const auto sine = V::loadFalling(tables.halfCosines + (span - k));
        storeRising(bins, k, points - k, untangled<V>({x0 + x1, y0 - y1}, {cosine, sine}));
        storeFalling(bins, span - k, span + k, untangled<V>({y0 + y1, x0 - x1}, {sine, cosine}));
    }
}

/// The inverse of rftfsub2, times 2.
template <class V>
inline void rftbsub2(ConstBins bins, Points a, const Tables &tables) noexcept
{
    const std::size_t points = tables.points;
    const std::size_t span = points / 2;
    const Complex<OneLane> first = tangledFirst(bins, points);
    const Complex<OneLane> middle = tangledMiddle(bins, points);
    store(a, first + middle);
    store(a + span, first - middle);
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const auto cosine = V::load(tables.halfCosines + k);
        const auto sine = V::loadFalling(tables.halfCosines + (span - k));
        const auto p0 = tangled<V>(loadRising<V>(bins, k, points - k), {cosine, sine});
        const auto p1 = tangled<V>(loadFalling<V>(bins, span - k, span + k), {sine, cosine});
        store(a + k, p0.low + p1.high);
        store(a + (span + k), p0.low - p1.high);
        storeFalling(a + (span - k), p1.low + p0.high);
        storeFalling(a + (2 * span - k), p1.low - p0.high);
    }
}

template <class V>
inline void rftfsub(Points a, const Tables &tables, Bins bins) noexcept
{
    if (tables.isPowerOfFour())
        rftfsub4<V>(a, tables, bins);
    else
        rftfsub2<V>(a, tables, bins);
}

template <class V>
inline void rftbsub(ConstBins bins, Points a, const Tables &tables) noexcept
{
    if (tables.isPowerOfFour())
        rftbsub4<V>(bins, a, tables);
    else
        rftbsub2<V>(bins, a, tables);
}

} // namespace
} // namespace audiofft::detail

#endif
