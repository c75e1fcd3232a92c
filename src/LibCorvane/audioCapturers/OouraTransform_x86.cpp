// Apart from the vector code, since no machine may need AVX2 to find out that it has none.
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

namespace audiofft::detail {
namespace {

const Path *const kPaths[] = {&kAvx2Path, &kSse2Path, &kPlainPath, nullptr};

} // namespace

const Path *const *paths() noexcept
{
    const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return hasAvx2 ? kPaths : kPaths + 1;
}

} // namespace audiofft::detail
