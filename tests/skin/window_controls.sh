#!/usr/bin/env bash
# The window as a DJ uses it, with real pointer events: a generated track given on the command
# line is on deck A; a click on PLAY starts it and its time display runs; dragging the
# crossfader and deck A's channel fader with the mouse changes the engine's gains; an EQ knob
# turns by dragging upwards; a hand turning deck A's record moves the music by the turn, and
# the next click lands on the button under the pointer. The program writes its engine state to
# a file each few ticks (ZORVIK_LUMO_STATE_REPORT), which is what this script reads back.
# Screenshots go to ARTIFACTS.
#
#   window_controls.sh PROGRAM ARTIFACTS_DIR
set -euo pipefail
program=$1 artifacts=$2
width=1280 height=800

home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
start_display "$width" "$height"
mkdir -p "$artifacts"

# A bass tone that swells twice a second, so its waveform (drawn from the low band) has a shape
# that can be seen to move.
sox -n -r 44100 -c 2 -b 16 "$home/track.wav" synth 60 sine 120 tremolo 2 90 vol 0.5
report=$home/state.txt
ZORVIK_LUMO_HOME=$home ZORVIK_LUMO_STATE_REPORT=$report "$program" "$home/track.wav" \
  >"$home/stdout.txt" 2>"$home/stderr.txt" &
app_pid=$!

centre() {  # prints the screen centre of a control from its rect line
  read -r x y w h <<<"$(value "rect.$1")"
  echo $((x + w / 2)) $((y + h / 2))
}
drag() {  # drag FROM_X FROM_Y TO_X TO_Y in small steps, as a hand does
  xdotool mousemove "$1" "$2" mousedown 1
  local steps=8 i
  for i in $(seq 1 $steps); do
    xdotool mousemove $(($1 + ($3 - $1) * i / steps)) $(($2 + ($4 - $2) * i / steps))
    sleep 0.03
  done
  xdotool mouseup 1
}

wait_for '[[ -n "$(value rect.deck_play_pause)" && -n "$(value rect.deck_eq_low)" ]]'
wait_for '[[ "$(value volume0)" == 127 && "$(value crossfader)" == 64 ]]'
echo "start: volume0=$(value volume0) crossfader=$(value crossfader)"
import -window root "$artifacts/controls-before-play.png"

# PLAY on deck A.
read -r px py <<<"$(centre deck_play_pause)"
xdotool mousemove "$px" "$py" click 1
wait_for '[[ "$(value deck0.playing)" == 1 ]]'
first=$(value deck0.position)
wait_for '[[ $(value deck0.position) -gt $((first + 22050)) ]]'
echo "deck A plays: position $first -> $(value deck0.position)"
import -window root "$artifacts/controls-playing.png"

# Deck A's waveform scrolls while it plays: two pictures of its lane half a second of music
# apart differ. The wave appears once the deck's analysis has drawn its stripe (idle priority,
# so a busy machine takes a while): pictures are taken until they move, or two minutes pass.
read -r lx ly lw lh <<<"$(value rect.sd_deck)"
lane() { import -window root "$home/screen.png" && convert "$home/screen.png" -crop "${lw}x${lh}+${lx}+${ly}" +repage "$1"; }
moved=0
for _ in $(seq 1 120); do
  lane "$artifacts/controls-wave-1.png"
  at=$(value deck0.position)
  wait_for '[[ $(value deck0.position) -gt $((at + 22050)) ]]'
  lane "$artifacts/controls-wave-2.png"
  moved=$(compare -metric AE -fuzz 10% "$artifacts/controls-wave-1.png" "$artifacts/controls-wave-2.png" null: 2>&1 || true)
  (( ${moved%.*} > lw * lh / 50 )) && break
done
echo "pixels of deck A's waveform that moved in half a second: $moved"
(( ${moved%.*} > lw * lh / 50 )) || { echo "the waveform does not scroll"; exit 1; }

# A hand on deck A's record, the deck stopped first: 200 degrees clockwise at 33 1/3 rpm is
# one second of music forward. The hand rests a moment before letting go, so the platter has
# pulled the sound to where it was put.
read -r wx wy ww wh <<<"$(value rect.deck_wheel)"
wcx=$((wx + ww / 2)) wcy=$((wy + wh / 2)) radius=$((ww * 3 / 8))
read -r px py <<<"$(centre deck_play_pause)"
xdotool mousemove "$px" "$py" click 1
wait_for '[[ "$(value deck0.playing)" == 0 ]]'
before=$(value deck0.position)
point() {  # the point at a clockwise angle from twelve o'clock
  awk -v a="$1" -v r="$radius" -v x="$wcx" -v y="$wcy" \
    'BEGIN { t = a * 3.14159265358979 / 180; printf "%d %d", x + r * sin(t) + 0.5, y - r * cos(t) + 0.5 }'
}
xdotool mousemove $(point 0) mousedown 1
for step in $(seq 5 5 200); do
  xdotool mousemove $(point "$step")
  sleep 0.02
done
sleep 1
xdotool mouseup 1
wait_for '[[ $(( $(value deck0.position) - before )) -ge 43659 && $(( $(value deck0.position) - before )) -le 44541 ]]'
echo "record turned 200 degrees: position $before -> $(value deck0.position)"
wait_for '[[ "$(value deck0.scratching)" == 0 && "$(value deck0.playing)" == 0 ]]'
# The hand rests on the record after letting go, then presses PLAY once: that one click
# starts the deck (the record's hint once popped up over the transport row and took it).
sleep 1.5
read -r px py <<<"$(centre deck_play_pause)"
xdotool mousemove "$px" "$py" click 1
wait_for '[[ "$(value deck0.playing)" == 1 ]]'
echo "one click on PLAY after the scratch starts the deck"

# The crossfader, from its cursor to the left end.
read -r cx cy <<<"$(centre crossfader)"
read -r fx fy fw fh <<<"$(value rect.crossfader)"
drag "$cx" "$cy" "$((fx - 20))" "$cy"
wait_for '[[ "$(value crossfader)" -le 2 ]]'
echo "crossfader dragged left: $(value crossfader)"

# Deck A's channel fader, from its top (127) to the bottom.
read -r vx vy vw vh <<<"$(value rect.deck_volume)"
drag "$((vx + vw / 2))" "$((vy + 5))" "$((vx + vw / 2))" "$((vy + vh + 20))"
wait_for '[[ "$(value volume0)" -le 2 ]]'
echo "channel fader dragged down: $(value volume0)"

# The low EQ knob (-12..+12 dB over 270 degrees, two degrees a pixel) turned by dragging up
# 40 px: 80 of 270 degrees from the centre is +7.1 dB; sideways movement is ignored.
read -r kx ky <<<"$(centre deck_eq_low)"
drag "$kx" "$ky" "$((kx + 30))" "$((ky - 40))"
wait_for '[[ "$(value eqlow0)" == 7.1 ]]'
echo "low EQ knob turned up: $(value eqlow0) dB"
# Two wheel notches down on the knob: half a dB each.
xdotool mousemove "$kx" "$ky" click 5 click 5
wait_for '[[ "$(value eqlow0)" == 6.1 ]]'
echo "wheel down twice: $(value eqlow0) dB"
import -window root "$artifacts/controls-after-drags.png"

kill -TERM "$app_pid"
for _ in $(seq 1 600); do kill -0 "$app_pid" 2>/dev/null || break; sleep 0.1; done
wait "$app_pid" || { echo "program exit status $?"; cat "$home/stderr.txt"; exit 1; }
grep "toolkit assertion" "$home/stderr.txt" && { echo "the toolkit complained"; exit 1; }
app_pid=""
echo "window controls work"
