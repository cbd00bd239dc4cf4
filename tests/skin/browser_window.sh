#!/usr/bin/env bash
# The library as a DJ uses it, with real pointer and key events on a private Xvfb display:
# pick the home folder in the tree, Tab to the list, arrow down to the second song and press
# Enter, and deck A loads it; type into the search box and the list narrows to the one song
# that matches, which Enter then loads; drag the first row onto deck A's drop zone and deck A
# loads that, and so does deck A's wheel. The deck's own log line is the proof that the
# engine's deck holds the song. Screenshots go to the artifacts folder.
#
#   browser_window.sh PROGRAM SHIPPED-DATA-FOLDER ARTIFACTS-FOLDER
set -euo pipefail
program=$1 shipped=$2 artifacts=$3

home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
mkdir -p "$home/music" "$artifacts"
for name in "Alpha Beat" "Bravo Tune" "Charlie Groove"; do
  sox -n -r 44100 -c 2 -b 16 "$home/music/$name.wav" synth 4 sine 440 2>/dev/null
done

# The shipped data with a drop zone over deck A's title, wherever the skin itself puts one.
mkdir -p "$home/data/skins"
for item in "$shipped"/*; do [[ "$(basename "$item")" == skins ]] || ln -s "$item" "$home/data/"; done
skin="Zorvik Default 4 decks 1280x800"
ln -s "$shipped/skins/$skin.png" "$home/data/skins/"
zone='<dropzone action="dz_deck" deck="0" posx="277" posy="221" width="204" height="20" graphics_mode="1" backcolor="#20242c"/>'
sed "0,/<\/window>/s||    $zone\n  </window>|" "$shipped/skins/$skin.xml" >"$home/data/skins/$skin.xml"

start_display 1280 800
# The tree's first item is the home folder: the songs are all it holds.
start_program "$program" HOME="$home/music" ZORVIK_LUMO_DATA="$home/data"
window=$(xdotool search --sync --onlyvisible --name "Zorvik Lumo 2" | head -1)
for _ in $(seq 1 20); do dismiss_message_box; sleep 0.2; done
# Without a window manager nothing gives the window the keyboard: do it as one would, after
# the "no sound device" box, which may come up late on a busy machine, is gone.
keys() {
  dismiss_message_box
  xdotool windowfocus --sync "$window" key "$@"
}
xdotool windowfocus --sync "$window"

# Where the default 1280x800 skin puts them (window at the screen's origin).
tree_x=40 tree_first_row_y=581 search_x=100 search_y=537 list_x=600 list_y=620

# Waits until the deck's log says it loaded a file whose name holds $1, for the $2nd time
# (1 when not given).
wait_for_load() {
  for _ in $(seq 1 300); do
    (( $(grep -c "deck 0: loaded .*$1" "$home/stderr.txt") >= ${2:-1} )) && return 0
    sleep 0.1
  done
  echo "deck A did not load $1"; grep -- "-- xkn" "$home/stderr.txt" | tail -20; exit 1
}

# The list's third row, to see the folder's songs arrive: a background worker adds them.
third_row() { import -window root -crop 900x18+265+608 +repage -format '%[fx:mean]' info:; }
wait_for_rows() {
  for _ in $(seq 1 300); do
    [[ "$(third_row)" != "$1" ]] && return 0
    sleep 0.1
  done
  echo "the list did not fill"; exit 1
}

empty=$(third_row)
xdotool mousemove $tree_x $tree_first_row_y click 1
wait_for_rows "$empty"
import -window root "$artifacts/browser-list.png"
keys Tab Down Down Return
wait_for_load "Bravo Tune.wav"
echo "keyboard: deck A loaded Bravo Tune"

xdotool mousemove $search_x $search_y click 1
xdotool type --delay 80 "charl"
sleep 1
import -window root "$artifacts/browser-search.png"
keys Return Return
wait_for_load "Charlie Groove.wav"
echo "search: the list narrowed to Charlie Groove, which Enter loaded"

# Escape empties the search box; the first row is Alpha Beat again. It is dragged by hand:
# press, a few moves (a toolkit starts a drag only after the pointer has travelled), release.
xdotool mousemove $search_x $search_y click 1
keys Escape
sleep 1
xdotool mousemove 400 581 mousedown 1
for step in $(seq 1 12); do xdotool mousemove $((400 - step * 2)) $((581 - step * 30)); sleep 0.05; done
xdotool mousemove 379 231
sleep 0.3
xdotool mousemove 380 231
sleep 0.3
xdotool mouseup 1
wait_for_load "Alpha Beat.wav"
echo "drag and drop: the row dropped on deck A's zone loaded Alpha Beat"
import -window root "$artifacts/browser-drop.png"

# Any control of the deck takes a drop: Bravo Tune onto deck A's wheel.
xdotool mousemove 400 599 mousedown 1
for step in $(seq 1 12); do xdotool mousemove $((400 - step * 6)) $((599 - step * 20)); sleep 0.05; done
xdotool mousemove 323 347
sleep 0.3
xdotool mousemove 324 347
sleep 0.3
xdotool mouseup 1
wait_for_load "Bravo Tune.wav" 2
echo "drag and drop: the row dropped on deck A's wheel loaded Bravo Tune"

stop_program
echo "saved $artifacts/browser-list.png $artifacts/browser-search.png $artifacts/browser-drop.png"
