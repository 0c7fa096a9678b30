#!/usr/bin/env bash
# Checks the formatting of every C++ file, runs clang-tidy over the sources of the program and validates
# the desktop entry and the AppStream metainfo.
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

# Warnings fail too; hints (such as one about categories) do not.
data=build/default/data
out=$(desktop-file-validate "$data"/*.desktop 2>&1 | grep -Ev ': hint: ' || true)
if [ -n "$out" ]; then
    echo "$out"
    exit 1
fi
echo "desktop-file-validate: clean"
appstreamcli validate --no-net --explain "$data"/*.metainfo.xml >/dev/null || {
    appstreamcli validate --no-net --explain "$data"/*.metainfo.xml
    exit 1
}
echo "appstreamcli validate: clean"
