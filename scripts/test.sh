#!/usr/bin/env bash
# Sets up, builds and runs every test. With --asan the same tests run again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
presets=(default)
[ "${1:-}" = "--asan" ] && presets+=(asan)
for preset in "${presets[@]}"; do
    scripts/build.sh "$preset"
    echo "== tests ($preset) =="
    ASAN_OPTIONS="detect_leaks=1:abort_on_error=1" \
    LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
        ctest --test-dir "build/$preset" --output-on-failure -j2
done
