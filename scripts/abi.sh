#!/usr/bin/env bash
# The binary interface of the installed libraries against the baseline committed in abi/.
#   scripts/abi.sh --check BUILD_DIR    fails when the libraries built in BUILD_DIR break the
#                                       baseline (additions are fine); BUILD_DIR needs debug info
#   scripts/abi.sh --update [BUILD_DIR] writes the baseline anew, from BUILD_DIR or else from a
#                                       Debug build of the libraries in build-abi/
# A break needs a new soname (the major version) and a new baseline: see docs/abi.md.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
libraries=(orvexsupport orvexcore)
suppressions="$root/abi/suppressions.ini"

mode=${1:-}
build=${2:-}
case "$mode" in
    --check) [ -n "$build" ] || { echo "usage: $0 --check BUILD_DIR" >&2; exit 2; } ;;
    --update) ;;
    *) echo "usage: $0 --check BUILD_DIR | --update [BUILD_DIR]" >&2; exit 2 ;;
esac

if [ "$mode" = --update ]; then
    source "$root/scripts/deps.sh"
    orvex_require_packages "${orvex_build_packages[@]}" abigail-tools
    if [ -z "$build" ]; then
        build="$root/build-abi"
        cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DORVEX_BUILD_TESTS=OFF \
            -DORVEX_BUILD_EXAMPLES=OFF >/dev/null
        cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target OrvexSupport OrvexCore
    fi
fi

# The interface is that of the installed tree: the libraries and the headers hosts see.
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
headers="$prefix/include/orvex"

status=0
for name in "${libraries[@]}"; do
    library=$(readlink -f "$(ls "$prefix"/lib*/lib$name.so "$prefix"/lib/*/lib$name.so 2>/dev/null | head -n 1)")
    baseline="$root/abi/lib$name.abi"
    if [ "$mode" = --update ]; then
        abidw --headers-dir "$headers" --drop-private-types --suppressions "$suppressions" \
            --no-corpus-path --no-comp-dir-path --short-locs --out-file "$baseline" "$library"
        echo "wrote ${baseline#"$root"/}"
        continue
    fi
    result=0
    abidiff --headers-dir2 "$headers" --drop-private-types --suppressions "$suppressions" \
        --no-added-syms "$baseline" "$library" || result=$?
    # abidiff's exit status is a bit set: 1 error, 2 usage, 4 a change, 8 an incompatible change.
    # With added symbols left out, any change left is a break: bit 8 alone marks only removed
    # symbols, while a changed layout of a public class (a private member added) sets bit 4.
    if (( result != 0 )); then
        echo "lib$name: the binary interface breaks the baseline ${baseline#"$root"/} (abidiff $result)." >&2
        echo "Keep it compatible, or raise the major version and run scripts/abi.sh --update." >&2
        status=1
    else
        echo "lib$name: compatible with the baseline"
    fi
done
exit $status
