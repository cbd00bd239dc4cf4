#!/usr/bin/env bash
# Start-up to the first painted frame of zorvik-lumo on Xvfb, N runs with an empty data root.
#   bench/skin_startup.sh [PROGRAM] [RUNS] [WIDTHxHEIGHT]
set -euo pipefail
program=${1:-build/zorvik-lumo} runs=${2:-5} size=${3:-1280x800}
for _ in $(seq 1 "$runs"); do
  home=$(mktemp -d)
  ZORVIK_LUMO_HOME=$home ZORVIK_LUMO_STARTUP_REPORT=1 ZORVIK_LUMO_EXIT_AFTER_FIRST_FRAME=1 \
    xvfb-run -a -s "-screen 0 ${size}x24" "$program" 2>/dev/null | grep startup-to-first-frame-ms
  rm -rf "$home"
done
