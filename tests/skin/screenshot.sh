#!/usr/bin/env bash
# Starts zorvik-lumo on a private Xvfb display of the given size with an empty data root, waits
# for its window and first frame, saves a screenshot, closes the program with a termination
# signal and checks that it closed cleanly.
#
#   screenshot.sh PROGRAM WIDTH HEIGHT OUTPUT.png
set -euo pipefail
program=$1 width=$2 height=$3 output=$4

home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
start_display "$width" "$height"
mkdir -p "$(dirname "$output")"
start_program "$program"
# Every control the skin placed is on screen or on a tab page that is not showing.
read -r placed on_screen hidden < <(sed -n 's/^placed=\([0-9]*\) on-screen=\([0-9]*\) on-hidden-pages=\([0-9]*\)$/\1 \2 \3/p' "$home/stdout.txt")
echo "placed $placed, on screen $on_screen, on hidden tab pages $hidden"
[[ "$placed" -gt 300 && $((on_screen + hidden)) -eq "$placed" ]] || { echo "placed controls are missing"; exit 1; }
xdotool search --sync --onlyvisible --name "Zorvik Lumo 2" >/dev/null
# Without a sound device the program says so in a modeless box; it is acknowledged like a user
# would, whenever it appears.
xdotool mousemove 0 0  # no hint under the pointer

# Controls draw from the skin image, so the screen must match the skin's picture except where
# the program writes text and cursors: a blank, shifted or mis-scaled window fails here. The
# screen is taken again until it matches (paints can lag on a busy machine) or a deadline passes.
reference=${REFERENCE:-}
[[ -n "$reference" ]] && convert "$reference" -crop "${width}x${height}+0+0" +repage "$home/reference.png"
matched=0
for attempt in $(seq 1 60); do
  dismiss_message_box
  sleep 0.5
  import -window root "$output"
  [[ -n "$reference" ]] || { [[ $attempt -ge 2 ]] && { matched=1; break; }; continue; }
  differing=$(compare -metric AE -fuzz 10% "$output" "$home/reference.png" null: 2>&1 || true)
  if (( ${differing%.*} < width * height * 3 / 100 )); then matched=1; break; fi
done
[[ -n "$reference" ]] && echo "pixels differing from the skin image: $differing"
(( matched )) || { echo "the window does not show the skin"; exit 1; }

stop_program
grep -q "error - NO SKIN WAS LOADED" "$home/stderr.txt" && { echo "no skin loaded"; exit 1; }
echo "saved $output"
