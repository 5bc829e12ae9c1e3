#!/usr/bin/env bash
# Builds the lobby and shows it at work against a simulated platform and a real Redis.
# Usage: ./demo.sh            a guided tour; ends by itself, leaves nothing running
#        ./demo.sh --serve    leaves everything running until Ctrl-C
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"

case "${1:-}" in
    "" | --serve) mode=${1:-tour} ;;
    *) echo "usage: ./demo.sh [--serve]" >&2; exit 2 ;;
esac

scripts/install-deps.sh run
echo "Building (the first time takes a few minutes) ..."
# What tests would need and is not there is no matter of the demo.
cmake --preset release -Wno-dev --log-level=ERROR >/dev/null
# At a terminal ninja shows its progress in one line; elsewhere every fiftieth step is shown.
build() {
    NINJA_STATUS='  %f of %t  ' cmake --build --preset release \
        --target LobbyServer platform_sim lobby_client lobby_load
}
if [ -t 1 ]; then
    build
else
    build | awk '!/^  [0-9]+ of / { if (!/^ninja: /) print } /^  [0-9]+ of / && NR % 50 == 0 { print "  " $1, $2, $3; fflush() }'
fi
bin=$PWD/build/release/bin
web=$PWD/web

work=$(mktemp -d)
# shellcheck source=scripts/servers.sh
. scripts/servers.sh
pids=()
finish() {
    status=$?
    trap - EXIT INT TERM
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
    if [ "$status" -ne 0 ] && [ "$mode" = tour ]; then
        echo "The demo failed; the last lines of the lobby's log:" >&2
        tail -n 20 "$work"/lobby*/console.log >&2 || true
    fi
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT
trap 'exit 0' INT TERM

title() { printf '\n\e[1m%s\e[0m\n' "$*"; }
say() { printf '  %s\n' "$*"; }
fail() { printf 'demo: %s\n' "$*" >&2; exit 1; }

# player ARGUMENTS...: a player at work on the first lobby; refusals are part of the tour
player() {
    printf '  \e[2m$ lobby_client --user %s\e[0m\n' "$*"
    "$bin/lobby_client" --port "$lobby_port" --user "$@" | sed 's/^/    /' || true
}
# watch NAME ARGUMENTS...: a player who stays and whose messages go to a file
watch() {
    local name=$1; shift
    "$bin/lobby_client" --watch --user "$@" >"$work/$name.log" 2>&1 &
    pids+=($!); disown
    wait_for 10 grep -q '^login' "$work/$name.log"
}
# seen NAME PATTERN: waits for a message of a watching player and prints it
seen() {
    wait_for "${3:-20}" grep -q "$2" "$work/$1.log"
    grep "$2" "$work/$1.log" | tail -n 1 | cut -c1-160 | sed "s/^/    $1 got: /"
}

# start_lobby FOLDER PORT [SED-EXPRESSION...]
start_lobby() {
    local folder=$work/$1
    make_lobby "$folder" "$2" DEBUG "s/^sendbulletintime=.*/sendbulletintime=2/" "${@:3}"
    "$folder/LobbyServer" >"$folder/console.log" 2>&1 &
    lobby_pid=$!
    pids+=("$lobby_pid")
    wait_for 20 grep -q 'listen and start service success' "$folder/console.log"
    wait_for 20 grep -q 'Create RedisThread Success' "$folder/console.log"
}

tour_bank() {
    title "1. A player logs in and uses the bank"
    player 10001 login bank-login take 500 save 200
    say "Every answer came through the lobby from the simulated queue server."
    title "2. Requests the lobby refuses itself"
    say "Taking nothing (code 157), then asking again within two seconds (code 156):"
    player 10001 login take 0 take 100
    title "3. Redis knows who is online"
    local key=Lobby:OnLine:UserID:10002
    say "Before the login: EXISTS $key -> $(redis exists $key)"
    watch brief 10002 --port "$lobby_port" login
    say "Logged in:        GET $key -> $(redis get $key), TTL $(redis ttl $key) seconds"
    kill "${pids[-1]}"
    wait_for 10 is_gone "$key"
    say "Player gone:      EXISTS $key -> $(redis exists $key)"
    title "4. A second login of the same player kicks the first"
    watch first 10002 --port "$lobby_port" login
    watch second 10002 --port "$lobby_port" login
    seen first LobbyKickOutNotice
    say "The mark stays, it is the second login's: $(redis get Lobby:OnLine:UserID:10002)"
}

tour_account() {
    title "5. Profile: a nickname with a forbidden fragment is refused, another is not"
    player 10003 login nickname superadmin nickname Moonlight
    title "6. A recharge on the web reaches the player"
    sim recharge 10002 750 >/dev/null
    seen second RechargeReFreshCoinRes
    title "7. Coins change hands"
    sim player 10003 | cut -c1-60 | sed 's/^/  before: /'
    sim player 10002 | cut -c1-60 | sed 's/^/  before: /'
    player 10003 login exchange 10002 250
    seen second ExchangeGameCoinNotify
    sim player 10003 | cut -c1-60 | sed 's/^/  after:  /'
    sim player 10002 | cut -c1-60 | sed 's/^/  after:  /'
    say "The log server's record:"
    wait_for 10 has_record ExchangeCoin
    sim records 1 | cut -c1-160 | sed 's/^/    /'
}

is_gone() { [ "$(redis exists "$1")" = 0 ]; }
has_record() { sim records | grep "$1" >/dev/null; }

tour_directories() {
    title "8. The game servers of the player's site"
    player 10004 login server-list | sed -n -e '1,10p' -e '/entries/p'
    say "(site 1; servers with id 0 stand for all rooms of one level)"
}

tour_pushes() {
    title "9. A bulletin for everybody"
    sim bulletin sys "The lobby will be maintained tonight"
    wait_for 20 grep -q WinBulletinNotice "$work/second.log"
    say "  second got: $(grep -o 'szContent="The[^"]*"' "$work/second.log")"
    title "10. Farm messages: by key to subscribers, and to all"
    sim keys
    local key
    key=$(grep -o 'szKey="[^"]*"' "$work/platform.log" | head -n 1 | cut -d'"' -f2 || true)
    watch farmer 10005 --port "$lobby_port" login subscribe "${key:-farm.harvest}"
    sim farm key "${key:-farm.harvest}" "The wheat is ripe" >/dev/null
    seen farmer ClientPublishMsg
    sim farm all "Market day" >/dev/null
    seen farmer LobbyTransferFarmNotice
    wait_for 10 has_record Farm
    say "The log server's record:"
    sim records 1 | cut -c1-160 | sed 's/^/    /'
    title "11. Today's tournament"
    player 10004 login tournament
}

tour_two_lobbies() {
    title "12. A second lobby on the same Redis and center"
    second_port=$(free_port)
    start_lobby lobby2 "$second_port"
    say "Player 10002 logs in there and is put out of the first lobby:"
    watch moved 10002 --port "$second_port" login
    seen second LobbyKickOutNotice
    title "13. Maintenance: the switch empties the lobbies and opens them again"
    sim stop 1
    seen moved LobbyKickOutNotice 40
    wait_for 20 is_gone Lobby:OnLine:UserID:10002
    say "Player 10002 was put out; the mark in Redis is gone."
    say "A login meanwhile:"
    player 10004 --timeout 3 login 2>&1
    sim stop 0
    wait_for 30 "$bin/lobby_client" --port "$lobby_port" --timeout 3 --user 10004 login
    say "Open again."
}

end_tour() {
    title "14. SIGTERM ends the lobby in order"
    local began=$SECONDS status=0
    kill -TERM "$lobby_pid"
    wait "$lobby_pid" || status=$?
    [ "$status" -eq 0 ] || fail "the lobby ended with status $status"
    say "Status $status, within $((SECONDS - began + 1)) s."
    sim totals | sed 's/^/  The platform'\''s books: /'
    title "Done. ./demo.sh --serve leaves everything running for you to try."
}

# usual_port PORT: that port to stay with, so that the tools' defaults fit; else a free one.
usual_port() { if [ "$mode" = tour ] || listens "$1"; then free_port; else echo "$1"; fi; }

lobby_port=$(usual_port 9100)
start_redis
pids+=("$redis_pid"); disown
start_simulator --control-port "$(usual_port 9110)" --players 5000 --web-root "$web" --lobby-address "ws://127.0.0.1:$lobby_port"
pids+=("$sim_pid"); disown
metrics_port=$(free_port)
# Load is what the sample's limits are against.
limits=(); [ "$mode" = tour ] || limits=("/^any=/d;/^0x/d")
start_lobby lobby "$lobby_port" "s/^;addr=.*/addr=127.0.0.1:$metrics_port/" "${limits[@]}"

if [ "$mode" = --serve ]; then
    title "The lobby is running."
    say "In a browser:    http://127.0.0.1:$page_port/"
    say "For an operator: http://127.0.0.1:$metrics_port/"
    say "In a terminal:   build/release/bin/lobby_client --port $lobby_port --user 10001 login bank-login take 500"
    say "                 and without commands it asks for them; help lists them"
    say "Load:            build/release/bin/lobby_load --port $lobby_port players   (or echo, logins ...; --help-all)"
    say "Players 10001 to 10030 and 20001 to 25000, token \"token\", bank password \"888888\"."
    say "Platform:        type help into: nc 127.0.0.1 $control_port   (recharge, bulletin, farm, stop ...)"
    say "Redis:           redis-cli -p $redis_port"
    say "The configuration is the sample's, but for addresses, the log, bulletins every two seconds, and no limits."
    say "Ctrl-C ends all of it."
    while sleep 1; do kill -0 "$lobby_pid" 2>/dev/null || fail "the lobby has ended"; done
fi

tour_bank
tour_account
tour_directories
tour_pushes
tour_two_lobbies
end_tour
