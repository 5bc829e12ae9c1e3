#!/usr/bin/env bash
# Measures what docs/capacity.md plans with: the cost of a player on a lobby, in Redis, on the
# center's link, in haproxy and in nginx. Prints one figure a line; about four minutes.
# Usage: bench/capacity.sh [quick] [folder with the binaries]
#        Build the release preset first.
#        With quick everything once and briefly, so that it does not rot; the figures mean nothing.
# PLAYERS=n changes the players on one lobby (4800), SECONDS_EACH=n the length of a load (20).
# The part about nginx needs the npm packages of tests/web: WEB_MODULES names their folder; by
# default it is where "ctest --preset release -R web_npm" puts them.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)
players=${PLAYERS:-4800} seconds=${SECONDS_EACH:-20} thinks=(25 10 1) marks=100000
wss=900 rounds=20 settle=5 warm=3
if [ "${1:-}" = quick ]; then
    shift
    players=200 seconds=4 thinks=(1) marks=1000 wss=60 rounds=2 settle=2 warm=1
fi
bin=$(readlink -f "${1:-$root/build/release/bin}")
export WEB_MODULES=${WEB_MODULES:-$root/build/release/tests/web/npm}
ulimit -n "$(ulimit -Hn)"
PATH=$PATH:/usr/sbin
work=$(mktemp -d)
# shellcheck source=servers.sh
. "$root/bench/servers.sh"
# shellcheck source=../scripts/balancer.sh
. "$root/scripts/balancer.sh"
haproxy_pid='' nginx_pid='' second_pid='' people_pid=''
finish() {
    set +e
    for pid in "$people_pid" "$nginx_pid" "$haproxy_pid" "$second_pid"; do stop_pid "$pid"; done
    stop_platform
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

calc() { awk "BEGIN { printf \"%.${2:-1}f\", $1 }"; }

resident() { awk '/^VmRSS/ { print $2 * 1024 }' "/proc/$1/status"; }
# Nanoseconds of CPU time of each thread of a process: "thread time", for join.
threads() {
    local t
    for t in /proc/"$1"/task/*; do echo "${t##*/} $(cut -d' ' -f1 "$t/schedstat")"; done | sort
}
children() { pgrep -P "$1" | tr '\n' ' ' || true; }

# load NAME PORT ARGUMENTS...
load() {
    "$bin/lobby_load" -q -p "$2" --json "$work/$1.json" "${@:3}" >"$work/$1.txt" 2>&1 ||
        { echo "capacity: $1 had errors:" >&2; cat "$work/$1.txt" >&2; exit 1; }
}

calls() {
    redis info commandstats | sed -n "s/^cmdstat_$1:calls=\([0-9]*\).*/\1/p" | grep . || echo 0
}
# redis_calls WHAT COUNT: commands since the last time, for each of so many.
redis_calls() {
    local name text=
    for name in exists setex del; do
        text+="$(calc "$(calls $name) / $2" 2) $name  "
    done
    say "Redis commands for $1" "$text"
    redis config resetstat >/dev/null
}
redis_cpu() { redis info cpu | awk -F: '/^used_cpu_(sys|user):/ { n += $2 } END { print n }'; }

measure_lobby() {
    start_redis
    start_simulator --quiet --players "$((players + 1000))"
    start_lobby
    wait_for 10 eval '[ "$(redis info clients | grep -c "connected_clients:[2-9]")" = 1 ]'
    local empty cpu
    say "resident memory of an empty lobby" "$(calc "$(resident "$server_pid") / 1048576")" MiB
    empty=$(resident "$server_pid")
    redis config resetstat >/dev/null
    sleep "$seconds"
    say "Redis connections of a lobby; its PINGs in a second" \
        "$(redis client list | grep -c 'cmd=ping'); $(calc "$(calls ping) / $seconds")"

    redis config resetstat >/dev/null
    cpu=$(redis_cpu)
    load logins "$server_port" -n "$players" --connecting 64 logins
    say "logins per second, all at once" "$(calc "$(figure logins logins_per_second)" 0)"
    wait_for 20 eval '[ "$(redis dbsize)" = 0 ]'
    say "Redis CPU for a login and a logout" \
        "$(calc "($(redis_cpu) - $cpu) * 1000000 / $players")" us
    redis_calls "a login and a logout" "$players"

    local think
    for think in "${thinks[@]}"; do measure_players "$think" "$empty"; done
}

# measure_players THINK EMPTY: seconds between two requests of a player; memory without players.
measure_players() {
    local think=$1 empty=$2 warmup=$(($1 * 3 / 2 + warm)) pid=$server_pid mix=() before job peak
    local name="$players players, usual mix, one request in $think s each"
    if [ "$think" = 25 ]; then
        mix=(--mix keep-alive=1)
        name="$players players, one keep-alive in $think s each"
    fi
    load "think$think" "$server_port" --pid "$pid" -n "$players" --ramp 1500 --warmup "$warmup" \
        -d "$seconds" players --think "$think" "${mix[@]}" &
    job=$!
    wait_for 60 eval '[ "$(redis dbsize)" = "$players" ]'
    sleep $((warmup + 1))
    before=$(threads "$pid")
    sleep $((seconds - settle))
    peak=$(join <(echo "$before") <(threads "$pid") |
        awk '$3 - $2 > n { n = $3 - $2 } END { print n }')
    wait "$job"
    say "$name: per second" "$(calc "$(figure "think$think" per_second)" 0)" requests
    say "    CPU of all threads" \
        "$(calc "$(figure "think$think" server_cpu_seconds) * 100 / $seconds")" "% of a core"
    say "    CPU of the busiest thread" "$(calc "$peak / ($seconds - $settle) / 10000000")" "% of a core"
    say "    memory for each player" \
        "$(calc "($(figure "think$think" server_rss_kib) * 1024 - $empty) / $players / 1024")" KiB
    wait_for 20 eval '[ "$(redis dbsize)" = 0 ]'
}

redis_memory() { redis info memory | sed -n 's/^used_memory:\([0-9]*\).*/\1/p'; }
measure_redis() {
    local before
    before=$(redis_memory)
    seq -f 'SETEX Lobby:OnLine:UserID:%.0f 259200 1' 100000001 $((100000000 + marks)) |
        redis --pipe >/dev/null
    say "Redis memory for a mark ($marks marks)" \
        "$(calc "($(redis_memory) - $before) / $marks" 0)" bytes
    local clients name rate
    for clients in 1 50; do
        for name in "exists Lobby:OnLine:UserID:100000007" "setex Lobby:OnLine:UserID:7 600 1" \
            "del Lobby:OnLine:UserID:8"; do
            # shellcheck disable=SC2086
            rate=$(redis-benchmark -p "$redis_port" -c "$clients" -n "$marks" --csv $name \
                2>/dev/null | tail -n 1 | cut -d'"' -f4)
            say "redis-benchmark, $clients clients, ${name%% *}" "$rate" "per second"
        done
    done
    redis flushall >/dev/null
}

# Bytes on the center's link of a lobby, as the kernel counts them: "received sent".
center_bytes() {
    ss -tinpHO "dport = :$center_port" | grep "pid=$1," |
        awk '{ for (i = 1; i <= NF; ++i) { split($i, p, ":")
                 if (p[1] == "bytes_received") r = p[2]; if (p[1] == "bytes_acked") s = p[2] }
               print r + 0, s + 0 }'
}
measure_center() {
    local second_port before after greeting servers more=100 moved=500 id
    second_port=$(free_port)
    greeting=$(center_bytes "$server_pid")
    servers=$(grep -c '"id"' <("$bin/platform_sim" --dump-accounts | sed -n '/"servers"/,/\]/p'))
    say "center to a lobby that registers: $servers game servers, the sites" "${greeting% *}" \
        "bytes, ${greeting#* } back"
    for id in $(seq 1 $more); do sim server add 7 $((5000 + id)) >/dev/null; done
    make_lobby "$work/second" "$second_port" ERROR
    "$work/second/LobbyServer" >/dev/null 2>&1 &
    second_pid=$!
    wait_for 20 listens "$second_port"
    sleep 1
    after=$(center_bytes "$second_pid")
    say "    for each game server more" "$(calc "(${after% *} - ${greeting% *}) / $more")" bytes

    # Players of the first lobby log in on the second.
    crowd "$server_port" "$moved"
    local first_before first_after
    first_before=$(center_bytes "$server_pid")
    before=$(center_bytes "$second_pid")
    redis config resetstat >/dev/null
    "$bin/lobby_load" -q -p "$second_port" -n "$moved" logins >/dev/null 2>&1 || true
    sleep 1
    first_after=$(center_bytes "$server_pid")
    after=$(center_bytes "$second_pid")
    say "second login: bytes to the center" "$(calc "(${after#* } - ${before#* }) / $moved")"
    say "    and from it to each other lobby" \
        "$(calc "(${first_after% *} - ${first_before% *}) / $moved")"
    disperse
    stop_pid "$second_pid"
    second_pid=
}

measure_haproxy() {
    export LOBBY_MAXCONN=6000
    start_haproxy "$root/deploy/haproxy.cfg" "$server_port" "$server_port" "$server_port"
    wait_for 30 is_up lobby1
    wait_for 30 is_up lobby3
    local empty cpu pids
    pids="$haproxy_pid $(children "$haproxy_pid")"
    empty=$(resident "$haproxy_pid")
    load through "$entrance_port" -n "$players" --ramp 1500 --warmup "$warm" -d "$seconds" players \
        --think 1 &
    local job=$!
    wait_for 60 eval '[ "$(redis dbsize)" = "$players" ]'
    sleep "$settle"
    # shellcheck disable=SC2086
    cpu=$(cpu_us $pids)
    sleep $((seconds - settle - 1))
    # shellcheck disable=SC2086
    cpu=$(calc "($(cpu_us $pids) - $cpu) / ($seconds - $settle - 1) / 10000")
    say "haproxy memory for each player" \
        "$(calc "($(resident "$haproxy_pid") - $empty) / $players / 1024")" KiB
    wait "$job"
    say "haproxy CPU at $(calc "$(figure through per_second)" 0) requests per second" "$cpu" \
        "% of a core"
}

# people COMMAND...: the players of the balancer's test, all by wss://.
people() {
    local answer
    echo "$*" >&"${secure[1]}"
    read -r -t 120 answer <&"${secure[0]}"
    [ "${answer%% *}" = ok ] || { echo "capacity: $answer" >&2; exit 1; }
}
measure_nginx() {
    if [ ! -d "$WEB_MODULES/node_modules/ws" ]; then
        echo "capacity: nginx left out, see usage" >&2
        return
    fi
    start_nginx
    wait_for 10 listens "$secure_port"
    export WSS_URL=wss://localhost:$secure_port WSS_CERTIFICATE=$work/cert.pem
    coproc secure { exec node "$root/tests/balancer/players.mjs"; }
    people_pid=$secure_PID
    local pids cpu empty after=0 pid
    pids="$nginx_pid $(children "$nginx_pid")"
    people enter 20001 20100
    people leave 20001 20100
    memory() {
        local n=0
        for pid in $pids; do n=$((n + $(resident "$pid"))); done
        echo "$n"
    }
    empty=$(memory)
    # shellcheck disable=SC2086
    cpu=$(cpu_us $pids)
    people enter 20001 $((20000 + wss))
    # shellcheck disable=SC2086
    say "nginx CPU for a wss connection and its login" \
        "$(calc "($(cpu_us $pids) - $cpu) / $wss" 0)" us
    after=$(memory)
    say "nginx memory for each wss player" "$(calc "($after - $empty) / $wss / 1024")" KiB
    # shellcheck disable=SC2086
    cpu=$(cpu_us $pids)
    for _ in $(seq $rounds); do people alive; done
    # shellcheck disable=SC2086
    say "nginx CPU for a message and its answer" \
        "$(calc "($(cpu_us $pids) - $cpu) / $wss / $rounds" 0)" us
}

measure_stop() {
    local began
    crowd "$server_port" "$players"
    began=$(date +%s%3N)
    stop_server
    say "SIGTERM to the end of a lobby with $players players" "$(($(date +%s%3N) - began))" ms
    say "    marks it left in Redis" "$(redis dbsize)"
    disperse
}

say "cores; load average before" "$(nproc); $(cut -d' ' -f1 /proc/loadavg)"
measure_lobby
measure_redis
measure_center
measure_haproxy
measure_nginx
measure_stop
