#!/usr/bin/env bash
# A wrapper for g++ (its option -wrapper): links with LLVM's linker, for which the cross compiler has no option of its own.
# The test program takes it a second; the GNU linker half a minute, for the many small sections of what is not optimised.
case $1 in
*/collect2) exec ld.lld "${@:2}" ;;
*) exec "$@" ;;
esac
