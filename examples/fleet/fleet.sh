# Sourced, from the project's directory, by what runs Ansible against the described servers: a copy of the example in
# build/fleet with the collection beside it. Nothing is written elsewhere.
fleet_setup() {
    rm -rf build/fleet
    cp -r examples/fleet build/fleet
    mkdir -p build/fleet/disk/home1/bin build/fleet/tmp build/fleet/ansible_collections/kestel
    ln -s "$PWD/ansible" build/fleet/ansible_collections/kestel/keswsec
    workshop_wine_environment
    coproc FLEET_WINE { wine cmd >/dev/null 2>&1; } # ends with this shell; until then no call has to start Wine
    export KESWSEC=${KESWSEC:-$PWD/build/keswsec.exe} ANSIBLE_COLLECTIONS_PATH=$PWD/build/fleet ANSIBLE_HOME=$PWD/build/fleet/.ansible
    export ANSIBLE_REMOTE_TMP=$PWD/build/fleet/tmp ANSIBLE_LOCALHOST_WARNING=false
    export PYTHONDONTWRITEBYTECODE=1 PATH=/usr/bin:$PATH # Debian's Ansible and its Python
}

fleet_play() {
    (cd build/fleet && ansible-playbook "$@")
}
