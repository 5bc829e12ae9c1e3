#!/usr/bin/env bash
# Static analysis of the project's own code: clang-tidy by .clang-tidy, and cppcheck.
# Usage: scripts/lint.sh [tidy|cppcheck|all] [FILES...]      all files by default
# Ends with 1 when either finds something.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
what=${1:-all}
[ $# -eq 0 ] || shift

as_root=(); [ "$(id -u)" -eq 0 ] || as_root=(sudo)
if ! command -v clang-tidy-14 >/dev/null || ! command -v cppcheck >/dev/null; then
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends clang-tidy-14 cppcheck >/dev/null
fi

build=build/release
[ -f "$build/compile_commands.json" ] || cmake --preset release -Wno-dev >/dev/null
areas=(Common AesLib libJson xredis Epoll lobby tools fuzz bench)
files=("$@")
[ ${#files[@]} -gt 0 ] || mapfile -t files < <(git ls-files -- "${areas[@]/%//*.cpp}" | grep -v '_test\.cpp$')

failed=0
if [ "$what" != cppcheck ]; then
    # gcc's own options are in the compile commands.
    printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 \
        clang-tidy-14 -p "$build" --quiet --extra-arg=-Wno-unknown-warning-option \
        --extra-arg=-Wno-unused-private-field --extra-arg=-Wno-shadow 2>/dev/null || failed=1
fi
if [ "$what" != tidy ]; then
    cppcheck --quiet --std=c++20 --language=c++ --enable=warning,performance,portability \
        --inline-suppr --suppressions-list=scripts/cppcheck.txt --error-exitcode=1 -j "$(nproc)" \
        -I lib/include -I lobby/include -I Epoll/include -I AesLib/include -I xredis/include \
        -I lobby/catalog -I lobby/config -I tools/platform_sim -I tools/lobby_client "${files[@]}" || failed=1
fi
exit $failed
