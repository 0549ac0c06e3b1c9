#!/usr/bin/env bash
# The SDK's archive: its files, a C program linked against it in three ways, the same bytes when linked and packed again.
set -euo pipefail
cd "$(dirname "$0")/../.."
. cmake/workshop.sh
work=build/sdk
name=$(sed -n 's/set(CPACK_PACKAGE_FILE_NAME "\(.*\)")/\1/p' build/CPackConfig.cmake)
sdk=$work/$name
fail() { echo "sdk: $1" >&2; exit 1; }
quietly() { "$@" >$work/log 2>&1 || { cat $work/log >&2; fail "$1"; }; }

rm -rf $work
mkdir -p $work/again
quietly cpack --preset mingw-w64 -B $PWD/$work
(cd $work && sha256sum --quiet -c $name.zip.sha256 && cmake -E tar xf $name.zip)
diff - <(cd $sdk && find . -type f | LC_ALL=C sort) <<'FILES' || fail "the archive holds other files"
./README.md
./bin/keswsec.exe
./bin/keswsec19.dll
./include/keswsec.h
./lib/cmake/keswsec/keswsec-config-version.cmake
./lib/cmake/keswsec/keswsec-config.cmake
./lib/cmake/keswsec/keswsec-targets-release.cmake
./lib/cmake/keswsec/keswsec-targets.cmake
./lib/keswsec19.lib
./lib/libkeswsec19.dll.a
FILES
# lld-link takes MinGW's start files and C library; the import library is the MSVC one.
libraries=$(dirname "$(x86_64-w64-mingw32-gcc -print-file-name=crt2.o)")
x86_64-w64-mingw32-gcc tests/sdk/program.c -I$sdk/include -L$sdk/lib -lkeswsec19 -o $work/mingw.exe
x86_64-w64-mingw32-gcc -c tests/sdk/program.c -I$sdk/include -o $work/program.obj
lld-link -lldmingw -alternatename:__image_base__=__ImageBase -subsystem:console -entry:mainCRTStartup -out:$work/msvc.exe $libraries/crt2.o $work/program.obj \
    $sdk/lib/keswsec19.lib -libpath:$libraries \
    "$(x86_64-w64-mingw32-gcc -print-libgcc-file-name)" lib{mingw32,moldname,mingwex,msvcrt,kernel32,user32,advapi32}.a
quietly cmake -S tests/sdk -B $work/package -G Ninja --toolchain $PWD/cmake/mingw-w64.cmake \
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH -DCMAKE_PREFIX_PATH=$PWD/$sdk -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=$PWD/$work
quietly ninja -C $work/package
cp $sdk/bin/keswsec19.dll $work/
for program in mingw msvc package; do
    answer=$(workshop_wine $work/$program.exe | tr -d '\r') || true
    [[ "$answer" == "4 WSE-000012: "*groupname* ]] || fail "$program.exe: $answer"
done

# What could tell one build from another: clocks in the sources, links, archives.
! git grep -nE '__(DATE|TIME|TIMESTAMP)__' -- src cli whatif journal || fail "the bytes depend on the time"
for file in keswsec19.dll keswsec.exe; do
    (cd build && eval "$(ninja -t commands $file | tail -1 | sed -E "s# -o $file# -o sdk/again/$file#; s#out-implib,#&sdk/again/#")")
    cmp build/sdk/again/$file $sdk/bin/$file || fail "$file was linked again to other bytes"
done
cmp $work/again/libkeswsec19.dll.a $sdk/lib/libkeswsec19.dll.a
touch build/keswsec-config.cmake
(umask 077; TZ=Asia/Tokyo quietly cpack --preset mingw-w64 -B $PWD/$work/again)
cmp $work/$name.zip $work/again/$name.zip || fail "packed again to other bytes"
