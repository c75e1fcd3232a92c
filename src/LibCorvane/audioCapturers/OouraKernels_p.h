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

/// e^(2πi·r/L) and its square and cube.
template <class V>
struct Twiddles {
    Complex<V> w1, w2, w3;

    explicit Twiddles(const Complex<V> &w) noexcept
        : w1(w)
        , w2(w * w)
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
    const double *cosines;
    const double *sines;
    const int *reversals;
    unsigned halfBits = 0;
    unsigned otherBits = 0;

    explicit Tables(const Workspace &work) noexcept
        : points(work.n / 2)
        , cosines(work.w)
        , sines(work.w + points / 4)
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

    /// Of neighbours in the order of the samples.
    template <class V>
    Twiddles<V> ofSamples(std::size_t first) const noexcept
    {
        return Twiddles<V>({V::load(cosines + first), V::load(sines + first)});
    }

    /// Of the points of one block of a pass, all the same.
    template <class V>
    Twiddles<V> ofBlock(std::size_t block) const noexcept
    {
        const std::size_t index = bitrv2(block);
        return Twiddles<V>({V::broadcast(cosines[index]), V::broadcast(sines[index])});
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

/// Forward DFT of the samples, taken as complex points, into `a` in natural order.
template <class V>
inline void cftfsub(const float *samples, Points a, const Tables &tables) noexcept
{
    cft1st<V>(samples, a, tables);
    std::size_t span = 4;
    for (; 4 * span <= tables.points; span *= 4)
        cftmdl<V>(a, span, tables);
    if (span < tables.points)
        cftlast<V>(a, span);
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

/// The bins of the samples from the DFT of the complex points that pair them.
template <class V>
inline void rftfsub(Points a, std::size_t points, const double *c, Bins bins) noexcept
{
    using Real = typename V::Real;
    const std::size_t middle = points / 2;
    const Real half = V::broadcast(0.5);
    bins.re[0] = float(a.re[0] + a.im[0]);
    bins.im[0] = 0.0F;
    bins.re[points] = float(a.re[0] - a.im[0]);
    bins.im[points] = 0.0F;
    bins.re[middle] = float(a.re[middle]);
    bins.im[middle] = float(-a.im[middle]);
    for (std::size_t next = 1; next < middle; next += V::lanes) {
        // The last vector may repeat some bins of the one before.
        const std::size_t k = next + V::lanes <= middle ? next : middle - V::lanes;
        const std::size_t mirror = points - k - (V::lanes - 1);
        const Real cosine = V::load(c + k);
        const Real sine = V::reversed(V::load(c + middle - k - (V::lanes - 1)));
        const Complex<V> x = load<V>(a + k);
        const Complex<V> y = load<V>(a + mirror);
        const Real yRe = V::reversed(y.re);
        const Real yIm = V::reversed(y.im);
        const Complex<V> sum = {x.re + yRe, x.im - yIm};
        const Complex<V> difference = {x.re - yRe, x.im + yIm};
        const Real turnedRe = cosine * difference.im - sine * difference.re;
        const Real turnedIm = cosine * difference.re + sine * difference.im;
        V::storeFloats(bins.re + k, half * sum.re + turnedRe);
        V::storeFloats(bins.im + k, half * sum.im - turnedIm);
        V::storeFloats(bins.re + mirror, V::reversed(half * sum.re - turnedRe));
        V::storeFloats(bins.im + mirror, V::reversed(-(half * sum.im) - turnedIm));
    }
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
inline void forward(const Workspace &work, const float *samples, Bins bins) noexcept
{
    const Points a = pointsOf(work);
    cftfsub<V>(samples, a, Tables(work));
    rftfsub<V>(a, work.n / 2, work.w + work.n / 4, bins);
}

template <class V>
inline void backward(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    const Points a = pointsOf(work);
    rftbsub<V>(bins, a, work.n / 2, work.w + work.n / 4);
    cftbsub<V>(a, samples, 1.0 / double(work.n), Tables(work));
}

} // namespace
} // namespace audiofft::detail

#endif
