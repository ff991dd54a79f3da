#!/bin/bash
# Serves a folder with nginx on 127.0.0.1 for tests, as an ordinary user
# would serve update packages.
#
# Usage:
#   nginx_server.sh start ROOT STATE [LIFETIME]
#       Serves ROOT on 127.0.0.1:<a free port>. STATE is a folder of this
#       run (created when missing) that receives nginx.conf, the logs, the
#       temporary folders, master.pid (the nginx master), watchdog.pid and,
#       once nginx accepts connections, "port" (written last, by rename).
#       Prints the port on stdout. nginx runs in the foreground of a
#       background job, so nothing is written outside STATE. A watchdog
#       stops it after LIFETIME seconds (default 600). Exit code 0 when
#       serving, 1 otherwise.
#       With NGINX_LIMIT_RATE set (e.g. 96k), every response is sent at
#       that rate.
#       With NGINX_TLS=1 it also serves ROOT over TLS on a second port
#       ("tlsport"), with a certificate for localhost signed by a test CA
#       made for this run (STATE/tls/ca.pem, trusted by nobody until a test
#       adds it to its own store). There /down/<path> redirects to
#       http://127.0.0.1:<port>/<path>.
#   nginx_server.sh stop STATE
#       Stops the nginx and the watchdog started with that STATE.
set -u
export PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:${PATH:-}

die() {
    echo "nginx_server.sh: $*" >&2
    exit 1
}

free_port() {
    python3 -c 'import socket
s = socket.socket()
s.bind(("127.0.0.1", 0))
print(s.getsockname()[1])'
}

accepts() {
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

make_certificates() {
    local tls=$1/tls
    mkdir -p "$tls"
    printf 'basicConstraints=CA:FALSE\nsubjectAltName=IP:127.0.0.1,DNS:localhost\n' >"$tls/ext"
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Vorlix Test CA" \
        -keyout "$tls/ca.key" -out "$tls/ca.pem" &&
        openssl req -newkey rsa:2048 -nodes -subj "/CN=localhost" \
            -keyout "$tls/server.key" -out "$tls/server.csr" &&
        openssl x509 -req -in "$tls/server.csr" -CA "$tls/ca.pem" -CAkey "$tls/ca.key" \
            -CAcreateserial -days 2 -extfile "$tls/ext" -out "$tls/server.pem"
}

write_config() {
    local state=$1 root=$2 port=$3 tlsport=$4 user="" tls=""
    # Workers of a root master would otherwise switch to "nobody", which
    # cannot read private temporary folders.
    [ "$(id -u)" = 0 ] && user="user root;"
    [ -n "$tlsport" ] && tls="server {
        listen 127.0.0.1:$tlsport ssl;
        root $root;
        ssl_certificate $state/tls/server.pem;
        ssl_certificate_key $state/tls/server.key;
        location /down/ { rewrite ^/down/(.*)\$ http://127.0.0.1:$port/\$1 redirect; }
    }"
    cat >"$state/nginx.conf" <<CONF
$user
worker_processes 1;
error_log $state/error.log warn;
pid $state/nginx.pid;
events { worker_connections 64; }
http {
    default_type application/octet-stream;
    access_log $state/access.log;
    client_body_temp_path $state/client_body;
    proxy_temp_path $state/proxy;
    fastcgi_temp_path $state/fastcgi;
    uwsgi_temp_path $state/uwsgi;
    scgi_temp_path $state/scgi;
    sendfile on;
    server {
        listen 127.0.0.1:$port;
        root $root;
        ${NGINX_LIMIT_RATE:+limit_rate $NGINX_LIMIT_RATE;}
        location / { }
    }
    $tls
}
CONF
}

start() {
    local root state lifetime port tlsport="" pid tries i
    [ $# -ge 2 ] || die "usage: start ROOT STATE [LIFETIME]"
    root=$(cd "$1" 2>/dev/null && pwd) || die "no folder $1"
    mkdir -p "$2" || die "cannot create $2"
    state=$(cd "$2" && pwd)
    lifetime=${3:-600}
    rm -f "$state/port" "$state/tlsport" "$state/nginx.pid"
    if [ "${NGINX_TLS:-}" = 1 ]; then
        make_certificates "$state" >>"$state/stdout.log" 2>&1 || die "openssl failed"
    fi
    for tries in 1 2 3 4 5; do
        port=$(free_port) || die "python3 is needed to pick a port"
        [ "${NGINX_TLS:-}" = 1 ] && tlsport=$(free_port)
        write_config "$state" "$root" "$port" "$tlsport"
        nginx -e "$state/error.log" -p "$state" -c "$state/nginx.conf" \
            -g "daemon off;" </dev/null >>"$state/stdout.log" 2>&1 &
        pid=$!
        for i in $(seq 1 100); do
            if ! kill -0 "$pid" 2>/dev/null; then
                break
            fi
            if accepts "$port"; then
                echo "$pid" >"$state/master.pid"
                (
                    exec >/dev/null 2>&1 </dev/null
                    sleep "$lifetime"
                    kill -TERM "$pid"
                ) &
                echo $! >"$state/watchdog.pid"
                [ -n "$tlsport" ] && echo "$tlsport" >"$state/tlsport"
                echo "$port" >"$state/port.tmp"
                mv "$state/port.tmp" "$state/port"
                echo "$port"
                return 0
            fi
            sleep 0.05
        done
        kill -TERM "$pid" 2>/dev/null
        wait "$pid" 2>/dev/null
    done
    die "nginx did not start; see $state/error.log"
}

stop() {
    local state=${1:?usage: stop STATE} pid i
    if [ -f "$state/watchdog.pid" ]; then
        pid=$(cat "$state/watchdog.pid")
        pkill -TERM -P "$pid" 2>/dev/null
        kill -TERM "$pid" 2>/dev/null
        rm -f "$state/watchdog.pid"
    fi
    [ -f "$state/master.pid" ] || return 0
    pid=$(cat "$state/master.pid")
    kill -TERM "$pid" 2>/dev/null
    for i in $(seq 1 100); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.05
    done
    kill -KILL "$pid" 2>/dev/null
    rm -f "$state/master.pid" "$state/port"
    return 0
}

case "${1:-}" in
start) shift; start "$@" ;;
stop) shift; stop "$@" ;;
*) die "usage: nginx_server.sh start ROOT STATE [LIFETIME] | stop STATE" ;;
esac
