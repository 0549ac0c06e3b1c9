#!/usr/bin/env bash
# The collection, through Ansible's own programs: the fleet's first and second run, a check of it, what tasks return and
# refuse, temporary files, passwords, documentation and lint.
set -euo pipefail
cd "$(dirname "$0")/../.."
. cmake/workshop.sh
. examples/fleet/fleet.sh
fleet_setup
cp tests/ansible/answers.yml build/fleet/
export ANSIBLE_KEEP_REMOTE_FILES=1 # what holds passwords is removed all the same
fail() { echo "ansible: $1, build/fleet/${2:-log} ends so:" >&2; tail -40 "build/fleet/${2:-log}" >&2; exit 1; }

# expect WHAT HOSTS CHANGED OPTION...: that many hosts change, or none; db07 fails by itself, with its message.
expect() {
    local what=$1 hosts=$2 changed=$3 status=0
    fleet_play "${@:4}" secure-home.yml >build/fleet/log 2>&1 || status=$?
    [ $status -eq 2 ] || fail "$what: status $status"
    local others
    others=$(sed -n '/PLAY RECAP/,$s/ .*\(changed=[0-9]*\) .*\(failed=[0-9]*\) .*/ \1 \2/p' build/fleet/log | grep -v '^db07 ')
    [ "$(cut -d' ' -f2- <<<"$others" | sort | uniq -c | xargs)" = "$hosts changed=$changed failed=0" ] || fail "$what"
    grep -q '"msg": "keswsec: .*nodes/db07.ini: \[node\] product: .*sever.* is none of: workstation' build/fleet/log ||
        fail "$what: db07"
    cat build/fleet/log >>build/fleet/shown
}
expect "check" 2 1 --check --diff --limit db01,db07,dc1
diff -r examples/fleet/nodes build/fleet/nodes || fail "the check has changed a node"
grep -A4 -- '--- before: DB01: group KES_DBA: created' build/fleet/log | grep -q '+ .*"comment": "Kestel administrators"' || fail diff
expect "first run" 11 1 --forks 6 -vvv
expect "second run" 11 0 --forks 1
fleet_play -vvv --diff answers.yml >build/fleet/log 2>&1 || fail answers
cat build/fleet/log >>build/fleet/shown
! grep -nE 'Rehearsal-1|Never to be|to be "*seen' build/fleet/shown || fail "a password is shown" shown
[ -z "$(find build/fleet/tmp build/fleet/.ansible -type f)" ] || fail "temporary files are left"

/usr/bin/python3 tests/ansible/windows_shells.py
(cd build/fleet && ansible-doc --type module kestel.keswsec.{calls,verify,undo}) >build/fleet/doc
[ "$(grep -cE "^[-=] (journal|script)|^EXAMPLES|^RETURN VALUES" build/fleet/doc)" = 10 ] || fail ansible-doc doc
(cd build/fleet && ansible-lint --offline --nocolor ansible_collections/kestel/keswsec secure-home.yml) >build/fleet/lint 2>&1 ||
    fail ansible-lint lint
