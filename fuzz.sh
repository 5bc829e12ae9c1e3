#!/usr/bin/env bash
# Fuzzes with clang's libFuzzer under the address and undefined-behaviour sanitizers, all targets
# at once, then prints the line coverage of inputs and tests together.
# Usage: ./fuzz.sh [MINUTES]           MINUTES in all, 5 by default; 0: the coverage alone
#        NO_COVERAGE=1 leaves the coverage out (it builds and runs the tests once more).
# A finding ends up in build/fuzz/findings; fix it, then keep the input in fuzz/regressions/TARGET.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"
root=$PWD minutes=${1:-5}

scripts/install-deps.sh run
as_root=(); [ "$(id -u)" -eq 0 ] || as_root=(sudo)
command -v clang++-14 >/dev/null && [ -n "$(ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-* 2>/dev/null)" ] &&
    command -v llvm-cov-14 >/dev/null ||
    "${as_root[@]}" apt-get install -y -qq --no-install-recommends clang-14 libclang-rt-14-dev llvm-14 >/dev/null

targets=(stream websocket ini gains lobby)
# The lobby has by far the most to find.
declare -A share=([stream]=10 [websocket]=10 [ini]=10 [gains]=10 [lobby]=60)

configure() {  # FOLDER ARGUMENTS...
    CC=clang-14 CXX=clang++-14 cmake -S . -B "$1" -G Ninja -Wno-dev -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DLOBBY_BENCH=OFF "${@:2}" >/dev/null
}

build=$root/build/fuzz
configure "$build" -DLOBBY_SANITIZE=address,undefined -DLOBBY_FUZZ=ON \
    -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link
ninja -C "$build" "${targets[@]/%/_fuzz}" | tail -1
rm -rf "$build/findings"
mkdir -p "$build/findings"

failed=0
for target in "${targets[@]}"; do
    [ "$minutes" -gt 0 ] || break
    seconds=$((minutes * 60 * share[$target] / 100))
    grown=$build/grown/$target
    mkdir -p "$grown" "$root/fuzz/regressions/$target"
    log=$build/$target.log
    # Several processes share the processors; each stops at its first finding.
    jobs=$([ "$target" = lobby ] && nproc || echo 1)
    pids=()
    for ((job = 0; job < jobs; ++job)); do
        UBSAN_OPTIONS=print_stacktrace=1 "$build/bin/${target}_fuzz" -max_total_time="$seconds" \
            -timeout=25 -rss_limit_mb=4096 -reload=5 -print_final_stats=1 \
            -dict="$build/fuzz/corpus/messages.dict" -artifact_prefix="$build/findings/$target-" \
            "$grown" "$build/fuzz/corpus/$target" "$root/fuzz/regressions/$target" \
            >"$log.$job" 2>&1 &
        pids+=($!)
    done
    bad=0
    for pid in "${pids[@]}"; do wait "$pid" || bad=1; done
    runs=$(cat "$log".* | sed -n 's/^stat::number_of_executed_units: *//p' | awk '{n += $1} END {print n + 0}')
    echo "$target: $runs inputs in $seconds s, $(ls "$grown" | wc -l) kept, $([ $bad = 0 ] && echo no finding || echo FINDING)"
    [ $bad = 0 ] || { failed=1; tail -n 40 "$log".*; }
done
rm -rf "${TMPDIR:-/tmp}"/lobbyfuzz??????
[ "$failed" = 0 ] || { ls "$build/findings"; exit 1; }
[ -z "${NO_COVERAGE:-}" ] || exit 0

cover=$root/build/coverage
configure "$cover" -DCMAKE_CXX_FLAGS="-fprofile-instr-generate -fcoverage-mapping"
ninja -k 0 -C "$cover" >"$cover/build.log" || echo "not all was built, see build/coverage/build.log"
rm -rf "$cover/profiles"
export LLVM_PROFILE_FILE="$cover/profiles/%m-%p.profraw"
for target in "${targets[@]}"; do
    "$cover/bin/${target}_fuzz" "$cover/fuzz/corpus/$target" "$build/grown/$target" \
        "$root/fuzz/regressions/$target" >/dev/null 2>&1
done
ctest --test-dir "$cover" -j "$(nproc)" -LE 'soak|docs|bench|balancer|package' -E 'web_|^fuzz_|protocol_document|dissector_tables' >"$cover/tests.log" 2>&1 ||
    echo "some tests failed in the coverage build, see build/coverage/tests.log"
llvm-profdata-14 merge -sparse "$cover"/profiles/*.profraw -o "$cover/all.profdata"
programs=()
for program in "$cover"/bin/*; do
    [ -x "$program" ] && [ -f "$program" ] && programs+=(-object "$program")
done
rows=$(llvm-cov-14 report "${programs[@]:1}" -instr-profile="$cover/all.profdata" 2>/dev/null)
line_cover() {  # NAME PATTERN, of the files' paths; a compiler cache makes them relative
    awk -v name="$1" -v pattern="$2" '$1 ~ pattern { lines += $8; missed += $9 }
        END { printf "%s: %6.2f %% of %d lines\n", name, 100 * (lines - missed) / lines, lines }' <<<"$rows"
}
for area in Common Epoll lobby; do line_cover "$area" "(^|/)$area/src/"; done
line_cover together "(^|/)(Common|Epoll|lobby)/src/"
