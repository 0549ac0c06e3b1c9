# Sourced by ./run and ./test: what the machine must have, the build, and Wine with a prefix of the project's own.

build_packages="g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 cmake ninja-build wine wine64 llvm git
nlohmann-json3-dev libcli11-dev zip"
test_packages="$build_packages googletest clang-format clang-tidy lld ansible-core ansible-lint"
coverage_packages="$test_packages gcovr"
fleet_packages="$build_packages ansible-core"
workshop_variant= # of the preset and of the build folder: -coverage

workshop_setup() { # build, test, coverage or fleet
    local packages=$1_packages missing=() package
    for package in ${!packages}; do
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

# workshop_build [-D...] TARGET...: configures on first use and whenever an option is new, then builds.
workshop_build() {
    local options=() folder=build$workshop_variant
    while [ "${1#-D}" != "$1" ]; do
        grep -qs "^$(sed 's/^-D//; s/=/:[A-Z]*=/' <<<"$1")\$" $folder/CMakeCache.txt || options+=("$1")
        shift
    done
    if [ ! -f $folder/build.ninja ] || [ ${#options[@]} -gt 0 ]; then
        mkdir -p $folder
        cmake --preset mingw-w64$workshop_variant "${options[@]}" >$folder/configure.log 2>&1 ||
            { cat $folder/configure.log >&2; exit 1; }
    fi
    ninja -C $folder --quiet "$@" | sed '/: no work to do/d'
}

# Runs a Windows program under Wine. The prefix lies in the build folder and is made on first use.
workshop_wine() {
    workshop_wine_environment
    /usr/bin/wine "$@"
}

workshop_wine_environment() {
    export WINEPREFIX=${KESWSEC_WINEPREFIX:-$PWD/build/wine} WINEDEBUG=-all WINEARCH=win64
    export LC_ALL=C.UTF-8 # else Wine makes no file whose name is outside ASCII
    # Without the debugger: it ends a program that crashes with the status 0.
    export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe,winedbg.exe=" DISPLAY=
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
        mkdir -p "$WINEPREFIX"
        wineboot --init >/dev/null 2>&1
        wineserver -w
    fi
}

# workshop_tests [--gtest_...]: the test program. It has passed when it says so, not when it only ended with 0.
workshop_tests() {
    workshop_wine_environment
    cmake/run-tests.sh build$workshop_variant/keswsec_tests.exe "$@"
}

# workshop_coverage [--gtest_...]: what lines and branches of src/ the tests take. A library that counts has other imports.
workshop_coverage() {
    local status=0 report=build-coverage/report
    workshop_variant=-coverage
    workshop_build keswsec_tests
    find build-coverage -name '*.gcda' -delete
    export GCOV_PREFIX=Z: # where a Windows program finds the paths that the objects hold
    workshop_tests --gtest_brief=1 --gtest_filter='-Image.*:FaultRuns.ReachEveryExportRowAndException' "$@" || status=$?
    rm -rf $report && mkdir $report
    gcovr --root . --filter src/ --gcov-executable x86_64-w64-mingw32-gcov-posix --exclude-unreachable-branches \
        --html-details $report/index.html --branches --txt $report/branches.txt --print-summary build-coverage
    echo "file by file: $report/index.html; branches never taken: $report/branches.txt"
    return $status
}

workshop_check_format() {
    git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
    ! git grep -nE '^.{121,}' -- '*.cpp' '*.h' # comments too, which clang-format leaves as they are
}

# Reads the library's sources as the cross compiler does; only what changed since it last passed.
workshop_check_lint() {
    local directories path
    local arguments=(--quiet -p build --extra-arg=--target=x86_64-w64-windows-gnu
        --extra-arg=-Wno-ignored-optimization-argument) # of the cross compiler alone
    directories=$(x86_64-w64-mingw32-g++-posix -E -x c++ -v /dev/null 2>&1 | sed -n 's/^ \(.*c++.*\)/\1/p')
    for path in $directories; do
        arguments+=("--extra-arg=-isystem$(realpath "$path")")
    done
    mkdir -p build/lint
    git ls-files -z -- 'src/*.cpp' | xargs -0 -P "$(nproc)" -I{} bash -c '
        source={} stamp=build/lint/$(tr / - <<<"{}")
        [ "$stamp" -nt "$source" ] && [ -z "$(find src .clang-tidy -name "*.h" -newer "$stamp" -o -name .clang-tidy -newer "$stamp")" ] && exit 0
        output=$(clang-tidy "$@" "$source" 2>/dev/null) || { echo "$output"; exit 255; }
        touch "$stamp"' lint "${arguments[@]}"
}
