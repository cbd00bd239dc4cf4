#!/usr/bin/env bash
# The BPM dialog from deck A's TAP button, worked with real keys: Tap Beat pressed eight
# times, half a second apart, reads 120, and OK has the deck find its tempo again with 120 as
# the typed tempo. The taps' clock comes from the test (ZORVIK_LUMO_TAP_STEP_MS), because a
# busy display server delivers key presses tens of milliseconds late and the field shows
# hundredths. A screenshot of the dialog goes to ARTIFACTS.
#
#   bpm_dialog.sh PROGRAM ARTIFACTS_DIR
set -euo pipefail
program=$1 artifacts=$2
home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
start_display 1280 800
mkdir -p "$artifacts"
report=$home/state.txt

# Thirty seconds of a low thump every half second: a 120 BPM beat the analysis can find.
sox -n -r 44100 -c 2 -b 16 "$home/thump.wav" synth 0.08 sine 70 fade 0 0.08 0.06 pad 0 0.42 repeat 59
program_args=("$home/thump.wav")
start_program "$program" ZORVIK_LUMO_STATE_REPORT="$report" ZORVIK_LUMO_TAP_STEP_MS=500

# The analysis runs at idle priority: a busy machine takes a while.
wait_for '[[ -n "$(value rect.deck_edit_bpm)" && "$(value deck0.analysed)" == 1 ]]' 180
echo "deck A analysed: $(value deck0.bpm) BPM"
read -r x y w h <<<"$(value rect.deck_edit_bpm)"
xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 1
wait_for '[[ -n "$(window_named "^BPM - Deck A$")" ]]'
dialog=$(window_named "^BPM - Deck A$")
xdotool windowfocus --sync "$dialog"
# Focus starts in the tempo field; Tab reaches Tap Beat, which Space presses.
xdotool key --delay 80 Tab
for _ in $(seq 1 8); do xdotool key --delay 80 space; done
sleep 0.5
import -window "$dialog" "$artifacts/bpm-dialog-tapped.png"
# Past the mode box to OK.
xdotool key --delay 80 Tab Tab space
wait_for '[[ -z "$(window_named "^BPM - Deck A$")" ]]'
grep "bpm dialog:" "$home/stderr.txt"
grep -q "bpm dialog: deck 1, mode 0, field '120.00', hint 120" "$home/stderr.txt" || { echo "the taps did not read 120.00"; exit 1; }
wait_for '[[ "$(value deck0.bpm)" =~ ^(119\.[5-9]|120\.[0-4]) ]]'
echo "deck A's tempo after OK: $(value deck0.bpm)"

stop_program
grep "toolkit assertion" "$home/stderr.txt" && { echo "the toolkit complained"; exit 1; }
echo "BPM dialog works"
