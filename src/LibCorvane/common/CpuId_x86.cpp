#include "CpuId_p.h"

#include <cpuid.h>

namespace corvane {

std::optional<CpuIdWords> cpuIdWords(unsigned int leaf) noexcept
{
    CpuIdWords words{};
    __get_cpuid_count(leaf, 0, &words[0], &words[1], &words[2], &words[3]);
    return words;
}

} // namespace corvane
