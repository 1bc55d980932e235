#!/bin/sh
# Builds and runs main.cpp against an installed tree, found by CMake (find_package) and by pkg-config, and
# strict.cpp under every warning that programs like to have, by two standards.
# check.sh install|cmake|pkg-config|strict BUILD PREFIX COMPILER WORK
set -eu
way=$1 build=$2 prefix=$3 compiler=$4 work=$5
here=$(cd "$(dirname "$0")" && pwd)

if [ "$way" = install ]; then
    rm -rf "$prefix"
    exec cmake --install "$build" --prefix "$prefix"
fi
rm -rf "$work"
mkdir -p "$work"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kotms.pc)")
export PKG_CONFIG_PATH
case $way in
cmake)
    cmake -S "$here" -B "$work" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler"
    cmake --build "$work"
    "$work/consumer"
    ;;
pkg-config)
    # Without further paths at link time: the libraries find one another beside themselves.
    # shellcheck disable=SC2046 # the flags are words
    "$compiler" -std=c++20 "$here/main.cpp" $(pkg-config --cflags --libs kotms) -o "$work/consumer"
    LD_LIBRARY_PATH=$(pkg-config --variable=libdir kotms) "$work/consumer"
    ;;
strict)
    for standard in c++20 c++2b; do
        # shellcheck disable=SC2046 # the flags are words
        "$compiler" -std=$standard -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror \
            "$here/strict.cpp" "$here/own_names.cpp" $(pkg-config --cflags --libs kotms) -o "$work/strict"
        LD_LIBRARY_PATH=$(pkg-config --variable=libdir kotms) "$work/strict"
    done
    ;;
*)
    echo "check.sh: unknown way: $way" >&2
    exit 2
    ;;
esac
