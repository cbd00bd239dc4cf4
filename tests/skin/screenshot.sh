#!/usr/bin/env bash
# Starts zorvik-lumo on a private Xvfb display of the given size with an empty data root, waits
# for its window and first frame, saves a screenshot, closes the program with a termination
# signal and checks that it closed cleanly.
#
#   screenshot.sh PROGRAM WIDTH HEIGHT OUTPUT.png
#
# With TRACK set, the program is started with that file, which deck A loads: the rest of the
# window must still match the skin, and deck A's waveform lane must show the track's wave.
set -euo pipefail
program=$1 width=$2 height=$3 output=$4

home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
start_display "$width" "$height"

mkdir -p "$(dirname "$output")"
[[ -n "${TRACK:-}" ]] && program_args=("$TRACK")
start_program "$program"
# Every control the skin placed is on screen or on a tab page that is not showing.
read -r placed on_screen hidden < <(sed -n 's/^placed=\([0-9]*\) on-screen=\([0-9]*\) on-hidden-pages=\([0-9]*\)$/\1 \2 \3/p' "$home/stdout.txt")
echo "placed $placed, on screen $on_screen, on hidden tab pages $hidden"
[[ "$placed" -gt 300 && $((on_screen + hidden)) -eq "$placed" ]] || { echo "placed controls are missing"; exit 1; }
xdotool search --sync --onlyvisible --name "Zorvik Lumo 2" >/dev/null
xdotool mousemove 0 0  # no hint under the pointer

# Controls draw from the skin image, so the screen must match the skin's picture except where
# the program writes text and cursors: a blank, shifted or mis-scaled window fails here. The
# screen is taken again until it matches (paints can lag on a busy machine) or a deadline passes.
# Knobs, faders and read-outs show the engine's state rather than the picture's, which is a few
# per cent of a small window; a blank, shifted or mis-scaled window differs by far more.
reference=${REFERENCE:-}
attr() { sed -n "s/.* $1=\"\([0-9]*\)\".*/\1/p" <<<"$element"; }
# The library shows the machine's own folders and lists, which no picture can know: the browser
# and the list are left out of the comparison.
library_mask=()
if [[ -n "$reference" ]]; then
  for pattern in '<browser action="browser"' '<list action="playlist"'; do
    element=$(grep -o "$pattern[^>]*" "${reference%.png}.xml" | head -1 || true)
    [[ -n "$element" ]] || continue
    library_mask+=(-draw "rectangle $(attr upx),$(attr upy) $(($(attr upx) + $(attr width) - 1)),$(($(attr upy) + $(attr height) - 1))")
  done
  convert "$reference" -crop "${width}x${height}+0+0" +repage -fill black "${library_mask[@]}" "$home/reference.png"
fi
unmasked="$home/unmasked.png"
# Deck A's lane, "x y w h", from the skin file beside the reference, when a track is loaded.
lane=""
if [[ -n "${TRACK:-}" && -n "$reference" ]]; then
  element=$(grep -o '<sounddisplay action="sd_deck" deck="0"[^>]*' "${reference%.png}.xml")
  lane="$(attr posx) $(attr posy) $(attr width) $(attr height)"
  read -r lx ly lw lh <<<"$lane"
  convert "$home/reference.png" -fill black -draw "rectangle $lx,$ly $((lx + lw - 1)),$((ly + lh - 1))" \
    "$home/reference-masked.png"
  convert "$home/reference.png" -crop "${lw}x${lh}+${lx}+${ly}" +repage "$home/reference-lane.png"
fi
matched=0
for attempt in $(seq 1 60); do
  dismiss_message_box
  sleep 0.5
  import -window root "$output"
  [[ -n "$reference" ]] || { [[ $attempt -ge 2 ]] && { matched=1; break; }; continue; }
  convert "$output" -fill black "${library_mask[@]}" "$unmasked"
  if [[ -n "$lane" ]]; then
    # The window outside the lane matches the skin; inside it, the wave covers a good part.
    convert "$unmasked" -fill black -draw "rectangle $lx,$ly $((lx + lw - 1)),$((ly + lh - 1))" "$home/masked.png"
    convert "$output" -crop "${lw}x${lh}+${lx}+${ly}" +repage "$home/lane.png"
    differing=$(compare -metric AE -fuzz 10% "$home/masked.png" "$home/reference-masked.png" null: 2>&1 || true)
    wave=$(compare -metric AE -fuzz 10% "$home/lane.png" "$home/reference-lane.png" null: 2>&1 || true)
    if (( ${differing%.*} < width * height * 4 / 100 && ${wave%.*} > lw * lh / 10 )); then matched=1; break; fi
    continue
  fi
  differing=$(compare -metric AE -fuzz 10% "$unmasked" "$home/reference.png" null: 2>&1 || true)
  if (( ${differing%.*} < width * height * 4 / 100 )); then matched=1; break; fi
done
[[ -n "$lane" ]] && echo "pixels of deck A's lane showing the wave: ${wave:-none}"
[[ -n "$reference" ]] && echo "pixels differing from the skin image: $differing"
(( matched )) || { echo "the window does not show the skin"; exit 1; }

stop_program
grep -q "error - NO SKIN WAS LOADED" "$home/stderr.txt" && { echo "no skin loaded"; exit 1; }
echo "saved $output"
