#!/usr/bin/env bash
# What metrics cost: the instructions the lobby executes for one operation of its players, with and
# without them. callgrind counts those in user mode, whatever else the machine does; the share of
# CPU time that is spent there says how much that is of the whole. The loads are closed loops: an
# idle worker looks at its queue a thousand times a second, and would be counted too.
# Usage: bench/metrics_cost.sh [folder with the binaries]
#        Needs valgrind; about ten minutes. ROUNDS=n changes the number of rounds (3).
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)
bin=${1:-$root/build/release/bin}
work=$(mktemp -d)
# shellcheck source=servers.sh
. "$root/bench/servers.sh"
trap 'stop_platform; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

load() { # LOAD...: on the lobby that runs
    "$bin/lobby_load" -q -p "$server_port" --warmup 0 --json "$work/load.json" "$@" >/dev/null
}

# The instructions of one lobby under that load, divided by the operations completed.
per_operation() { # METRICS-ADDRESS LOAD...
    metrics=$1 under=(valgrind -q --fair-sched=yes --tool=callgrind "--callgrind-out-file=$work/callgrind.out")
    shift
    rm -f "$work/callgrind.out"*
    start_lobby
    callgrind_control --zero "$server_pid" >/dev/null 2>&1  # the start does not count
    load "$@"
    stop_server
    awk -v completed="$(grep -o '"completed":[0-9.e+]*' "$work/load.json" | cut -d: -f2)" \
        '/^(totals|summary):/ { print $2 / completed; exit }' "$work/callgrind.out"
}

# The share of the lobby's CPU time spent in user mode.
user_share() { # LOAD...
    metrics='' under=()
    start_lobby
    load "$@"
    awk '{ print $14 / ($14 + $15) }' "/proc/$server_pid/stat"
    stop_server
}

compare() { # NAME LOAD...
    local name=$1 share without with
    shift
    share=$(user_share "$@")
    for _ in $(seq "${ROUNDS:-3}"); do
        without=$(per_operation '' "$@")
        with=$(per_operation 127.0.0.1:0 "$@")
        awk -v name="$name" -v without="$without" -v with="$with" -v share="$share" 'BEGIN {
            more = 100 * (with / without - 1)
            printf "%-38s %8.0f %8.0f %+7.2f %% %7.0f %% %+7.2f %%\n",
                name, without, with, more, 100 * share, more * share
        }'
    done
}

start_redis
start_simulator --quiet --players 200
printf '%-38s %8s %8s %9s %9s %9s\n' 'instructions per operation' without with more 'user CPU' 'of all'
compare '100 players, profile changes' -n 100 -d 15 \
    players --mix keep-alive=3,gender=1,face=1,signature=1,tournament=1
compare '100 connections, 8 echoes in flight' -n 100 -d 10 \
    echo --size 8 --in-flight 8
