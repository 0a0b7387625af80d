#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks in Release (build-bench/), runs each against its
# peers and writes docs/benchmarks.md (one markdown table per benchmark program: each
# implementation's fastest time of five runs and the ratio to the library's) and docs/integers.png (time
# against operand size, log-log, for the integer library, GMP and Boost cpp_int).
#   scripts/bench.sh           everything, the integer library once more on its reference path alone
#   scripts/bench.sh --quick   one repetition each, no reference run
# Benchmarks are noisy on a busy machine: the load average is written beside the tables.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/deps.sh"

quick=0
case "${1:-}" in
    "") ;;
    --quick) quick=1 ;;
    *) echo "usage: $0 [--quick]" >&2; exit 2 ;;
esac

orvex_require_packages "${orvex_build_packages[@]}" libbenchmark-dev libboost-dev libspdlog-dev \
    gnuplot-nox

build="$root/build-bench"
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_BENCHMARKS=ON \
    -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_EXAMPLES=OFF
programs=(bench_integers bench_domvisitor bench_message bench_logger)
cmake --build "$build" -j "$jobs" --target "${programs[@]}"

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
repetitions=5
[ "$quick" -eq 1 ] && repetitions=1
load=$(cut -d' ' -f1-3 /proc/loadavg 2>/dev/null || uptime)

# run name [extra options...]: the program's markdown table into $out/name.md, its CSV into
# $out/name.csv.
run() {
    local name=$1
    shift
    echo "== $name $*" >&2
    "$build/bench/${name%%.*}" --benchmark_color=false --benchmark_repetitions="$repetitions" \
        --benchmark_out="$out/$name.csv" \
        --benchmark_out_format=csv "$@" | tee "$out/$name.log" | grep '^|' >"$out/$name.md"
}

for program in "${programs[@]}"; do
    # One program that cannot run (a port taken by another process) leaves its table out, not the
    # others.
    run "$program" || echo "$program failed; its table is left out" >&2
done
if [ "$quick" -eq 0 ]; then
    # The reference algorithms take seconds per call at the largest sizes: one repetition, and
    # neither the limb kernels (they have no reference) nor a million digits (hours).
    repetitions=1 ORVEX_BENCH_REFERENCE=1 run bench_integers.reference \
        '--benchmark_filter=-(words|calibrate|/3321929$)'

fi

mkdir -p "$root/docs"
{
    echo "# Benchmarks"
    echo
    echo "Written by \`scripts/bench.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) cores" \
        "($(grep -m1 'model name' /proc/cpuinfo 2>/dev/null | cut -d: -f2- | sed 's/^ *//' \
            || true))," \
        "load average $load at the start. Fastest of $repetitions runs (the one the machine's" \
        "other work disturbed least); the last column is the" \
        "library's time divided by that implementation's (below 1: the library is faster)."
    echo
    echo "## Integers: the library (orvex), GMP's mpz and Boost.Multiprecision's cpp_int"
    echo
    echo "Operands of n bits (divide: 2n by n bits; modexp: base, exponent and odd modulus of" \
        "n bits). Plot: [integers.png](integers.png)."
    echo
    cat "$out/bench_integers.md"
    if [ -f "$out/bench_integers.reference.md" ]; then
        echo
        echo "### The same, the library on its reference algorithms alone (before the fast paths)"
        echo
        cat "$out/bench_integers.reference.md"
    fi
    echo
    echo "## DOM visitor: parse and walk of a 200,000-element document"
    echo
    cat "$out/bench_domvisitor.md"
    echo
    echo "## Message channel: round trip through a local echo peer, by payload size"
    echo
    cat "$out/bench_message.md"
    echo
    echo "## Logger: lines from 1, 2 and 8 posting threads"
    echo
    cat "$out/bench_logger.md"
} >"$root/docs/benchmarks.md"

# Time against operand size: one panel per integer operation, one line per library.
mkdir -p "$out/plot"
for csv in "$out/bench_integers.csv" "$out/bench_integers.reference.csv"; do
    [ -f "$csv" ] || continue
    suffix=""
    [ "$csv" = "$out/bench_integers.reference.csv" ] && suffix="-reference"
    # Rows look like "modexp/gmp/1024",iterations,real_time,cpu_time,time_unit,... once per
    # repetition (the aggregates carry a suffix); the fastest is plotted, as in the tables.
    awk -F, -v dir="$out/plot" -v suffix="$suffix" '
        $1 ~ /^"[a-z]+\/[a-z]+\/[0-9]+"$/ {
            gsub(/"/, "", $1)
            split($1, part, "/")
            if (suffix != "" && part[2] != "orvex") next
            scale = ($5 == "ms") ? 1e6 : ($5 == "us") ? 1e3 : ($5 == "s") ? 1e9 : 1
            if (!($1 in best) || $3 * scale < best[$1]) best[$1] = $3 * scale
        }
        END {
            for (name in best) {
                split(name, part, "/")
                print part[3], best[name] >> (dir "/" part[1] "_" part[2] suffix ".dat")
            }
        }' "$csv"
done
for dat in "$out"/plot/*.dat; do
    [ -f "$dat" ] && sort -n -o "$dat" "$dat"
done
implementations="orvex gmp boost"
[ -f "$out/bench_integers.reference.csv" ] && implementations+=" orvex-reference"
gnuplot <<EOF
set terminal pngcairo size 1500,900 font ",10"
set output "$root/docs/integers.png"
set multiplot layout 2,3 title "Time per call against operand size (log-log; lower is better)"
set logscale xy
set format y "10^{%L}"
set xlabel "bits"
set key top left
set grid
do for [c in "multiply divide modexp gcd totext fromtext"] {
    set ylabel sprintf("%s: ns per call", c)
    plot for [impl in "$implementations"] \
        sprintf("$out/plot/%s_%s.dat", c, impl) using 1:2 with linespoints title impl
}
unset multiplot
EOF
echo "Wrote $root/docs/benchmarks.md and $root/docs/integers.png"
