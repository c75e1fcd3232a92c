#include "CpuId_p.h"

namespace corvane {

std::optional<CpuIdWords> cpuIdWords(unsigned int) noexcept
{
    return std::nullopt;
}

} // namespace corvane
