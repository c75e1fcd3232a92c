# Warnings and sanitizers for this project's own targets; never part of what is installed.
add_library(corvane_options INTERFACE)
target_compile_options(corvane_options INTERFACE
  -Wall -Wextra -Wpedantic $<$<BOOL:${LIBCORVANE_WERROR}>:-Werror>
  # QSKIP("reason") gives a variadic macro no argument, which clang's -Wpedantic forbids,
  # since 19 as something of C++20.
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-gnu-zero-variadic-macro-arguments>
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-c++20-extensions>)

if(LIBCORVANE_SANITIZE)
  string(REPLACE ";" "," _sanitizers "${LIBCORVANE_SANITIZE}")
  target_compile_options(corvane_options INTERFACE
    -fsanitize=${_sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  target_link_options(corvane_options INTERFACE -fsanitize=${_sanitizers})
endif()

# The library's sources name themselves from src/ on in log lines, wherever they were built.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fmacro-prefix-map=a=b LIBCORVANE_HAS_MACRO_PREFIX_MAP)
add_library(corvane_library_options INTERFACE)
target_link_libraries(corvane_library_options INTERFACE corvane_options)
if(LIBCORVANE_HAS_MACRO_PREFIX_MAP)
  target_compile_options(corvane_library_options INTERFACE
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/src/=)
endif()

# Coverage feedback for the fuzzers; tests/fuzz adds the engine to their programs alone.
if(LIBCORVANE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "LIBCORVANE_FUZZ needs clang, which brings libFuzzer: "
      "cmake --preset fuzz")
  endif()
  target_compile_options(corvane_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
