#!/usr/bin/env bash
# Installs what is missing, builds the plain Release configuration, and runs
# every test twice: once in an optimised build and once under AddressSanitizer
# and UndefinedBehaviorSanitizer.
# The optimised build is also installed into a temporary prefix, and an
# example program is built and run against the installed package. Last, every
# fuzz target replays its saved corpus and regressions.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh

export CORVID_SHARED=${CORVID_SHARED:-$(cd .. && pwd)/shared}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}

# The Release configuration a packager builds optimises harder than ours and
# has warned where ours did not: built here with warnings as errors.
echo "== packaged build"
scripts/build.sh packaged

for flavour in release sanitize; do
  echo "== $flavour build"
  scripts/build.sh "$flavour"
  echo "== $flavour tests"
  ctest --test-dir "build/$flavour" --output-on-failure -j "$(nproc)"
  if [ "$flavour" = release ]; then
    echo "== installed package"
    scripts/install-check.sh "build/$flavour"
  fi
done

echo "== fuzz targets over their corpora"
scripts/fuzz.sh replay
