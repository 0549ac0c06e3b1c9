#!/usr/bin/env bash
# run-tests.sh PROGRAM [ARGUMENT ...]: the test program under Wine. It fails as well when the runner's summary is missing: a
# program that is ended from outside its tests may leave the status 0.
set -uo pipefail
output=$(mktemp)
trap 'rm -f "$output"' EXIT
/usr/bin/wine "$@" | tee "$output"
status=${PIPESTATUS[0]}
case " $*" in *" --help"* | *" --gtest_list_tests"*) exit "$status" ;; esac
if [ "$status" -eq 0 ] && ! grep -q '^\[  PASSED  \] [1-9]' "$output"; then
    echo "no summary of tests that passed" >&2
    exit 1
fi
exit "$status"
