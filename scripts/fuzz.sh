#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and the address and undefined behaviour sanitizers in
# build-fuzz, then runs each one on its seed corpus for a while.
#   scripts/fuzz.sh [TARGET] [SECONDS]    TARGET: a name from fuzz/CMakeLists.txt, or "all" (default);
#                                         SECONDS: per target, default 600.
# Findings (crash-*, leak-*, timeout-*) land in build-fuzz/findings/TARGET/; the grown corpus is kept
# in build-fuzz/corpus/TARGET/ for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:-all}
seconds=${2:-600}

CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTQ7Z_BUILD_FUZZ=ON -DTQ7Z_BUILD_TESTS=OFF > /dev/null

# Every tq7z_fuzzer(<name> ...) line of fuzz/CMakeLists.txt is a target.
mapfile -t all < <(sed -n 's/^tq7z_fuzzer(\([A-Za-z0-9_]*\).*/\1/p' fuzz/CMakeLists.txt)
if [[ "$target" == all ]]; then
    targets=("${all[@]}")
else
    targets=("$target")
fi

# Sample files that seed each target's corpus, by target name.
seeds_for() {
    case "$1" in
        chunky) echo samples/chunks ;;
        configfile) echo samples/project ;;
        image_*) echo samples/images ;;
        model_sgm) echo samples/models ;;
        scene) echo samples/project/art/source/units/scout samples/project/art/source/units/scout/reference ;;
        *) [[ -d "samples/$1" ]] && echo "samples/$1" ;;
    esac
}

status=0
for t in "${targets[@]}"; do
    cmake --build build-fuzz -j2 --target "${t}_fuzz"
    corpus=build-fuzz/corpus/$t
    findings=build-fuzz/findings/$t
    mkdir -p "$corpus" "$findings"
    for dir in $(seeds_for "$t"); do
        [[ -d "$dir" ]] && find "$dir" -maxdepth 1 -type f -exec cp {} "$corpus"/ \;
    done
    options=(-max_total_time="$seconds" -artifact_prefix="$findings/" -print_final_stats=1)
    # A dictionary of the format's tokens beside the target, when there is one.
    [[ -f "fuzz/$t.dict" ]] && options+=(-dict="fuzz/$t.dict")
    echo "== $t: ${seconds}s"
    if ! build-fuzz/fuzz/"${t}_fuzz" "$corpus" "${options[@]}"; then
        echo "== $t: findings in $findings" >&2
        status=1
    fi
done
exit $status
