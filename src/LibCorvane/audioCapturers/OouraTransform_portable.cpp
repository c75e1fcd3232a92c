#include <LibCorvane/audioCapturers/OouraTransform_p.h>

namespace audiofft::detail {
namespace {

const Path *const kPaths[] = {&kPlainPath, nullptr};

} // namespace

const Path *const *paths() noexcept
{
    return kPaths;
}

} // namespace audiofft::detail
