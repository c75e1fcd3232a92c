# shellcheck shell=bash
# What run, test and .ci/run share. To be sourced; leaves the caller in the project's root.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

say() {
    printf '\n==> %s\n' "$*"
}

set_up() {
    [[ -n ${LIBCORVANE_SKIP_SETUP:-} ]] || scripts/setup
    # Homebrew keeps Qt 5 out of the way of Qt 6.
    if [[ $(uname -s) == Darwin ]]; then
        CMAKE_PREFIX_PATH=$(brew --prefix qt@5)${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}
        export CMAKE_PREFIX_PATH
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
}
