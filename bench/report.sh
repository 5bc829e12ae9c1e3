# shellcheck shell=bash
# Sourced by run.sh: from the results in $kept to table and plots.

# latency FILE OPERATION KEY: microseconds.
latency() {
    grep -so "\"$2\":{\"count[^}]*}" "$kept/$1.json" | grep -o "\"$3\":[-+0-9.e]*" |
        cut -d: -f2 || true
}

median() { sort -g | awk '{v[NR] = $1} END {if (NR) print v[int((NR + 1) / 2)]}'; }

# of LOAD SERVER KEY [OPERATION]: the median over the rounds; empty when there are none.
of() {
    local file name
    for file in "$kept/$1.$2".[0-9]*.json; do
        [ -f "$file" ] || continue
        name=$(basename "$file" .json)
        if [ -n "${4:-}" ]; then latency "$name" "$4" "$3"; else figure "$name" "$3"; fi
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

# redis_commands NAME COMMAND...: one client's rate, to $kept/redis.NAME
redis_commands() {
    local name=$1
    shift
    redis-benchmark -p "$redis_port" -c 1 -n "$commands" --csv "$@" 2>/dev/null |
        tail -1 | awk -F'","' '{print $2}' >>"$kept/redis.$name"
}

# The microbenchmarks, to $kept/micro.txt, and the speed of the cipher alone.
micro() {
    local seconds=0.3 program
    [ -n "$quick" ] && seconds=0.001
    : >"$kept/micro.txt"
    for program in lobby_micro lobby_core_micro show_list_bench; do
        [ -x "$bin/$program" ] || continue
        "$bin/$program" --benchmark_min_time=$seconds 2>"$work/micro.err" |
            grep -vE '^(\*\*\*|---|Benchmark|ServerList::)' >>"$kept/micro.txt" || {
            failed=1
            cat "$work/micro.err" >&2
        }
    done
    if grep -q 'ERROR OCCURRED' "$kept/micro.txt"; then
        failed=1
        grep 'ERROR OCCURRED' "$kept/micro.txt" >&2
    fi
    rm -f "$bin"/log/lobby_micro.log*
    # Bytes per second of CPU time.
    openssl speed -evp aes-128-cbc -bytes 1024 -seconds 1 -mr 2>/dev/null |
        sed -n 's/^+F:.*:\([0-9.]*\)$/\1/p' >"$kept/openssl"
    echo "  microbenchmarks" >&2
}

# Nanoseconds of CPU time of a microbenchmark.
micro_of() { awk -v name="$1" '$1 == name {print $4}' "$kept/micro.txt"; }

verdict() { awk "BEGIN {print (\"$2\" == \"most\" ? $1 <= $3 : $1 >= $3) ? \"yes\" : \"no\"}"; }

# row TEXT OURS REFERENCE least|most TARGET UNIT [BEFORE]: ratio of ours to the reference, and the
# target. Nothing for what was not measured.
row() {
    local text=$1 ours=$2 reference=$3 bound=$4 target=$5 unit=$6 ratio
    [ -n "$ours" ] && [ -n "$reference" ] || return 0
    ratio=$(calc "$ours / $reference")
    echo "| $text | $ratio | at $bound $target | $(verdict "$ratio" "$bound" "$target") |" \
        "$(calc "$ours") $unit | $(calc "$reference") $unit | ${7:+$(calc "$7") $unit} |"
}
# plain TEXT OURS MOST UNIT [BEFORE]: a figure with an absolute target.
plain() {
    [ -n "$2" ] || return 0
    echo "| $1 | | at most $3 $4 | $(verdict "$2" most "$3") | $(calc "$2") $4 | | ${5:+$(calc "$5") $4} |"
}
# against TEXT OURS BEFORE least|most TARGET UNIT: beside the version before.
against() { row "$1" "$2" "$3" "$4" "$5" "$6" "$3"; }

# among LOAD KEY min|max "PEERS" [OPERATION]: the best of the peers.
among() {
    local peer values=()
    for peer in $4; do
        values+=("$(of "$1" "$peer" "$2" "${5:-}")")
    done
    best "$3" "${values[@]}"
}

redis_logins() {
    [ -s "$kept/redis.exists" ] && [ -s "$kept/redis.setex" ] || return 0
    calc "1 / (1 / $(median <"$kept/redis.exists") + 1 / $(median <"$kept/redis.setex"))"
}

# pair TEXT LOAD KEY least|most TARGET UNIT [OPERATION]: the framework with wakeup=1 against the best
# peer, with what it was before.
pair() {
    local which=min
    [ "$4" = most ] || which=max
    row "$1" "$(of "$2" wakeup "$3" "${7:-}")" \
        "$(among "$2" "$3" $which "epoll asio libevent uv" "${7:-}")" "$4" "$5" "$6" \
        "$(of "$2" before "$3" "${7:-}")"
}

table() {
    echo "| Load | Ratio | Target | Met | Lobby | Reference | Before |"
    echo "|---|---|---|---|---|---|---|"
    pair "1 connection, 1 in flight: p50" pingpong p50_us most 1.1 us echo
    plain "the same with \`wakeup=0\`" "$(of pingpong default p50_us echo)" 1300 us
    pair "100 connections, 1 in flight: messages/s" single per_second least 1.0 ""
    pair "the same: CPU per million messages" single cpu_per_million most 1.0 s
    pair "100 connections, 32 in flight: messages/s" pipelined per_second least 0.95 ""
    pair "the same: CPU per million messages" pipelined cpu_per_million most 1.15 s
    pair "the same: p99" pipelined p99_us most 1.0 us echo
    pair "1,000 connections, 20,000 messages/s: p99" rate p99_us most 1.2 us echo
    pair "the same: CPU per million messages" rate cpu_per_million most 1.15 s
    row "100 WebSocket connections, 8 in flight: messages/s, against bare epoll" \
        "$(of websocket wakeup per_second)" "$(of websocket epoll per_second)" least 1.05 "" \
        "$(of websocket before per_second)"
    row "the same: CPU per million messages" "$(of websocket wakeup cpu_per_million)" \
        "$(of websocket epoll cpu_per_million)" most 1.0 s "$(of websocket before cpu_per_million)"
    pair "connect, one echo, close, 64 at a time: cycles/s" cycle per_second least 0.95 ""
    row "the same, the whole lobby" "$(of sessions lobby per_second)" \
        "$(among cycle per_second max "epoll asio libevent uv")" least 0.7 "" \
        "$(of sessions lobby_before per_second)"
    plain "50 players beside one who floods the lobby: longest wait" \
        "$(of flood lobby max_us echo)" 50000 us "$(of flood lobby_before max_us echo)"
    plain "the same, with messages that cost a line of log each" \
        "$(of costly lobby max_us echo)" 50000 us "$(of costly lobby_before max_us echo)"
    against "an evening of 4,800 players, one request in 5 s each: CPU" \
        "$(of evening lobby server_cpu_seconds)" "$(of evening lobby_before server_cpu_seconds)" most 1.0 s
    against "a lobby nobody talks to: CPU" "$(of still lobby cpu_percent)" \
        "$(of still lobby_before cpu_percent)" most 0.5 %
    against "five bulletins to 4,800 players, a tenth reads slowly: slowest of the others" \
        "$(of slow lobby max_us bulletins)" "$(of slow lobby_before max_us bulletins)" most 1.0 us
    against "4,800 logins at once: logins/s" "$(of rush lobby logins_per_second)" \
        "$(of rush lobby_before logins_per_second)" least 1.0 ""
    row "logins/s, against EXISTS + SETEX of redis-benchmark with one client" \
        "$(of logins lobby logins_per_second)" "$(redis_logins)" least 0.5 "" \
        "$(of logins lobby_before logins_per_second)"
    plain "memory per idle connection" "$(of idle wakeup bytes_per_connection)" 12288 bytes
    plain "3,272-byte broadcast to 3,000 clients, p50 to the last byte" \
        "$(of broadcast wakeup p50_us broadcast)" 100000 us
    plain "five bulletins to 3,000 players, slowest from the first to the last" \
        "$(of bulletins lobby max_us bulletins)" 100000 us
    row "50 WebSocket clients, 5,000 echoes/s: p99 beside a stopped reader, against without" \
        "$(of stopped lobby p99_us echo)" "$(of stopped_without lobby p99_us echo)" most 2 us
    local direction
    [ -s "$kept/openssl" ] || return 0
    for direction in Encrypt Decrypt; do
        row "AES of 1 KiB bodies, ${direction,,}: bytes/s, against openssl speed" \
            "$(calc "1024e9 / $(micro_of "Aes$direction/1024")")" "$(cat "$kept/openssl")" least 0.7 ""
    done
}

growth_table() {
    local n server
    echo "| Clients | Lobby CPU/million | Lobby p50 | Lobby p99 | Asio CPU/million | Asio p50 | Asio p99 |"
    echo "|---|---|---|---|---|---|---|"
    for n in "${clients[@]}"; do
        printf '| %s |' "$n"
        for server in wakeup asio; do
            printf ' %s s | %s us | %s us |' "$(calc "$(figure "growth$n.$server.1" cpu_per_million)")" \
                "$(latency "growth$n.$server.1" echo p50_us)" "$(latency "growth$n.$server.1" echo p99_us)"
        done
        echo
    done
}

# With it other work on the machine hardly counts; said, since it changes how threads take turns.
priority() { chrt -p $$ | grep -q SCHED_FIFO && echo "; all of it at real-time priority" || true; }
machine() {
    echo "Measured $(date -u +%Y-%m-%d), $(nproc) cores of $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -1)," \
        "Linux $(uname -r | cut -d- -f1), $(c++ --version | head -1), release build, log level ERROR," \
        "medians of $rounds rounds, the servers of a load in alternating order$(priority)."
}

# chart FILE TITLE UNIT METRICS...: one group per "name load key [operation]".
chart() {
    local file=$1 title=$2 unit=$3 group name loadname key operation server value
    shift 3
    {
        echo "- $tcp"
        for group in "$@"; do
            read -r name loadname key operation <<<"$group"
            printf '%s' "$name"
            for server in $tcp; do
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
    [ ! -f "$kept/growth${clients[0]}.wakeup.1.json" ] || {
        echo "- wakeup asio"
        local n
        for n in "${clients[@]}"; do
            echo "$n $(calc "$(figure "growth$n.wakeup.1" cpu_per_million)")" \
                "$(calc "$(figure "growth$n.asio.1" cpu_per_million)")"
        done
    } | "$bin/bench_plot" "CPU per million messages by number of clients, 10,000 messages/s" "seconds" >"$plots/growth.svg"
    {
        echo "- ${ours[*]} ${ws_peers[*]}"
        printf '%s' "messages/s"
        local server
        for server in "${ours[@]}" "${ws_peers[@]}"; do
            printf ' %s' "$(of websocket "$server" per_second)"
        done
        echo
    } | "$bin/bench_plot" "100 WebSocket connections, 8 in flight" "messages/s" >"$plots/websocket.svg"
}

# The text between the markers of the document.
document() {
    echo
    cat "$kept/machine"
    echo
    table
    echo
    [ -f "$kept/growth${clients[0]}.wakeup.1.json" ] || return 0
    echo "How cost grows with clients: 10,000 messages/s over all of them, sweeps off."
    echo
    growth_table
    echo
    echo "![Cost by number of clients](img/growth.svg)"
    echo
}

# between FILE TEXT: puts the text between the file's markers.
between() {
    awk -v text="$2" '
        /<!-- bench:begin -->/ {print; while ((getline line < text) > 0) print line; skip = 1}
        /<!-- bench:end -->/ {skip = 0}
        !skip && !/<!-- bench:begin -->/ {print}' "$1" >"$work/with"
    cp "$work/with" "$1"
}

report() {
    plots=$root/docs/img
    plot_all
    document >"$work/document"
    between "$root/docs/performance.md" "$work/document"
    [ -s "$kept/micro.txt" ] || return 0
    { echo; echo '```'; cut -c1-110 "$kept/micro.txt"; echo '```'; echo; } >"$work/micro"
    between "$root/docs/microbenchmarks.md" "$work/micro"
}
