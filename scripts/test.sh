#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/test.sh              plain build in build/
#   scripts/test.sh --sanitize   AddressSanitizer and UndefinedBehaviorSanitizer build in build-asan/
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/deps.sh"

mode=plain
case "${1:-}" in
    "") ;;
    --sanitize) mode=sanitize ;;
    *) echo "usage: $0 [--sanitize]" >&2; exit 2 ;;
esac

orvex_require_packages "${orvex_build_packages[@]}"

jobs=$(nproc 2>/dev/null || echo 2)
if [ "$mode" = sanitize ]; then
    build="$root/build-asan"
    options=(-DCMAKE_BUILD_TYPE=Debug -DORVEX_SANITIZE=ON)
    export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
    build="$root/build"
    options=(-DCMAKE_BUILD_TYPE=Debug)
fi

cmake -S "$root" -B "$build" "${options[@]}"
cmake --build "$build" -j "$jobs"
cd "$build"
ctest --output-on-failure -j "$jobs"
