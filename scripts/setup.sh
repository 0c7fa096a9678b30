#!/usr/bin/env bash
# Installs the Debian packages the simulator, its tests, its benchmarks and its package need; skips what
# is there.
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config
    qt6-base-dev qt6-base-private-dev libgl-dev libssl-dev openssl
    libgtest-dev
    xvfb xauth imagemagick fonts-liberation
    socat clang-format clang-tidy jq python3-junitparser
    librsvg2-bin desktop-file-utils appstream dpkg-dev lintian
    clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
