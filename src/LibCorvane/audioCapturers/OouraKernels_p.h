#ifndef LIBCORVANE_OOURAKERNELS_P_H
#define LIBCORVANE_OOURAKERNELS_P_H

#include <LibCorvane/audioCapturers/OouraBins_p.h>

/// The whole transform for vectors of one kind.
namespace audiofft::detail {
namespace {

/// Vectors of V must not reach past the last column of the last pass.
template <class V>
constexpr std::size_t kSmallestLength = 16 * V::lanes;

inline Points pointsOf(const Workspace &work) noexcept
{
    return {work.a, work.a + work.n / 2};
}

template <class V>
void forward(const Workspace &work, const float *samples, Bins bins) noexcept
{
    const Points a = pointsOf(work);
    const Tables tables(work);
    cftfsub<V>(samples, a, tables);
    rftfsub<V>(a, tables, bins);
}

template <class V>
void backward(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    const Points a = pointsOf(work);
    const Tables tables(work);
    rftbsub<V>(bins, a, tables);
    cftbsub<V>(a, samples, tables);
}

} // namespace
} // namespace audiofft::detail

#endif
