#!/bin/sh
# Draws the tool's emblem (a white arrow into a tray on a blue tile) and
# writes the large (107) and small (108) icons. Needs ImageMagick.
# Each size is drawn at four times its size and scaled down, so the small
# sizes stay crisp instead of being shrunk from the 256-pixel drawing.
set -e
cd "$(dirname "$0")"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

draw() {
    n=$1
    s=$((n * 4))
    k=$(awk "BEGIN { print $s / 256 }")
    # The drawing is laid out on a 256-unit grid and scaled to s pixels.
    convert -size ${s}x${s} xc:none \
        -draw "scale $k,$k
               fill '#1565c0' roundrectangle 8,8 247,247 44,44
               fill '#1e88e5' roundrectangle 8,8 247,200 44,44
               fill '#1e88e5' rectangle 8,60 247,160
               fill white
               rectangle 108,40 148,128
               polygon 72,116 184,116 128,176
               rectangle 48,168 76,214
               rectangle 180,168 208,214
               rectangle 48,192 208,214" \
        -filter Box -resize ${n}x${n} -depth 8 "PNG32:$tmp/$n.png"
}

for n in 16 20 24 32 48 256; do
    draw $n
done
convert "$tmp/16.png" "$tmp/32.png" "$tmp/48.png" "$tmp/256.png" update.ico
convert "$tmp/16.png" "$tmp/20.png" "$tmp/24.png" "$tmp/32.png" update_small.ico
