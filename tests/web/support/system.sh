#!/usr/bin/env bash
# The real thing: redis-server, platform_sim and LobbyServer on free loopback ports, in a folder of
# their own, until standard input ends. Prints the lobby's address, the page's, the simulator's control
# port and the address of the lobby's metrics once they serve.
# Usage: tests/web/support/system.sh FOLDER_WITH_THE_BINARIES
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../../.." && pwd)
bin=$1 work=$(mktemp -d)
# shellcheck source=../../../scripts/servers.sh
. "$root/scripts/servers.sh"
end_with_script

lobby_port=$(free_port) metrics_port=$(free_port)
start_redis
start_simulator --quiet --web-root "$root/web" --lobby-address "ws://127.0.0.1:$lobby_port"
make_lobby "$work/lobby" "$lobby_port" WARN 's/^sendbulletintime=.*/sendbulletintime=1/' \
    "s/^;addr=.*/addr=127.0.0.1:$metrics_port/"
"$work/lobby/LobbyServer" >"$work/lobby.log" 2>&1 &
wait_for 20 listens "$lobby_port"
echo "ws://127.0.0.1:$lobby_port http://127.0.0.1:$page_port/ $control_port http://127.0.0.1:$metrics_port/"
cat >/dev/null
