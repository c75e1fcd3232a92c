# shellcheck shell=bash
# What run, test and .ci/run share. To be sourced; leaves the caller in the project's root.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

say() {
    printf '\n==> %s\n' "$*"
}

set_up() {
    [[ -n ${LIBCORVANE_SKIP_SETUP:-} ]] || scripts/setup
    # Homebrew keeps older versions out of the way of the latest ones.
    if [[ $(uname -s) == Darwin ]]; then
        CMAKE_PREFIX_PATH=$(brew --prefix qt@5)${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}
        PKG_CONFIG_PATH=$(brew --prefix ffmpeg@7)/lib/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}
        export CMAKE_PREFIX_PATH PKG_CONFIG_PATH
    fi
    if command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
    fi
}

jobs_count() {
    getconf _NPROCESSORS_ONLN
}

# build PRESET [cmake --build arguments…]
build() {
    local preset=$1
    shift
    say "Building ($preset)"
    cmake --preset "$preset" --log-level=WARNING
    cmake --build --preset "$preset" --parallel "$(jobs_count)" "$@"
}

# run_tests PRESET [ctest arguments…]
run_tests() {
    local preset=$1
    shift
    say "Testing ($preset)"
    ctest --preset "$preset" --no-tests=error --parallel "$(jobs_count)" "$@"
    # To ctest, a program that skips some of its tests has passed like any other.
    grep -A 1 '^SKIP' "build/$preset/Testing/Temporary/LastTest.log" || true
}
