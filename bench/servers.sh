# shellcheck shell=bash
# Sourced by the benchmarks: starting and stopping what is put under load, and reading what that
# gave. Uses $bin and $work.

server_pid=
server_port=

# shellcheck source=../scripts/servers.sh
. "$root/scripts/servers.sh"

# start_echo NAME: default, wakeup (the framework with either value of the key), before (an older
# one's, with wakeup=1), or a peer.
start_echo() {
    local program=$bin/${1}_echo arguments=()
    case $1 in
        default) program=$bin/lobby_echo ;;
        wakeup) program=$bin/lobby_echo arguments=(--wakeup) ;;
        before) program=$before/lobby_echo arguments=(--wakeup) ;;
    esac
    server_port=$(free_port)
    rm -f "$work/server.out"  # the last server's must not be taken for this one's
    "$program" "$server_port" "${arguments[@]}" >"$work/server.out" 2>&1 &
    server_pid=$!
    wait_for 10 grep -q ready "$work/server.out"
}

# say TEXT FIGURE [UNIT]
say() {
    [ -n "$2" ] || { echo "${0##*/}: no figure for: $1" >&2; exit 1; }
    printf '%-66s %10s %s\n' "$1" "$2" "${3:-}"
}
# figure NAME KEY: a number of the figures of a load's result.
figure() { grep -so "\"$2\":[-+0-9.e]*" "${kept:-$work}/$1.json" | head -1 | cut -d: -f2 || true; }
# cpu_us PID...: microseconds of CPU time, of all their threads.
cpu_us() {
    local pid
    for pid in "$@"; do cat /proc/"$pid"/task/*/schedstat; done | awk '{ n += $1 } END { printf "%.0f\n", n / 1000 }'
}

stop_pid() {
    [ -z "$1" ] && return
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

stop_server() {
    stop_pid "$server_pid"
    server_pid=
}

redis_pid='' sim_pid='' crowd_pid=''

# crowd PORT COUNT: so many players log in, who stay until they disperse.
crowd() {
    "$bin/lobby_load" -q -p "$1" -n "$2" -d 600 players --think 60 --mix keep-alive=1 \
        >/dev/null 2>&1 &
    crowd_pid=$!
    wait_for 60 eval '[ "$(redis dbsize)" = '"$2"' ]'
}
disperse() {
    [ -z "$crowd_pid" ] || kill -KILL "$crowd_pid" 2>/dev/null || true
    stop_pid "$crowd_pid"
    crowd_pid=
}

# start_lobby [lobby|lobby_before]: of the build or of an older one, as the sample configuration has
# it but for ports, log level and, when they are set, $pace, the seconds between broadcasts,
# $metrics, where it serves its figures, $lines, how many lines of log it writes in a second, and
# $lenient, which has it bear clients that it would close.
# It runs under the command ${under[@]}.
under=()
start_lobby() {
    server_port=$(free_port)
    make_lobby "$work/lobby" "$server_port" ERROR \
        ${pace:+"s/^sendbulletintime=.*/sendbulletintime=$pace/"} \
        "s/^most_lines=.*/most_lines=${lines:-2000}/" \
        ${lenient:+"/^any=/d;/^0x/d;s/^CLIENT_SEND_COUNT=.*/CLIENT_SEND_COUNT=100000/"} \
        ${metrics:+"s/^;addr=.*/addr=$metrics/"}
    [ "${1:-}" != lobby_before ] || cp "$before/LobbyServer" "$before/LobbyServer.cfg" "$work/lobby/"
    [ "${1:-}" != lobby_before ] || set_addresses "$work/lobby/LobbyServer.cfg" \
        "127.0.0.1:$server_port" ERROR ${pace:+"s/^sendbulletintime=.*/sendbulletintime=$pace/"}
    "${under[@]}" "$work/lobby/LobbyServer" >/dev/null 2>&1 &
    server_pid=$!
    wait_for 60 listens "$server_port"
}

stop_platform() {
    disperse
    stop_server
    stop_pid "$sim_pid"
    stop_pid "$redis_pid"
    sim_pid='' redis_pid=''
}
