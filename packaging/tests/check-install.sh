#!/usr/bin/env bash
# Installs a build into a scratch prefix and checks it as a desktop would see
# it: the program folder with its companions, the links in bin/, the desktop
# entry, the MIME types and the icon, and a program run through its link.
#   check-install.sh BUILD_DIR APPDIR gui|nogui png|nopng
set -uo pipefail
build=$1 appdir=$2 gui=$3 png=$4
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
prefix=$root/usr
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

cmake --install "$build" --prefix "$prefix" >"$root/install.log" 2>&1 || { cat "$root/install.log"; exit 1; }
app=$prefix/$appdir

for file in quorvel quorvel-cli; do
  [[ -x $app/$file && ! -L $app/$file ]] || fail "$appdir/$file is not an executable file"
  link=$prefix/bin/$file
  if [[ ! -L $link ]]; then
    fail "bin/$file is not a link"
  else
    case $(readlink "$link") in /*) fail "bin/$file links to an absolute path: $(readlink "$link")" ;; esac
    [[ $(readlink -f "$link") == "$(readlink -f "$app/$file")" ]] || fail "bin/$file does not lead to $appdir/$file"
  fi
done
companions=(Coriolis.qvc Coriolis.qvs Draventa.url)
[[ $gui == gui ]] && companions+=(QuickStart.pdf)
for file in "${companions[@]}"; do
  [[ -s $app/$file ]] || fail "$appdir/$file is missing or empty"
done
[[ $gui == gui ]] && { head -c 5 "$app/QuickStart.pdf" | grep -q '^%PDF-' || fail "QuickStart.pdf is not a PDF"; }
[[ $(head -n 1 "$app/Draventa.url") == $'[InternetShortcut]\r' ]] || fail "Draventa.url does not start with its section in CRLF lines"
grep -Eq $'^URL=https?://[^[:space:]]+\r$' "$app/Draventa.url" || fail "Draventa.url has no URL line"

# Started through its link, the program still finds the sample session beside
# itself: the demo runs it over a virtual line and reports after a second.
export XDG_CONFIG_HOME=$root/config HOME=$root
# Without a display the demo reports in text rather than opening the desktop.
if ! out=$(env -u DISPLAY -u WAYLAND_DISPLAY timeout 30 "$prefix/bin/quorvel-cli" demo --seconds 2 2>&1); then
  fail "quorvel-cli demo through bin/ failed: $out"
elif ! grep -q "Session: $(readlink -f "$app")/Coriolis.qvs" <<<"$out"; then
  fail "the demo did not take the session from the program folder: $out"
elif ! grep -q 'rQ:[1-9]' <<<"$out"; then
  fail "the demo sent no request: $out"
fi
"$prefix/bin/quorvel" --version | grep -q '^quorvel ' || fail "bin/quorvel --version"

desktop=$prefix/share/applications/quorvel.desktop
grep -qx 'Exec=quorvel %f' "$desktop" || fail "desktop entry: Exec"
grep -qx 'Icon=quorvel' "$desktop" || fail "desktop entry: Icon"
grep -q '^MimeType=.*application/x-quorvel-project;' "$desktop" || fail "desktop entry: project type"
grep -q '^MimeType=.*application/x-quorvel-session;' "$desktop" || fail "desktop entry: session type"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$desktop" || fail "desktop-file-validate"
fi

mime=$prefix/share/mime
[[ -f $mime/packages/quorvel.xml ]] || fail "share/mime/packages/quorvel.xml is missing"
if command -v update-mime-database >/dev/null; then
  # Builds the MIME cache of the scratch tree only, as a package trigger does for /usr.
  if XDG_DATA_DIRS=$prefix/share update-mime-database "$mime" 2>"$root/mime.log" && [[ ! -s $root/mime.log ]]; then
    grep -q 'application/x-quorvel-project:\*\.qvc$' "$mime/globs2" || fail "no *.qvc glob in the MIME cache"
    grep -q 'application/x-quorvel-session:\*\.qvs$' "$mime/globs2" || fail "no *.qvs glob in the MIME cache"
    grep -qx 'application/x-quorvel-session text/plain' "$mime/subclasses" || fail "a session is not text"
  else
    fail "update-mime-database: $(cat "$root/mime.log")"
  fi
fi

icons=$prefix/share/icons/hicolor
[[ -s $icons/scalable/apps/quorvel.svg ]] || fail "scalable icon is missing"
if command -v xmllint >/dev/null; then
  xmllint --noout "$icons/scalable/apps/quorvel.svg" "$mime/packages/quorvel.xml" || fail "xmllint"
fi
if [[ $png == png ]]; then
  # Width and height are the big-endian words at bytes 16 and 20 of a PNG.
  size=$(od -An -tu1 -j16 -N8 "$icons/48x48/apps/quorvel.png" | tr -s ' ' | sed 's/^ //')
  [[ $size == "0 0 0 48 0 0 0 48" ]] || fail "48x48 icon measures '$size'"
fi

if ((failures)); then
  echo "$failures check(s) failed"
  exit 1
fi
echo "install layout: all checks passed"
