#!/usr/bin/env bash
# The options dialog as a DJ works it, with real keys: SETUP opens it on "General"; the other
# page is one key away (screenshots of both go to ARTIFACTS). A crossfader curve turned to
# hard and confirmed with OK is in config.xml and in the mixer at once; the same change left
# with Cancel changes neither. The largest default skin, chosen on a smaller screen, is
# refused with the message in the skin's own box and the skin setting stays. Last, the X asks
# the quit question in the same kind of box: Escape answers no, Return yes.
#
#   options_dialog.sh PROGRAM ARTIFACTS_DIR
set -euo pipefail
program=$1 artifacts=$2
home=$(mktemp -d)
source "$(dirname "$0")/window-session.sh"
start_display 1280 800
mkdir -p "$artifacts"
report=$home/state.txt
config=$home/Settings/config.xml
# The DJ chose the skin that fits this screen earlier.
mkdir -p "$home/Settings"
cat >"$config" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<settings version="100">
  <setting name="skinf1" value="Zorvik Default 4 decks 1280x800.xml" type="1"/>
</settings>
XML
start_program "$program" ZORVIK_LUMO_STATE_REPORT="$report"
setting() { sed -n "s/.*name=\"$1\" value=\"\([^\"]*\)\".*/\1/p" "$config" 2>/dev/null; }

open_options() {
  read -r x y w h <<<"$(value rect.cfg)"
  xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 1
  wait_for '[[ -n "$(window_named "^Options$")" ]]'
  dialog=$(window_named "^Options$")
  xdotool windowfocus --sync "$dialog"
  # Keys typed before the dialog has put the keyboard on its first setting go elsewhere.
  wait_for '[[ "$(value focus)" == options_skin ]]'
}
keys() { xdotool key --delay 60 "$@"; }
closed() { [[ -z "$(window_named "^Options$")" ]]; }
# The skin's box, not the toolkit's: the default skin draws it 420 by 150 at this size. Waits
# for it without acknowledging it, and focuses it.
expect_skin_box() {
  for _ in $(seq 1 300); do
    box=$(window_named "^Message$")
    [[ -n "$box" ]] && break
    sleep 0.2
  done
  [[ -n "$box" ]] || { echo "no box for: $1"; exit 1; }
  eval "$(xdotool getwindowgeometry --shell "$box")"
  [[ "$WIDTH $HEIGHT" == "420 150" ]] || { echo "$1 is not in the skin's box: ${WIDTH}x$HEIGHT"; exit 1; }
  xdotool windowfocus --sync "$box"
}
ask_quit() {
  read -r x y w h <<<"$(value rect.close)"
  xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 1
  expect_skin_box "the quit question"
}

wait_for '[[ -n "$(value rect.cfg)" && -n "$(value cfcurve)" ]]'
curve_before=$(value cfcurve)

# Both pages: Ctrl+Page Down turns the notebook's page.
open_options
import -window "$dialog" "$artifacts/options-general.png"
keys ctrl+Next
sleep 0.5
import -window "$dialog" "$artifacts/options-audio-midi.png"
keys ctrl+Prior

# Focus starts on the skin choice; the curve slider is the General page's fifteenth control
# after it. End turns it to hard; Return on a slider is the dialog's default button, OK.
to_curve=(Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab)
keys "${to_curve[@]}" End Return
wait_for closed
wait_for '[[ "$(value cfcurve)" == 100 && "$(setting cfcurv)" == 100 ]]'
echo "OK: crossfader curve $curve_before -> $(value cfcurve), config.xml cfcurv=$(setting cfcurv)"

# The same slider to smooth, then Cancel: neither the mixer nor the file moves.
saved=$(md5sum <"$config")
open_options
keys "${to_curve[@]}" Home Escape
wait_for closed
sleep 1
[[ "$(value cfcurve)" == 100 && "$(md5sum <"$config")" == "$saved" ]] || { echo "Cancel changed something"; exit 1; }
echo "Cancel: curve still $(value cfcurve), config.xml untouched"

# The last skin of the list is the 1920x1080 one: too big for this screen.
skin_before=$(setting skinf1)
[[ "$skin_before" == "Zorvik Default 4 decks 1280x800.xml" ]] || { echo "skinf1 was '$skin_before'"; exit 1; }
open_options
keys End "${to_curve[@]}" Return
expect_skin_box "the refusal"
refusal="message: The skin is bigger than your current screen resolution and it was not loaded!"
grep -q "$refusal" "$home/stderr.txt" || { echo "not the refusal"; exit 1; }
xdotool key Return
wait_for '[[ -z "$(window_named "^Message$")" && -z "$(window_named "^Options$")" ]]'  # acknowledged
[[ "$(setting skinf1)" == "$skin_before" ]] || { echo "skinf1 became $(setting skinf1)"; exit 1; }
[[ -n "$(value rect.cfg)" ]] || { echo "the window lost its skin"; exit 1; }
echo "oversize skin refused; skinf1 kept: '$skin_before'"

ask_quit
import -window root "$artifacts/quit-question.png"
xdotool key Escape
sleep 1
kill -0 "$app_pid" || { echo "Escape quit the program"; exit 1; }
ask_quit
xdotool key Return
for _ in $(seq 1 300); do kill -0 "$app_pid" 2>/dev/null || break; sleep 0.2; done
wait "$app_pid" || { echo "program exit status $?"; exit 1; }
app_pid=""
echo "the quit question is the skin's own box"
grep "toolkit assertion" "$home/stderr.txt" && { echo "the toolkit complained"; exit 1; }
echo "options dialog works"
