#!/usr/bin/env bash
# The installed program, as a user of the package gets it: `cmake --install` into a temporary
# DESTDIR, the desktop entry and AppStream data validated, then the installed lumo renders and
# analyses a track and the installed window shows the default skin, with the source and build
# trees hidden behind empty folders (a private mount namespace) so nothing can come from them.
#
#   install_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
source_dir=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

DESTDIR="$work/root" cmake --install "$build" --prefix /usr >"$work/install.log" || fail "install: $(cat "$work/install.log")"
prefix="$work/root/usr"
for file in bin/lumo bin/zorvik-lumo share/applications/org.zorvik.Lumo.desktop \
            share/metainfo/org.zorvik.Lumo.metainfo.xml share/man/man1/lumo.1.gz \
            share/man/man1/zorvik-lumo.1.gz share/bash-completion/completions/lumo \
            share/icons/hicolor/512x512/apps/zorvik-lumo.png share/icons/hicolor/scalable/apps/zorvik-lumo.svg \
            share/zorvik-lumo/languages/english.xml share/doc/zorvik-lumo/copyright \
            lib/udev/rules.d/70-zorvik-lumo-controllers.rules share/zorvik-lumo/controllers/gamepad-ds4.js; do
  [[ -e "$prefix/$file" ]] || fail "not installed: $file"
done
desktop-file-validate "$prefix/share/applications/org.zorvik.Lumo.desktop" || fail "desktop entry"
appstreamcli validate --no-net "$prefix/share/metainfo/org.zorvik.Lumo.metainfo.xml" >"$work/appstream.txt" ||
  fail "AppStream: $(cat "$work/appstream.txt")"
# The desktop learns the list file's type from the installed package.
mkdir -p "$work/mime/packages"
cp "$prefix/share/mime/packages/zorvik-lumo.xml" "$work/mime/packages/" || fail "not installed: the list file's MIME type"
update-mime-database "$work/mime" || fail "update-mime-database"
grep -q '^application/x-zorvik-lumo-list:\*\.knl$' "$work/mime/globs" || fail "*.knl is not a known type"
# The manual page says what --help says: every command is in both.
for command in $("$prefix/bin/lumo" --help | sed -n 's/^  \([a-z][a-z-]*\) .*/\1/p'); do
  zcat "$prefix/share/man/man1/lumo.1.gz" | sed "s/\\\\-/-/g" | grep "^\.SS lumo $command" >/dev/null || fail "lumo.1 lacks $command"
done

sox -n -r 44100 -c 2 -b 16 "$work/tone.wav" synth 45 sine 440 vol 0.5 || fail "sox"
cp "$source_dir/tests/skin/screenshot.sh" "$source_dir/tests/skin/window-session.sh" "$work/"
reference="$work/reference.png"
cp "$source_dir/data/skins/Zorvik Default 4 decks 1280x800.png" "$reference"
cat >"$work/run-hidden.sh" <<INNER
set -euo pipefail
mount -t tmpfs none "$source_dir"
[[ -d "$build" ]] && mount -t tmpfs none "$build" || true
[[ -z "\$(ls -A "$source_dir")" ]] || { echo "the source tree is still visible"; exit 1; }
cd "$work"
export ZORVIK_LUMO_HOME="$work/home"
unset ZORVIK_LUMO_DATA
"$prefix/bin/lumo" render tone.wav -o out.wav --seconds 2
"$prefix/bin/lumo" analyse --json tone.wav
REFERENCE="$reference" bash "$work/screenshot.sh" "$prefix/bin/zorvik-lumo" 1280 800 "$work/installed-1280x800.png"
INNER
if unshare -m true 2>/dev/null; then
  unshare -m bash "$work/run-hidden.sh" || fail "the installed programs, source tree hidden"
else
  echo "no private mount namespace here: running the installed programs beside the source tree"
  sed -i '/mount -t tmpfs/d; /still visible/d' "$work/run-hidden.sh"
  bash "$work/run-hidden.sh" || fail "the installed programs"
fi
[[ -s "$work/out.wav" ]] || fail "lumo render wrote nothing"
mkdir -p "$build/artifacts" && cp "$work/installed-1280x800.png" "$build/artifacts/"
echo "PASS"
