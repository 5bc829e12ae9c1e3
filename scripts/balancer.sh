# shellcheck shell=bash
# Sourced beside servers.sh: haproxy and nginx as deploy/ has them, on free loopback ports. Sets
# haproxy_pid, entrance_port, nginx_pid and secure_port; $work holds admin.sock and cert.pem.

# start_haproxy CONFIGURATION PORT PORT PORT: before three lobbies. LOBBY_MAXCONN in the
# environment counts.
start_haproxy() {
    entrance_port=$(free_port)
    LOBBY_LISTEN=127.0.0.1:$entrance_port HAPROXY_ADMIN=$work/admin.sock \
        HAPROXY_USER=$(id -un) HAPROXY_GROUP=$(id -gn) \
        LOBBY1=127.0.0.1:$2 LOBBY2=127.0.0.1:$3 LOBBY3=127.0.0.1:$4 \
        haproxy -db -f "$1" >"$work/haproxy.log" 2>&1 &
    haproxy_pid=$!
}

# One command; the answer is in $work/admin.out.
admin() { socat stdio "$work/admin.sock" <<<"$1" >"$work/admin.out"; }
is_up() { admin "show stat" && grep -q "^lobbies,$1,.*,UP," "$work/admin.out"; }

# Before haproxy, with a certificate made here.
start_nginx() {
    secure_port=$(free_port)
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 \
        -subj /CN=localhost -addext subjectAltName=DNS:localhost \
        -keyout "$work/key.pem" -out "$work/cert.pem" 2>/dev/null
    local folder temporary=
    for folder in client_body proxy fastcgi uwsgi scgi; do
        temporary+="${folder}_temp_path $work/$folder; "
    done
    sed -e "s#^user .*#user $(id -un) $(id -gn);#" -e "s#/run/nginx.pid#$work/nginx.pid#" \
        -e "s#/var/log/nginx/lobby.error.log#$work/nginx.log#" \
        -e "s#127.0.0.1:9100#127.0.0.1:$entrance_port#" -e "s#listen 443#listen $secure_port#" \
        -e "s#lobby.example.com#localhost#" -e "s#/etc/ssl/lobby#$work#" \
        -e "s#^http {#& $temporary#" "$servers_root/deploy/nginx.conf" >"$work/nginx.conf"
    nginx -e "$work/nginx.log" -c "$work/nginx.conf" -g 'daemon off;' &
    nginx_pid=$!
}
