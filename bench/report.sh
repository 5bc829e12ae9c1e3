# shellcheck shell=bash
# Sourced by run.sh: from the results in $work to table and plots.

# figure FILE KEY: a number of the figures of a result.
figure() { grep -so "\"$2\":[-+0-9.e]*" "$work/$1.json" | head -1 | cut -d: -f2 || true; }
# latency FILE OPERATION KEY: microseconds.
latency() {
    grep -so "\"$2\":{\"count[^}]*}" "$work/$1.json" | grep -o "\"$3\":[-+0-9.e]*" |
        cut -d: -f2 || true
}

median() { sort -g | awk '{v[NR] = $1} END {if (NR) print v[int((NR + 1) / 2)]}'; }

# of LOAD SERVER KEY [OPERATION]: the median over the rounds; empty when there are none.
of() {
    local round
    for round in $(seq "$rounds"); do
        [ -f "$work/$1.$2.$round.json" ] || continue
        if [ -n "${4:-}" ]; then latency "$1.$2.$round" "$4" "$3"; else figure "$1.$2.$round" "$3"; fi
    done | median
}

# calc EXPRESSION: its value, or "-" when an operand was not measured.
calc() { awk "BEGIN {printf \"%.4g\", $1}" 2>/dev/null || printf -- '-'; }
# best min|max VALUES...
best() {
    local which=$1
    shift
    printf '%s\n' "$@" | grep . | sort -g | if [ "$which" = min ]; then head -1; else tail -1; fi
}

# redis_commands NAME COMMAND...: one client's rate, to $work/redis.NAME
redis_commands() {
    local name=$1
    shift
    redis-benchmark -p "$redis_port" -c 1 -n "$commands" --csv "$@" 2>/dev/null |
        tail -1 | awk -F'","' '{print $2}' >>"$work/redis.$name"
}

# The microbenchmarks, to $work/micro.txt, and the speed of the cipher alone.
micro() {
    local seconds=0.3 program
    [ -n "$quick" ] && seconds=0.001
    : >"$work/micro.txt"
    for program in lobby_micro lobby_core_micro show_list_bench; do
        [ -x "$bin/$program" ] || continue
        "$bin/$program" --benchmark_min_time=$seconds 2>"$work/micro.err" |
            grep -vE '^(\*\*\*|---|Benchmark|ServerList::)' >>"$work/micro.txt" || {
            failed=1
            cat "$work/micro.err" >&2
        }
    done
    if grep -q 'ERROR OCCURRED' "$work/micro.txt"; then
        failed=1
        grep 'ERROR OCCURRED' "$work/micro.txt" >&2
    fi
    rm -f "$bin"/log/lobby_micro.log*
    # Bytes per second of CPU time.
    openssl speed -evp aes-128-cbc -bytes 1024 -seconds 1 -mr 2>/dev/null |
        sed -n 's/^+F:.*:\([0-9.]*\)$/\1/p' >"$work/openssl"
    echo "  microbenchmarks" >&2
}

# Nanoseconds of CPU time of a microbenchmark.
micro_of() { awk -v name="$1" '$1 == name {print $4}' "$work/micro.txt"; }

# row TEXT OURS REFERENCE least|most TARGET UNIT: ratio of ours to the reference, and the target.
row() {
    local text=$1 ours=$2 reference=$3 bound=$4 target=$5 unit=$6 ratio met
    if [ -z "$ours" ] || [ -z "$reference" ]; then
        echo "| $text | - | - | - | - | not measured |"
        return
    fi
    ratio=$(calc "$ours / $reference")
    met=$(awk "BEGIN {print (\"$bound\" == \"most\" ? $ratio <= $target : $ratio >= $target) ? \"yes\" : \"no\"}")
    echo "| $text | $ratio | at $bound $target | $met | $(calc "$ours") $unit | $(calc "$reference") $unit |"
}
# plain TEXT OURS MOST UNIT: a figure with an absolute target.
plain() {
    [ -n "$2" ] || { echo "| $1 | - | - | - | not measured | |"; return; }
    echo "| $1 | $(calc "$2 / $3") | at most $3 $4 | $(awk "BEGIN {print $2 <= $3 ? \"yes\" : \"no\"}") | $(calc "$2") $4 | |"
}

# among LOAD KEY min|max [OPERATION]: the best of the peers.
among() {
    local peer values=()
    for peer in asio libevent; do
        values+=("$(of "$1" "$peer" "$2" "${4:-}")")
    done
    best "$3" "${values[@]}"
}

redis_logins() {
    local exists setex
    exists=$(median <"$work/redis.exists")
    setex=$(median <"$work/redis.setex")
    [ -n "$exists" ] && [ -n "$setex" ] && calc "1 / (1 / $exists + 1 / $setex)"
}

table() {
    local fast=lobby
    [[ " ${tcp[*]} " == *" wakeup "* ]] && fast=wakeup
    echo "| Load | Ratio | Target | Met | Lobby | Reference |"
    echo "|---|---|---|---|---|---|"
    row "100 connections, 32 in flight: CPU per million messages" "$(of pipelined lobby cpu_per_million)" \
        "$(among pipelined cpu_per_million min)" most 1.5 s
    row "100 connections, 1 in flight: CPU per million messages" "$(of single lobby cpu_per_million)" \
        "$(among single cpu_per_million min)" most 1.2 s
    plain "1 connection, 1 in flight: p50, default" "$(of pingpong lobby p50_us echo)" 1300 us
    if [ "$fast" = wakeup ]; then
        row "1 connection, 1 in flight: p50, wake-up" "$(of pingpong wakeup p50_us echo)" \
            "$(among pingpong p50_us min echo)" most 1.5 us
    fi
    row "1,000 connections, 20,000 messages/s: p99, $([ $fast = wakeup ] && echo wake-up || echo default)" \
        "$(of rate $fast p99_us echo)" "$(among rate p99_us min echo)" most 1.5 us
    row "connect, one echo, close, 64 at a time: cycles/s" "$(of cycle lobby per_second)" \
        "$(among cycle per_second max)" least 0.9 ""
    row "connect, one echo, close, 16 at a time: cycles/s" "$(of cycle16 lobby per_second)" \
        "$(among cycle16 per_second max)" least 0.9 ""
    if [ "$fast" = wakeup ]; then
        row "connect, one echo, close, 16 at a time: cycles/s, wake-up" \
            "$(of cycle16 wakeup per_second)" "$(among cycle16 per_second max)" least 0.9 ""
    fi
    row "100 WebSocket connections, 8 in flight: messages/s" "$(of websocket lobby per_second)" \
        "$(of websocket lws per_second)" least 3 ""
    plain "memory per idle connection ($idle connections)" "$(of idle lobby bytes_per_connection)" 12288 bytes
    if [ -n "$platform" ]; then
        row "logins/s, against EXISTS + SETEX of redis-benchmark with one client" \
            "$(of logins lobby logins_per_second)" "$(redis_logins)" least 0.5 ""
    fi
    plain "3,272-byte broadcast to $crowd clients, p50 to the last byte" \
        "$(of broadcast lobby p50_us broadcast)" 100000 us
    if [ -n "$platform" ]; then
        plain "five bulletins to $crowd players of the lobby, slowest from the first to the last" \
            "$(of bulletins lobby max_us bulletins)" 100000 us
        row "50 WebSocket clients, 5,000 echoes/s: p99 beside a stopped reader, against without" \
            "$(of stopped with p99_us echo)" "$(of stopped without p99_us echo)" most 2 us
    fi
    local direction
    for direction in Encrypt Decrypt; do
        row "AES of 1 KiB bodies, ${direction,,}: bytes/s, against openssl speed" \
            "$(calc "1024e9 / $(micro_of "Aes$direction/1024")")" "$(cat "$work/openssl")" least 0.7 ""
    done
}

growth_table() {
    local n server
    echo "| Clients | Lobby CPU/million | Lobby p50 | Lobby p99 | Asio CPU/million | Asio p50 | Asio p99 |"
    echo "|---|---|---|---|---|---|---|"
    for n in "${clients[@]}"; do
        printf '| %s |' "$n"
        for server in lobby asio; do
            printf ' %s s | %s us | %s us |' "$(calc "$(figure "growth$n.$server.1" cpu_per_million)")" \
                "$(latency "growth$n.$server.1" echo p50_us)" "$(latency "growth$n.$server.1" echo p99_us)"
        done
        echo
    done
}

machine() {
    echo "Measured $(date -u +%Y-%m-%d), $(nproc) cores of $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -1)," \
        "Linux $(uname -r | cut -d- -f1), $(c++ --version | head -1), release build, log level ERROR," \
        "load average before the run $load_average;" \
        "medians of $rounds rounds, the servers of a load in alternating order."
}

# chart FILE TITLE UNIT METRICS...: one group per "name load key [operation]".
chart() {
    local file=$1 title=$2 unit=$3 group name loadname key operation server value
    shift 3
    {
        echo "- ${tcp[*]}"
        for group in "$@"; do
            read -r name loadname key operation <<<"$group"
            printf '%s' "$name"
            for server in "${tcp[@]}"; do
                value=$(of "$loadname" "$server" "$key" "$operation")
                printf ' %s' "${value:--}"
            done
            echo
        done
    } | "$bin/bench_plot" "$title" "$unit" --log >"$plots/$file.svg"
}

plot_all() {
    chart cpu "Server CPU per million messages" "seconds" "100_clients,_32_each pipelined cpu_per_million" \
        "100_clients,_1_each single cpu_per_million" "20,000/s_over_1,000 rate cpu_per_million" \
        "connect,_echo,_close cycle cpu_per_million"
    chart latency "Latency of an echo" "us" "1_connection,_p50 pingpong p50_us echo" \
        "1_connection,_p99 pingpong p99_us echo" "20,000/s,_p50 rate p50_us echo" \
        "20,000/s,_p99 rate p99_us echo"
    {
        echo "- lobby asio"
        local n
        for n in "${clients[@]}"; do
            echo "$n $(calc "$(figure "growth$n.lobby.1" cpu_per_million)")" \
                "$(calc "$(figure "growth$n.asio.1" cpu_per_million)")"
        done
    } | "$bin/bench_plot" "CPU per million messages by number of clients, 10,000 messages/s" "seconds" >"$plots/growth.svg"
    {
        echo "- ${ws[*]}"
        printf '%s' "messages/s"
        local server
        for server in "${ws[@]}"; do
            printf ' %s' "$(of websocket "$server" per_second)"
        done
        echo
    } | "$bin/bench_plot" "100 WebSocket connections, 8 in flight" "messages/s" >"$plots/websocket.svg"
}

# The text between the markers of the document.
document() {
    echo
    machine
    echo
    table
    echo
    echo "How cost grows with clients: 10,000 messages/s over all of them, sweeps off."
    echo
    growth_table
    if [ -n "$platform" ]; then
        echo
        echo "\`lobby_load\` with $players players in the usual mix, one second of think time:"
        echo
        echo '```'
        sed -n '/^players/,$p' "$work/players.txt"
        echo '```'
    fi
    echo
    echo "Microbenchmarks:"
    echo
    echo '```'
    cut -c1-110 "$work/micro.txt"
    echo '```'
    echo
}

report() {
    plots=$root/docs/img
    [ -n "$quick" ] && plots=$work/plots
    mkdir -p "$plots"
    plot_all
    document >"$work/document"
    table
    [ -n "$quick" ] && return
    awk -v text="$work/document" '
        /<!-- bench:begin -->/ {print; while ((getline line < text) > 0) print line; skip = 1}
        /<!-- bench:end -->/ {skip = 0}
        !skip && !/<!-- bench:begin -->/ {print}' "$root/docs/performance.md" >"$work/performance.md"
    cp "$work/performance.md" "$root/docs/performance.md"
}
