#!/usr/bin/env bash
# The bundle for Windows: its files, that it needs nothing of this machine, that it asks first; the workflow that uses it.
set -euo pipefail
cd "$(dirname "$0")/../.."
. cmake/workshop.sh
workshop_wine_environment
name=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=\(.*\)/keswsec-\1-windows-tests/p' build/CMakeCache.txt)
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT
work="$temporary/First Last" # as users' directories are called
mkdir "$work"
fail() { echo "windows-bundle: $1" >&2; tail -40 "$work/log" >&2; exit 1; }
ninja -C build --quiet windows-bundle >"$work/log" || fail build
(cd "$work" && cmake -E tar xf "$OLDPWD/build/$name.zip")
diff - <(cd "$work/$name" && find . -type f ! -path './docs/*' ! -path './examples/*' | LC_ALL=C sort) <<'FILES' || fail "other files"
./README.md
./bin/checked/keswsec19.dll
./bin/keswsec.exe
./bin/keswsec19.dll
./bin/keswsec_tests.exe
./bin/message-modules/KESWSECMSGJA.DLL
./bin/message-modules/KESWSECMSGUS.DLL
./run-tests.cmd
./src/keswsec.h
./src/resources/exports.def
./src/resources/messages.mc
./tests/faults/node.ini
./tests/whatif/node.ini
FILES
diff -r docs "$work/$name/docs" || fail "other documents"
! grep -rlF "$PWD" "$work/$name" || fail "a path of this machine is in it"

run() { # STATUS ARGUMENT...: what run-tests.cmd ends with
    local status=0
    (cd / && wine cmd /c "Z:${work//\//\\}\\$name\\run-tests.cmd" "${@:2}") >"$work/log" 2>&1 || status=$?
    [ $status -eq "$1" ] || fail "run-tests.cmd ${*:2}: status $status"
}
cp -r "$work/$name" "$work/before"
run 2
grep -q 'Say --on-this-machine' "$work/log" && diff -r "$work/before" "$work/$name" || fail "it does not ask"
run 2 --on-that-machine
# What reads files of the project, starts keswsec.exe, and is real under Wine.
run 0 --on-this-machine --gtest_filter='Image*:Functions*:Program*:Description*:MessageModule*:Platform.N*:ServiceControl*'
grep -q '<testsuites tests="[1-9]' "$work/$name/report/tests.xml" || fail "no report"

# Each path in the workflow is one of the project, one that the build makes, or one of the bundle.
/usr/bin/python3 - .github/workflows/windows.yml >"$work/paths" <<'PYTHON'
import re, sys, yaml
def texts(value):
    if isinstance(value, (dict, list)):
        for item in value.values() if isinstance(value, dict) else value:
            yield from texts(item)
    else:
        yield str(value)
jobs = yaml.safe_load(open(sys.argv[1]))["jobs"]
print(*(word for text in texts(jobs) if not text.startswith("actions/") for word in text.split() if re.search(r"[/\\]|\.zip", word)), sep="\n")
PYTHON
[ "$(wc -l <"$work/paths")" -ge 5 ] || fail "paths in the workflow"
while read -r path; do
    path=${path//\\//}
    [ -e "$path" ] || [ -e "build/$path" ] || [ -e "$work/$path" ] || fail "the workflow names $path"
done <"$work/paths"
