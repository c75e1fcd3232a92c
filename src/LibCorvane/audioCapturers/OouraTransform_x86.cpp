// Apart from the vector code, since no machine may need AVX2 to find out that it has none.
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cpuid.h>

namespace audiofft::detail {
namespace {

const Path *const kPaths[] = {&kAvx2Path, &kSse2Path, &kPlainPath, nullptr};

constexpr unsigned kXmmAndYmm = 6;

/// Whether the system keeps the wide registers when it switches threads.
bool keepsWideRegisters()
{
    unsigned low = 0;
    unsigned high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (low & kXmmAndYmm) == kXmmAndYmm;
}

// The compiler's own __builtin_cpu_supports() would bring a constructor that asks the processor a
// dozen questions whenever the library is loaded; in a virtual machine each takes microseconds.
bool hasAvx2AndFma()
{
    constexpr unsigned needed = bit_FMA | bit_OSXSAVE | bit_AVX;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & needed) != needed || !keepsWideRegisters())
        return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_AVX2);
}

} // namespace

const Path *const *paths() noexcept
{
    static const bool takesAvx2 = hasAvx2AndFma();
    return takesAvx2 ? kPaths : kPaths + 1;
}

} // namespace audiofft::detail
