#!/usr/bin/env bash
# Installs what building and testing need and is missing. Works as root or with sudo.
# Usage: scripts/install-deps.sh [run|test]   run: build and demo; test: also what tests need
set -euo pipefail

mode=${1:-run}
packages=(build-essential cmake ninja-build pkg-config git ca-certificates procps
          libhiredis-dev libcjson-dev libboost-dev libssl-dev libgtest-dev libgmock-dev
          libbenchmark-dev libcli11-dev libcpp-httplib-dev libevent-dev libuv1-dev libwebsockets-dev
          prometheus-cpp-dev libedit-dev file gzip
          redis-server redis-tools netcat-openbsd)
if [ "$mode" = test ]; then
    packages+=(chromium firefox-esr python3-websockets python3-websocket python3-aiohttp
               lintian prometheus faketime mmdebstrap tshark haproxy nginx-light socat openssl iproute2)
fi
# The web server under the metrics.
packages+=(libcivetweb-dev)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
        missing+=("$package")
done
if [ "$mode" = test ]; then
    command -v node >/dev/null || missing+=(nodejs)
    command -v npm >/dev/null || missing+=(npm)
fi
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Run as root, or install sudo: ${missing[*]} are missing." >&2; exit 1; }
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
# Tests start what they need themselves: no service is to run, now or after the next boot, because
# it was installed here.
policy=/usr/sbin/policy-rc.d
if [ ! -e "$policy" ]; then
    trap '"${as_root[@]}" rm -f "$policy"' EXIT
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" install -m 755 /dev/stdin "$policy"
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
for service in haproxy nginx prometheus prometheus-node-exporter redis-server; do
    [[ " ${missing[*]} " != *" ${service}"[\ -]* ]] || ! command -v systemctl >/dev/null ||
        "${as_root[@]}" systemctl disable --quiet "$service"
done
