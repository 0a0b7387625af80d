#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/test.sh              plain build in build/
#   scripts/test.sh --sanitize   AddressSanitizer and UndefinedBehaviorSanitizer build in build-asan/
#   scripts/test.sh --valgrind   every test program under valgrind's memcheck, build in build-valgrind/
#   scripts/test.sh --tsan       ThreadSanitizer build (clang) of the tests that run threads, in build-tsan/
#   scripts/test.sh --clang      clang++ Release build in build-clang/
# Warnings are errors when ORVEX_WERROR=ON is in the environment, or under CI (CI=true).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/deps.sh"

mode=plain
case "${1:-}" in
    "") ;;
    --sanitize) mode=sanitize ;;
    --valgrind) mode=valgrind ;;
    --tsan) mode=tsan ;;
    --clang) mode=clang ;;
    *) echo "usage: $0 [--sanitize | --valgrind | --tsan | --clang]" >&2; exit 2 ;;
esac

packages=("${orvex_build_packages[@]}" "${orvex_test_packages[@]}")
case "$mode" in
    valgrind) packages+=(valgrind) ;;
    tsan | clang) packages+=(clang) ;;
esac
orvex_require_packages "${packages[@]}"

jobs=$(nproc 2>/dev/null || echo 2)
tests=()
case "$mode" in
    sanitize)
        build="$root/build-asan"
        options=(-DCMAKE_BUILD_TYPE=Debug -DORVEX_SANITIZE=ON)
        # A small quarantine: the service tests bound a service's peak resident memory under
        # hostile input, and freed blocks held back by the sanitizer (256 MB by default) count too.
        export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:quarantine_size_mb=4
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        ;;
    valgrind)
        build="$root/build-valgrind"
        # A definite leak or any memory error fails the test; Qt's own one-time allocations that
        # live to process exit are "still reachable" and not reported.
        launcher="valgrind;--tool=memcheck;--leak-check=full;--show-leak-kinds=definite"
        launcher+=";--errors-for-leak-kinds=definite;--error-exitcode=97;--num-callers=30"
        # A child that QProcess forks and that fails to exec exits with Qt's argument copies
        # still allocated; that is the child's business, not a leak of the test.
        launcher+=";--child-silent-after-fork=yes"
        launcher+=";--suppressions=$root/tests/valgrind.supp"
        options=(-DCMAKE_BUILD_TYPE=Debug -DORVEX_BUILD_EXAMPLES=OFF "-DORVEX_TEST_LAUNCHER=$launcher")
        # Qt Test's own watchdog ends a test function after five minutes; memcheck needs longer.
        export QTEST_FUNCTION_TIMEOUT=3600000
        ;;
    tsan)
        build="$root/build-tsan"
        export CXX=clang++
        options=(-DCMAKE_BUILD_TYPE=Debug -DORVEX_SANITIZE_THREAD=ON -DORVEX_BUILD_EXAMPLES=OFF)
        export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp"
        # The programs whose threads share data only through the library and their own atomics:
        # the logger's writers and the visitor on a small stack. (The message tests' stand-in
        # service locks with QMutex, which the sanitizer cannot see inside Qt.)
        tests=(tst_logger tst_domvisitor)
        ;;
    clang)
        # The compiler family the product ships with, optimised: its warnings and the optimiser's.
        build="$root/build-clang"
        export CXX=clang++
        options=(-DCMAKE_BUILD_TYPE=Release)
        ;;
    *)
        build="$root/build"
        options=(-DCMAKE_BUILD_TYPE=Debug)
        ;;
esac

werror=OFF
if [ -n "${ORVEX_WERROR:-}" ]; then
    werror=$ORVEX_WERROR
elif [ "${CI:-}" = true ]; then
    werror=ON
fi
options+=("-DORVEX_WERROR=$werror")

cmake -S "$root" -B "$build" "${options[@]}"
if [ ${#tests[@]} -gt 0 ]; then
    cmake --build "$build" -j "$jobs" --target "${tests[@]}"
    cd "$build"
    pattern=$(IFS='|'; echo "${tests[*]}")
    ctest --output-on-failure -j "$jobs" -R "^(${pattern})\$"
else
    cmake --build "$build" -j "$jobs"
    cd "$build"
    ctest --output-on-failure -j "$jobs"
fi
