#!/usr/bin/env bash
# Checks the formatting of every C++ file and runs clang-tidy over the sources of the program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh default >/dev/null
files=$(git ls-files '*.cpp' '*.h')
clang-format --dry-run --Werror $files
echo "clang-format: clean"
out=$(run-clang-tidy -quiet -p build/default '^(?!.*_autogen).*/src/' 2>/dev/null | grep -E 'warning:|error:' || true)
if [ -n "$out" ]; then
    echo "$out"
    exit 1
fi
echo "clang-tidy: clean"
