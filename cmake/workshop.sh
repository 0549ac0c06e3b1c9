# Sourced by ./run and ./test: what the machine must have, the build, and Wine with a prefix of the project's own.

build_packages="g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 cmake ninja-build wine wine64 llvm git"
test_packages="$build_packages googletest clang-format clang-tidy"

workshop_setup() {
    local packages=$build_packages missing=() package
    [ "${1:-}" = tests ] && packages=$test_packages
    for package in $packages; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null || { echo "missing: ${missing[*]} (no apt-get here to install them)" >&2; exit 1; }
    local sudo=
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    echo "installing ${missing[*]}"
    $sudo apt-get update -qq
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# workshop_build DIRECTORY TARGET...
workshop_build() {
    local directory=$1
    shift
    [ -f "$directory/build.ninja" ] || cmake --preset mingw-w64 -B "$directory" >"$directory.log" 2>&1 ||
        { cat "$directory.log" >&2; exit 1; }
    rm -f "$directory.log"
    ninja -C "$directory" --quiet "$@"
}

# Runs a Windows program under Wine. The prefix lies in the build folder and is made on first use.
workshop_wine() {
    workshop_wine_environment
    /usr/bin/wine "$@"
}

workshop_wine_environment() {
    export WINEPREFIX=${KESWSEC_WINEPREFIX:-$PWD/build/wine} WINEDEBUG=-all WINEARCH=win64
    export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe=" DISPLAY=
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
        mkdir -p "$WINEPREFIX"
        wineboot --init >/dev/null 2>&1
        wineserver -w
    fi
}

workshop_check_format() {
    git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
}

workshop_check_lint() {
    :
}
