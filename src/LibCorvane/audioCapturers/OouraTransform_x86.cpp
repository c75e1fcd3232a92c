// Apart from the AVX2 code, since no machine may need AVX2 to find out that it has none.
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

namespace audiofft::detail {

bool avx2::isSupported() noexcept
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

} // namespace audiofft::detail
