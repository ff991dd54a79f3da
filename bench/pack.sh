#!/usr/bin/env bash
# Packs and unpacks two corpora with UpdatePack (under Wine) and, in the same
# run, with tar | pigz -6 -p 2, zip -r -6 and unzip: real Windows binaries,
# and the same binaries plus 100 MB of random bytes standing for media. Then
# packs one 1 GB file of mixed data with UpdatePack. Prints wall time, CPU
# time and peak memory of every run and the wall and CPU ratios against the
# peer tools.
#
#   bench/pack.sh [--all]
#
# Each corpus measurement runs REPEAT times (default 3); the fastest counts.
# The corpus is the PE DLLs of Wine's x86_64-windows and i386-windows folders,
# taken in name order until CORPUS_MB (default 128) is reached; --all takes
# every one. UPDATEPACK names the UpdatePack.exe to run (default: the
# windows preset's, built when missing). WORK (default a new folder in /tmp)
# holds the copies; it is removed at the end.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/.." && pwd)
corpus_mb=${CORPUS_MB:-128}
[[ "${1:-}" == "--all" ]] && corpus_mb=1000000

pack=${UPDATEPACK:-$source_dir/build/windows/bin/UpdatePack.exe}
if [[ ! -f "$pack" ]]; then
    cmake --preset windows -S "$source_dir" >/dev/null
    cmake --build "$source_dir/build/windows" --target UpdatePack
fi
for tool in wine pigz zip unzip tar /usr/bin/time; do
    command -v "$tool" >/dev/null || { echo "bench: $tool is missing" >&2; exit 1; }
done

source "$here/common.sh"
start_wine vxbench

repeat=${REPEAT:-3}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }
minus() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (a - b > 0 ? a - b : 0) }'; }

# The corpus.
mkdir -p "$work/corpus/x86_64" "$work/corpus/i386"
total=0
limit=$((corpus_mb * 1024 * 1024))
for dll in /usr/lib/x86_64-linux-gnu/wine/i386-windows/*.dll \
           /usr/lib/x86_64-linux-gnu/wine/x86_64-windows/*.dll; do
    [[ -f "$dll" ]] || continue
    (( total >= limit )) && break
    case "$dll" in
        */i386-windows/*) cp "$dll" "$work/corpus/i386/" ;;
        *) cp "$dll" "$work/corpus/x86_64/" ;;
    esac
    total=$((total + $(stat -c %s "$dll")))
done
echo "DLLs: $((total / 1024 / 1024)) MB"
cat "$work"/corpus/*/* >/dev/null

echo "$(nproc) cores; $(wine --version 2>/dev/null); load average: $(cut -d' ' -f1-3 /proc/loadavg)"
mkdir -p "$work/pkg"
echo "run                        wall        CPU      peak RSS"
measure wine-startup wine "$pack" --help
startup=${wall[wine-startup]}

# bench_corpus LABEL: packs and unpacks $work/corpus with UpdatePack and the
# peer tools, checks the unpacked copy and prints sizes and ratios.
bench_corpus()
{
    local label=$1 files bytes
    files=$(find "$work/corpus" -type f | wc -l)
    bytes=$(du -sb "$work/corpus" | cut -f1)
    echo
    echo "corpus $label: $files files, $((bytes / 1024 / 1024)) MB"
    rm -f "$work/pkg/corpus.upd" "$work/pkg/corpus.bin"
    measure "$label-updatepack-pack" wine "$pack" make "$(winpath "$work/corpus")" \
        "$(winpath "$work/pkg/corpus.upd")" --stats
    measure "$label-pigz-pack" bash -c "rm -f '$work/corpus.tar.gz'; tar -cf - -C '$work/corpus' . | pigz -6 -p 2 >'$work/corpus.tar.gz'"
    measure "$label-zip-pack" bash -c "rm -f '$work/corpus.zip'; cd '$work/corpus' && zip -q -r -6 '$work/corpus.zip' ."
    measure "$label-updatepack-extract" bash -c "rm -rf '$work/out-pack'; wine '$pack' extract \
        '$(winpath "$work/pkg/corpus.bin")' '$(winpath "$work/out-pack")' --stats"
    measure "$label-unzip-extract" bash -c "rm -rf '$work/out-zip'; unzip -q '$work/corpus.zip' -d '$work/out-zip'"
    measure "$label-pigz-extract" bash -c "rm -rf '$work/out-tar'; mkdir -p '$work/out-tar' && pigz -dc -p 2 '$work/corpus.tar.gz' | tar -xf - -C '$work/out-tar'"
    diff -r "$work/corpus" "$work/out-pack" >/dev/null || { echo "bench: the unpacked copy differs" >&2; exit 1; }

    local bin gz zp
    bin=$(stat -c %s "$work/pkg/corpus.bin")
    gz=$(stat -c %s "$work/corpus.tar.gz")
    zp=$(stat -c %s "$work/corpus.zip")
    echo "sizes: package $bin, tar.gz $gz, zip $zp bytes (of $bytes)"
    echo "package sha1: $(sha1sum <"$work/pkg/corpus.bin" | cut -c1-40)"
    grep -h "files,\|peak" "$work/$label-updatepack-pack.best.out" "$work/$label-updatepack-pack.best.err" | sed 's/^/  pack:    /'
    grep -h "files,\|peak" "$work/$label-updatepack-extract.best.out" "$work/$label-updatepack-extract.best.err" | sed 's/^/  extract: /'
    echo "ratios ('net' subtracts Wine's start-up of ${startup} s)    wall   net    CPU"
    printf '  pack    UpdatePack / pigz -6 -p 2:  %6s %6s %6s  (target <= 1.0)\n' \
        "$(ratio "${wall[$label-updatepack-pack]}" "${wall[$label-pigz-pack]}")" \
        "$(ratio "$(minus "${wall[$label-updatepack-pack]}" "$startup")" "${wall[$label-pigz-pack]}")" \
        "$(ratio "${cpu[$label-updatepack-pack]}" "${cpu[$label-pigz-pack]}")"
    printf '  pack    UpdatePack / zip -6:        %6s %6s %6s\n' \
        "$(ratio "${wall[$label-updatepack-pack]}" "${wall[$label-zip-pack]}")" \
        "$(ratio "$(minus "${wall[$label-updatepack-pack]}" "$startup")" "${wall[$label-zip-pack]}")" \
        "$(ratio "${cpu[$label-updatepack-pack]}" "${cpu[$label-zip-pack]}")"
    printf '  extract UpdatePack / unzip:         %6s %6s %6s  (target <= 1.0)\n' \
        "$(ratio "${wall[$label-updatepack-extract]}" "${wall[$label-unzip-extract]}")" \
        "$(ratio "$(minus "${wall[$label-updatepack-extract]}" "$startup")" "${wall[$label-unzip-extract]}")" \
        "$(ratio "${cpu[$label-updatepack-extract]}" "${cpu[$label-unzip-extract]}")"
    echo "  size    package / tar.gz:           $(ratio "$bin" "$gz")"
    rm -rf "$work/out-pack" "$work/out-zip" "$work/out-tar" "$work/corpus.zip" "$work/corpus.tar.gz"
}

bench_corpus dlls
# The same binaries with media: 100 MB of random bytes in ten files, which
# deflate cannot shrink.
mkdir -p "$work/corpus/media"
for i in 0 1 2 3 4 5 6 7 8 9; do
    head -c 10M /dev/urandom >"$work/corpus/media/clip$i.bin"
done
bench_corpus media

# One large file of mixed data: binaries, random bytes and text (LARGE=0
# leaves it out).
[[ "${LARGE:-1}" == 0 ]] && exit 0
echo
rm -rf "$work/corpus/media"
mkdir -p "$work/large" "$work/pkg1g"
# (The writers of each pipe end early on purpose: SIGPIPE is expected.)
{
    for _ in 1 2 3 4; do cat "$work"/corpus/*/*; done | head -c 400M || true
    head -c 300M /dev/urandom
    yes "0123 text line of a log file, with some numbers 4567 89" | head -c 324M || true
} >"$work/large/one.dat"
rm -rf "$work/corpus"
echo "large: one file of $(($(stat -c %s "$work/large/one.dat") / 1024 / 1024)) MB"
repeat=1
measure updatepack-pack-1g wine "$pack" make "$(winpath "$work/large")" \
    "$(winpath "$work/pkg1g/large.upd")" --stats
grep -h "files,\|peak" "$work/updatepack-pack-1g.best.out" "$work/updatepack-pack-1g.best.err" | sed 's/^/  /'
echo "  peak RSS of the Wine process (GNU time): ${rss[updatepack-pack-1g]} KB" \
     "(start-up alone: ${rss[wine-startup]} KB; target <= 32768 KB)"
