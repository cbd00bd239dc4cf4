#!/usr/bin/env bash
# The whole program's CPU with four decks playing in the window, under Xvfb: four generated
# tracks are loaded from the command line, PLAY is clicked on each deck, and the program's user
# and system time over SECONDS (default 20) is given as a share of one core.
#
#   bench/window_cpu.sh BUILD_DIR [SECONDS] [WIDTHxHEIGHT]
set -euo pipefail
build=$(realpath "$1") seconds=${2:-20} size=${3:-1280x800}
width=${size%x*} height=${size#*x}
home=$(mktemp -d)
source "$(dirname "$0")/../tests/skin/window-session.sh"
start_display "$width" "$height"
for d in 0 1 2 3; do
  sox -n -r 44100 -c 2 -b 16 "$home/deck$d.wav" synth 120 sine $((60 * (d + 2))) tremolo 2 90 vol 0.4
done
report=$home/state.txt
program_args=("$home/deck0.wav" "$home/deck1.wav" "$home/deck2.wav" "$home/deck3.wav")
start_program "$build/zorvik-lumo" ZORVIK_LUMO_STATE_REPORT="$report"
value() { sed -n "s/^$1=//p" "$report" 2>/dev/null; }
for _ in $(seq 1 300); do
  dismiss_message_box
  [[ -n "$(value rect.deck_play_pause.3)" && "$(value deck3.position)" != "" ]] && break
  sleep 0.2
done
for key in deck_play_pause deck_play_pause.1 deck_play_pause.2 deck_play_pause.3; do
  read -r x y w h <<<"$(value "rect.$key")"
  xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 1
done
for _ in $(seq 1 300); do
  [[ "$(value deck0.playing)$(value deck1.playing)$(value deck2.playing)$(value deck3.playing)" == 1111 ]] && break
  sleep 0.2
done
ticks() { awk '{print $14 + $15}' "/proc/$app_pid/stat"; }
hz=$(getconf CLK_TCK)
before=$(ticks)
sleep "$seconds"
after=$(ticks)
playing="$(value deck0.playing)$(value deck1.playing)$(value deck2.playing)$(value deck3.playing)"
echo "decks playing: $playing"
awk -v t=$((after - before)) -v hz="$hz" -v s="$seconds" \
  'BEGIN { printf "zorvik-lumo, four decks playing at '"$size"': %.1f %% of one core\n", 100 * t / hz / s }'
stop_program
