#!/usr/bin/env bash
# lumo analyse end to end: a folder with a WAV, an MP3 in a sub-folder, two songs of one name in
# two folders, and files that are not audio. Every file gets a JSON line; the run fails when a
# file failed; songs already analysed are skipped unless forced. Usage: lumo_analyse_cli.sh LUMO
set -euo pipefail
lumo=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/music/sub" "$work/same/a" "$work/same/b" "$work/bad"
# Twenty seconds of clicks at 120 BPM on a low tone.
sox -n -r 44100 -c 2 -b 16 -e signed "$work/music/clicks.wav" synth 0.5 sine 60 fade 0 0.5 0.45 repeat 39
sox "$work/music/clicks.wav" "$work/music/sub/clicks-copy.flac"
# "01 Intro.wav" twice: 20 s in one folder, 12 s in the other.
cp "$work/music/clicks.wav" "$work/same/a/01 Intro.wav"
sox "$work/music/clicks.wav" "$work/same/b/01 Intro.wav" trim 0 12
echo "not audio" > "$work/bad/notes"$'\xed\xa0\x80'".txt"   # a UTF-8-encoded surrogate in the name
: > "$work/bad/empty.mp3"
run() { ZORVIK_LUMO_HOME="$work/home" "$lumo" analyse "$@"; }
# Each line must be valid UTF-8 and valid JSON.
check_json() { python3 -c 'import sys, json
for line in sys.stdin.buffer.read().decode("utf-8", "strict").splitlines(): json.loads(line)'; }

out=$(run --json --jobs 2 "$work/music" 2>/dev/null)
echo "$out"
echo "$out" | check_json
[[ $(echo "$out" | grep -c '"bpm":') -eq 2 ]]
echo "$out" | grep -q '"name":"clicks.wav"'
echo "$out" | grep -q '"name":"clicks-copy.flac"'
echo "$out" | grep -q '"duration_ms":20000'
echo "$out" | grep -q '"bpm_confidence":'
[[ $(stat -c %s "$work/home/Stripes/clicks.wav.kn2") -eq $((20 * 1764)) ]]
grep -q '<song name="clicks-copy.flac" bpm="' "$work/home/Database/db.knx"
grep -q 'bpm_confidence="' "$work/home/Database/db.knx"  # the confidence is kept beside the tempo

# Analysed songs are skipped the second time, and analysed again with --force.
again=$(run --json "$work/music/clicks.wav" 2>/dev/null)
echo "$again" | grep -q '"skipped":"already analysed"'
forced=$(run --json --force "$work/music/clicks.wav" 2>/dev/null)
echo "$forced" | grep -q '"bpm":'

# Two songs of one name in parallel: one is analysed, the other skipped, and record and stripe
# both come from the one analysed.
same=$(run --json --jobs 2 "$work/same/a" "$work/same/b" 2>/dev/null)
echo "$same" | check_json
[[ $(echo "$same" | grep -c '"bpm":') -eq 1 ]]
[[ $(echo "$same" | grep -c '"skipped":') -eq 1 ]]
ms=$(echo "$same" | grep '"bpm":' | sed 's/.*"duration_ms":\([0-9]*\).*/\1/')
seconds=$(( (ms + 999) / 1000 ))
[[ $(stat -c %s "$work/home/Stripes/01 Intro.wav.kn2") -eq $((seconds * 1764)) ]]

# Files that are not audio: a JSON line each with its error, and a failed run.
if bad=$(run --json "$work/bad" 2>/dev/null); then echo "a failed file must fail the run"; exit 1; fi
echo "$bad"
echo "$bad" | check_json
[[ $(echo "$bad" | grep -c '"error":') -eq 2 ]]
echo "$bad" | grep -q 'notes\\ufffd\\ufffd\\ufffd.txt'

# Plain output: one line per track.
plain=$(run --force "$work/music/clicks.wav" 2>/dev/null)
[[ $(echo "$plain" | wc -l) -eq 1 ]] && echo "$plain" | grep -q 'BPM'
# Bad options are refused with a usage text and exit 2.
set +e
run --jobs 0 "$work/music" 2>/dev/null; [[ $? -eq 2 ]] || exit 1
run --range 50-100 "$work/music" 2>/dev/null; [[ $? -eq 2 ]] || exit 1
set -e
echo "lumo analyse: ok"
