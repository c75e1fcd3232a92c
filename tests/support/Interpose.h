#ifndef CORVANE_TESTS_INTERPOSE_H
#define CORVANE_TESTS_INTERPOSE_H

#include <dlfcn.h>

namespace corvane::test {

/// The function of a shared library that a test program's own function of that name stands before:
/// the linker resolves the library's calls to the program's function first. So it is with ELF; on
/// macOS a library finds its own functions, and such tests (label "elf") are left out.
template <typename Function>
Function *nextFunction(const char *symbol)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, symbol));
}

} // namespace corvane::test

#endif
