#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and the address and undefined behaviour sanitizers in
# build-fuzz, then runs each one on its seed corpus for a while.
#   scripts/fuzz.sh [TARGET] [SECONDS]    TARGET: a name from fuzz/CMakeLists.txt, or "all" (default);
#                                         SECONDS: per target, default 600.
# Findings (crash-*, leak-*, timeout-*, oom-*) land in build-fuzz/findings/TARGET/; the grown corpus is
# kept in build-fuzz/corpus/TARGET/ for the next run.
# A target that libFuzzer refuses to start (a dictionary it cannot parse, a crash before the first
# input, a bad option) is a refused set-up, not a finding: it writes no input to findings/.
# Exit status: 0 all clean, 1 findings, 2 a set-up refused (and no findings).
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
        burnfile) echo samples/project/art/generic samples/project/art/generic/units samples/project/art/generic/units/tank ;;
        image_*) echo samples/images ;;
        model_sgm) echo samples/models ;;
        scene) echo samples/project/art/source/units/scout samples/project/art/source/units/scout/reference ;;
        *) [[ -d "samples/$1" ]] && echo "samples/$1" ;;
    esac
}

# libFuzzer's own exit codes for what it found; anything else non-zero is its refusal to run.
error_exitcode=77
timeout_exitcode=70
findings_status=0
setup_status=0
for t in "${targets[@]}"; do
    if ! cmake --build build-fuzz -j2 --target "${t}_fuzz"; then
        echo "== $t: set-up refused: the target does not build" >&2
        setup_status=2
        continue
    fi
    corpus=build-fuzz/corpus/$t
    findings=build-fuzz/findings/$t
    mkdir -p "$corpus" "$findings"
    for dir in $(seeds_for "$t"); do
        [[ -d "$dir" ]] && find "$dir" -maxdepth 1 -type f -exec cp {} "$corpus"/ \;
    done
    options=(-max_total_time="$seconds" -artifact_prefix="$findings/" -print_final_stats=1
             -error_exitcode=$error_exitcode -timeout_exitcode=$timeout_exitcode)
    # A dictionary of the format's tokens beside the target, when there is one.
    [[ -f "fuzz/$t.dict" ]] && options+=(-dict="fuzz/$t.dict")
    echo "== $t: ${seconds}s"
    before=$(find "$findings" -maxdepth 1 -type f | wc -l)
    rc=0
    build-fuzz/fuzz/"${t}_fuzz" "$corpus" "${options[@]}" || rc=$?
    after=$(find "$findings" -maxdepth 1 -type f | wc -l)
    if (( after > before )) || (( rc == error_exitcode || rc == timeout_exitcode )); then
        echo "== $t: findings in $findings (exit $rc)" >&2
        findings_status=1
    elif (( rc != 0 )); then
        echo "== $t: set-up refused, no input was at fault (exit $rc; see libFuzzer's words above)" >&2
        setup_status=2
    fi
done
if (( findings_status != 0 )); then
    exit 1
fi
exit $setup_status
