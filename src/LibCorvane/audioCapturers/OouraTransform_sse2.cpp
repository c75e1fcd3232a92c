#include <LibCorvane/audioCapturers/OouraKernels_p.h>

#include <emmintrin.h>

namespace audiofft::detail {
namespace {

struct TwoLanes {
    using Real = double __attribute__((vector_size(16)));
    static constexpr std::size_t lanes = 2;

    static Real broadcast(double x) noexcept { return _mm_set1_pd(x); }
    static Real load(const double *from) noexcept { return _mm_loadu_pd(from); }
    static Real loadFalling(const double *from) noexcept { return turned(load(from - 1)); }
    static void store(double *to, Real x) noexcept { _mm_storeu_pd(to, x); }
    static void storeFalling(double *to, Real x) noexcept { store(to - 1, turned(x)); }

    static Real loadFloats(const float *from) noexcept
    {
        return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(as<__m128i>(from))));
    }

    static Real loadFloatsFalling(const float *from) noexcept
    {
        return turned(loadFloats(from - 1));
    }

    static void storeFloats(float *to, Real x) noexcept
    {
        _mm_storel_epi64(as<__m128i>(to), _mm_castps_si128(_mm_cvtpd_ps(x)));
    }

    static void storeFloatsFalling(float *to, Real x) noexcept { storeFloats(to - 1, turned(x)); }

    static void loadPairs(const float *from, Real &first, Real &second) noexcept
    {
        const __m128 pairs = _mm_loadu_ps(from);
        const __m128 sorted = _mm_shuffle_ps(pairs, pairs, 0b11011000);
        first = _mm_cvtps_pd(sorted);
        second = _mm_cvtps_pd(_mm_movehl_ps(sorted, sorted));
    }

    static void storePairs(float *to, Real first, Real second) noexcept
    {
        _mm_storeu_ps(to, _mm_unpacklo_ps(_mm_cvtpd_ps(first), _mm_cvtpd_ps(second)));
    }

    static void storeTransposed(double *to, std::size_t stride, Real x0, Real x1, Real x2,
                                Real x3) noexcept
    {
        store(to, _mm_unpacklo_pd(x0, x1));
        store(to + 2, _mm_unpacklo_pd(x2, x3));
        store(to + stride, _mm_unpackhi_pd(x0, x1));
        store(to + stride + 2, _mm_unpackhi_pd(x2, x3));
    }

    static void loadTransposed(const double *from, std::size_t stride, Real &x0, Real &x1, Real &x2,
                               Real &x3) noexcept
    {
        const Real low01 = load(from);
        const Real low23 = load(from + 2);
        const Real high01 = load(from + stride);
        const Real high23 = load(from + stride + 2);
        x0 = _mm_unpacklo_pd(low01, high01);
        x1 = _mm_unpackhi_pd(low01, high01);
        x2 = _mm_unpacklo_pd(low23, high23);
        x3 = _mm_unpackhi_pd(low23, high23);
    }

private:
    static Real turned(Real x) noexcept { return _mm_shuffle_pd(x, x, 0b01); }

    template <class To>
    static const To *as(const float *pointer) noexcept
    {
        return reinterpret_cast<const To *>(pointer);
    }

    template <class To>
    static To *as(float *pointer) noexcept
    {
        return reinterpret_cast<To *>(pointer);
    }
};

} // namespace

const Path kSse2Path = {"SSE2", kSmallestLength<TwoLanes>, forward<TwoLanes>, backward<TwoLanes>};

} // namespace audiofft::detail
