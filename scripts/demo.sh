#!/bin/sh
# Builds kotm and takes it through ten thousand recorded collisions of aircraft with birds: import,
# then queries by index, by null value and by text. The store lives in a temporary folder.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh
if command -v ccache >/dev/null 2>&1; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "Building kotm (a minute or two the first time) ..." >&2
{ cmake --preset release && cmake --build --preset release -j 2 --target kotm; } >"$work/build.log" 2>&1 || {
    cat "$work/build.log"
    exit 1
}
PATH=$PWD/build/release/bin:$PATH
store=$work/birdstrikes.kotm
rejects=$work/rejects.csv

say() { printf '\n# %s\n' "$1"; }
# Shows a command as a user would type it, then runs it.
run() {
    printf '$ kotm'
    for word in "$@"; do
        case $word in
        "$store" | "$rejects") word=${word##*/} ;;
        *[!A-Za-z0-9_./=,-]*) word="'$word'" ;;
        esac
        printf ' %s' "$word"
    done
    printf '\n'
    kotm "$@"
}

say 'Import a CSV file under a schema that gives every column a value type.'
run import "$store" examples/birdstrikes.csv --schema examples/birdstrikes.schema.json \
    --rejects "$rejects" || [ $? -eq 1 ] # 1: some rows were rejected

say 'An empty field of a null-capable column is a null value: neither 0 nor below any number.'
run query "$store" 'speed is null' --count
run query "$store" 'speed is not null' --count
run query "$store" 'speed <= 0' --count

say 'A condition on an indexed column reads the index, not the objects.'
run query "$store" 'speed > 300' --count

say 'Conditions combine; any attribute orders the answer.'
run query "$store" 'species = "Red-tailed hawk" and speed >= 150' \
    --columns date,airport,species,speed --order speed --desc --limit 8

say 'A date is read in the format that the schema gives it, and printed in any.'
run query "$store" 'date >= "1999-12-24" and date <= "1999-12-31"' \
    --columns date,airport,species --print 'date=%a %e.%b %Y' --order date --limit 6

say 'What was written is whole.'
run check "$store"
