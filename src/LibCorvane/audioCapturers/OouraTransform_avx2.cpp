#include <LibCorvane/audioCapturers/OouraKernels_p.h>

#include <immintrin.h>

namespace audiofft::detail {
namespace {

struct FourLanes {
    using Real = double __attribute__((vector_size(32)));
    static constexpr std::size_t lanes = 4;

    static Real broadcast(double x) noexcept { return _mm256_set1_pd(x); }
    static Real load(const double *from) noexcept { return _mm256_loadu_pd(from); }
    static void store(double *to, Real x) noexcept { _mm256_storeu_pd(to, x); }

    static Real loadFalling(const double *from) noexcept
    {
        return _mm256_permute_pd(_mm256_loadu2_m128d(from - 3, from - 1), 0b0101);
    }

    static void storeFalling(double *to, Real x) noexcept
    {
        _mm256_storeu2_m128d(to - 3, to - 1, _mm256_permute_pd(x, 0b0101));
    }

    static Real loadFloats(const float *from) noexcept
    {
        return _mm256_cvtps_pd(_mm_loadu_ps(from));
    }

    static Real loadFloatsFalling(const float *from) noexcept
    {
        return _mm256_cvtps_pd(turned(_mm_loadu_ps(from - 3)));
    }

    static void storeFloats(float *to, Real x) noexcept { _mm_storeu_ps(to, _mm256_cvtpd_ps(x)); }

    static void storeFloatsFalling(float *to, Real x) noexcept
    {
        _mm_storeu_ps(to - 3, turned(_mm256_cvtpd_ps(x)));
    }

    static void loadPairs(const float *from, Real &first, Real &second) noexcept
    {
        const __m128 low = _mm_loadu_ps(from);
        const __m128 high = _mm_loadu_ps(from + 4);
        first = _mm256_cvtps_pd(_mm_shuffle_ps(low, high, 0b10001000));
        second = _mm256_cvtps_pd(_mm_shuffle_ps(low, high, 0b11011101));
    }

    static void storePairs(float *to, Real first, Real second) noexcept
    {
        const __m128 x = _mm256_cvtpd_ps(first);
        const __m128 y = _mm256_cvtpd_ps(second);
        _mm_storeu_ps(to, _mm_unpacklo_ps(x, y));
        _mm_storeu_ps(to + 4, _mm_unpackhi_ps(x, y));
    }

    static void storeTransposed(double *to, std::size_t stride, Real x0, Real x1, Real x2,
                                Real x3) noexcept
    {
        transpose(x0, x1, x2, x3);
        store(to, x0);
        store(to + 2 * stride, x1);
        store(to + stride, x2);
        store(to + 3 * stride, x3);
    }

    static void loadTransposed(const double *from, std::size_t stride, Real &x0, Real &x1, Real &x2,
                               Real &x3) noexcept
    {
        x0 = load(from);
        x1 = load(from + 2 * stride);
        x2 = load(from + stride);
        x3 = load(from + 3 * stride);
        transpose(x0, x1, x2, x3);
    }

private:
    static __m128 turned(__m128 x) noexcept { return _mm_shuffle_ps(x, x, 0b00011011); }

    static void transpose(Real &x0, Real &x1, Real &x2, Real &x3) noexcept
    {
        const __m256d even01 = _mm256_unpacklo_pd(x0, x1);
        const __m256d odd01 = _mm256_unpackhi_pd(x0, x1);
        const __m256d even23 = _mm256_unpacklo_pd(x2, x3);
        const __m256d odd23 = _mm256_unpackhi_pd(x2, x3);
        x0 = _mm256_permute2f128_pd(even01, even23, 0x20);
        x1 = _mm256_permute2f128_pd(odd01, odd23, 0x20);
        x2 = _mm256_permute2f128_pd(even01, even23, 0x31);
        x3 = _mm256_permute2f128_pd(odd01, odd23, 0x31);
    }
};

} // namespace

const Path kAvx2Path = {"AVX2", kSmallestLength<FourLanes>, forward<FourLanes>,
                        backward<FourLanes>};

} // namespace audiofft::detail
