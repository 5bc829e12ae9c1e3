#!/usr/bin/env bash
# The form of the project's own code (clang-format, the length of functions, shellcheck) and its
# static analysis: clang-tidy by .clang-tidy, and cppcheck, which reads the tests as well. `locks` is
# the part of clang-tidy that looks whether the lock that guards a field is held (GUARDED_BY).
# All files are read a library at a time, which reads what they include once; FILES one by one.
# Usage: scripts/lint.sh [form|locks|tidy|cppcheck|all] [FILES...]      all files by default
# Ends with 1 when one of them finds something.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
what=${1:-all}
[ $# -eq 0 ] || shift

as_root=(); [ "$(id -u)" -eq 0 ] || as_root=(sudo)
needed=(clang-format-14 clang-tidy-14 cppcheck shellcheck)
lacks() { for tool in "$@"; do command -v "$tool" >/dev/null || return 0; done; return 1; }
if lacks "${needed[@]}"; then
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${needed[@]}" >/dev/null
fi

areas=(Common AesLib libJson xredis Epoll lobby tools fuzz bench)
files=("$@") tests=() all=no
if [ ${#files[@]} -eq 0 ]; then
    all=yes
    mapfile -t files < <(git ls-files -- "${areas[@]/%//*.cpp}" | grep -v '_test\.cpp$')
    mapfile -t tests < <(git ls-files -- '*_test.cpp' 'tests/*.cpp')
fi

failed=0
if [ "$what" = form ] || [ "$what" = all ]; then
    git ls-files '*.cpp' '*.h' | xargs clang-format-14 --dry-run -Werror || failed=1
    # Tables of cases and of messages may be longer.
    git ls-files '*.cpp' '*.h' | grep -v '^tests/\|^lobby/catalog/' |
        xargs awk -v most=50 -f scripts/function_length.awk || failed=1
    git ls-files 'tests/*.cpp' 'tests/*.h' 'lobby/catalog/*' |
        xargs awk -v most=75 -f scripts/function_length.awk || failed=1
    git ls-files '*.sh' .ci/run deploy/debian/p* | xargs shellcheck -S warning || failed=1
fi
tidy() {
    local build=build/release units=("${files[@]}")
    if [ $all = yes ]; then
        build=build/lint
        cmake --preset release -B $build -Wno-dev -DCMAKE_UNITY_BUILD=ON \
            -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 >/dev/null
        mapfile -t units < <(sed -n 's/^ *"file": "\(.*\)".*/\1/p' $build/compile_commands.json |
            grep -v "/tests/")
    elif [ ! -f $build/compile_commands.json ]; then
        cmake --preset release -Wno-dev >/dev/null
    fi
    # gcc's own options are in the compile commands.
    printf '%s\n' "${units[@]}" | xargs -P "$(nproc)" -n 1 \
        clang-tidy-14 -p "$build" --quiet --extra-arg=-Wno-unknown-warning-option \
        --extra-arg=-Wno-unused-private-field --extra-arg=-Wno-shadow \
        --extra-arg=-Wthread-safety "$@" 2>/dev/null
}
if [ "$what" = locks ]; then
    # A cheap check of its own beside the compiler's, without which clang-tidy does not run.
    tidy '--checks=-*,misc-misplaced-const,clang-diagnostic-thread-safety*' || failed=1
fi
if [ "$what" = tidy ] || [ "$what" = all ]; then
    tidy || failed=1
fi
if [ "$what" = cppcheck ] || [ "$what" = all ]; then
    cppcheck --quiet --std=c++20 --language=c++ --library=googletest \
        --enable=warning,performance,portability \
        --max-configs=1 --inline-suppr --suppressions-list=scripts/cppcheck.txt --error-exitcode=1 -j "$(nproc)" \
        -I lib/include -I lobby/include -I Epoll/include -I AesLib/include -I xredis/include \
        -I lobby/catalog -I lobby/config -I tools/platform_sim -I tools/lobby_client -I tests/support \
        "${files[@]}" "${tests[@]}" || failed=1
fi
exit $failed
