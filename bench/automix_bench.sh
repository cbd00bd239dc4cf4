#!/usr/bin/env bash
# lumo automix of a 10-track, 40-minute playlist, offline: the first run analyses the songs
# (no stripes yet), the second mixes with the stripes in place. Prints wall time, user CPU,
# times real time and peak memory for each. Usage: bench/automix_bench.sh [BUILD_DIR]
set -euo pipefail
build="${1:-build}"
lumo="$(cd "$build" && pwd)/lumo"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export ZORVIK_LUMO_HOME="$work/home"

# Ten 4-minute drum tracks, 118 to 131 BPM: one beat (kick and hat) generated, then repeated.
python3 - "$work" <<'PY'
import math, struct, sys, wave
folder = sys.argv[1]
for n, bpm in enumerate([118, 124, 120, 128, 122, 126, 119, 131, 125, 121]):
    frames = round(44100 * 60 / bpm)
    data = bytearray()
    for i in range(frames):
        t = i / 44100
        v = 0.5 * math.sin(2 * math.pi * 55 * t) * math.exp(-t * 12)
        h = (t - 30 / bpm)
        if 0 <= h < 0.05:
            v += 0.15 * math.sin(2 * math.pi * 7000 * h + 3 * math.sin(2 * math.pi * 1300 * h)) * math.exp(-h * 80)
        s = int(v * 30000)
        data += struct.pack('<hh', s, s)
    with wave.open(f"{folder}/beat{n}.wav", "wb") as w:
        w.setnchannels(2); w.setsampwidth(2); w.setframerate(44100); w.writeframes(bytes(data))
PY
: > "$work/set.m3u"
for n in 0 1 2 3 4 5 6 7 8 9; do
  sox "$work/beat$n.wav" "$work/track$n.wav" repeat - trim 0 240
  echo "$work/track$n.wav" >> "$work/set.m3u"
done

for run in "first (analyses)" "second (stripes exist)"; do
  /usr/bin/time -o "$work/time.txt" -f "%e %U %M" "$lumo" automix "$work/set.m3u" -o "$work/mix.wav" --json \
    > "$work/out.json" 2> "$work/err.txt"
  read -r wall user peak < "$work/time.txt"
  seconds=$(grep '"mix"' "$work/out.json" | sed 's/.*"seconds":\([0-9.]*\).*/\1/')
  awk -v r="$run" -v s="$seconds" -v w="$wall" -v u="$user" -v p="$peak" 'BEGIN {
    printf "%s: %.0f s of mix in %.1f s wall (%.1f s user): %.0fx real time (%.0fx per CPU second), peak %.0f MB\n",
           r, s, w, u, s / w, s / u, p / 1024 }'
done
