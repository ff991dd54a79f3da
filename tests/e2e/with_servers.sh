#!/bin/bash
# Runs a command with two HTTP servers on 127.0.0.1 that serve one fresh
# folder: nginx (ordinary serving) and the fault server (misbehaviour on
# request). The command sees
#   VX_HTTP_ROOT     the served folder as a Windows program sees it (Z:\...\)
#   VX_NGINX_PORT    nginx's port
#   VX_FAULT_PORT    the fault server's port
# Both servers are stopped when the command ends; its exit code is returned.
# Usage: with_servers.sh COMMAND [ARGS...]
set -u
here=$(cd "$(dirname "$0")" && pwd)
servers=$here/../servers
state=$(mktemp -d /tmp/vx-servers.XXXXXX)
mkdir -p "$state/root" "$state/nginx"

cleanup() {
    bash "$servers/nginx_server.sh" stop "$state/nginx" >/dev/null 2>&1
    [ -f "$state/fault.pid" ] && kill "$(cat "$state/fault.pid")" 2>/dev/null
    rm -rf "$state"
}
trap cleanup EXIT

nginx_port=$(bash "$servers/nginx_server.sh" start "$state/root" "$state/nginx" 300) || {
    echo "with_servers.sh: nginx did not start" >&2
    exit 1
}
python3 "$servers/fault_server.py" --root "$state/root" --port-file "$state/fault.port" \
    --pid-file "$state/fault.pid" --lifetime 300 >/dev/null 2>&1 &
for _ in $(seq 100); do
    [ -s "$state/fault.port" ] && break
    sleep 0.05
done
[ -s "$state/fault.port" ] || { echo "with_servers.sh: fault server did not start" >&2; exit 1; }

export VX_NGINX_PORT=$nginx_port
export VX_FAULT_PORT=$(cat "$state/fault.port")
export VX_HTTP_ROOT="Z:$(echo "$state/root/" | tr / '\\')"
"$@"
