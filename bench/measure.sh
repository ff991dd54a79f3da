# Sourced by the bench scripts, which set $work (a folder for its files) and
# $repeat. measure NAME COMMAND...: runs the command $repeat times under GNU
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
