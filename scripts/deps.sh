#!/usr/bin/env bash
# Installs the Debian packages the build needs, when any is missing. Run as root or with sudo.
set -euo pipefail
packages=(build-essential cmake pkg-config libgtest-dev libgmock-dev libbenchmark-dev
          libcli11-dev nlohmann-json3-dev liblua5.4-dev libjpeg-dev zlib1g-dev libsquish-dev libxxhash-dev
          libassimp-dev libpng-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}" >&2
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -q
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -q "${missing[@]}"
fi
