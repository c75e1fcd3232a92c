#ifndef CORVANE_TESTS_INTERPOSE_H
#define CORVANE_TESTS_INTERPOSE_H

#include <dlfcn.h>

#include <cstddef>
#include <tuple>

namespace corvane::test {

/// The function of a shared library that a test program's own function of that name stands before:
/// the linker resolves the library's calls to the program's function first. So it is with ELF; on
/// macOS a library finds its own functions, and such tests (label "elf") are left out.
template <typename Function>
Function *nextFunction(const char *symbol)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, symbol));
}

/// The same of a library that only a plug-in has loaded.
template <typename Function>
Function *functionOf(const char *library, const char *symbol)
{
    return reinterpret_cast<Function *>(dlsym(dlopen(library, RTLD_LAZY), symbol));
}

namespace detail {
template <typename Function>
struct Arguments;
template <typename Result, typename... Argument>
struct Arguments<Result(Argument...)> {
    using Types = std::tuple<Argument...>;
};
} // namespace detail

/// The type of a function's argument as its header declares it: for functions whose declaration is
/// not the same in every version of their library.
template <typename Function, std::size_t index>
using ArgumentOf = std::tuple_element_t<index, typename detail::Arguments<Function>::Types>;

} // namespace corvane::test

#endif
