#!/usr/bin/env bash
# Runs the test programs of the optimised build under valgrind's memcheck.
# Any memory error or leak fails the run, except the one leak that formatting
# a PLXException's message twice makes on purpose (tests/valgrind.supp).
# Far too slow for every change: run it by hand, with nice.
#
#   scripts/valgrind.sh                  every test program but the two that
#                                        build whole wordnets in process and
#                                        test_wordnets, whose walks of every
#                                        English word form take minutes even
#                                        without memcheck
#   scripts/valgrind.sh test_cursor ...  the named ones only
#
# The logs are left in build/release/valgrind/<program>.log.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
scripts/build.sh release >/dev/null

build=$PWD/build/release
logs=$build/valgrind
mkdir -p "$logs"
export CORVID_SHARED=${CORVID_SHARED:-$(cd .. && pwd)/shared}
export CORVID_TEST_TMP=$build/tests/tmp
# The tests that read the English database get one built beforehand by the
# optimised command: built under memcheck it would take the better part of
# an hour.
export CORVID_ENGLISH_DB=${CORVID_ENGLISH_DB:-$build/valgrind-english.db}
if [ ! -f "$CORVID_ENGLISH_DB" ]; then
  echo "== building the English database"
  "$build/tools/corvid/corvid" build "$CORVID_ENGLISH_DB" --wordnet "${CORVID_WORDNET:-/usr/share/wordnet}" >/dev/null
fi

# Likewise the database of English and every shared wordnet.
export CORVID_POLYLEX_DB=${CORVID_POLYLEX_DB:-$build/valgrind-polylex.db}
if [ ! -f "$CORVID_POLYLEX_DB" ]; then
  echo "== building the multilingual database"
  "$build/tools/corvid/corvid" build "$CORVID_POLYLEX_DB" --wordnet "${CORVID_WORDNET:-/usr/share/wordnet}" \
    --omw "$CORVID_SHARED/data/omw" >/dev/null
fi

if [ $# -gt 0 ]; then
  programs=("$@")
else
  programs=()
  for p in "$build"/tests/test_*; do
    case "$(basename "$p")" in
      test_build_english | test_build_omw | test_wordnets) ;;
      *) [ -x "$p" ] && programs+=("$(basename "$p")") ;;
    esac
  done
fi

run_one() {
  local name=$1
  if valgrind --tool=memcheck --error-exitcode=99 --leak-check=full \
      --errors-for-leak-kinds=definite,indirect,possible \
      --suppressions="$PWD/tests/valgrind.supp" --log-file="$logs/$name.log" \
      "$build/tests/$name" >"$logs/$name.out" 2>&1; then
    echo "ok      $name"
  else
    echo "FAILED  $name (exit $?): see $logs/$name.log and $name.out"
    return 1
  fi
}
export -f run_one
export build logs

echo "== memcheck: ${programs[*]}"
printf '%s\n' "${programs[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run_one "$1"' _ {}
