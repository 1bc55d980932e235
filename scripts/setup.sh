#!/bin/sh
# Installs what the project needs on Debian 12 and does nothing where it is there already.
# setup.sh       building, the tests and the demonstration
# setup.sh ci    also everything that the checks of .ci/run need
set -eu

packages="g++ cmake ninja-build pkg-config python3 libgtest-dev libcli11-dev nlohmann-json3-dev
    libcsv-dev liblmdb-dev libpq-dev libxxhash-dev"
case ${1:-} in
'') ;;
ci)
    packages="$packages ccache clang libclang-rt-14-dev clang-format-14 clang-tidy-14
        libbenchmark-dev libicu-dev libsqlite3-dev sqlite3 librocksdb-dev python3-dev binutils g++-mingw-w64-x86-64-posix
        binutils-mingw-w64-x86-64 wine64 g++-s390x-linux-gnu qemu-user lmdb-utils postgresql"
    ;;
*)
    echo "usage: setup.sh [ci]" >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null 2>&1; then
    # shellcheck disable=SC2086 # the list is words
    { echo "setup.sh: not a Debian system; have the equivalents of these installed:"; echo $packages; } >&2
    exit 0
fi

missing=
for package in $packages; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    as_root=sudo
    command -v sudo >/dev/null 2>&1 || {
        echo "setup.sh: run as root, or install sudo; missing:$missing" >&2
        exit 1
    }
fi
echo "setup.sh: installing$missing" >&2
$as_root apt-get update -q
# shellcheck disable=SC2086 # the list is words
$as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends $missing
