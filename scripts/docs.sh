#!/usr/bin/env bash
# Builds the API reference of the public headers with Doxygen: HTML in build-docs/html/ and the Qt
# Help file build-docs/orvexsupport.qch. Fails on any Doxygen warning, undocumented public API
# included. Usage: scripts/docs.sh [output directory]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
out=$(realpath -m "${1:-$root/build-docs}")

source "$root/scripts/deps.sh"
orvex_require_packages doxygen qhelpgenerator-qt5 "${orvex_build_packages[@]}"

mkdir -p "$out"
# Configuring (no build) makes the headers CMake generates, such as the version header.
cmake -S "$root" -B "$out/cmake" -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_EXAMPLES=OFF \
    -DORVEX_BUILD_FUZZERS=OFF -DORVEX_BUILD_BENCHMARKS=OFF >"$out/cmake.log" 2>&1 ||
    { cat "$out/cmake.log" >&2; exit 1; }

version=$(sed -n 's/^project(OrvexSupport VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")

# The facility pages open with the README's example for that facility, so the two never differ:
# a line "@readme-example Heading" becomes the first cpp block under the README's "## Heading".
pages="$out/pages"
rm -rf "$pages" "$out/html" "$out/orvexsupport.qch"
mkdir -p "$pages"
for page in "$root"/docs/api/*.md; do
    awk -v readme="$root/README.md" '
        function example(heading,    line, inSection, inBlock, text) {
            while ((getline line < readme) > 0) {
                if (line ~ /^## /) {
                    if (inSection) break
                    inSection = (line == "## " heading)
                } else if (inSection && !inBlock && line == "```cpp") {
                    inBlock = 1
                    text = line "\n"
                } else if (inBlock) {
                    text = text line "\n"
                    if (line == "```") break
                }
            }
            close(readme)
            if (!inBlock || line != "```") {
                print FILENAME ": no cpp example under \"## " heading "\" in README.md" > "/dev/stderr"
                exit 1
            }
            return text
        }
        /^@readme-example / { printf "%s", example(substr($0, 17)); next }
        { print }
    ' "$page" | sed 's|^|/// |; s| $||' >"$pages/$(basename "$page" .md).dox"
done

# Public headers: every header under src/ but the internal *_p.h, and the generated ones that are
# installed with them. The export header holds only compiler attributes and stays out.
inputs=("$pages")
for area in core util message service bigint; do
    inputs+=("$root/src/$area")
done
while IFS= read -r header; do
    inputs+=("$header")
done < <(find "$out/cmake" -name '*.h' -not -path '*/CMakeFiles/*' -not -path '*_autogen/*' \
    -not -name '*export*.h' | sort)

export ORVEX_DOCS_OUT="$out" ORVEX_DOCS_VERSION="$version" ORVEX_DOCS_MAJOR="${version%%.*}"
export ORVEX_DOCS_STRIP="$root/src $out/cmake/include $out/cmake" ORVEX_DOCS_INPUT="${inputs[*]}"
export ORVEX_DOCS_QHG=/usr/lib/qt5/bin/qhelpgenerator
export ORVEX_DOCS_LAYOUT="$root/docs/DoxygenLayout.xml"

status=0
# Doxygen's warnings go to their own log; its progress and qhelpgenerator's go to doxygen.log.
(cd "$out" && doxygen "$root/docs/Doxyfile" >"$out/doxygen.log" 2>&1) || status=$?
if [ -s "$out/doxygen-warnings.log" ]; then
    cat "$out/doxygen-warnings.log" >&2
    echo "docs.sh: $(grep -c . "$out/doxygen-warnings.log") Doxygen warning lines" >&2
    exit 1
fi
[ "$status" -eq 0 ] || { cat "$out/doxygen.log" >&2; echo "docs.sh: doxygen failed ($status)" >&2; exit 1; }
[ -s "$out/orvexsupport.qch" ] || { echo "docs.sh: no Qt Help file was made" >&2; exit 1; }

echo "HTML:    $out/html/index.html"
echo "Qt Help: $out/orvexsupport.qch (Qt Creator: Edit > Preferences > Help > Documentation > Add)"
