#!/usr/bin/env bash
# Installs a home on a described server and shows everything that changes there. No machine is touched: the library is
# the shipped one, the server is examples/server.ini, and the home is a directory in the build folder.
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/workshop.sh

example=build/example
rm -rf $example
mkdir -p $example/home1/bin $example/old
cp build/keswsec19.dll $example/home1/bin/
printf 'SOFTWARE\\KESTEL\\KEY_home1\r\n' >$example/home1/bin/KESTEL.KEY
touch $example/old/log $example/old/lock

# keswsec DESCRIPTION OPTION...: acts on that node; DB2 is another one.
keswsec() {
    workshop_wine build/keswsec.exe --home $example/home1 --node "$1" --node examples/remote.ini "${@:2}"
}

echo "==== A home is created on SRV1 (examples/server.ini, examples/create-home.txt)"
keswsec examples/server.ini --save $example/created.ini --journal $example/home1.journal --script examples/create-home.txt
echo "==== The same calls on the node as it is then: nothing changes, Windows refuses what is there already"
sed '/^#/d; s/^/- /' examples/create-home.txt >$example/again.txt
keswsec $example/created.ini --script $example/again.txt
echo "==== Its files and its key are secured for those who use them (examples/secure-home.txt)"
keswsec $example/created.ini --save $example/secured.ini --journal $example/home1.journal --script examples/secure-home.txt
echo "==== The home is used, its service user changes, it goes (examples/use-home.txt)"
keswsec $example/created.ini --script examples/use-home.txt
echo "==== What creating and securing it changed is as the journal left it, and is taken back"
keswsec $example/secured.ini --verify $example/home1.journal
keswsec $example/secured.ini --undo $example/home1.journal --journal $example/undo.journal
