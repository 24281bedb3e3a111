#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test twice: once in an
# optimised build and once under AddressSanitizer and UndefinedBehaviorSanitizer;
# then replays every fuzz target over its saved corpus and regressions.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh

export CORVID_SHARED=${CORVID_SHARED:-$(cd .. && pwd)/shared}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}

for flavour in release sanitize; do
  echo "== $flavour build"
  scripts/build.sh "$flavour"
  echo "== $flavour tests"
  ctest --test-dir "build/$flavour" --output-on-failure -j "$(nproc)"
done

echo "== fuzz targets over their corpora"
scripts/fuzz.sh replay
