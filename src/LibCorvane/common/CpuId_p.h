#ifndef LIBCORVANE_COMMON_CPUID_P_H
#define LIBCORVANE_COMMON_CPUID_P_H

#include <array>
#include <optional>

namespace corvane {

/// EAX, EBX, ECX and EDX as the CPUID instruction leaves them.
using CpuIdWords = std::array<unsigned int, 4>;

/// What the processor answers for a leaf, sub-leaf 0: zeros when it does not have that leaf,
/// nothing when it does not have the instruction.
std::optional<CpuIdWords> cpuIdWords(unsigned int leaf) noexcept;

} // namespace corvane

#endif
