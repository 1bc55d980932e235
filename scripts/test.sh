#!/bin/sh
# Installs what is missing, builds the release preset with warnings as errors, runs all tests.
# Arguments go to ctest, for example: scripts/test.sh -R date
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh
if command -v ccache >/dev/null 2>&1; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
cmake --preset release
cmake --build --preset release -j 2
ctest --preset release "$@"
