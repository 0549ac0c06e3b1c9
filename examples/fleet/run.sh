#!/usr/bin/env bash
# Secures a home on twelve described servers with Ansible, twice: the second time nothing changes. No machine is touched.
set -uo pipefail
cd "$(dirname "$0")/../.."
. cmake/workshop.sh
. examples/fleet/fleet.sh
fleet_setup
for run in first second; do
    echo "==== The $run run (examples/fleet/secure-home.yml)"
    fleet_play --forks 6 secure-home.yml
done
