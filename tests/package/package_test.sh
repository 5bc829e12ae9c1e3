#!/usr/bin/env bash
# The Debian package on a clean system: installed, serving a player, upgraded with an edited
# configuration, removed, purged.
# Usage: tests/package/package_test.sh BUILD_DIRECTORY
# Ends with 77 when the machine cannot lay out or enter a system root.
set -euo pipefail
source_tree=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
build=$(cd "$1" && pwd)
bin=$build/bin

skip() { echo "SKIPPED: $*"; exit 77; }
fail() { echo "FAILED: $*" >&2; exit 1; }
step() { printf '== %s (%s s)\n' "$*" "$SECONDS"; }
# expect WHAT EXPECTED ACTUAL
expect() { [ "$2" = "$3" ] || fail "$1: '$3' instead of '$2'"; }
# expect_mode MODE FILE
expect_mode() { expect "mode of $2" "$1" "$(in_root stat -c '%a %U:%G' "$2")"; }

[ "$(id -u)" -eq 0 ] || skip "only root can lay out a system root"
for tool in mmdebstrap dpkg-shlibdeps lintian redis-server redis-cli unshare; do
    command -v "$tool" >/dev/null || skip "$tool is not installed"
done
unshare --mount true 2>/dev/null || skip "no mount namespaces here"

work=$(mktemp -d)
# shellcheck source=../../scripts/servers.sh
. "$source_tree/scripts/servers.sh"
root=$work/root
end_with_script

# in_root COMMAND...: with /proc, in a mount namespace that goes away with it
in_root() {
    unshare --mount sh -c 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"' "$root" "$@"
}
# Without waiting for the disk at each file: nobody needs this system after a power cut.
quietly() { in_root env DEBIAN_FRONTEND=noninteractive LC_ALL=C "$@" >>"$work/apt.log" 2>&1 </dev/null; }
apt_in_root() { quietly apt-get -qq -y -o Acquire::Retries=3 -o Dpkg::Options::=--force-unsafe-io "$@"; }
dpkg_in_root() { quietly dpkg --force-confdef,confold,unsafe-io "$@"; }
# Every file but the package manager's own books and caches.
files() {
    (cd "$root" && find . -mindepth 1 \( -path ./proc -o -path ./sys -o -path ./dev -o -path ./tmp \
        -o -path ./run -o -path ./var/lib/dpkg -o -path ./var/lib/apt -o -path ./var/cache \
        -o -path ./var/log/apt -o -path ./var/log/dpkg.log -o -path ./var/log/alternatives.log \
        -o -name '*-' -path './etc/*' \) -prune -o -print | sort)
}

# The clean root is laid out once per build directory, from the mirror that apt is set up with.
prepare_root() {
    local tar=$build/package/root.tar release mirror
    if [ ! -f "$tar" ]; then
        release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
        mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' \
            "Codename: $release" | head -n 1)
        [ -n "$mirror" ] || skip "apt has no mirror for '$release'"
        mkdir -p "$build/package"
        mmdebstrap --quiet --variant=minbase --include=adduser,systemd --skip=cleanup/apt/lists \
            "$release" "$build/package/new.tar" "$mirror" >"$work/root.log" 2>&1 ||
            skip "no system root: $(grep -v '^I:' "$work/root.log" | tail -n 1 | sed 's,//[^/ ]*,//...,')"
        mv "$build/package/new.tar" "$tar"
    fi
    mkdir "$root"
    tar -C "$root" -xpf "$tar" --numeric-owner
    in_root true 2>/dev/null || skip "no system root can be entered here"
}

# What Debian asks of the packages and of the programs in them; links between the documents.
check_packages() {
    local program symbols link file
    dpkg-deb -x "$package" "$work/files"
    dpkg-deb -x "$tools" "$work/files"
    for program in "$work"/files/usr/{bin/*,lib/lobby-server/LobbyServer}; do
        symbols=$(readelf -WhlSd --dyn-syms "$program")
        for file in 'DYN (Position' GNU_RELRO BIND_NOW __stack_chk_fail '_chk@GLIBC' '\.gnu_debuglink'; do
            grep -q "$file" <<<"$symbols" || fail "$program is built without $file"
        done
        file=$work/symbols/$(readelf -n "$program" | sed -n 's,.*Build ID: \(..\)\(.*\),usr/lib/debug/.build-id/\1/\2.debug,p')
        [[ $(readelf -WS "$file" 2>&1) = *.debug_info* ]] || fail "no symbols of $program"
    done
    while IFS=: read -r file link; do
        [ -e "$(dirname "$file")/$link" ] || fail "$file leads to $link, which is not there"
    done < <(grep -roP --include='*.md' '\]\(\K[^)#:]+(?=[)#])' "$work/files/usr/share/doc")
    zgrep -q draintime "$work/files/usr/share/man/man5/LobbyServer.cfg.5.gz" || fail "keys are missing"
    ! grep -rqF "$source_tree" "$work/files" "$work/symbols" || fail "a path of this machine"
    file=$(zcat "$work/files/usr/share/doc/lobby-server/changelog.gz" | head -n 1)
    [[ $file = *"($(dpkg-deb -f "$package" Version))"* ]] || fail "the change log begins with $file"
    lintian --allow-root --fail-on error,warning --tag-display-limit 0 \
        --suppress-tags uses-no-compression-for-data-tarball "$package" "$tools" || fail "lintian"
}

# What the unit grants, and no more: its user without capabilities, only the logs to write to.
start_lobby() {
    unshare --mount sh -c '
        mount --bind "$0" "$0" && mount -t proc proc "$0/proc" &&
        mount --bind "$0/var/log/lobby-server" "$0/var/log/lobby-server" &&
        mount -o remount,bind,ro "$0" &&
        exec chroot "$0" setpriv --reuid=lobby-server --regid=lobby-server --clear-groups \
            --no-new-privs --bounding-set=-all /usr/lib/lobby-server/LobbyServer' \
        "$root" >"$work/lobby.log" 2>&1 &
    lobby_pid=$!
    wait_for 30 grep -q 'listen and start service success' "$root/var/log/lobby-server/LobbyServer.log"
}

stop_lobby() {
    kill -TERM "$lobby_pid"
    wait "$lobby_pid" || fail "the lobby ended with status $?"
}

# serve VERSION: a player logs in and takes coins from the bank
serve() {
    start_lobby
    expect "the user" lobby-server "$(in_root stat -c %U "/proc/$lobby_pid")"
    in_root lobby_client --port "$lobby_port" --user 10001 login bank-login take 500 \
        >"$work/player.log" 2>&1 || fail "the player ($1)"
    cat "$work/player.log"
    exec 3<>"/dev/tcp/127.0.0.1/$metrics_port"
    printf 'GET /metrics HTTP/1.0\r\n\r\n' >&3
    grep '^lobby_logins_total' <&3 || fail "no figures ($1)"
    exec 3>&-
}

# What removal leaves behind, compared with the clean root.
leftovers() { comm -13 "$work/before" <(files) | tr '\n' ' '; }

step "build the packages, lay out a clean system"
prepare_root &
laying=$!
# As packages for use are, but not compressed, which takes longer than all the rest.
(cd "$build" && cpack -G DEB -D CPACK_DEBIAN_COMPRESSION_TYPE=none -B "$work/out") >"$work/cpack.log" 2>&1 ||
    fail "cpack"
package=$(echo "$work"/out/lobby-server_*.deb)
tools=$(echo "$work"/out/lobby-server-tools_*.deb)
for symbols in "$work"/out/*.ddeb; do dpkg-deb -x "$symbols" "$work/symbols"; done
# The next release: another version, another sample.
dpkg-deb -R "$package" "$work/next"
sed -i 's/^\(Version: .*\)$/\1+next/' "$work/next/DEBIAN/control"
sed -i 's/^sendbulletintime=.*/sendbulletintime=31/' "$work/next/etc/lobby-server/LobbyServer.cfg"
dpkg-deb -Znone -b "$work/next" "$work/next.deb" >>"$work/cpack.log"
check_packages &
checking=$!
wait "$laying" || exit $?
files >"$work/before"
step "install"
cp "$package" "$tools" "$work/next.deb" "$root/tmp/"
install=(install --no-install-recommends "/tmp/${package##*/}" "/tmp/${tools##*/}")
# The lists of a root that was laid out long ago may be stale.
apt_in_root "${install[@]}" || { apt_in_root update && apt_in_root "${install[@]}"; } || fail "installation"
# The unit as systemd would load it, and how much of the system it can reach.
expect "what systemd-analyze says" "" \
    "$(in_root systemd-analyze verify --man=no lobby-server.service 2>&1 || echo "status $?")"
# In tenths: 100 is bare, 0 is sealed.
in_root systemd-analyze security --offline=yes --threshold=15 --no-pager \
    lobby-server.service >"$work/security.log" 2>&1 || fail "the unit is exposed"
tail -n 1 "$work/security.log"
expect_mode "640 root:lobby-server" /etc/lobby-server/LobbyServer.cfg
expect_mode "750 lobby-server:lobby-server" /var/log/lobby-server
expect "the sample" "No problems found." "$(in_root lobby_check /etc/lobby-server)"
in_root lobby_load --help-all >/dev/null
in_root platform_sim --dump-accounts | grep player10001 >/dev/null || fail "the simulator"
# What systemd does once a day.
logs=$root/var/log/lobby-server
touch -d '13 days ago' "$logs/Lobby13.log"
touch -d '15 days ago' "$logs/Lobby15.log" "$logs/Lobby15.json"
in_root systemd-tmpfiles --clean lobby-server.conf || fail "systemd-tmpfiles"
expect "logs after two weeks" Lobby13.log "$(ls "$logs")"
rm "$logs/Lobby13.log"
step "serve a player"
start_redis
start_simulator --quiet
lobby_port=$(free_port) metrics_port=$(free_port)
set_addresses "$root/etc/lobby-server/LobbyServer.cfg" "127.0.0.1:$lobby_port" DEBUG \
    "s/^;addr=.*/addr=127.0.0.1:$metrics_port/"
expect "the edited configuration" "No problems found." "$(in_root lobby_check /etc/lobby-server)"
serve "first release"
step "upgrade while it runs, with an edited configuration"
cp "$root/etc/lobby-server/LobbyServer.cfg" "$work/edited.cfg"
dpkg_in_root --install /tmp/next.deb || fail "upgrade"
kill -0 "$lobby_pid" || fail "the upgrade ended the running lobby"
cmp "$work/edited.cfg" "$root/etc/lobby-server/LobbyServer.cfg" || fail "the edit is lost"
expect_mode "640 root:lobby-server" /etc/lobby-server/LobbyServer.cfg
grep -q sendbulletintime=31 "$root/etc/lobby-server/LobbyServer.cfg.dpkg-dist" ||
    fail "the new sample is not at hand"
stop_lobby
rm "$root"/var/log/lobby-server/*
serve "next release"
stop_lobby
step "remove"
in_root systemctl --quiet enable lobby-server || fail "enable"
apt_in_root remove --auto-remove lobby-server lobby-server-tools || fail "removal"
cfg=./etc/lobby-server
expect "left by removal" "$cfg $cfg/LobbyServer.cfg $cfg/LobbyServer.cfg.dpkg-dist \
$cfg/SensitiveName.cfg $cfg/compete_info.cfg $cfg/disconnectuserid.cfg ./var/log/lobby-server \
./var/log/lobby-server/LobbyServer.log " "$(leftovers)"
step "purge"
dpkg_in_root --purge lobby-server || fail "purge"
expect "left by purging" "" "$(leftovers)"
wait "$checking" || fail "the packages"
! grep -q lobby-server "$root/etc/passwd" "$root/etc/group" || fail "the account is left"
step "done"
