#!/usr/bin/env bash
# What a Redis costs that answers late, or not at all: logins a second, the longest wait of others
# while 1,000 players leave at once, and the end of a full lobby. Prints one figure a line; about a
# minute.
# Usage: bench/late_redis.sh [folder with the binaries [folder with the LobbyServer]]
#        Build the release preset first. DELAYS changes the milliseconds ("0 1 5"), PLAYERS those on
#        the lobby that ends (4900).
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)
bin=$(readlink -f "${1:-$root/build/release/bin}")
ulimit -n "$(ulimit -Hn)"
work=$(mktemp -d)
# shellcheck source=servers.sh
. "$root/bench/servers.sh"
proxy_pid=''
finish() {
    set +e
    kill -CONT "$redis_pid" 2>/dev/null
    stop_pid "$proxy_pid"
    stop_platform
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

marks() { redis dbsize; }

# start_lobby_behind MILLISECONDS: its Redis answers so much later.
start_lobby_behind() {
    local proxy_port
    "$bin/late_proxy" "$redis_port" "$(awk "BEGIN { print $1 * 1000 }")" >"$work/proxy" &
    proxy_pid=$!
    wait_for 5 test -s "$work/proxy"
    proxy_port=$(cat "$work/proxy")
    server_port=$(free_port)
    make_lobby "$work/lobby" "$server_port" ERROR \
        "s/^redis_server=.*/redis_server=127.0.0.1:$proxy_port/"
    [ -z "${lobby:-}" ] || cp "$lobby/LobbyServer" "$work/lobby/"
    "$work/lobby/LobbyServer" >"$work/lobby.out" 2>&1 &
    server_pid=$!
    wait_for 60 listens "$server_port"
    wait_for 10 eval '[ "$(redis info clients | grep -c "connected_clients:9")" = 1 ]'
}
stop_lobby() {
    stop_server
    stop_pid "$proxy_pid"
    proxy_pid=
    rm -f "$work/proxy"
}

measure() {
    local before began job
    start_lobby_behind "$1"
    before=$(cpu_us "$server_pid")
    "$bin/lobby_load" -q -p "$server_port" -n 3000 --connecting 128 --json "$work/logins.json" \
        logins >/dev/null
    wait_for 20 eval '[ "$(marks)" = 0 ]'
    say "+$1 ms: logins a second, 3000 players" "$(printf %.0f "$(figure logins logins_per_second)")"
    say "    CPU for a login and its end" \
        "$(awk "BEGIN { printf \"%.1f\", ($(cpu_us "$server_pid") - $before) / 3000 }")" us

    crowd "$server_port" 1000
    # Below the sample's limit for a connection: 5 a second.
    "$bin/lobby_load" -q -p "$server_port" -n 60 -d 4 --json "$work/echo.json" echo --rate 300 \
        >/dev/null &
    job=$!
    sleep 1.5
    began=$(date +%s%3N)
    disperse
    wait_for 20 eval '[ "$(marks)" = 0 ]'
    say "    1000 leave: until their marks are gone" "$(($(date +%s%3N) - began))" ms
    wait "$job"
    say "    longest wait of an echo meanwhile" "$(figure echo max_us)" us

    crowd "$server_port" "${PLAYERS:-4900}"
    began=$(date +%s%3N)
    stop_server
    say "    SIGTERM to the end with ${PLAYERS:-4900} players" "$(($(date +%s%3N) - began))" ms
    say "    marks it left" "$(marks)"
    disperse
    stop_lobby
    redis flushall >/dev/null
}

measure_hung() {
    local began
    start_lobby_behind 1
    crowd "$server_port" "${PLAYERS:-4900}"
    kill -STOP "$redis_pid"
    began=$(date +%s%3N)
    stop_server
    say "Redis hangs: SIGTERM to the end with ${PLAYERS:-4900} players" \
        "$(($(date +%s%3N) - began))" ms
    kill -CONT "$redis_pid"
    say "    what the lobby says" "$(grep -o '[0-9]* marks stay' "$work/lobby.out" || echo nothing)"
    disperse
    stop_lobby
}

lobby=${2:+$(readlink -f "$2")}
start_redis
start_simulator --quiet --players 6000
for delay in ${DELAYS:-0 1 5}; do measure "$delay"; done
measure_hung
