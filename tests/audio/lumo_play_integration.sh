#!/usr/bin/env bash
# `lumo play` end to end, twice: through a private JACK server (dummy driver, 44100 Hz), with
# its capture ports as the live input, and through the null back end with no server at all. Each run plays a 2-second tone and must end
# with a line "played: deck ended=1 device=<name> frames=<N>" where N, the engine frames the
# device pulled, covers the whole file (88200).
#
# Usage: lumo_play_integration.sh [path/to/lumo]   (default: build/lumo)
# Exits 77 (skipped) when sox or jackd is missing.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
lumo=${1:-$here/../../build/lumo}
min_frames=88200
server="lumo-it-$$"
work=$(mktemp -d)
jack_pid=""

cleanup() {
  if [[ -n "$jack_pid" ]]; then
    kill "$jack_pid" 2>/dev/null || true
    wait "$jack_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

for tool in sox jackd jack_wait; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done
[[ -x "$lumo" ]] || fail "no lumo program at $lumo"

# Checks lumo's output (first argument) for a finished deck and enough frames; the second
# argument is the device name expected, case-insensitively.
check_played() {
  local output=$1 device=$2 line
  line=$(grep -E '^played: ' <<<"$output" | tail -n 1) || true
  [[ -n "$line" ]] || fail "no 'played:' line from lumo ($device); it printed: $output"
  echo "$line"
  [[ "$line" =~ ended=([0-9]+) ]] || fail "no ended= in: $line"
  [[ "${BASH_REMATCH[1]}" == 1 ]] || fail "the deck did not reach the end: $line"
  [[ "$line" =~ device=([^ ]+) ]] || fail "no device= in: $line"
  [[ "${BASH_REMATCH[1],,}" == "${device,,}" ]] || fail "expected device $device: $line"
  [[ "$line" =~ frames=([0-9]+) ]] || fail "no frames= in: $line"
  (( BASH_REMATCH[1] >= min_frames )) || fail "only ${BASH_REMATCH[1]} frames (< $min_frames): $line"
}

wav="$work/tone-2s.wav"
sox -n -r 44100 -c 2 -b 16 "$wav" synth 2 sine 440 vol 0.5
export ZORVIK_LUMO_HOME="$work/home"
mkdir -p "$ZORVIK_LUMO_HOME"

# 1. The pro back end on a private dummy server.
jackd -n "$server" -t 10000 -d dummy -r 44100 -p 256 >"$work/jackd.log" 2>&1 &
jack_pid=$!
jack_wait -s "$server" -w -t 30 >/dev/null 2>&1 || fail "jackd $server did not come up: $(cat "$work/jackd.log")"
# The dummy driver's capture ports are the live input: a capture device does not stop the play.
output=$(JACK_DEFAULT_SERVER="$server" "$lumo" play "$wav" --device jack --input "Jack: system" --seconds 30 2>&1) ||
  fail "lumo play --device jack --input failed: $output"
check_played "$output" jack
grep -q 'input Jack: system on the microphone channel' <<<"$output" || fail "no live input: $output"

# An input device that is not there fails the command, naming it, before anything plays.
if output=$(JACK_DEFAULT_SERVER="$server" "$lumo" play "$wav" --device null --input "Jack: nowhere" 2>&1); then
  fail "lumo play accepted a missing input device: $output"
fi
grep -q 'can not open the input device "Jack: nowhere"' <<<"$output" || fail "no reason given: $output"
kill "$jack_pid"
wait "$jack_pid" 2>/dev/null || true
jack_pid=""

# 2. No server: the null back end keeps the mix running at real time, and the recorder takes
# the whole mix, which sox must read back as about two seconds of the tone.
output=$(JACK_DEFAULT_SERVER="$server-absent" "$lumo" play "$wav" --device null --seconds 30 \
  --record "$work/played.wav" 2>&1) || fail "lumo play --device null failed: $output"
check_played "$output" null
length=$(sox "$work/played.wav" -n stat 2>&1 | awk '/^Length/ {print $3}')
[[ -n "$length" ]] || fail "sox can not read the recording"
awk -v l="$length" 'BEGIN { exit !(l >= 1.9 && l <= 3.0) }' || fail "recording of $length s, expected about 2"

echo "PASS"
