#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs every test.
# Usage: ./test.sh [preset]          preset: release (default), asan or tsan
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"

preset=${1:-release}
scripts/install-deps.sh test
cmake --preset "$preset" -Wno-dev >/dev/null
cmake --build --preset "$preset"
jobs=$(nproc)
# Most tests wait more than they work; instrumented ones work.
[ "$preset" != release ] || jobs=$((jobs * 2))
ctest --preset "$preset" -j "$jobs"
