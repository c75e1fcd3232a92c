#include <LibCorvane/audioCapturers/OouraKernels_p.h>

namespace audiofft::detail {
namespace {

struct OneLane {
    using Real = double;
    static constexpr std::size_t lanes = 1;

    static Real broadcast(double x) noexcept { return x; }
    static Real load(const double *from) noexcept { return *from; }
    static void store(double *to, Real x) noexcept { *to = x; }
    static Real loadFloats(const float *from) noexcept { return double(*from); }
    static void storeFloats(float *to, Real x) noexcept { *to = float(x); }
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

/// 16 bytes are a vector register on every 64-bit machine; the compiler knows their instructions.
struct TwoLanes {
    using Real = double __attribute__((vector_size(16)));
    using Floats = float __attribute__((vector_size(8)));
    using FourFloats = float __attribute__((vector_size(16)));
    static constexpr std::size_t lanes = 2;

    template <class T, class U>
    static T read(const U *from) noexcept
    {
        T x;
        __builtin_memcpy(&x, from, sizeof x);
        return x;
    }

    template <class T, class U>
    static void write(U *to, T x) noexcept
    {
        __builtin_memcpy(to, &x, sizeof x);
    }

    static Real widened(Floats x) noexcept { return __builtin_convertvector(x, Real); }
    static Floats narrowed(Real x) noexcept { return __builtin_convertvector(x, Floats); }

    static Real broadcast(double x) noexcept { return Real{x, x}; }
    static Real load(const double *from) noexcept { return read<Real>(from); }
    static void store(double *to, Real x) noexcept { write(to, x); }
    static Real loadFloats(const float *from) noexcept { return widened(read<Floats>(from)); }
    static void storeFloats(float *to, Real x) noexcept { write(to, narrowed(x)); }
    static Real reversed(Real x) noexcept { return __builtin_shufflevector(x, x, 1, 0); }

    static void loadPairs(const float *from, Real &first, Real &second) noexcept
    {
        const Real low = loadFloats(from);
        const Real high = loadFloats(from + 2);
        first = __builtin_shufflevector(low, high, 0, 2);
        second = __builtin_shufflevector(low, high, 1, 3);
    }

    static void storePairs(float *to, Real first, Real second) noexcept
    {
        storeFloats(to, __builtin_shufflevector(first, second, 0, 2));
        storeFloats(to + 2, __builtin_shufflevector(first, second, 1, 3));
    }

    static void storeTransposed(double *to, std::size_t stride, Real x0, Real x1, Real x2,
                                Real x3) noexcept
    {
        store(to, __builtin_shufflevector(x0, x1, 0, 2));
        store(to + 2, __builtin_shufflevector(x2, x3, 0, 2));
        store(to + stride, __builtin_shufflevector(x0, x1, 1, 3));
        store(to + stride + 2, __builtin_shufflevector(x2, x3, 1, 3));
    }

    static void loadTransposed(const double *from, std::size_t stride, Real &x0, Real &x1, Real &x2,
                               Real &x3) noexcept
    {
        const Real low01 = load(from);
        const Real low23 = load(from + 2);
        const Real high01 = load(from + stride);
        const Real high23 = load(from + stride + 2);
        x0 = __builtin_shufflevector(low01, high01, 0, 2);
        x1 = __builtin_shufflevector(low01, high01, 1, 3);
        x2 = __builtin_shufflevector(low23, high23, 0, 2);
        x3 = __builtin_shufflevector(low23, high23, 1, 3);
    }
};

constexpr std::size_t kSmallestVectorLength = 32;

/// Four samples are two complex points, of which one sum and one difference are the whole DFT.
void forwardOfFour(const float *x, Bins bins) noexcept
{
    const double even = double(x[0]) + double(x[2]);
    const double odd = double(x[1]) + double(x[3]);
    const auto re = float(double(x[0]) - double(x[2]));
    const auto im = float(double(x[3]) - double(x[1]));
    bins.re[0] = float(even + odd);
    bins.re[1] = re;
    bins.re[2] = float(even - odd);
    bins.im[0] = 0.0F;
    bins.im[1] = im;
    bins.im[2] = 0.0F;
}

void backwardToFour(ConstBins bins, float *x) noexcept
{
    const double even = double(bins.re[0]) + double(bins.re[2]);
    const double odd = double(bins.re[0]) - double(bins.re[2]);
    const double re = 2.0 * double(bins.re[1]);
    const double im = 2.0 * double(bins.im[1]);
    x[0] = float(0.25 * (even + re));
    x[1] = float(0.25 * (odd - im));
    x[2] = float(0.25 * (even - re));
    x[3] = float(0.25 * (odd + im));
}

} // namespace

void plain::rdft(const Workspace &work, const float *samples, Bins bins) noexcept
{
    if (work.n == 4)
        return forwardOfFour(samples, bins);
    if (work.n < kSmallestVectorLength)
        return forward<OneLane>(work, samples, bins);
    forward<TwoLanes>(work, samples, bins);
}

void plain::rdft(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    if (work.n == 4)
        return backwardToFour(bins, samples);
    if (work.n < kSmallestVectorLength)
        return backward<OneLane>(work, bins, samples);
    backward<TwoLanes>(work, bins, samples);
}

} // namespace audiofft::detail
