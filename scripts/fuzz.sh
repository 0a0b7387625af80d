#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, ASan, UBSan) in build-fuzz/ and runs them.
#   scripts/fuzz.sh                  every target, 60 seconds each
#   scripts/fuzz.sh target [seconds] one target
# Inputs found are kept in build-fuzz/corpus/<target>/, crashes in build-fuzz/crashes/<target>/;
# copy a fixed crash into fuzz/corpus/<target>/ so the test suite replays it from then on.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/deps.sh"
orvex_require_packages "${orvex_build_packages[@]}" clang libclang-rt-14-dev

build="$root/build-fuzz"
CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORVEX_BUILD_FUZZERS=ON -DORVEX_SANITIZE=ON -DORVEX_BUILD_TESTS=OFF \
    -DORVEX_BUILD_EXAMPLES=OFF >/dev/null
seconds=${2:-60}
if [ $# -ge 1 ]; then
    targets=("$1")
else
    mapfile -t targets < <(cd "$root/fuzz" && ls -1 ./*.cpp | sed 's|^\./||; s|\.cpp$||' | grep -v '^CorpusMain$')
fi
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for target in "${targets[@]}"; do
    corpus="$build/corpus/$target"
    crashes="$build/crashes/$target"
    mkdir -p "$corpus" "$crashes"
    echo "== fuzz_$target for ${seconds}s"
    "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$crashes/" "$corpus" "$root/fuzz/corpus/$target"
done
