#!/usr/bin/env bash
# Builds the Debian package in a fresh build tree, with Debian's hardening flags, and prints its path
# (the build's own output goes to standard error).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh >&2
rm -rf build/package
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
CXXFLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
LDFLAGS="$(dpkg-buildflags --get LDFLAGS)"
export CXXFLAGS LDFLAGS
cmake --preset package >/dev/null
cmake --build --preset package >&2
(cd build/package && cpack >/dev/null)
ls "$PWD"/build/package/*.deb
