#!/usr/bin/env bash
# What the signature check costs: whole installs of one >= 90 MB package over
# loopback (nginx), by a plain Update.exe from the unsigned package and by a
# stamped Update.exe from the same package signed, alternating in one run.
# Each install is timed from the start of Update.exe until the application
# runs again; the best of each kind is kept and their ratio printed.
#
# Usage: bench/sign.sh [RUNS] [BUILD_DIR]   (default 3 runs, build/windows)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-3}
build=$(realpath -m "${2:-$root/build/windows}")
bin=$build/bin
work=$(mktemp -d /tmp/vx-bench-sign.XXXXXX)
export VX_BUILD_DIR=$work/wine VX_NEED_DISPLAY=1
trap 'bash "$root/tests/servers/nginx_server.sh" stop "$work/nginx" >/dev/null 2>&1 || true
      "$root/scripts/wine-run" --stop "$work/wine" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT

cmake --preset windows -B "$build" >/dev/null
cmake --build "$build" -j2 --target Update UpdatePack SampleApp1 SampleApp2 >/dev/null
w() { printf 'Z:%s' "$(printf '%s' "$1" | tr / '\\')"; }
pack() { "$root/scripts/wine-run" "$bin/UpdatePack.exe" "$@" >/dev/null; }

# 64 MB of Wine's PE libraries (about 3:1 in the package) and 72 MB of
# incompressible media: a package of about 95 MB.
mkdir -p "$work/content/media" "$work/www" "$work/wine"
for dll in /usr/lib/x86_64-linux-gnu/wine/x86_64-windows/*.dll; do
    [[ $(du -sm "$work/content" | cut -f1) -lt 64 ]] || break
    cp "$dll" "$work/content/"
done
cp "$bin/SampleApp2.exe" "$work/content/SampleApp.exe"
for i in 1 2 3 4 5 6 7 8 9; do head -c 8M /dev/urandom >"$work/content/media/clip$i.bin"; done
pack keygen "$(w "$work/key.pem")" "$(w "$work/key.pub")"
pack make "$(w "$work/content/")" "$(w "$work/www/plain.upd")"
pack make "$(w "$work/content/")" "$(w "$work/www/signed.upd")" --sign "$(w "$work/key.pem")"
pack stamp "$(w "$bin/Update.exe")" "$(w "$work/key.pub")" -o "$(w "$work/Stamped.exe")"
plain_size=$(stat -c %s "$work/www/plain.bin")
signed_size=$(stat -c %s "$work/www/signed.bin")
[[ $plain_size -ge $((90 * 1024 * 1024)) ]] || { echo "package only $plain_size bytes" >&2; exit 1; }
port=$(bash "$root/tests/servers/nginx_server.sh" start "$work/www" "$work/nginx" 1800)

# One install: Update.exe (plain or stamped), package, size; prints seconds.
install() {
    local app=$work/app t0
    rm -rf "$app" && mkdir -p "$app"
    cp "$bin/SampleApp1.exe" "$app/SampleApp.exe"
    cp "$1" "$app/Update.exe"
    printf '[update]\r\nexitafter=0\r\n' >"$app/SampleApp.ini"
    t0=$(date +%s.%N)
    "$root/scripts/wine-run" "$app/Update.exe" "$3" "http://127.0.0.1:$port/$2" "$(w "$app/")" \
        "$(w "$app/SampleApp.exe")" &
    until grep -q "started 2.0.0.0" "$app/SampleApp.log" 2>/dev/null; do sleep 0.02; done
    echo "$(date +%s.%N) - $t0" | bc
    wait
    cmp -s "$app/SampleApp.exe" "$bin/SampleApp2.exe" || { echo "install incomplete" >&2; exit 1; }
}
"$root/scripts/wine-run" "$bin/SampleApp1.exe" --hold 0
best_plain=999999 best_signed=999999
for run in $(seq "$runs"); do
    plain=$(install "$bin/Update.exe" plain.bin "$plain_size")
    best_plain=$(echo "if ($plain < $best_plain) $plain else $best_plain" | bc)
    signed=$(install "$work/Stamped.exe" signed.bin "$signed_size")
    best_signed=$(echo "if ($signed < $best_signed) $signed else $best_signed" | bc)
    printf 'run %s: unsigned %.2f s, signed %.2f s\n' "$run" "$plain" "$signed"
done
printf 'package %s bytes (%.1f MB), signed %s bytes\n' "$plain_size" \
    "$(echo "$plain_size / 1048576" | bc -l)" "$signed_size"
printf 'unsigned install, plain Update.exe:    %.2f s (best of %s)\n' "$best_plain" "$runs"
printf 'signed install, stamped Update.exe:    %.2f s (best of %s)\n' "$best_signed" "$runs"
printf 'ratio signed / unsigned: %.3f\n' "$(echo "$best_signed / $best_plain" | bc -l)"
