#!/usr/bin/env bash
# The main job: install what is missing, build, make a multilingual database
# from WordNet 3.0 (and from the OMW wordnets in the shared data folder, when
# it is there) into build/polylex.db, and show what it holds.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
scripts/build.sh release

corvid=build/release/tools/corvid/corvid
"$corvid" --version

shared=${CORVID_SHARED:-$(cd .. && pwd)/shared}
omw=()
if [ -d "$shared/data/omw" ]; then
  omw=(--omw "$shared/data/omw")
fi
"$corvid" build build/polylex.db --force "${omw[@]}"
"$corvid" info --db build/polylex.db
