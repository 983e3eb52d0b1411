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

if ((failures)); then
  echo "$failures check(s) failed"
  exit 1
fi
echo "debian package: all checks passed"
