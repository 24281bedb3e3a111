#!/usr/bin/env bash
# The main job: install what is missing, build, make a multilingual database
# from WordNet 3.0 (and from the OMW tab files under the folder given, else
# under the shared data folder when it is there) into build/polylex.db, show
# what it holds, and look up and translate a word in it.
#   scripts/main.sh [OMW_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
scripts/build.sh release

corvid=build/release/tools/corvid/corvid
"$corvid" --version

shared=${CORVID_SHARED:-$(cd .. && pwd)/shared}
omw=()
if [ $# -gt 0 ]; then
  omw=(--omw "$1")
elif [ -d "$shared/data/omw" ]; then
  omw=(--omw "$shared/data/omw")
fi
"$corvid" build build/polylex.db --force "${omw[@]}"
"$corvid" info --db build/polylex.db
"$corvid" --db build/polylex.db langs
"$corvid" --db build/polylex.db lookup dog --lang en
"$corvid" --db build/polylex.db translate dog --from en
