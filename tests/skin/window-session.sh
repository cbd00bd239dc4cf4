# Sourced by the window tests: a private Xvfb display, the program started on it with its own
# data root, and the chores every test repeats. Set `home` (a temporary folder, removed at exit)
# before calling start_display.
#
#   start_display WIDTH HEIGHT      sets DISPLAY to a free display of that size
#   start_program PROGRAM [ENV...]  starts it with ZORVIK_LUMO_HOME=$home and the arguments in
#                                   program_args, and waits for its first frame
#   dismiss_message_box             acknowledges the "no sound device" box when it is up
#   stop_program                    closes it with a termination signal; fails unless it closes cleanly
#   value KEY                       a value of the program's state report (the file named by
#                                   `report`, see ZORVIK_LUMO_STATE_REPORT)
#   wait_for CONDITION [SECONDS]    waits (60 s unless told) for a shell condition, acknowledging
#                                   the no-device box on the way; fails if the program exits
#   window_named REGEX              the id of a visible window whose title matches, or nothing

xvfb_pid="" app_pid=""
program_args=()
session_cleanup() {
  [[ -n "$app_pid" ]] && kill "$app_pid" 2>/dev/null || true
  [[ -n "$xvfb_pid" ]] && kill "$xvfb_pid" 2>/dev/null || true
  [[ -n "${home:-}" ]] && rm -rf "$home"
}
trap session_cleanup EXIT

start_display() {
  local width=$1 height=$2 n display=""
  # A free display number: the first without a lock file, claimed by Xvfb itself.
  for n in $(seq 120 180); do
    [[ -e /tmp/.X$n-lock ]] && continue
    Xvfb ":$n" -screen 0 "${width}x${height}x24" -dpi 96 -nolisten tcp >/dev/null 2>&1 &
    xvfb_pid=$!
    # Up when its socket appears; gone at once when another server holds the number. A busy
    # machine can take seconds to start it, so the wait is for the socket, not a fixed time.
    for _ in $(seq 1 600); do
      [[ -S /tmp/.X11-unix/X$n ]] && break
      kill -0 "$xvfb_pid" 2>/dev/null || break
      sleep 0.05
    done
    # The number is ours only when the lock names our server: two tests starting at once can
    # both see the socket of the one that won before the loser has exited.
    if kill -0 "$xvfb_pid" 2>/dev/null && [[ -S /tmp/.X11-unix/X$n ]] &&
       [[ "$(tr -d ' \n' <"/tmp/.X$n-lock" 2>/dev/null)" == "$xvfb_pid" ]]; then
      display=":$n"
      break
    fi
    kill "$xvfb_pid" 2>/dev/null || true
    xvfb_pid=""
  done
  [[ -n "$display" ]] || { echo "no free X display"; exit 1; }
  export DISPLAY=$display
}

start_program() {
  local program=$1
  shift
  env ZORVIK_LUMO_HOME="$home" ZORVIK_LUMO_STARTUP_REPORT=1 "$@" "$program" "${program_args[@]}" >"$home/stdout.txt" 2>"$home/stderr.txt" &
  app_pid=$!
  # The first frame is reported on stdout once it has been painted.
  for _ in $(seq 1 600); do
    grep -q startup-to-first-frame-ms "$home/stdout.txt" 2>/dev/null && break
    kill -0 "$app_pid" 2>/dev/null || { echo "program exited early"; cat "$home/stderr.txt"; exit 1; }
    sleep 0.1
  done
  grep startup-to-first-frame-ms "$home/stdout.txt" || { echo "no first frame"; cat "$home/stderr.txt"; exit 1; }
}

dismiss_message_box() {
  local box
  box=$(xdotool search --onlyvisible --name '^Message$' 2>/dev/null | head -1 || true)
  [[ -n "$box" ]] && xdotool windowfocus --sync "$box" key Return 2>/dev/null || true
}

stop_program() {
  local status=0
  kill -TERM "$app_pid"
  for _ in $(seq 1 600); do
    kill -0 "$app_pid" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$app_pid" 2>/dev/null; then echo "program did not close"; exit 1; fi
  wait "$app_pid" || status=$?
  app_pid=""
  [[ $status -eq 0 ]] || { echo "program exit status $status"; cat "$home/stderr.txt"; exit 1; }
}

value() { sed -n "s/^$1=//p" "$report" 2>/dev/null; }

wait_for() {
  for _ in $(seq 1 $((${2:-60} * 5))); do
    dismiss_message_box
    if eval "$1"; then return 0; fi
    kill -0 "$app_pid" 2>/dev/null || { echo "program exited"; cat "$home/stderr.txt"; exit 1; }
    sleep 0.2
  done
  echo "timed out waiting for: $1"; cat "$report" 2>/dev/null; tail -20 "$home/stderr.txt"; return 1
}

window_named() { xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1 || true; }
