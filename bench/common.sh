# Sourced by the bench scripts.
#
# start_wine NAME: a work folder $work (WORK, or a new /tmp/NAME.XXXXXX) and
# a Wine prefix (WINEPREFIX, or /tmp/NAME-wineprefix) with a wineserver that
# stays up, so no run pays for starting it; on exit the wineserver stops and
# the work folder is removed.
start_wine()
{
    work=${WORK:-$(mktemp -d "/tmp/$1.XXXXXX")}
    mkdir -p "$work"
    export WINEPREFIX=${WINEPREFIX:-/tmp/$1-wineprefix}
    export WINEDEBUG=-all
    export WINEDLLOVERRIDES="mscoree,mshtml="
    trap 'wineserver -k 2>/dev/null || true; rm -rf "$work"' EXIT
    [[ -d "$WINEPREFIX" ]] || wineboot -i >/dev/null 2>&1
    wineserver -p
}

winpath() { echo "Z:${1//\//\\}"; }

# measure NAME COMMAND... (needs $work and $repeat): runs the command $repeat times under GNU
# time and keeps the fastest run: its wall seconds, CPU seconds (user +
# system) and peak resident set (KB) of the process tree's largest member.
# The fastest run is the one least disturbed by other work on the machine.
# The figures stay in wall, cpu and rss under NAME.
declare -A wall cpu rss
measure()
{
    local name=$1 run seconds user system peak
    shift
    wall[$name]=
    for ((run = 0; run < repeat; run++)); do
        /usr/bin/time -f "%e %U %S %M" -o "$work/time.txt" "$@" >"$work/$name.out" \
            2>"$work/$name.err" || {
            echo "bench: $name failed:" >&2
            cat "$work/$name.err" >&2
            exit 1
        }
        read -r seconds user system peak <"$work/time.txt"
        if [[ -z "${wall[$name]}" ]] || awk -v a="$seconds" -v b="${wall[$name]}" 'BEGIN { exit !(a < b) }'; then
            wall[$name]=$seconds
            cpu[$name]=$(awk -v u="$user" -v s="$system" 'BEGIN { printf "%.2f", u + s }')
            rss[$name]=$peak
            cp "$work/$name.out" "$work/$name.best.out"
            cp "$work/$name.err" "$work/$name.best.err"
        fi
    done
    printf '%-22s %8.2f s %8.2f s %9d KB\n' "$name" "${wall[$name]}" "${cpu[$name]}" "${rss[$name]}"
}
