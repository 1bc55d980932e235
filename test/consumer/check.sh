#!/bin/sh
# Builds and runs main.cpp against an installed tree, found by CMake (find_package) and by pkg-config, and
# strict.cpp under every warning that programs like to have, by two standards; and examples/store, which links
# the store, by both ways.
# check.sh install|cmake|pkg-config|strict|store-cmake|store-pkg-config BUILD PREFIX COMPILER WORK
set -eu
way=$1 build=$2 prefix=$3 compiler=$4 work=$5
here=$(cd "$(dirname "$0")" && pwd)
books=$here/../../examples/store

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
store-cmake)
    cmake -S "$books" -B "$work" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler"
    cmake --build "$work"
    ;;
store-pkg-config)
    # shellcheck disable=SC2046 # the flags are words
    "$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror \
        "$books/books.cpp" $(pkg-config --cflags --libs kostore) -o "$work/books"
    LD_LIBRARY_PATH=$(pkg-config --variable=libdir kostore)
    export LD_LIBRARY_PATH
    ;;
*)
    echo "check.sh: unknown way: $way" >&2
    exit 2
    ;;
esac

case $way in
store-*)
    "$work/books" "$work/a.store" >"$work/said"
    cat "$work/said"
    for line in "Walden appeared on 1854-08-09" "Emma: 7" "2 with two copies" \
        "refused: copies: \"many\" is no value of the type KoNull_int" "2 books, 0 faults"; do
        grep -qxF "$line" "$work/said" || { echo "check.sh: missing: $line" >&2; exit 1; }
    done
    # The store is there now, and the program says so.
    if "$work/books" "$work/a.store" 2>"$work/said"; then exit 1; fi
    grep -q "exists" "$work/said"
    ;;
esac
