#!/usr/bin/env bash
# Configures and builds one preset: default (the default) or asan.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-default}"
[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
