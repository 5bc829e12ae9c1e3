#!/usr/bin/env bash
# Three lobbies behind the haproxy and nginx of deploy/, on one Redis and one simulated platform:
# 600 players come in, some log in a second time, one lobby is drained, stopped and brought back.
# After every step each player online is on exactly one lobby and has a mark in Redis, and nobody
# else has one. lobby3 is told its players' addresses, which are not the proxies', and must have got
# them from both. Prints a report; ends with 1 at the first thing that is not so.
# Usage: tests/balancer/balancer_test.sh FOLDER_WITH_THE_BINARIES
# WEB_MODULES names the folder of the npm packages (see tests/web). All traffic is on loopback.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
bin=$(readlink -f "$1")
work=$(mktemp -d)
# shellcheck source=../../scripts/servers.sh
. "$root/scripts/servers.sh"
# shellcheck source=../../scripts/balancer.sh
. "$root/scripts/balancer.sh"
PATH=$PATH:/usr/sbin  # haproxy and nginx
ulimit -n "$(ulimit -Hn)"

end_with_script
fail() { echo "balancer_test: $*" >&2; exit 1; }

first=20001 last=20600
lobbies=(lobby1 lobby2 lobby3)
declare -A lobby_port lobby_pid

start_lobby() {
    "$work/$1/LobbyServer" >"$work/$1.log" 2>&1 &
    lobby_pid[$1]=$!
}

# A change, one that the operator's document shows as well. haproxy answers with an empty line when
# it took place.
change() {
    grep -qF "\"$1\"" "$root/docs/capacity.md" || fail "not in the document: $1"
    admin "$1"
    ! grep . "$work/admin.out" >&2 || fail "haproxy did not: $1"
}

# A command for the players; the answer is in $answer.
players() {
    echo "$*" >&"${crowd[1]}"
    read -r -t 60 answer <&"${crowd[0]}" || fail "no answer to: $*"
    [ "${answer%% *}" = ok ] || fail "$answer"
    read -r answer <<<"${answer#ok}"
}

# Who is on which lobby, by the lobbies' own logs: "user-id lobby" a line, twice if twice there.
present() {
    (cd "$work" && grep -aoE 'userid\[[0-9]+\],  lobbysiteid|lobby client userid\[[1-9][0-9]*\]' lobby?.log) |
        awk -F '[][.:]' '{ n[$4 " " $1] += /lobbysiteid/ ? 1 : -1 }
            END { for (one in n) while (n[one]-- > 0) print one }' | sort
}
on() { present | awk -v lobby="$1" '$2 == lobby { n++ } END { print n + 0 }'; }
marks() { redis --scan --pattern 'Lobby:OnLine:UserID:*' | cut -d: -f4 | sort; }

# Lobbies, players and registry agree.
consistent() {
    present | cut -d ' ' -f 1 >"$work/present"
    marks >"$work/marks"
    cmp "$work/present" "$work/online" && cmp "$work/marks" "$work/online"
}

# settled WHAT: waits until they do, and adds a line to the report.
settled() {
    players alive
    players online
    tr ' ' '\n' <<<"$answer" | sed '/^$/d' >"$work/online"
    wait_for 30 consistent || fail "$1: $(diff "$work/online" "$work/present" | head -3)" \
        "$(diff "$work/online" "$work/marks" | head -3)"
    printf '%-44s %7d %7d %7d %7d %8d\n' "$1" "$(on lobby1)" "$(on lobby2)" "$(on lobby3)" \
        "$(wc -l <"$work/marks")" $(($(clock) - began))
    began=$(clock)
}
# The center tells a kick-out to every lobby but the one it is from.
kicked() {
    moved=$(cat "$work"/lobby?.log | grep -c 'send kickout userid')
    received=$(cat "$work"/lobby?.log | grep -c 'recv kickout userid')
    [ "$moved" -ge 20 ] && [ "$received" -eq $((2 * moved)) ]
}
clock() { date +%s%3N; }

haproxy -c -f "$root/deploy/haproxy.cfg" >/dev/null  # as it stands
start_redis
start_simulator --quiet --players $((last - first + 1))
for lobby in "${lobbies[@]}"; do
    lobby_port[$lobby]=$(free_port)
    make_lobby "$work/$lobby" "${lobby_port[$lobby]}" DEBUG
done
sed -i -e 's/^level=.*/level=ALL/' -e 's/^;trusted_proxies=.*/trusted_proxies=127.0.0.1/' \
    -e 's/^;proxy_protocol=/proxy_protocol=/' "$work/lobby3/LobbyServer.cfg"
for lobby in "${lobbies[@]}"; do start_lobby "$lobby"; done
sed 's/^ *server lobby3 .*/& send-proxy-v2 check-send-proxy/' "$root/deploy/haproxy.cfg" \
    >"$work/haproxy.cfg"
export LOBBY_MAXCONN=2000
start_haproxy "$work/haproxy.cfg" "${lobby_port[lobby1]}" "${lobby_port[lobby2]}" \
    "${lobby_port[lobby3]}"
start_nginx
for lobby in "${lobbies[@]}"; do wait_for 30 is_up "$lobby"; done
wait_for 10 listens "$secure_port"
export TCP_URL=tcp://127.0.0.1:$entrance_port WSS_URL=wss://localhost:$secure_port
export WSS_CERTIFICATE=$work/cert.pem
coproc crowd { exec node "$root/tests/balancer/players.mjs" 2>"$work/players.log"; }

printf '%-44s %7s %7s %7s %7s %8s\n' "" "${lobbies[@]}" marks ms
began=$(clock)
players enter $first $last
settled "600 players log in, 200 of them by wss"

# Addresses have a port from haproxy, none from nginx.
told=$(grep -aoE ' is the proxy of 127\.0\.[1-8]\.9:[0-9]' "$work/lobby3.log" || true)
{ [[ $told = *:0* ]] && [ "$(wc -l <<<"$told")" -ge "$(on lobby3)" ] &&
    ! grep -aq 'sends no PROXY header' "$work/lobby3.log"; } ||
    fail "lobby3 was not told where its players are"

players flood 300
read -r by_tcp by_wss <<<"$answer"
{ [ "$by_tcp" -gt 0 ] && [ "$by_tcp" -le 200 ] && [ "$by_wss" -gt 0 ] && [ "$by_wss" -le 200 ]; } ||
    fail "of 300 connects from one address $by_tcp got in by TCP, $by_wss by wss"
settled "a flood from one address: $by_tcp and $by_wss of 300 in"
players calm
players origins
[ "$answer" = "101 403" ] || fail "pages of this site and of another got $answer"

players again $first $last 7
wait_for 30 kicked || fail "$moved moved, $received kick-outs came through the center"
settled "86 log in again, $moved on another lobby"

players leave $((last - 59)) $last
settled "60 leave"

change "set server lobbies/lobby1 state drain"
staying=$(on lobby1)
players enter $((last - 59)) $((last - 30))
settled "30 return while lobby1 is drained"
[ "$(on lobby1)" -eq "$staying" ] || fail "a drained lobby was given players"

change "set maxconn global 1"
stop_began=$(clock)
kill -TERM "${lobby_pid[lobby1]}"
wait "${lobby_pid[lobby1]}" || fail "lobby1 ended with status $?"
held=$(($(clock) - stop_began))
[ "$(on lobby1)" -eq 0 ] || fail "lobby1 ended with players on it"
[ "$(marks | wc -l)" -eq $(($(on lobby2) + $(on lobby3))) ] || fail "lobby1 left marks behind"
change "set maxconn global 0"
players returned "$staying"
note="New players were held back for $held ms; the last was back on a lobby after $answer ms."
settled "lobby1 stops, its $staying go to the others"

start_lobby lobby1
change "set server lobbies/lobby1 state ready"
wait_for 30 is_up lobby1
players enter $((last - 29)) $last
settled "lobby1 is back, 30 more log in"
[ "$(on lobby1)" -gt 0 ] || fail "the new lobby1 was given nobody"

dying=$(on lobby2)
kill -KILL "${lobby_pid[lobby2]}"
{ wait "${lobby_pid[lobby2]}" || true; } 2>/dev/null
: >"$work/lobby2.log"  # it says nothing about their end
players returned "$dying"
settled "lobby2 is killed, its $dying go to the others"

players leave $first $last
settled "all leave"
echo "$note"
