#!/usr/bin/env bash
# Delta packages on two releases of real Windows binaries (about 100 MB of
# Wine's PE DLLs): release 2 is release 1 with 3 files changed (each replaced
# by another DLL of Wine's), 1 added and 1 removed. Measures, with UpdatePack
# under Wine:
#   - the delta's size against the full package, and against a package of
#     the 4 changed and added files alone (the delta's own cost: target at
#     most 1 % more);
#   - the time of `make --since` against `make` alone, and zip -6 of the 4
#     files as the peer floor of packing what changed;
#   - the peak memory of both (UpdatePack --stats and GNU time).
#
#   bench/delta.sh
#
# CORPUS_MB (default 100) sets the release size, REPEAT (default 3) the runs
# per measurement (the fastest counts), UPDATEPACK the UpdatePack.exe to run
# (default: the windows preset's, built when missing), WORK (default a new
# folder in /tmp) the place of the copies, removed at the end.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/.." && pwd)
corpus_mb=${CORPUS_MB:-100}
repeat=${REPEAT:-3}

pack=${UPDATEPACK:-$source_dir/build/windows/bin/UpdatePack.exe}
if [[ ! -f "$pack" ]]; then
    cmake --preset windows -S "$source_dir" >/dev/null
    cmake --build "$source_dir/build/windows" --target UpdatePack
fi
for tool in wine zip /usr/bin/time; do
    command -v "$tool" >/dev/null || { echo "bench: $tool is missing" >&2; exit 1; }
done

source "$here/common.sh"
start_wine vxdelta

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", (b > 0 ? a / b : 0) }'; }

# Release 1: DLLs in name order up to CORPUS_MB; the next DLLs outside it
# stand for the new bytes of release 2.
mkdir -p "$work/r1" "$work/spare"
total=0
limit=$((corpus_mb * 1024 * 1024))
spares=0
for dll in /usr/lib/x86_64-linux-gnu/wine/x86_64-windows/*.dll \
           /usr/lib/x86_64-linux-gnu/wine/i386-windows/*.dll; do
    [[ -f "$dll" ]] || continue
    if (( total < limit )); then
        cp "$dll" "$work/r1/"
        total=$((total + $(stat -c %s "$dll")))
    elif (( spares < 4 )) && [[ ! -e "$work/r1/$(basename "$dll")" ]]; then
        cp "$dll" "$work/spare/$spares.dll"
        spares=$((spares + 1))
    fi
done
(( spares == 4 )) || { echo "bench: not enough DLLs" >&2; exit 1; }
cp -r "$work/r1" "$work/r2"
# The three largest files of the middle of the list change, one file is
# removed and one added.
mapfile -t names < <(ls "$work/r1")
middle=$(( ${#names[@]} / 2 ))
changed=("${names[middle]}" "${names[middle + 1]}" "${names[middle + 2]}")
removed=${names[middle + 3]}
mkdir -p "$work/four"
for i in 0 1 2; do
    cp "$work/spare/$i.dll" "$work/r2/${changed[i]}"
    cp "$work/spare/$i.dll" "$work/four/${changed[i]}"
done
rm "$work/r2/$removed"
cp "$work/spare/3.dll" "$work/r2/added.dll"
cp "$work/spare/3.dll" "$work/four/added.dll"
echo "release 1: ${#names[@]} files, $(du -sb "$work/r1" | cut -f1) bytes;" \
    "release 2: $(ls "$work/r2" | wc -l) files; changed: ${changed[*]}; removed: $removed;" \
    "the 4 new files: $(du -sb "$work/four" | cut -f1) bytes"
cat "$work"/r1/* "$work"/r2/* >/dev/null

mkdir -p "$work/pub"
wine "$pack" make "$(winpath "$work/r1")" "$(winpath "$work/pub/r1.upd")" --version 1 >/dev/null
echo "$(nproc) cores; $(wine --version 2>/dev/null); load average: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "run                      wall        CPU      peak RSS"
measure make wine "$pack" make "$(winpath "$work/r2")" "$(winpath "$work/pub/full.upd")" \
    --version 2 --stats
measure make-since wine "$pack" make "$(winpath "$work/r2")" "$(winpath "$work/pub/r2.upd")" \
    --version 2 --since "$(winpath "$work/pub/r1.upd")" --stats
measure make-four wine "$pack" make "$(winpath "$work/four")" "$(winpath "$work/pub/four.upd")" \
    --stats
measure zip-four bash -c "rm -f '$work/four.zip'; cd '$work/four' && zip -q -6 '$work/four.zip' *"

# The delta must hold exactly the four files, unpacked over release 1 give
# release 2, and the two full packages must be the same bytes.
mkdir -p "$work/app"
wine "$pack" extract "$(winpath "$work/pub/r1.bin")" "$(winpath "$work/app")" >/dev/null
wine "$pack" extract "$(winpath "$work/pub/r2-from-1.bin")" "$(winpath "$work/app")" >/dev/null
rm "$work/app/$removed"
diff -r "$work/r2" "$work/app" >/dev/null || { echo "bench: the delta does not give release 2" >&2; exit 1; }
cmp -s "$work/pub/full.bin" "$work/pub/r2.bin" || { echo "bench: the full packages differ" >&2; exit 1; }

full=$(stat -c %s "$work/pub/r2.bin")
delta=$(stat -c %s "$work/pub/r2-from-1.bin")
four=$(stat -c %s "$work/pub/four.bin")
zipped=$(stat -c %s "$work/four.zip")
echo
echo "sizes: full package $full, delta $delta, package of the 4 files $four, zip of them $zipped bytes"
echo "  delta / full package:         $(ratio "$delta" "$full")"
echo "  delta / package of the 4:     $(ratio "$delta" "$four")  (target <= 1.010)"
echo "  delta / zip -6 of the 4:      $(ratio "$delta" "$zipped")"
echo "time (wall, CPU):"
echo "  make --since / make:          $(ratio "${wall[make-since]}" "${wall[make]}")  $(ratio "${cpu[make-since]}" "${cpu[make]}")"
echo "  make of the 4 / zip -6 of them: $(ratio "${wall[make-four]}" "${wall[zip-four]}")  $(ratio "${cpu[make-four]}" "${cpu[zip-four]}")"
echo "memory:"
grep -h "peak" "$work/make.best.err" | sed 's/^/  make:          /'
grep -h "peak" "$work/make-since.best.err" | sed 's/^/  make --since:  /'
sed -n '1,2p' "$work/make-since.best.out" | sed 's/^/  /'
