#!/usr/bin/env bash
# Installs the Debian 12 packages that building, testing and running need, if any is missing.
set -euo pipefail
packages=(cmake ninja-build g++ pkg-config python3 ccache
          qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-tools-dev qt6-l10n-tools
          qt6-image-formats-plugins libgl-dev libxkbcommon-dev fonts-dejavu-core xvfb "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
