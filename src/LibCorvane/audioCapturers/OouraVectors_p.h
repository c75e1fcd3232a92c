#ifndef LIBCORVANE_OOURAVECTORS_P_H
#define LIBCORVANE_OOURAVECTORS_P_H

#include <cstddef>

/// Vectors of complex numbers and the four-point DFT, written once for all instruction sets.
///
/// This header and those that build on it are compiled for several instruction sets. Everything in
/// them is local to the including file and nothing from outside is instantiated, or the linker
/// might keep a copy that the machine cannot run. A vector type V supplies Real (arithmetic on
/// `lanes` doubles) and the loads and stores that OneLane shows. The falling ones go down from the
/// given place.
namespace audiofft::detail {
namespace {

/// Vectors of one double, for any machine.
struct OneLane {
    using Real = double;
    static constexpr std::size_t lanes = 1;

    static Real broadcast(double x) noexcept { return x; }
    static Real load(const double *from) noexcept { return *from; }
    static Real loadFalling(const double *from) noexcept { return *from; }
    static void store(double *to, Real x) noexcept { *to = x; }
    static void storeFalling(double *to, Real x) noexcept { *to = x; }

    static Real loadFloats(const float *from) noexcept { return double(*from); }
    static Real loadFloatsFalling(const float *from) noexcept { return double(*from); }
    static void storeFloats(float *to, Real x) noexcept { *to = float(x); }
    static void storeFloatsFalling(float *to, Real x) noexcept { *to = float(x); }

    /// The even places of 2 · lanes floats, and the odd ones.
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

    /// Four neighbours for each lane; the lanes are `stride` apart, in bit-reversed order.
    static void loadTransposed(const double *from, std::size_t /*stride*/, Real &x0, Real &x1,
                               Real &x2, Real &x3) noexcept
    {
        x0 = from[0];
        x1 = from[1];
        x2 = from[2];
        x3 = from[3];
    }

    static void storeTransposed(double *to, std::size_t /*stride*/, Real x0, Real x1, Real x2,
                                Real x3) noexcept
    {
        to[0] = x0;
        to[1] = x1;
        to[2] = x2;
        to[3] = x3;
    }
};

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
inline Complex<V> conjugate(const Complex<V> &x) noexcept
{
    return {x.re, -x.im};
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

template <class V>
inline Complex<V> halved(const Complex<V> &x) noexcept
{
    const auto half = V::broadcast(0.5);
    return {half * x.re, half * x.im};
}

/// The work array, from some point on.
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
inline Complex<V> loadFalling(Points at) noexcept
{
    return {V::loadFalling(at.re), V::loadFalling(at.im)};
}

template <class V>
inline void store(Points at, const Complex<V> &x) noexcept
{
    V::store(at.re, x.re);
    V::store(at.im, x.im);
}

template <class V>
inline void storeFalling(Points at, const Complex<V> &x) noexcept
{
    V::storeFalling(at.re, x.re);
    V::storeFalling(at.im, x.im);
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

/// Four points `span` apart, out of their bit-reversed order.
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
inline Four<V> loadReversedFalling(Points at, std::size_t span) noexcept
{
    return {loadFalling<V>(at), loadFalling<V>(at + 2 * span), loadFalling<V>(at + span),
            loadFalling<V>(at + 3 * span)};
}

template <class V>
inline void storeReversedFalling(Points at, std::size_t span, const Four<V> &p) noexcept
{
    storeFalling(at, p.x0);
    storeFalling(at + 2 * span, p.x1);
    storeFalling(at + span, p.x2);
    storeFalling(at + 3 * span, p.x3);
}

/// Four points `span` apart in natural order.
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

} // namespace
} // namespace audiofft::detail

#endif
