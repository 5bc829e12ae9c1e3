# Sourced by run.sh: starting and stopping what is put under load. Uses $bin and $work.

server_pid=
server_port=

# Every server listens on a free port below the range of outgoing connections.
free_port() {
    local port
    for _ in $(seq 100); do
        port=$((10000 + RANDOM % 20000))
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || { echo "$port"; return; }
    done
    return 1
}

# wait_for COMMAND...: until it succeeds, ten seconds at most.
wait_for() {
    for _ in $(seq 200); do
        "$@" 2>/dev/null && return
        sleep 0.05
    done
    echo "bench: gave up waiting for: $*" >&2
    return 1
}

listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# start_echo NAME: lobby, wakeup (the lobby's framework with its wake-up), asio, libevent or lws.
start_echo() {
    local program=${1}_echo arguments=()
    if [ "$1" = wakeup ]; then program=lobby_echo arguments=(--wakeup); fi
    server_port=$(free_port)
    rm -f "$work/server.out"  # the last server's must not be taken for this one's
    "$bin/$program" "$server_port" "${arguments[@]}" >"$work/server.out" 2>&1 &
    server_pid=$!
    wait_for grep -q ready "$work/server.out"
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

redis_pid= redis_port= sim_pid=

start_redis() {
    redis_port=$(free_port)
    redis-server --bind 127.0.0.1 --port "$redis_port" --dir "$work" --save '' --appendonly no \
        >"$work/redis.out" 2>&1 &
    redis_pid=$!
    wait_for listens "$redis_port"
}

# start_simulator PLAYERS
start_simulator() {
    "$bin/platform_sim" --quiet --players "$1" --ports-file "$work/ports" \
        </dev/null >"$work/sim.out" 2>&1 &
    sim_pid=$!
    wait_for test -s "$work/ports"
}

port_of() { grep -o "$1=[0-9]*" "$work/ports" | cut -d= -f2; }

# The lobby of the build, as its sample configuration has it but for ports and log level.
start_lobby() {
    mkdir -p "$work/lobby"
    cp "$bin/LobbyServer" "$bin"/*.cfg "$work/lobby/"
    server_port=$(free_port)
    sed -i -e "s/^center_server=.*/center_server=127.0.0.1:$(port_of center)/" \
        -e "s/^bulletin_server=.*/bulletin_server=127.0.0.1:$(port_of web)/" \
        -e "s/^queue_server=.*/queue_server=127.0.0.1:$(port_of queue)/" \
        -e "s/^data_server=.*/data_server=127.0.0.1:$(port_of data)/" \
        -e "s/^config_server=.*/config_server=127.0.0.1:$(port_of config)/" \
        -e "s/^log_server=.*/log_server=127.0.0.1:$(port_of log)/" \
        -e "s/^addr=.*/addr=127.0.0.1:$server_port/" \
        -e "s/^redis_server=.*/redis_server=127.0.0.1:$redis_port/" \
        -e "s/^level=.*/level=ERROR/" "$work/lobby/LobbyServer.cfg"
    "$work/lobby/LobbyServer" >/dev/null 2>&1 &
    server_pid=$!
    wait_for listens "$server_port"
}

stop_platform() {
    stop_server
    stop_pid "$sim_pid"
    stop_pid "$redis_pid"
    sim_pid= redis_pid=
    rm -f "$work/ports"
}
