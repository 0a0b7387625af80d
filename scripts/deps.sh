# Sourced by the project's scripts: installs the Debian packages that are missing.
# Usage: orvex_require_packages package...

orvex_require_packages() {
    local missing=()
    local package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=()
    [ "$(id -u)" -ne 0 ] && sudo=(sudo)
    echo "Installing: ${missing[*]}"
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}"
}

# What building and testing the library needs on Debian 12.
orvex_build_packages=(cmake make g++ pkg-config qtbase5-dev libgmp-dev)

# What the tests need beyond the build: qmake and dpkg's tools for the package test, libabigail's
# tools for the binary interface check.
orvex_test_packages=(qt5-qmake dpkg-dev abigail-tools)
