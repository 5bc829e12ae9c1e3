# shellcheck shell=bash
# Sourced by run.sh: starting and stopping what is put under load. Uses $bin and $work.

server_pid=
server_port=

# shellcheck source=../scripts/servers.sh
. "$root/scripts/servers.sh"

# start_echo NAME: lobby, wakeup (the lobby's framework with its wake-up), asio, libevent or lws.
start_echo() {
    local program=${1}_echo arguments=()
    if [ "$1" = wakeup ]; then program=lobby_echo arguments=(--wakeup); fi
    server_port=$(free_port)
    rm -f "$work/server.out"  # the last server's must not be taken for this one's
    "$bin/$program" "$server_port" "${arguments[@]}" >"$work/server.out" 2>&1 &
    server_pid=$!
    wait_for 10 grep -q ready "$work/server.out"
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

redis_pid='' sim_pid=''

# The lobby of the build, as its sample configuration has it but for ports, log level and, when they
# are set, $pace, the seconds between broadcasts, and $metrics, where it serves its figures. It runs
# under the command ${under[@]}.
under=()
start_lobby() {
    server_port=$(free_port)
    make_lobby "$work/lobby" "$server_port" ERROR \
        ${pace:+"s/^sendbulletintime=.*/sendbulletintime=$pace/"} \
        ${metrics:+"s/^;addr=.*/addr=$metrics/"}
    "${under[@]}" "$work/lobby/LobbyServer" >/dev/null 2>&1 &
    server_pid=$!
    wait_for 60 listens "$server_port"
}

stop_platform() {
    stop_server
    stop_pid "$sim_pid"
    stop_pid "$redis_pid"
    sim_pid='' redis_pid=''
}
