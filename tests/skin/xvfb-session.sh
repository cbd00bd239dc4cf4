# Sourced by the window tests: starts a private Xvfb of ${width}x${height} on the first free
# display number and exports DISPLAY; sets xvfb_pid for the caller's cleanup.
start_xvfb() {
  local n
  display=""
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
    if kill -0 "$xvfb_pid" 2>/dev/null && [[ -S /tmp/.X11-unix/X$n ]]; then display=":$n"; break; fi
    kill "$xvfb_pid" 2>/dev/null || true
    xvfb_pid=""
  done
  [[ -n "$display" ]] || { echo "no free X display"; exit 1; }
  export DISPLAY=$display
}

# Without a sound device the program says so in a modeless box; acknowledge it like a user
# would, whenever it appears.
dismiss_message_box() {
  local box
  box=$(xdotool search --onlyvisible --name '^Message$' 2>/dev/null | head -1 || true)
  [[ -n "$box" ]] && xdotool windowfocus --sync "$box" key Return 2>/dev/null || true
}
