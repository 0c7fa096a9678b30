#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, the codec with the number conversions and answers by rule, and
# runs each for half of a bounded time: 30 seconds in all unless a number of seconds is given. What they
# find lands in build/fuzz, named after the target.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
seconds="${1:-30}"
out="build/fuzz"
[ -f "$out/build.ninja" ] ||
    cmake -S fuzz -B "$out" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$out"

# fuzz TARGET SECONDS TIMEOUT QUARANTINE_MB: one target on its own corpus.
fuzz() {
    mkdir -p "$out/corpus_$1"
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" ASAN_OPTIONS="quarantine_size_mb=$4" \
        "$out/fuzz_$1" -max_total_time="$2" -max_len=4096 -timeout="$3" -rss_limit_mb=2048 \
        -artifact_prefix="$out/$1-" -print_final_stats=1 "$out/corpus_$1"
}

half=$(((seconds + 1) / 2))
rest=$((seconds - half > 0 ? seconds - half : 1))
echo "== fuzzing the codec and the number conversions for $half s =="
fuzz codec "$half" 10 64
# One input that takes over a second is a finding: the rules must stay fast on anything that arrives.
# Each regex try allocates 20 KiB in PCRE2; a small quarantine keeps those from being fresh pages each
# time, which would cost the sanitized run more than the try itself.
echo "== fuzzing answers by rule for $rest s =="
fuzz answers "$rest" 1 4
