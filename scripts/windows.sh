# Shared by the Windows scripts (test-windows, package-windows): the MinGW-w64 cross compiler,
# the Qt built for Windows, Wine to run what is built. Sourced after common.sh, not run.

QT_MINGW=${QT_MINGW:-/opt/qt6-mingw}
QT_MINGW_TARBALL=${QT_MINGW_TARBALL:-$TARNWICK_ROOT/../shared/toolchains/qt6.4.2-mingw-w64-x86_64.tar.xz}
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix mingw-w64-tools qt6-base-dev-tools wine wine64 fonts-wine zip unzip)

# The Qt for Windows in $QT_MINGW: unpacked from the tarball beside the checkout, or built
# from Debian's qt6-base source when there is none (about 45 minutes on two cores).
install_windows_toolchain() {
    install_missing_packages "${WINDOWS_PACKAGES[@]}" "$@"
    [ -x "$QT_MINGW/bin/qt-cmake" ] && return 0
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    if [ -f "$QT_MINGW_TARBALL" ]; then
        echo "Unpacking $(basename "$QT_MINGW_TARBALL") into $QT_MINGW ..."
        "${sudo[@]}" tar -C / -xJf "$QT_MINGW_TARBALL"
    else
        echo "No Qt for Windows at $QT_MINGW_TARBALL: building it from Debian's source ..."
        "${sudo[@]}" "$TARNWICK_ROOT/scripts/build-qt-mingw"
    fi
}

# Configures and builds for Windows in BUILD_DIR; the arguments go to the build.
build_tarnwick_windows() {
    "$QT_MINGW/bin/qt-cmake" -S "$TARNWICK_ROOT" -B "$BUILD_DIR" -G Ninja -DQT_HOST_PATH=/usr \
        -DCMAKE_CROSSCOMPILING_EMULATOR="$TARNWICK_ROOT/scripts/wine-run" \
        ${CMAKE_ARGS:-} >/dev/null
    cmake --build "$BUILD_DIR" "$@"
}

# A Wine prefix of its own in the build folder, started before anything reads a program's
# output: Wine's background processes outlive the first call in a prefix and keep its output
# open, so a pipe from that call would not end. Its display is the one set now.
start_wine_prefix() {
    export WINEPREFIX=${WINEPREFIX:-$BUILD_DIR/wineprefix} WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winemenubuilder.exe=d;mscoree=d;mshtml=d}
    mkdir -p "$WINEPREFIX"
    # The persistent server first: started after wineboot, it would find wineboot's server
    # running and fail.
    wineserver -p >/dev/null 2>&1 </dev/null
    wineboot -i >/dev/null 2>&1 </dev/null
}

# A drive letter for the tests' unit file at a drive's root, named in TARNWICK_TEST_DRIVE: Wine
# lists nothing on a drive that a program makes with DefineDosDevice (Windows does), and it
# reads the drive letters when its server starts, so the letter is mapped to a folder of the
# build here and the server started again.
map_test_drive() {
    local folder=$BUILD_DIR/test-drive
    rm -rf "$folder"
    mkdir -p "$folder"
    ln -sfn "$folder" "$WINEPREFIX/dosdevices/t:"
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
    wineserver -p >/dev/null 2>&1 </dev/null
    export TARNWICK_TEST_DRIVE=T:
}

stop_wine_prefix() {
    wineserver -k >/dev/null 2>&1 || true
}
