#!/usr/bin/env bash
# The main job: install what is missing, build, and run the corvid command.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
scripts/build.sh release
build/release/tools/corvid/corvid --version
