#!/usr/bin/env bash
# Sets up, builds and starts the simulator. With no display it runs on a virtual one (Xvfb) and saves a
# screenshot of the window; SIM_HEADLESS_SECONDS ends such a run after that many seconds.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default
exe="$PWD/build/default/src/traffic_simulator"
# The daily log goes under the working folder: keep it beside the program, out of the sources.
cd "$(dirname "$exe")"

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
    exec "$exe"
fi

echo "No display found: running the window on a virtual display (Xvfb)."
shot="$(cd ../.. && pwd)/screenshot.png"
export SIM_EXE="$exe" SIM_SHOT="$shot" SIM_SECONDS="${SIM_HEADLESS_SECONDS:-}"
xvfb-run -a -s "-screen 0 1024x768x24 -dpi 96" bash -c '
    "$SIM_EXE" &
    pid=$!
    sleep 3
    # The window opens centred; it is found by its title.
    import -window "Tarnix Simulator Ver3.5.1 (2011/06/08)" "$SIM_SHOT"
    echo "Screenshot of the window: $SIM_SHOT"
    if [ -n "$SIM_SECONDS" ]; then
        sleep "$SIM_SECONDS"
        kill "$pid"
    fi
    wait "$pid" || true
'
