// For processors of another family.
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

namespace audiofft::detail {

bool avx2::isSupported() noexcept
{
    return false;
}

void avx2::rdft(const Workspace &work, const float *samples, Bins bins) noexcept
{
    plain::rdft(work, samples, bins);
}

void avx2::rdft(const Workspace &work, ConstBins bins, float *samples) noexcept
{
    plain::rdft(work, bins, samples);
}

} // namespace audiofft::detail
