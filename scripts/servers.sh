# shellcheck shell=bash
# Sourced by the demo, the benchmarks and the tests that are scripts: what a lobby needs around it,
# on free loopback ports. The caller sets
#   $bin   the folder with the binaries
#   $work  a folder of its own
# and ends what it started: redis_pid, sim_pid and the pids of its lobbies, or with end_with_script.

servers_root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)

# Ends with the script whatever it has in the background, and its $work; its status stays. One that
# fails shows the ends of its logs.
end_with_script() {
    trap 'end_all $?' EXIT
    trap 'exit 130' INT TERM HUP PIPE
}
end_all() {
    trap - EXIT
    set +e
    [ "$1" -eq 0 ] || [ "$1" -eq 77 ] || tail -n 20 "$work"/*.log 2>/dev/null | cut -c 1-200 >&2
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null
    wait
    rm -rf "$work"
    exit "$1"
}

listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# Below the range of outgoing connections.
free_port() {
    local port
    while port=$((10000 + RANDOM % 20000)); listens "$port"; do :; done
    echo "$port"
}

# wait_for SECONDS COMMAND...: until the command succeeds.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || { echo "gave up waiting for: $*" >&2; return 1; }
        sleep 0.05
    done
}

redis() { redis-cli -p "$redis_port" "$@"; }

# Where it was before when it is started again.
start_redis() {
    redis_port=${redis_port:-$(free_port)}
    redis-server --port "$redis_port" --bind 127.0.0.1 --save '' --appendonly no --dir "$work" \
        >"$work/redis.log" 2>&1 &
    redis_pid=$!
    wait_for 10 redis ping
}

# start_simulator ARGUMENTS...: sets queue_port, center_port, ... and control_port.
start_simulator() {
    rm -f "$work/ports"
    "$bin/platform_sim" --ports-file "$work/ports" "$@" </dev/null >"$work/platform.log" 2>&1 &
    sim_pid=$!
    wait_for 10 test -s "$work/ports"
    local pair
    for pair in $(cat "$work/ports"); do printf -v "${pair%%=*}_port" '%s' "${pair#*=}"; done
}

# sim COMMAND...: one control command of the simulated platform.
sim() {
    local line
    exec 3<>"/dev/tcp/127.0.0.1/$control_port"
    echo "$*" >&3
    while read -r line <&3; do
        case "$line" in
            ok) break ;;
            error:*) echo "$line" >&2; exec 3>&-; return 1 ;;
            *) echo "$line" ;;
        esac
    done
    exec 3>&-
}

# set_addresses FILE ADDRESS LEVEL [SED-EXPRESSION...]: a lobby's configuration with these servers,
# that log level, below WARN with every line, and what the expressions change.
set_addresses() {
    local file=$1 address=$2 level=$3 expressions=() expression
    shift 3
    [ "$level" = WARN ] || expressions=(-e 's/^most_lines=.*/most_lines=0/')
    for expression in "$@"; do expressions+=(-e "$expression"); done
    sed -i -e "s/^center_server=.*/center_server=127.0.0.1:$center_port/" \
        -e "s/^bulletin_server=.*/bulletin_server=127.0.0.1:$web_port/" \
        -e "s/^queue_server=.*/queue_server=127.0.0.1:$queue_port/" \
        -e "s/^data_server=.*/data_server=127.0.0.1:$data_port/" \
        -e "s/^config_server=.*/config_server=127.0.0.1:$config_port/" \
        -e "s/^log_server=.*/log_server=127.0.0.1:$log_port/" \
        -e "s/^addr=.*/addr=$address/" \
        -e "s/^redis_server=.*/redis_server=127.0.0.1:$redis_port/" \
        -e "s/^level=.*/level=$level/" "${expressions[@]}" "$file"
}

# make_lobby FOLDER PORT LEVEL [SED-EXPRESSION...]: a lobby of the build, else as its sample
# configuration has it.
make_lobby() {
    local folder=$1 port=$2
    mkdir -p "$folder"
    cp "$bin/LobbyServer" "$servers_root"/deploy/config/*.cfg "$folder/"
    set_addresses "$folder/LobbyServer.cfg" "127.0.0.1:$port" "${@:3}"
}
