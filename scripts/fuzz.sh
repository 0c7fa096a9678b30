#!/usr/bin/env bash
# Builds the libFuzzer target of the codec and the number conversions with clang, and runs it for a
# bounded time: 30 seconds unless a number of seconds is given. What it finds lands in build/fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
seconds="${1:-30}"
out="build/fuzz"
[ -f "$out/build.ninja" ] ||
    cmake -S fuzz -B "$out" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$out"
mkdir -p "$out/corpus"
echo "== fuzzing the codec and the number conversions for $seconds s =="
UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" ASAN_OPTIONS="quarantine_size_mb=64" \
    "$out/fuzz_codec" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
    -artifact_prefix="$out/" -print_final_stats=1 "$out/corpus"
