#ifndef LIBCORVANE_OOURAKERNELS_P_H
#define LIBCORVANE_OOURAKERNELS_P_H

#include <LibCorvane/audioCapturers/OouraTransform_p.h>

/// The passes of the transform, written once for vectors of 1, 2 or 4 doubles.
///
/// This header is compiled for several instruction sets. Everything in it is local to the including
/// file and nothing outside it is instantiated here, or the linker might keep a copy that the
/// machine cannot run. A vector type V supplies Real (arithmetic on `lanes` doubles) and the loads
/// and stores below.
///
/// The points are bit-reversed in memory. A pass of span s then joins four runs of s neighbours
/// at a time, and its twiddle factors are the same for the whole run.
namespace audiofft::detail {
namespace {

/// Vectors of one double, for any machine.
struct OneLane {
    using Real = double;
    static constexpr std::size_t lanes = 1;

    static Real broadcast(double x) noexcept { return x; }
    static Real load(const double *from) noexcept { return *from; }
    static void store(double *to, Real x) noexcept { *to = x; }
    static Real loadFloats(const float *from) noexcept { return double(*from); }
    static void storeFloats(float *to, Real x) noexcept { *to = float(x); }
    static void storeFloatsReversed(float *to, Real x) noexcept { *to = float(x); }
    static Real reversed(Real x) noexcept { return x; }

    static void loadPairs(const float *from, Real &first, Real &second) noexcept
    {
        first = double(from[0]);
        second = double(from[1]);
    }

    static void storePairs(float *to, Real first, Real second) noexcept
    {
        to[0] = float(first);
        to[1] = float(second);
    }

    static void storeTransposed(double *to, std::size_t /*stride*/, Real x0, Real x1, Real x2,
                                Real x3) noexcept
    {
        to[0] = x0;
        to[1] = x1;
        to[2] = x2;
        to[3] = x3;
    }

    static void loadTransposed(const double *from, std::size_t /*stride*/, Real &x0, Real &x1,
                               Real &x2, Real &x3) noexcept
    {
        x0 = from[0];
        x1 = from[1];
        x2 = from[2];
        x3 = from[3];
    }
};

/// Vectors of V must not reach past the middle column of the last pass.
template <class V>
constexpr std::size_t kSmallestLength = 16 * V::lanes;

template <class V>
struct Complex {
    typename V::Real re;
    typename V::Real im;
};

template <class V>
inline Complex<V> operator+(const Complex<V> &x, const Complex<V> &y) noexcept
{
    return {x.re + y.re, x.im + y.im};
}

template <class V>
inline Complex<V> operator-(const Complex<V> &x, const Complex<V> &y) noexcept
{
    return {x.re - y.re, x.im - y.im};
}

template <class V>
inline Complex<V> operator*(const Complex<V> &x, const Complex<V> &y) noexcept
{
    return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}

template <class V>
inline Complex<V> timesConjugate(const Complex<V> &x, const Complex<V> &y) noexcept
{
    return {x.re * y.re + x.im * y.im, x.im * y.re - x.re * y.im};
}

template <class V>
inline Complex<V> timesI(const Complex<V> &x) noexcept
{
    return {-x.im, x.re};
}

/// The split points, from some index on.
struct Points {
    double *re;
    double *im;

    Points operator+(std::size_t offset) const noexcept { return {re + offset, im + offset}; }
    Points operator-(std::size_t offset) const noexcept { return {re - offset, im - offset}; }
};

template <class V>
inline Complex<V> load(Points at) noexcept
{
    return {V::load(at.re), V::load(at.im)};
}

template <class V>
inline void store(Points at, const Complex<V> &x) noexcept
{
    V::store(at.re, x.re);
    V::store(at.im, x.im);
}

template <class V>
struct Four {
    Complex<V> x0, x1, x2, x3;
};

/// The four-point DFT, unnormalised.
template <class V>
inline Four<V> dft4(const Four<V> &p) noexcept
{
    const Complex<V> sum02 = p.x0 + p.x2;
    const Complex<V> difference02 = p.x0 - p.x2;
    const Complex<V> sum13 = p.x1 + p.x3;
    const Complex<V> turned13 = timesI(p.x1 - p.x3);
    return {sum02 + sum13, difference02 - turned13, sum02 - sum13, difference02 + turned13};
}

/// The inverse of dft4, times 4.
template <class V>
inline Four<V> inverseDft4(const Four<V> &p) noexcept
{
    const Four<V> y = dft4(p);
    return {y.x0, y.x3, y.x2, y.x1};
}

/// e^(2πi·r/M), its square and its cube.
template <class V>
struct Twiddles {
    Complex<V> w1, w2, w3;

    Twiddles(const Complex<V> &w, const Complex<V> &square) noexcept
        : w1(w)
        , w2(square)
        , w3(w1 * w2)
    {
    }
};

template <class V>
inline Four<V> untwist(const Four<V> &p, const Twiddles<V> &t) noexcept
{
    return {p.x0, timesConjugate(p.x1, t.w1), timesConjugate(p.x2, t.w2),
            timesConjugate(p.x3, t.w3)};
}

template <class V>
inline Four<V> twist(const Four<V> &p, const Twiddles<V> &t) noexcept
{
    return {p.x0, p.x1 * t.w1, p.x2 * t.w2, p.x3 * t.w3};
}

/// The tables of a transform of `points` complex points, at least 4.
struct Tables {
    std::size_t points;
    const double *sines;
    const double *blocks;
    const int *reversals;
    unsigned halfBits = 0;
    unsigned otherBits = 0;

    explicit Tables(const Workspace &work) noexcept
        : points(work.n / 2)
        , sines(work.w)
        , blocks(work.w + points / 4)
        , reversals(work.ip + 2)
    {
        const auto bits = unsigned(__builtin_ctzll(points / 4));
        halfBits = (bits + 1) / 2;
        otherBits = bits / 2;
    }

    /// `index` below points / 4 with its bits in reverse order.
    std::size_t bitrv2(std::size_t index) const noexcept
    {
        const std::size_t mask = (std::size_t(1) << halfBits) - 1;
        const auto low = std::size_t(reversals[index & mask]);
        const auto high = std::size_t(reversals[index >> halfBits]);
        return low << otherBits | high >> (halfBits - otherBits);
    }

    /// Of neighbours in the order of the samples. The sine of a quarter turn, which the cosine of 0
    /// asks for, is the 1 at the beginning of the blocks.
    template <class V>
    Twiddles<V> ofSamples(std::size_t r) const noexcept
    {
        const std::size_t mirror = points / 4 - r - (V::lanes - 1);
        const Complex<V> w = {V::reversed(V::load(sines + mirror)), V::load(sines + r)};
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

/// Reads the samples and makes the first pass, of span 1, on its way to the bit-reversed places.
template <class V>
inline void cft1st(const float *samples, Points to, const Tables &tables) noexcept
{
    const std::size_t quarter = tables.points / 4;
    const std::size_t stride = 4 * quarter / V::lanes;
    for (std::size_t r = 0; r < quarter; r += V::lanes) {
        Four<V> p;
        V::loadPairs(samples + 2 * r, p.x0.re, p.x0.im);
        V::loadPairs(samples + 2 * (r + quarter), p.x1.re, p.x1.im);
        V::loadPairs(samples + 2 * (r + 2 * quarter), p.x2.re, p.x2.im);
        V::loadPairs(samples + 2 * (r + 3 * quarter), p.x3.re, p.x3.im);
        p = untwist(dft4(p), tables.ofSamples<V>(r));
        const Points block = to + 4 * tables.bitrv2(r);
        V::storeTransposed(block.re, stride, p.x0.re, p.x1.re, p.x2.re, p.x3.re);
        V::storeTransposed(block.im, stride, p.x0.im, p.x1.im, p.x2.im, p.x3.im);
    }
}

/// The inverse of the other one: makes the last pass backward and writes the samples, scaled.
template <class V>
inline void cft1st(Points from, float *samples, double scale, const Tables &tables) noexcept
{
    const std::size_t quarter = tables.points / 4;
    const std::size_t stride = 4 * quarter / V::lanes;
    const auto factor = V::broadcast(scale);
    for (std::size_t r = 0; r < quarter; r += V::lanes) {
        const Points block = from + 4 * tables.bitrv2(r);
        Four<V> p;
        V::loadTransposed(block.re, stride, p.x0.re, p.x1.re, p.x2.re, p.x3.re);
        V::loadTransposed(block.im, stride, p.x0.im, p.x1.im, p.x2.im, p.x3.im);
        p = inverseDft4(twist(p, tables.ofSamples<V>(r)));
        V::storePairs(samples + 2 * r, p.x0.re * factor, p.x0.im * factor);
        V::storePairs(samples + 2 * (r + quarter), p.x1.re * factor, p.x1.im * factor);
        V::storePairs(samples + 2 * (r + 2 * quarter), p.x2.re * factor, p.x2.im * factor);
        V::storePairs(samples + 2 * (r + 3 * quarter), p.x3.re * factor, p.x3.im * factor);
    }
}

template <class V>
inline Four<V> loadReversed(Points at, std::size_t span) noexcept
{
    return {load<V>(at), load<V>(at + 2 * span), load<V>(at + span), load<V>(at + 3 * span)};
}

template <class V>
inline void storeReversed(Points at, std::size_t span, const Four<V> &p) noexcept
{
    store(at, p.x0);
    store(at + 2 * span, p.x1);
    store(at + span, p.x2);
    store(at + 3 * span, p.x3);
}

template <class V>
inline Four<V> loadStraight(Points at, std::size_t span) noexcept
{
    return {load<V>(at), load<V>(at + span), load<V>(at + 2 * span), load<V>(at + 3 * span)};
}

template <class V>
inline void storeStraight(Points at, std::size_t span, const Four<V> &p) noexcept
{
    store(at, p.x0);
    store(at + span, p.x1);
    store(at + 2 * span, p.x2);
    store(at + 3 * span, p.x3);
}

/// One pass of four-point DFTs over points `span` apart. The first block's twiddles are all 1.
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
inline void cftmdlInverse(Points a, std::size_t span, const Tables &tables) noexcept
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

/// Sums and differences of points `span` apart: the pass that an odd power of two has left over.
template <class V>
inline void cftlast(Points a, std::size_t span) noexcept
{
    for (std::size_t j = 0; j < span; j += V::lanes) {
        const Complex<V> x0 = load<V>(a + j);
        const Complex<V> x1 = load<V>(a + j + span);
        store(a + j, x0 + x1);
        store(a + j + span, x0 - x1);
    }
}

/// The passes of the forward DFT of the samples, taken as complex points, but for the last one.
/// Returns the span of the missing pass.
template <class V>
inline std::size_t cftfsub(const float *samples, Points a, const Tables &tables) noexcept
{
    cft1st<V>(samples, a, tables);
    std::size_t span = 4;
    for (; 4 * span < tables.points; span *= 4)
        cftmdl<V>(a, span, tables);
    return span;
}

/// Inverse DFT, times `scale`, of the points, which it destroys.
template <class V>
inline void cftbsub(Points a, float *samples, double scale, const Tables &tables) noexcept
{
    std::size_t span = tables.points;
    if (tables.otherBits != tables.halfBits) {
        span /= 2;
        cftlast<V>(a, span);
    }
    for (span /= 4; span >= 4; span /= 4)
        cftmdlInverse<V>(a, span, tables);
    cft1st<V>(a, samples, scale, tables);
}

template <class V>
struct Pair {
    Complex<V> low, high;
};

/// Bins k and M - k from points k and M - k. `turn` is half of e^(2πi·k/N).
template <class V>
inline Pair<V> untangled(const Complex<V> &x, const Complex<V> &mirror,
                         const Complex<V> &turn) noexcept
{
    const auto half = V::broadcast(0.5);
    const Complex<V> sum = {half * (x.re + mirror.re), half * (x.im - mirror.im)};
    const Complex<V> odd = {x.im + mirror.im, mirror.re - x.re};
    const Complex<V> turned = timesConjugate(odd, turn);
    return {{sum.re + turned.re, sum.im + turned.im}, {sum.re - turned.re, turned.im - sum.im}};
}

template <class V>
inline void storeRising(Bins bins, std::size_t k, const Complex<V> &x) noexcept
{
    V::storeFloats(bins.re + k, x.re);
    V::storeFloats(bins.im + k, x.im);
}

template <class V>
inline void storeFalling(Bins bins, std::size_t k, const Complex<V> &x) noexcept
{
    V::storeFloatsReversed(bins.re + k - (V::lanes - 1), x.re);
    V::storeFloatsReversed(bins.im + k - (V::lanes - 1), x.im);
}

template <class V>
inline Complex<V> loadFalling(Points at) noexcept
{
    const Complex<V> x = load<V>(at - (V::lanes - 1));
    return {V::reversed(x.re), V::reversed(x.im)};
}

template <class V>
inline void untangleRising(Bins bins, std::size_t k, std::size_t points, const Complex<V> &x,
                           const Complex<V> &mirror, const Complex<V> &turn) noexcept
{
    const Pair<V> pair = untangled(x, mirror, turn);
    storeRising(bins, k, pair.low);
    storeFalling(bins, points - k, pair.high);
}

template <class V>
inline void untangleFalling(Bins bins, std::size_t k, std::size_t points, const Complex<V> &x,
                            const Complex<V> &mirror, const Complex<V> &turn) noexcept
{
    const Pair<V> pair = untangled(x, mirror, turn);
    storeFalling(bins, k, pair.low);
    storeRising(bins, points - k, pair.high);
}

inline void storeEnds(Bins bins, std::size_t points, const Complex<OneLane> &first,
                      const Complex<OneLane> &middle) noexcept
{
    storeRising<OneLane>(bins, 0, {first.re + first.im, 0.0});
    storeRising<OneLane>(bins, points, {first.re - first.im, 0.0});
    storeRising<OneLane>(bins, points / 2, {middle.re, -middle.im});
}

/// The last pass of four-point DFTs, and at once the bins: column k of the pass and its mirror
/// image give eight points, four pairs that belong together.
template <class V>
inline void rftfsub4(Points a, std::size_t span, const double *c, Bins bins) noexcept
{
    const std::size_t points = 4 * span;
    const Four<OneLane> ends = dft4(loadReversed<OneLane>(a, span));
    storeEnds(bins, points, ends.x0, ends.x2);
    untangleRising<OneLane>(bins, span, points, ends.x1, ends.x3, {c[span], c[span]});
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const Points low = a + k;
        const Points high = a + (span - k);
        const Four<V> x = dft4(loadReversed<V>(low, span));
        const Four<V> y =
            dft4(Four<V>{loadFalling<V>(high), loadFalling<V>(high + 2 * span),
                         loadFalling<V>(high + span), loadFalling<V>(high + 3 * span)});
        const auto c0 = V::load(c + k);
        const auto c1 = V::reversed(V::load(c + (span - k) - (V::lanes - 1)));
        const auto c2 = V::load(c + (span + k));
        const auto c3 = V::reversed(V::load(c + (2 * span - k) - (V::lanes - 1)));
        untangleRising<V>(bins, k, points, x.x0, y.x3, {c0, c3});
        untangleRising<V>(bins, span + k, points, x.x1, y.x2, {c2, c1});
        untangleFalling<V>(bins, span - k, points, y.x0, x.x3, {c1, c2});
        untangleFalling<V>(bins, 2 * span - k, points, y.x1, x.x2, {c3, c0});
    }
}

/// The same where an odd power of two leaves a last pass of sums and differences.
template <class V>
inline void rftfsub2(Points a, std::size_t span, const double *c, Bins bins) noexcept
{
    const std::size_t points = 2 * span;
    const Complex<OneLane> end0 = load<OneLane>(a);
    const Complex<OneLane> end1 = load<OneLane>(a + span);
    storeEnds(bins, points, end0 + end1, end0 - end1);
    for (std::size_t k = 1; k <= span / 2; k += V::lanes) {
        const Points low = a + k;
        const Points high = a + (span - k);
        const Complex<V> x0 = load<V>(low);
        const Complex<V> x1 = load<V>(low + span);
        const Complex<V> y0 = loadFalling<V>(high);
        const Complex<V> y1 = loadFalling<V>(high + span);
        const auto cosine = V::load(c + k);
        const auto sine = V::reversed(V::load(c + (span - k) - (V::lanes - 1)));
        untangleRising<V>(bins, k, points, x0 + x1, y0 - y1, {cosine, sine});
        untangleFalling<V>(bins, span - k, points, y0 + y1, x0 - x1, {sine, cosine});
    }
}

template <class V>
inline void rftfsub(Points a, std::size_t span, const Tables &tables, const double *c,
                    Bins bins) noexcept
{
    if (4 * span == tables.points)
        rftfsub4<V>(a, span, c, bins);
    else
        rftfsub2<V>(a, span, c, bins);
}

/// The inverse of rftfsub, times 2. The imaginary parts of the first and the last bin are not read.
template <class V>
inline void rftbsub(ConstBins bins, Points a, std::size_t points, const double *c) noexcept
{
    using Real = typename V::Real;
    const std::size_t middle = points / 2;
    const Real two = V::broadcast(2.0);
    a.re[0] = double(bins.re[0]) + double(bins.re[points]);
    a.im[0] = double(bins.re[0]) - double(bins.re[points]);
    a.re[middle] = 2.0 * double(bins.re[middle]);
    a.im[middle] = -2.0 * double(bins.im[middle]);
    for (std::size_t next = 1; next < middle; next += V::lanes) {
        const std::size_t k = next + V::lanes <= middle ? next : middle - V::lanes;
        const std::size_t mirror = points - k - (V::lanes - 1);
        const Real cosine = two * V::load(c + k);
        const Real sine = two * V::reversed(V::load(c + middle - k - (V::lanes - 1)));
        const Complex<V> x = {V::loadFloats(bins.re + k), V::loadFloats(bins.im + k)};
        const Real yRe = V::reversed(V::loadFloats(bins.re + mirror));
        const Real yIm = V::reversed(V::loadFloats(bins.im + mirror));
        const Complex<V> sum = {x.re + yRe, x.im - yIm};
        const Complex<V> difference = {x.re - yRe, x.im + yIm};
        const Real turnedRe = -(cosine * difference.im) - sine * difference.re;
        const Real turnedIm = cosine * difference.re - sine * difference.im;
        store<V>(a + k, {sum.re + turnedRe, sum.im + turnedIm});
        store<V>(a + mirror, {V::reversed(sum.re - turnedRe), V::reversed(turnedIm - sum.im)});
    }
}

inline Points pointsOf(const Workspace &work) noexcept
{
    return {work.a, work.a + work.n / 2};
}

template <class V>
void forward(const Workspace &work, const float *samples, Bins bins) noexcept
{
    const Points a = pointsOf(work);
    const Tables tables(work);
    const std::size_t span = cftfsub<V>(samples, a, tables);
    rftfsub<V>(a, span, tables, work.w + work.n / 4, bins);
}

template <class V>
void backward(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    const Points a = pointsOf(work);
    rftbsub<V>(bins, a, work.n / 2, work.w + work.n / 4);
    cftbsub<V>(a, samples, 1.0 / double(work.n), Tables(work));
}

} // namespace
} // namespace audiofft::detail

#endif
