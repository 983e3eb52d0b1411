#!/usr/bin/env bash
# Builds the Debian package of a build into a scratch folder and checks its
# control fields and contents.
#   check-deb.sh BUILD_DIR APPDIR gui|nogui
set -uo pipefail
build=$1 appdir=$2 gui=$3
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$out" >"$out/cpack.log" 2>&1 || { cat "$out/cpack.log"; exit 1; }
debs=("$out"/quorvel_*.deb)
[[ -f ${debs[0]} ]] || { echo "no package made"; ls "$out"; exit 1; }
deb=${debs[0]}

field() { dpkg-deb -f "$deb" "$1"; }
[[ $(field Package) == quorvel ]] || fail "Package: $(field Package)"
[[ $(field Architecture) == "$(dpkg --print-architecture)" ]] || fail "Architecture: $(field Architecture)"
depends=$(field Depends)
# Package names in Depends, without versions, one a line.
names=$(tr ',' '\n' <<<"$depends" | sed 's/(.*//; s/[[:space:]]//g')
needed=(libc6 libstdc++6)
[[ $gui == gui ]] && needed+=(libqt6widgets6)
for name in "${needed[@]}"; do
  grep -qxF "$name" <<<"$names" || fail "Depends lacks $name: $depends"
done
[[ -z $(sort <<<"$names" | uniq -d) ]] || fail "Depends names a package twice: $depends"
[[ -n $(field Maintainer) && -n $(field Description) ]] || fail "Maintainer or Description is empty"

# Paths as dpkg lists them, with link targets after "->".
dpkg-deb -c "$deb" | awk '{ $1 = $2 = $3 = $4 = $5 = ""; sub(/^ +/, ""); print }' >"$out/contents"
link=$(realpath -m --relative-to=/usr/bin "/usr/$appdir")
expect=(
  "./usr/bin/quorvel -> $link/quorvel"
  "./usr/bin/quorvel-cli -> $link/quorvel-cli"
  "./usr/$appdir/quorvel"
  "./usr/$appdir/quorvel-cli"
  "./usr/$appdir/Coriolis.qvc"
  "./usr/$appdir/Coriolis.qvs"
  "./usr/$appdir/Draventa.url"
  "./usr/share/applications/quorvel.desktop"
  "./usr/share/mime/packages/quorvel.xml"
  "./usr/share/icons/hicolor/scalable/apps/quorvel.svg"
)
[[ $gui == gui ]] && expect+=("./usr/$appdir/QuickStart.pdf")
for path in "${expect[@]}"; do
  grep -qxF -- "$path" "$out/contents" || fail "package lacks $path"
done
# Nothing of the build's own tools or tests goes into the package.
grep -E 'mdpdf|_tests|\.a$|/include/' "$out/contents" && fail "package holds build-only files"
# Directories are 0755 and owned by root, as dpkg expects.
dpkg-deb -c "$deb" | awk '$1 ~ /^d/ && ($1 != "drwxr-xr-x" || $2 != "root/root") { print; bad = 1 } END { exit bad }' ||
  fail "directory with other permissions or owner"

# The programs are stripped.
dpkg-deb -x "$deb" "$out/root"
for program in quorvel quorvel-cli; do
  [[ -e $out/root/usr/$appdir/$program ]] || continue
  readelf -S "$out/root/usr/$appdir/$program" | grep -qE '\.symtab|\.debug_info' && fail "$program is not stripped"
done

# The maintainer scripts refresh the caches a file manager reads, and still
# succeed where a tool is missing. They run here against stand-in tools that
# log their arguments, so no root install is needed.
dpkg-deb -e "$deb" "$out/control"
mkdir -p "$out/tools"
for tool in update-mime-database update-desktop-database gtk-update-icon-cache; do
  printf '#!/bin/sh\necho "%s $*" >>"%s"\n' "$tool" "$out/calls" >"$out/tools/$tool"
  chmod +x "$out/tools/$tool"
done
for script in postinst:configure postrm:remove; do
  name=${script%%:*} action=${script#*:}
  [[ -x $out/control/$name ]] || { fail "package has no executable $name"; continue; }
  : >"$out/calls"
  PATH=$out/tools:/usr/bin:/bin sh "$out/control/$name" "$action" || fail "$name $action failed"
  for call in "update-mime-database /usr/share/mime" "update-desktop-database -q /usr/share/applications" \
    "gtk-update-icon-cache -q -t -f /usr/share/icons/hicolor"; do
    grep -qxF "$call" "$out/calls" || fail "$name $action does not run: $call"
  done
  mkdir -p "$out/empty"
  PATH=$out/empty /bin/sh "$out/control/$name" "$action" || fail "$name $action fails without the tools"
done

if ((failures)); then
  echo "$failures check(s) failed"
  exit 1
fi
echo "debian package: all checks passed"
