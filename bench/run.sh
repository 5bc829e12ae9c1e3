#!/usr/bin/env bash
# Measures the framework beside its peers and the lobby beside its Redis.
# Usage: bench/run.sh [quick] [folder with the binaries]
#        Without quick it takes about ten minutes, wants a quiet machine, prints the table and
#        writes it into docs/. With quick every benchmark runs once, briefly, and nothing is
#        written: for CI, it fails when a benchmark does.
#        Without a folder the release preset is used, and built first unless quick.
# ROUNDS=n changes the number of rounds (3).
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)

quick=
if [ "${1:-}" = quick ]; then quick=1; shift; fi
bin=${1:-$root/build/release/bin}
# Both sides of 20,000 connections need as many descriptors, as far as this machine allows.
ulimit -n "$(ulimit -Hn)"
most=$(($(ulimit -n) - 100))
[ "$most" -lt 20000 ] || most=20000

load_average=$(cut -d" " -f1 /proc/loadavg)
work=$(mktemp -d)
# shellcheck source=servers.sh
. "$root/bench/servers.sh"
# shellcheck source=report.sh
. "$root/bench/report.sh"
trap 'stop_platform; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

if [ -z "$quick" ] && [ $# -eq 0 ]; then
    (cd "$root" && cmake --preset release -Wno-dev >/dev/null && cmake --build --preset release)
fi

if [ -n "$quick" ]; then
    rounds=1 short=(-d 0.2 --warmup 0.1) long=(-d 0.2 --warmup 0.1)
    clients=(100 400) idle=300 crowd=300 players=200 busy=(-d 1 --warmup 0.1) commands=1000 pace=1
else
    rounds=${ROUNDS:-3} short=(-d 4) long=(-d 6)
    clients=(500 1000 2000 4000 "$most") idle=4000 crowd=3000 players=4000 busy=(-d 60 --warmup 5)
    commands=50000 pace=
fi

tcp=(lobby)
[ -n "$("$bin/lobby_echo" 2>&1 | grep -- --wakeup || true)" ] && tcp+=(wakeup)
tcp+=(asio)
[ -x "$bin/libevent_echo" ] && tcp+=(libevent)
ws=(lobby)
[ -x "$bin/lws_echo" ] && ws+=(lws)

failed=
# load NAME ARGUMENTS...: puts the running server under load; the result goes to $work/NAME.json.
load() {
    local name=$1
    shift
    "$bin/lobby_load" -q -p "$server_port" --pid "$server_pid" --json "$work/$name.json" "$@" \
        >"$work/$name.txt" 2>&1 && return
    failed=1
    echo "bench: $name had errors:" >&2
    cat "$work/$name.txt" >&2
}

# compare NAME "SERVERS" ARGUMENTS...: the same load on each server, alternating, in rounds; each
# time on a fresh process.
compare() {
    local name=$1 round i server servers
    read -ra servers <<<"$2"
    shift 2
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

compare pipelined "${tcp[*]}" "${short[@]}" -n 100 echo --in-flight 32
compare single "${tcp[*]}" "${short[@]}" -n 100 echo
compare pingpong "${tcp[*]}" "${short[@]}" -n 1 echo
compare rate "${tcp[*]}" "${long[@]}" -n 1000 echo --rate 20000
compare cycle "${tcp[*]}" "${short[@]}" -n 64 cycle
compare cycle16 "${tcp[*]}" "${short[@]}" -n 16 cycle
compare websocket "${ws[*]}" "${short[@]}" --ws -n 100 echo --in-flight 8
compare idle "${tcp[*]}" "${short[@]}" -n "$idle" idle
compare broadcast lobby -d 60 --warmup 0.2 -n "$crowd" echo --broadcast --rounds 10
saved=$rounds rounds=1
for n in "${clients[@]}"; do
    compare "growth$n" "lobby asio" "${long[@]}" -n "$n" echo --rate 10000
done
rounds=$saved

# The lobby itself, with a real Redis and the simulated platform.
platform=
if command -v redis-server >/dev/null && [ -x "$bin/LobbyServer" ] && [ -x "$bin/platform_sim" ]; then
    platform=1
    for round in $(seq "$rounds"); do
        start_redis
        start_simulator --quiet --players "$players"
        start_lobby
        redis_commands exists exists Lobby:OnLine:UserID:20001
        redis_commands setex setex Lobby:OnLine:UserID:1 600 1
        load "logins.lobby.$round" -n "$players" --connecting 64 logins
        stop_platform
        echo "  logins, round $round" >&2
    done
    start_redis
    start_simulator --quiet --players "$players"
    start_lobby
    for round in $(seq "$rounds"); do
        load "stopped.without.$round" "${short[@]}" --ws -n 50 echo --size 8 --rate 5000
        load "stopped.with.$round" "${short[@]}" --ws -n 50 echo --size 8 --rate 5000 --stopped
    done
    echo "  stopped reader" >&2
    load bulletins.lobby.1 -n "$((crowd < players ? crowd : players))" -d 200 --warmup 0.2 bulletins \
        --control "$control_port" --rounds 3
    echo "  bulletins" >&2
    load players "${busy[@]}" -n "$players" --ramp 1000 players --think 1
    load players-ws "${short[@]}" --ws -n "$((players / 4))" --ramp 1000 players --think 0.5
    stop_platform
    echo "  players" >&2
fi

micro
report
[ -z "$failed" ] || { echo "bench: some benchmarks failed" >&2; exit 1; }
