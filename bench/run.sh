#!/usr/bin/env bash
# Measures the framework beside its peers and the lobby beside its Redis.
# Usage: bench/run.sh [ROW...]          these rows, or all; prints their table
#        bench/run.sh report            writes the table of all results so far into docs/
#        bench/run.sh quick [FOLDER]    every row once, briefly, nothing kept: for CI, it fails
#                                       when a benchmark does
# Rows: see the functions run_*. Results are kept in build/bench until the same row is taken again,
# so that rows can be taken when the machine is quiet. All of them take about twenty minutes.
# BIN=folder with the binaries; without it the release preset is built and used. BEFORE=folder with
# those of an older version, which is measured beside it where rows say before. ROUNDS=n (3).
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)

quick=
if [ "${1:-}" = quick ]; then
    quick=1 BIN=${2:-${BIN:-}}
    shift $#
fi
bin=${BIN:-$root/build/release/bin}
before=${BEFORE:-}
# Both sides of 20,000 connections need as many descriptors, as far as this machine allows.
ulimit -n "$(ulimit -Hn)"
most=$(($(ulimit -n) - 100))
[ "$most" -lt 20000 ] || most=20000

work=$(mktemp -d)
kept=$root/build/bench
[ -z "$quick" ] || kept=$work/kept
mkdir -p "$kept"
# shellcheck source=servers.sh
. "$root/bench/servers.sh"
# shellcheck source=report.sh
. "$root/bench/report.sh"
trap 'stop_platform; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

if [ -z "$quick" ] && [ -z "${BIN:-}" ] && [ "${1:-}" != report ]; then
    (cd "$root" && cmake --preset release -Wno-dev >/dev/null && cmake --build --preset release)
fi

if [ -n "$quick" ]; then
    rounds=1 short=(-d 0.2 --warmup 0.1) long=(-d 0.2 --warmup 0.1)
    clients=(100 400) idle=300 crowd=300 players=200 busy=(-d 1 --warmup 0.1) commands=1000 pace=1
    still=1 broadcasts=1
else
    rounds=${ROUNDS:-3} short=(-d 3 --warmup 0.5) long=(-d 5)
    clients=(500 1000 2000 4000 "$most") idle=4000 crowd=3000 players=4800 busy=(-d 30 --warmup 5)
    commands=50000 pace='' still=20 broadcasts=3
fi

have() { [ -x "$bin/${1}_echo" ]; }
peers=(epoll asio)
for peer in libevent uv; do have "$peer" && peers+=("$peer"); done
ours=(default wakeup)
[ -z "$before" ] || ours+=(before)
ws_peers=(epoll)
for peer in uv lws; do have "$peer" && ws_peers+=("$peer"); done
lobbies=(lobby)
[ -z "$before" ] || lobbies+=(lobby_before)

failed=
# load NAME ARGUMENTS...: puts the running server under load; the result goes to $kept/NAME.json.
load() {
    local name=$1
    shift
    "$bin/lobby_load" -q -p "$server_port" --pid "$server_pid" --json "$kept/$name.json" "$@" \
        >"$kept/$name.txt" 2>&1 && return
    failed=1
    echo "bench: $name had errors:" >&2
    cat "$kept/$name.txt" >&2
}

# compare NAME "SERVERS" ARGUMENTS...: the same load on each server, alternating, in rounds; each
# time on a fresh process.
compare() {
    local name=$1 round i server servers
    read -ra servers <<<"$2"
    shift 2
    # In brief each of them once, and then no more than two beside each other.
    [ -z "$quick" ] || [[ "$name" = pingpong || "$name" = websocket ]] || servers=("${servers[@]:0:2}")
    for round in $(seq "$rounds"); do
        for i in "${!servers[@]}"; do
            server=${servers[$(((i + round) % ${#servers[@]}))]}
            start_echo "$server"
            load "$name.$server.$round" "$@"
            stop_server
        done
        echo "  $name, round $round" >&2
    done
}
tcp="${ours[*]} ${peers[*]}"

run_pingpong() { compare pingpong "$tcp" "${short[@]}" -n 1 echo; }
run_single() { compare single "$tcp" "${short[@]}" -n 100 echo; }
run_pipelined() { compare pipelined "$tcp" "${short[@]}" -n 100 echo --in-flight 32; }
run_rate() { compare rate "$tcp" "${long[@]}" -n 1000 echo --rate 20000; }
run_websocket() {
    compare websocket "${ours[*]} ${ws_peers[*]}" "${short[@]}" --ws -n 100 echo --in-flight 8
}
run_cycle() { compare cycle "$tcp" "${short[@]}" -n 64 cycle; }
run_idle() { compare idle "default wakeup" "${short[@]}" -n "$idle" idle; }
run_broadcast() { compare broadcast wakeup -d 60 --warmup 0.2 -n "$crowd" echo --broadcast --rounds 10; }
run_growth() {
    local rounds=1 n
    for n in "${clients[@]}"; do
        compare "growth$n" "wakeup asio" "${long[@]}" -n "$n" echo --rate 10000
    done
}

# with_lobby LOBBY COMMAND...: beside a real Redis and the simulated platform, all fresh.
with_lobby() {
    start_redis
    start_simulator --quiet --players "$players"
    start_lobby "$1"
    "${@:2}"
    stop_platform
}
# lobby_rounds NAME COMMAND...: for every lobby and round; the command gets the result's name.
lobby_rounds() {
    local name=$1 round lobby
    shift
    command -v redis-server >/dev/null && [ -x "$bin/platform_sim" ] || return 0
    for round in $(seq "$rounds"); do
        for lobby in "${lobbies[@]}"; do
            with_lobby "$lobby" "$@" "$name.$lobby.$round"
        done
        echo "  $name, round $round" >&2
    done
}
do_flood() { load "$1" "${long[@]}" -n 50 echo --size 8 --rate 1000 --flooder; }
do_costly() { load "$1" "${long[@]}" -n 50 echo --size 8 --rate 1000 --flooder --flood-type 65520; }
do_sessions() { load "$1" "${short[@]}" -n 64 cycle --size 8; }
do_logins() {
    redis_commands exists exists Lobby:OnLine:UserID:20001
    redis_commands setex setex Lobby:OnLine:UserID:1 600 1
    load "$1" -n "$players" --connecting 64 logins
}
do_rush() { load "$1" -n "$players" --connecting "$players" logins --timeout 60; }
do_stopped() {
    load "${1/stopped./stopped_without.}" "${short[@]}" --ws -n 50 echo --size 8 --rate 5000
    load "$1" "${short[@]}" --ws -n 50 echo --size 8 --rate 5000 --stopped
}
do_bulletins() {
    load "$1" -n "$((crowd < players ? crowd : players))" -d 200 --warmup 0.2 bulletins \
        --control "$control_port" --rounds "$broadcasts"
}
do_slow() {
    load "$1" -n "$players" -d 200 --warmup 0.2 bulletins --control "$control_port" \
        --rounds "$((broadcasts * 2 - 1))" --slow 10
}
do_evening() { load "$1" "${busy[@]}" -n "$players" --ramp 1000 players --think 5; }
# CPU of a lobby nobody talks to.
do_still() {
    [ -n "$quick" ] || sleep 1
    local from
    from=$(cpu_us "$server_pid")
    sleep "$still"
    echo "{\"cpu_percent\":$(calc "($(cpu_us "$server_pid") - $from) / 10000 / $still")}" >"$kept/$1.json"
}

run_flood() { local lenient=1; lobby_rounds flood do_flood; }
run_costly() { local lenient=1 lines=0; lobby_rounds costly do_costly; }
run_sessions() { lobby_rounds sessions do_sessions; }
run_logins() { lobby_rounds logins do_logins; }
run_rush() { lobby_rounds rush do_rush; }
run_stopped() { local lenient=1; lobby_rounds stopped do_stopped; }
run_bulletins() { local rounds=1; lobby_rounds bulletins do_bulletins; }
run_slow() { local rounds=1 pace=1; lobby_rounds slow do_slow; }
run_evening() { local rounds=1; lobby_rounds evening do_evening; }
run_still() { local rounds=1; lobby_rounds still do_still; }
run_micro() { micro; }

if [ "${1:-}" = report ]; then
    report
    exit
fi
rows=("$@")
[ $# -gt 0 ] || mapfile -t rows < <(declare -F | sed -n 's/^declare -f run_//p')
for row in "${rows[@]}"; do
    declare -F "run_$row" >/dev/null || { echo "bench: no row $row" >&2; exit 2; }
    "run_$row"
    machine >"$kept/machine"
done
table "${rows[@]}"
[ -z "$quick" ] || { plots=$work && plot_all && document >/dev/null; }
[ -z "$failed" ] || { echo "bench: some benchmarks failed" >&2; exit 1; }
