#!/usr/bin/env bash
# lumo analyse end to end: a folder with a WAV, an MP3 in a sub-folder and a text file gives two
# JSON lines, a database and two stripes under the data root. Usage: lumo_analyse_cli.sh LUMO
set -euo pipefail
lumo=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/music/sub"
# Eight seconds of clicks at 120 BPM on a low tone.
sox -n -r 44100 -c 2 -b 16 -e signed "$work/music/clicks.wav" synth 0.5 sine 60 fade 0 0.5 0.45 repeat 39
sox "$work/music/clicks.wav" "$work/music/sub/clicks-copy.flac"
echo "not audio" > "$work/music/notes.txt"
out=$(ZORVIK_LUMO_HOME="$work/home" "$lumo" analyse --json --jobs 2 "$work/music" 2>/dev/null)
echo "$out"
[[ $(echo "$out" | grep -c '"bpm":') -eq 2 ]]
echo "$out" | grep -q '"name":"clicks.wav"'
echo "$out" | grep -q '"name":"clicks-copy.flac"'
echo "$out" | grep -q '"duration_ms":20000'
[[ $(stat -c %s "$work/home/Stripes/clicks.wav.kn2") -eq $((20 * 1764)) ]]
grep -q '<song name="clicks-copy.flac" bpm="' "$work/home/Database/db.knx"
# Plain output: one line per track.
plain=$(ZORVIK_LUMO_HOME="$work/home" "$lumo" analyse "$work/music/clicks.wav" 2>/dev/null)
[[ $(echo "$plain" | wc -l) -eq 1 ]] && echo "$plain" | grep -q 'BPM'
# Bad options are refused with a usage text.
if ZORVIK_LUMO_HOME="$work/home" "$lumo" analyse --jobs 0 "$work/music" 2>/dev/null; then exit 1; fi
echo "lumo analyse: ok"
