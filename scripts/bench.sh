#!/bin/sh
# Builds the benchmarks and prints how many times the speed of its peer each work has, both measured
# in one run. Names choose programs (bench.sh import temporal); all run without. KOTM_BENCH_ROWS=1000000
# adds the tool's work on so many rows. Do it on a machine that does nothing else.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh
if command -v ccache >/dev/null 2>&1; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
mkdir -p build
{ cmake --preset bench && cmake --build --preset bench -j 2; } >build/bench.log 2>&1 || {
    cat build/bench.log
    exit 1
}
for source in bench/*/*_bench.cpp; do
    name=$(basename "$source" _bench.cpp)
    case " $* " in
    "  " | *" $name "*) ;;
    *) continue ;;
    esac
    [ -x "build/bench/bin/${name}_bench" ] || continue
    echo "# $name"
    "build/bench/bin/${name}_bench" 2>build/bench.log >build/bench.out || {
        cat build/bench.log
        exit 1
    }
    grep ' times the speed of ' build/bench.out
done
