# Shared by scripts/run and scripts/test: installs what a fresh Debian machine lacks and
# builds the program. Sourced, not run.
set -euo pipefail

TARNWICK_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD_DIR=${BUILD_DIR:-$TARNWICK_ROOT/build}
PACKAGES=(cmake ninja-build g++ qt6-base-dev libgl-dev fonts-dejavu-core)

install_missing_packages() {
    local missing=()
    for package in "${PACKAGES[@]}" "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed" \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    echo "Installing ${missing[*]} ..."
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

build_tarnwick() {
    cmake -S "$TARNWICK_ROOT" -B "$BUILD_DIR" -G Ninja ${CMAKE_ARGS:-} >/dev/null
    cmake --build "$BUILD_DIR" "$@"
}
