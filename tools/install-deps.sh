#!/usr/bin/env bash
# Installs the Debian packages listed in tools/debian-packages.txt that are not
# installed yet, as root or through sudo.
set -euo pipefail
list="$(dirname "$0")/debian-packages.txt"
missing=()
while read -r pkg; do
  [[ -z "$pkg" || "$pkg" == \#* ]] && continue
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done < <(sed 's/#.*//; s/[[:space:]]//g' "$list")

if [[ ${#missing[@]} -eq 0 ]]; then
  echo "deps: all packages present"
  exit 0
fi
echo "deps: installing ${missing[*]}"
if [[ $(id -u) -eq 0 ]]; then sudo=(); else sudo=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
