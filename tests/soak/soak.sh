#!/usr/bin/env bash
# Keeps players working on a real lobby through hostile clients and random faults of everything
# around it, then reports: crashes, descriptors and memory (samples.csv), coins, who is served, the
# worst latency. Ends with 1 when something is not as it must be.
# Usage: tests/soak/soak.sh [MINUTES | SECONDSs] [SEED] [PLAYERS] [FOLDER WITH THE BINARIES]
#                           [REPORT FOLDER]
#        10 minutes, a random seed and 1000 players by default. All traffic stays on loopback.
set -uo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
time=${1:-10} seed=${2:-$((RANDOM % 30000 + 1))} players=${3:-1000}
bin=$(readlink -f "${4:-$root/build/release/bin}") report=${5:-$root/build/soak}
mkdir -p "$report"
report=$(readlink -f "$report")
work=$(mktemp -d)
# shellcheck source=../../scripts/servers.sh
. "$root/scripts/servers.sh"
# shellcheck source=memory.sh
. "$root/tests/soak/memory.sh"
case $time in *s) total=${time%s} ;; *) total=$((time * 60)) ;; esac
RANDOM=$seed
ulimit -n "$(ulimit -Hn)"
kinds=(queue center config web data log)
declare -A control pid
lobby=''

# Each back-end is a process of its own, so that it can be killed and frozen alone.
start_one() {
    if [ "$1" = redis ]; then
        start_redis; local started=$?
        pid[redis]=$redis_pid
        return $started
    fi
    local port=$1_port
    "$bin/platform_sim" --quiet "--$1-port" "${!port}" --control-port "${control[$1]}" \
        --players $((players + 400)) </dev/null >"$work/$1.out" 2>&1 &
    pid[$1]=$!
}
finish() {
    kill -CONT "${pid[@]}" 2>/dev/null
    kill -KILL ${lobby:+$lobby} "${pid[@]}" ${helpers[@]+"${helpers[@]}"} 2>/dev/null
    wait 2>/dev/null
    mountpoint -q "$work/lobby/log" && umount -l "$work/lobby/log"
    rm -rf "$work"
}
helpers=()
trap finish EXIT
trap 'exit 130' INT TERM

for kind in "${kinds[@]}"; do
    printf -v "${kind}_port" '%s' "$(free_port)"
    control[$kind]=$(free_port)
    start_one "$kind"
done
start_one redis || exit 2
for kind in "${kinds[@]}"; do
    port=${kind}_port
    wait_for 10 listens "${!port}" || exit 2
done

# A log folder of its own that can be filled to the brim, where mounting is allowed.
mkdir -p "$work/lobby/log"
disk=
mount -t tmpfs -o size=4m tmpfs "$work/lobby/log" 2>/dev/null && disk=yes
lobby_port=$(free_port)
metrics_port=$(free_port)
make_lobby "$work/lobby" "$lobby_port" ERROR \
    's/^interval=.*/interval=2/' 's/^timeout=.*/timeout=20/' '/^\[Redis\]/,$ s/^timeout=.*/timeout=1/' \
    's/^sendbulletintime=.*/sendbulletintime=1/' "s/^;addr=.*/addr=127.0.0.1:$metrics_port/" "s/^maxconnection=.*/maxconnection=$((players + 2600))/"

# A clock that can be stepped, where there is one. It cannot stand before a sanitizer's run-time,
# which also keeps what was freed, and several times what the buffers take: lost memory is its own to
# report.
clock=$(compgen -G '/usr/lib/*/faketime/libfaketimeMT.so.1') || clock=
slack=1024
case $(ldd "$bin/LobbyServer") in *lib[at]san*) clock='' slack=$((4 * 1024 * 1024)) ;; esac
echo +0 >"$work/clock"
env ${clock:+LD_PRELOAD="$clock" FAKETIME_TIMESTAMP_FILE="$work/clock" FAKETIME_CACHE_DURATION=1
    FAKETIME_DONT_FAKE_MONOTONIC=1 NO_FAKE_STAT=1} \
    "$work/lobby/LobbyServer" </dev/null >/dev/null 2>"$report/lobby.err" &
lobby=$!
wait_for 30 listens "$lobby_port" || { cat "$report/lobby.err"; exit 2; }

descriptors() { ls "/proc/$lobby/fd" 2>/dev/null | wc -l; }
resident() { awk '/^VmRSS/ { print $2 }' "/proc/$lobby/status" 2>/dev/null; }
# figures PATTERN: the sum of the lobby's figures whose names and labels match.
figures() {
    exec 4<>"/dev/tcp/127.0.0.1/$metrics_port" || return
    printf 'GET /metrics HTTP/1.0\r\n\r\n' >&4
    awk -v pattern="^($1)" '$0 ~ pattern { n += $2 } END { print n + 0 }' <&4
    exec 4>&-
}
# How many there are of 4 KiB, in all or in use; the lobby keeps those it made.
buffers() { figures "lobby_buffers.*${1:-}"; }
base() { control_port=${control[queue]} sim totals | grep -o 'base=[0-9-]*'; }
base_before=$(base)
fds_before=$(descriptors)
echo "soak: $total s, seed $seed, $players players, lobby $lobby on port $lobby_port"

half=$((players / 2))
load() {  # NAME ARGUMENTS...
    "$bin/lobby_load" -q -p "$lobby_port" --json "$report/$1.json" "${@:2}" >"$report/$1.txt" 2>&1
}
load tcp -n "$half" -d "$total" --warmup 0 players --think 1 --seed "$seed" --first-user 20001 &
loads=($!)
load ws --ws -n $((players - half)) -d "$total" --warmup 0 players --think 1 --seed $((seed + 1)) \
    --first-user $((20001 + half)) &
loads+=($!)
quiet=$((total > 120 ? 30 : 8))  # at the end, without faults
"$bin/hostile_clients" "$lobby_port" $((20001 + players + 100)) "${control[web]}" "$seed" \
    $((total - quiet)) >"$report/hostile.txt" 2>&1 &
helpers=("${loads[@]}" $!)

samples=$report/samples.csv
echo "second,descriptors,resident_kib,buffers_kib" >"$samples"
faults=$report/faults.txt
: >"$faults"
begin=$SECONDS
sample() { echo "$((SECONDS - begin)),$(descriptors),$(resident),$(($(buffers) * 4128 / 1024))" >>"$samples"; }
pass() {  # SECONDS, sampling
    local i
    for ((i = 0; i < $1; ++i)); do
        sample
        sleep 1
        kill -0 "$lobby" 2>/dev/null || return
    done
}
say() { echo "$((SECONDS - begin)) $*" >>"$faults"; }

# One of what stands around the lobby, or all of it, is away for a while.
fault() {
    local one which=("${!pid[@]}") time=$((RANDOM % 4 + 1))
    [ $((RANDOM % 6)) = 0 ] || which=("${which[RANDOM % ${#which[@]}]}")
    case $((RANDOM % 8)) in
        0 | 1 | 2)
            say "kill ${which[*]}, $time s"
            for one in "${which[@]}"; do kill -KILL "${pid[$one]}"; wait "${pid[$one]}" 2>/dev/null; done
            pass $time
            for one in "${which[@]}"; do start_one "$one"; done ;;
        3 | 4 | 5)
            say "freeze ${which[*]}, $time s"
            for one in "${which[@]}"; do kill -STOP "${pid[$one]}"; done
            pass $time
            kill -CONT "${pid[@]}" ;;
        6) say "log disk full, $time s${disk:+ (mounted)}"
           [ -n "$disk" ] && dd if=/dev/zero of="$work/lobby/log/full" bs=64k 2>/dev/null
           pass $time
           rm -f "$work/lobby/log/full" "$work"/lobby/log/*.log.* ;;
        7) local step=$((RANDOM % 2 * 7200 - 3600))
           say "clock stepped by $step s, $time s${clock:+ (faked)}"
           printf '%+d\n' "$step" >"$work/clock"
           pass $((time + 1))
           echo +0 >"$work/clock" ;;
    esac
}
while [ $((SECONDS - begin)) -lt $((total - quiet)) ] && kill -0 "$lobby" 2>/dev/null; do
    pass $((RANDOM % 4 + 1))
    fault
done
say "no more faults"
while kill -0 "${loads[0]}" 2>/dev/null || kill -0 "${loads[1]}" 2>/dev/null; do pass 1; done
sleep 2
sample

# Everybody logs in once more and works, with no error allowed.
load served -n "$players" -d $((total > 120 ? 10 : 4)) --warmup 0 players --think 0.5 --seed "$seed" --first-user 20001
served=$?
base_after=$(base)
gone() { [ "$(descriptors)" -le $((fds_before + 12)) ]; }  # Redis and the log come and go
wait_for 30 gone; left=$?
fds_after=$(descriptors) peak=$(awk -F, 'NR > 1 && $3 > max { max = $3 } END { print max + 0 }' "$samples")
# Buffers may be as many as the busiest moment took, but none may get lost.
in_use=$(buffers in_use) made=$(buffers)
read -r early late allowed <<<"$(growth "$samples" "$slack")"
turned=$(figures 'lobby_(forced_closes|rate_limited|refused)_total')
attacks=$(grep -vc '^ ' "$report/hostile.txt")
kill -0 "$lobby" 2>/dev/null; alive=$?
kill -TERM "$lobby" 2>/dev/null
wait "$lobby"; status=$?
lobby=

worst() { grep -o '"max_us":[0-9.]*' "$@" 2>/dev/null | sed 's/.*://' | sort -g | tail -1 | awk '{ printf "%.1f ms", $1 / 1000 }'; }
sanitizer=$(grep -c 'ERROR: \|runtime error' "$report/lobby.err")
check() {  # 0 OR A FAILURE, TEXT
    if [ "$1" = 0 ]; then echo "  ok      $2"; else echo "  FAILED  $2"; fi
}
{
    echo "soak of $total s, seed $seed, $players players, $(grep -c ' s' "$faults") faults, $attacks hostile clients"
    check $((alive + status + sanitizer)) "no crash; exit status $status after SIGTERM, $sanitizer sanitizer reports"
    check $left "descriptors: $fds_before before, $fds_after when all had left"
    check "$([ $((late - early)) -le "$allowed" ]; echo $?)" "memory but buffers and connections: $early KiB before the middle, $late KiB at the end, at most $allowed more; with them $peak KiB"
    check "$([ "$turned" -ge "$attacks" ]; echo $?)" "attacks: $turned times closed, limited or refused"
    check "$([ "$in_use" -le 128 ]; echo $?)" "buffers: $in_use in use when all had left, of $made"
    check "$([ -n "$base_before" ] && [ "$base_before" = "$base_after" ]; echo $?)" "coins: $base_before before, $base_after after"
    check $served "all $players players served afterwards, without an error; worst $(worst "$report/served.json")"
    echo "  worst answer while there were faults: $(worst "$report/tcp.json" "$report/ws.json")"
    echo "  errors seen by players meanwhile (each logged in again):"
    sed -n 's/^  error /    /p' "$report/tcp.txt" "$report/ws.txt" | sort | awk '{ n = $NF; $NF = ""; sum[$0] += n } END { for (e in sum) print "    " e sum[e] }'
} | tee "$report/report.txt"
! grep -q '^  FAILED' "$report/report.txt"
