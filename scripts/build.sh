#!/usr/bin/env bash
# Configures and builds one flavour of the project into build/<flavour>.
#   scripts/build.sh release      optimised build with tests and benchmarks
#   scripts/build.sh sanitize     tests under AddressSanitizer and UBSan
#   scripts/build.sh packaged     the library and command in the Release
#                                 configuration (-O3) a packager builds, warnings
#                                 as errors
# Targets named after the flavour are the only ones built.
set -euo pipefail
cd "$(dirname "$0")/.."

flavour=${1:-release}
shift || true
targets=()
for t in "$@"; do targets+=(--target "$t"); done
case "$flavour" in
  release)  args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVID5_WERROR=ON) ;;
  sanitize) args=(-DCMAKE_BUILD_TYPE=Debug -DCORVID5_SANITIZE=ON -DCORVID5_BUILD_BENCH=OFF
                  -DCORVID5_WERROR=ON) ;;
  packaged) args=(-DCMAKE_BUILD_TYPE=Release -DCORVID5_BUILD_TESTS=OFF -DCORVID5_BUILD_BENCH=OFF
                  -DCORVID5_WERROR=ON) ;;
  *) echo "usage: scripts/build.sh [release|sanitize|packaged] [TARGET]..." >&2; exit 2 ;;
esac

cmake -S . -B "build/$flavour" -G Ninja "${args[@]}" >/dev/null
cmake --build "build/$flavour" -j "$(nproc)" "${targets[@]}"
