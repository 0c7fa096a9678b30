#!/usr/bin/env bash
# Installs the default build into a temporary prefix and checks it as a user would meet it: every file in
# its place, a valid desktop entry and metainfo, the command line without a display, and one start from a
# read-only copy in the home folder that writes nothing but its settings and its data folder.
# With --deb FILE it also checks that the package holds the same files under /usr and passes lintian.
set -euo pipefail
cd "$(dirname "$0")/.."
deb=""
if [ "${1:-}" = "--deb" ]; then
    deb=$(realpath "$2")
fi
scripts/build.sh default >/dev/null

work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
chmod 755 "$work"
prefix="$work/prefix"
cmake --install build/default --prefix "$prefix" >/dev/null

fail() {
    echo "check_install: $*" >&2
    exit 1
}

id=example.tarnix.TrafficSimulator
expected="bin/traffic_simulator
share/applications/$id.desktop
share/doc/tarnix-traffic-simulator/changelog.gz
share/doc/tarnix-traffic-simulator/copyright
share/icons/hicolor/16x16/apps/$id.png
share/icons/hicolor/256x256/apps/$id.png
share/icons/hicolor/32x32/apps/$id.png
share/icons/hicolor/48x48/apps/$id.png
share/icons/hicolor/scalable/apps/$id.svg
share/lintian/overrides/tarnix-traffic-simulator
share/man/man1/traffic_simulator.1.gz
share/metainfo/$id.metainfo.xml"
installed=$(cd "$prefix" && find . -type f | sed 's|^\./||' | LC_ALL=C sort)
[ "$installed" = "$expected" ] || fail "installed files differ:
$(diff <(echo "$expected") <(echo "$installed") || true)"
for size in 16 32 48 256; do
    # Width and height stand big-endian in the PNG header, from byte 16 on.
    read -r w1 w2 w3 w4 h1 h2 h3 h4 < <(od -An -tu1 -j16 -N8 "$prefix/share/icons/hicolor/${size}x${size}/apps/$id.png")
    [ $(((w1 << 24) + (w2 << 16) + (w3 << 8) + w4)) -eq "$size" ] &&
        [ $(((h1 << 24) + (h2 << 16) + (h3 << 8) + h4)) -eq "$size" ] || fail "the $size px icon is not $size by $size"
done
grep -q '^License: MIT' "$prefix/share/doc/tarnix-traffic-simulator/copyright" || fail "copyright names no MIT licence"
echo "installed files: all $(echo "$installed" | wc -l) in place"

if [ -n "$deb" ]; then
    packed=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sed 's|^\./usr/||' | LC_ALL=C sort)
    [ "$packed" = "$expected" ] || fail "the package's files differ from the install rules:
$(diff <(echo "$expected") <(echo "$packed") || true)"
    # TLS runs on the system's OpenSSL: the package must pull in its runtime library.
    dpkg-deb -f "$deb" Depends | grep -q 'libssl3' || fail "the package does not depend on libssl3"
    status=0
    out=$(lintian --fail-on error,warning "$deb" 2>&1) || status=$?
    echo "$out" | grep -v 'running with root privileges' || true
    [ "$status" -eq 0 ] || fail "lintian"
    echo "package: the same files under /usr, depends on libssl3, lintian clean of errors and warnings"
fi

desktop-file-validate "$prefix/share/applications/$id.desktop" | grep -Ev ': hint: ' && fail "desktop entry"
appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml" >/dev/null || fail "metainfo"
echo "desktop entry and metainfo: valid"

# The command line with no display at all.
exe="$prefix/bin/traffic_simulator"
nodisplay=(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM)
[ "$("${nodisplay[@]}" "$exe" --version)" = "traffic_simulator 3.5.1" ] || fail "--version"
"${nodisplay[@]}" "$exe" --help | head -1 | grep -q '^Usage: traffic_simulator \[options\]$' || fail "--help"
status=0
"${nodisplay[@]}" "$exe" --no-such-option >/dev/null 2>"$work/err" || status=$?
[ "$status" -eq 2 ] || fail "an unknown option ended with $status, not 2"
grep -q "Unknown option 'no-such-option'" "$work/err" || fail "an unknown option is not named"
# A profile printed and a bad one refused, without a display, in folders of their own.
pp="$work/profile"
mkdir -p "$pp/home" "$pp/config" "$pp/data"
inpp=("${nodisplay[@]}" HOME="$pp/home" XDG_CONFIG_HOME="$pp/config" XDG_DATA_HOME="$pp/data")
(cd "$pp/home" && "${inpp[@]}" "$exe" --print-profile) | grep -qx 'opt_Server=true' || fail "--print-profile"
printf 'opt_Client=maybe\n' > "$pp/bad.ini"
status=0
(cd "$pp/home" && "${inpp[@]}" "$exe" --headless --profile "$pp/bad.ini" --start) 2>"$work/err" || status=$?
[ "$status" -eq 2 ] || fail "a bad profile ended with $status, not 2"
grep -q "bad.ini:1: opt_Client: " "$work/err" || fail "a bad profile is not named by file, line and key"
echo "command line: --version, --help, an unknown option, --print-profile and a bad profile as expected"

# One start from a read-only copy, in an empty home folder as a start from the menu leaves it, with the
# settings and data folders of its own. As root a read-only folder is still writable, so the program runs
# as nobody there. It has nothing to dial until a button is pressed, and none is; timeout ends it.
cp -a "$prefix" "$work/ro"
chmod -R a-w "$work/ro"
mkdir -p "$work/home" "$work/config" "$work/data" "$work/cache" "$work/runtime"
chmod 700 "$work/runtime"
as_user=()
if [ "$(id -u)" -eq 0 ]; then
    chown nobody "$work/home" "$work/config" "$work/data" "$work/cache" "$work/runtime"
    as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
fi
before=$(cd "$work/ro" && find . | LC_ALL=C sort)
status=0
(cd "$work/home" && "${as_user[@]}" env HOME="$work/home" XDG_CONFIG_HOME="$work/config" \
    XDG_DATA_HOME="$work/data" XDG_CACHE_HOME="$work/cache" XDG_RUNTIME_DIR="$work/runtime" \
    QT_QPA_PLATFORM=offscreen timeout 5 "$work/ro/bin/traffic_simulator") || status=$?
[ "$status" -eq 124 ] || fail "the window ended with $status before the time-out"
[ "$(cd "$work/ro" && find . | LC_ALL=C sort)" = "$before" ] || fail "something was written next to the binary"
[ -z "$(ls -A "$work/home")" ] || fail "the home folder is not left empty: $(ls -A "$work/home")"
[ -f "$work/config/TK7300_SIMUL/Simulator.conf" ] || fail "no settings were saved"
data="$work/data/TK7300_SIMUL/Simulator"
# Error reports and the daily log need a socket event, which needs a button; the unit tests of the folder
# rule show that both go to this folder, which the program makes at start for the default log file.
[ -d "$data" ] || fail "the data folder for error reports and the daily log was not made"
[ -z "$(ls -A "$data")" ] || fail "the data folder holds files after a start with nothing done: $(ls -A "$data")"
echo "read-only start in the home folder: settings saved under XDG_CONFIG_HOME, the folder for error"
echo "reports and the daily log made under XDG_DATA_HOME, nothing next to the binary or in the home folder"
