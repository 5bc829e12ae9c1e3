#!/usr/bin/env bash
# Records session.pcap anew: one lobby, its simulated platform, and players on TCP and WebSocket, on
# the ports of the sample configuration. Needs the right to capture on loopback, and tshark.
# Usage: tests/wireshark/record.sh        after a build of the release preset
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"
bin=$(readlink -f ../../build/release/bin)
work=$(mktemp -d)
# shellcheck source=../../scripts/servers.sh
. ../../scripts/servers.sh
end_with_script

player() { "$bin/lobby_client" --port 9100 --user "$@" >/dev/null || true; }

tshark -q -i lo -F pcap -w "$work/session.pcap" -f 'tcp portrange 9100-9106' 2>"$work/tshark.log" &
tshark=$!
wait_for 20 grep -q 'Capture started' "$work/tshark.log"
redis_port=9108
start_redis
start_simulator --quiet --center-port 9101 --web-port 9102 --queue-port 9103 --data-port 9104 \
    --config-port 9105 --log-port 9106
make_lobby "$work/lobby" 9100 WARN 's/^sendbulletintime=.*/sendbulletintime=1/'
"$work/lobby/LobbyServer" >"$work/lobby.log" &
lobby=$!
wait_for 20 listens 9100

player 10001 login bank-login take 500 save 200 keep-alive
player 10002 --ws login bank-login take 500 server-list tournament
player 10003 login nickname 明月 gender 1 signature hello face 3 mobile 13800138000 \
    real-name 王小明 11010519491231002X bank-password 888888 999999 login-password 123456 654321
sim keys
sim vip
"$bin/lobby_client" --watch --port 9100 --user 10004 login subscribe farm.harvest >"$work/four" &
"$bin/lobby_client" --watch --ws --port 9100 --user 10005 login >"$work/five" &
wait_for 20 grep -q LobbyAuthenRes "$work/four"
wait_for 20 grep -q LobbyAuthenRes "$work/five"
player 10001 login exchange 10004 25 refresh activity 20180901 1 1
for command in 'recharge 10004 750' 'consume 10005' 'sync 10005 3 44' 'farm key farm.harvest ripe' \
    'farm all market day' 'bulletin win a prize' 'bulletin sys maintenance tonight' \
    'server online 1200 77' 'server close 1201' 'server remove 1202' 'site withdraw 1 103' \
    'activity 20180901 close' 'global 1 hello' 'kick 10005'; do
    sim "$command" || true
done
wait_for 20 grep -q WinBulletinNotice "$work/four"
wait_for 20 grep -q LobbyKickOutNotice "$work/five"
# A client whose messages come in pieces: a connect notice of 68 bytes, then two keep-alives, the
# second one encrypted (its body is empty).
exec 4<>/dev/tcp/127.0.0.1/9100
for piece in '\x05\x00\x00' '\x44\x03\x00\x00\xa1' '\x16\x27\x00\x00\x01\x00\x00\x00token' \
    "$(printf '\\x00%.0s' {1..47})\\x05\\x00\\x00\\x08\\x03" '\x00\xf0\xf1\x05\x01\x00\x18' \
    '\x03\x00\xf0\xf10123456789abcdef'; do
    printf "$piece" >&4
    sleep 0.1
done
timeout 5 head -c 232 <&4 >/dev/null
exec 4>&-
kill -TERM "$lobby"
wait "$lobby"
sleep 1
kill -INT "$tshark"
wait "$tshark" || true
install -m 644 "$work/session.pcap" session.pcap
