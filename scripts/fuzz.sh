#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build/fuzz and runs them.
#   scripts/fuzz.sh [replay]              every target over its corpus and its
#                                         regressions, once each (what CI runs)
#   scripts/fuzz.sh run <target> <secs>   fuzz one target, growing a working
#                                         corpus in build/fuzz/corpus/<target>
#   scripts/fuzz.sh merge <target>        minimise the working corpus into
#                                         tests/fuzz/corpus/<target>
#   scripts/fuzz.sh seeds                 first corpora from real data into
#                                         build/fuzz/seeds
# Targets: criteria record_codec record_dump wordnet omw database.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(criteria record_codec record_dump wordnet omw database)
build=build/fuzz
bin=$build/tests/fuzz
fuzz_dir=tests/fuzz

export CORVID_SHARED=${CORVID_SHARED:-$(cd .. && pwd)/shared}
# Databases come and go at every input: keep them in memory where possible.
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

# Inputs up to this many bytes: a database file of the corpus needs room.
max_len() {
  case "$1" in
    database) echo 131072 ;;
    wordnet|omw|record_dump) echo 65536 ;;
    *) echo 4096 ;;
  esac
}

configure_and_build() {
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCORVID5_FUZZ=ON -DCORVID5_WERROR=ON \
    -DCORVID5_BUILD_TESTS=OFF -DCORVID5_BUILD_BENCH=OFF >/dev/null
  cmake --build "$build" -j "$(nproc)"
}

known_target() {
  local t
  for t in "${targets[@]}"; do [ "$t" = "$1" ] && return 0; done
  echo "unknown target '$1'; targets: ${targets[*]}" >&2
  exit 2
}

replay() {
  local t dirs d log
  for t in "${targets[@]}"; do
    dirs=()
    for d in "$fuzz_dir/corpus/$t" "$fuzz_dir/regressions/$t"; do
      [ -d "$d" ] && [ -n "$(ls -A "$d")" ] && dirs+=("$d")
    done
    [ ${#dirs[@]} -eq 0 ] && { echo "== $t: no inputs"; continue; }
    log="$build/replay-$t.log"
    echo "== $t: $(find "${dirs[@]}" -type f | wc -l) inputs"
    if ! "$bin/fuzz_$t" -runs=0 -max_len="$(max_len "$t")" -rss_limit_mb=2048 "${dirs[@]}" \
      >"$log" 2>&1; then
      cat "$log" >&2
      echo "$t: failed on its corpus" >&2
      exit 1
    fi
    grep -E '^(#[0-9]+[[:space:]]+DONE|Done )' "$log" || true
  done
}

run() {
  local t=$1 seconds=$2 work="$build/corpus/$1"
  mkdir -p "$work" "$build/artifacts/$t"
  local seeds=()
  for d in "$fuzz_dir/corpus/$t" "$build/seeds/$t"; do [ -d "$d" ] && seeds+=("$d"); done
  "$bin/fuzz_$t" "$work" "${seeds[@]}" -max_total_time="$seconds" -max_len="$(max_len "$t")" \
    -rss_limit_mb=2048 -timeout=60 -print_final_stats=1 \
    -artifact_prefix="$build/artifacts/$t/"
}

# What the repository keeps of a target's corpus: inputs up to this many bytes
# and, for database files (a hundred kilobytes each), only a sample of them.
keep_len() {
  case "$1" in
    record_dump) echo 8192 ;;
    *) max_len "$1" ;;
  esac
}
keep_count() {
  case "$1" in
    database) echo 8 ;;
    *) echo 100000 ;;
  esac
}

merge() {
  local t=$1 into="$fuzz_dir/corpus/$1" pool d
  pool=$(mktemp -d)
  mkdir -p "$into"
  for d in "$into" "$build/corpus/$t" "$build/seeds/$t"; do
    [ -d "$d" ] && find "$d" -type f -size -"$(( $(keep_len "$t") + 1 ))"c -exec cp -t "$pool" {} +
  done
  rm -f "$into"/*
  "$bin/fuzz_$t" -merge=1 -max_len="$(max_len "$t")" -rss_limit_mb=2048 "$into" "$pool"
  rm -rf "$pool"
  find "$into" -type f | sort | tail -n +"$(( $(keep_count "$t") + 1 ))" | xargs -r rm -f
}

scripts/deps.sh
configure_and_build
case "${1:-replay}" in
  replay) replay ;;
  run) known_target "${2:?target}"; run "$2" "${3:?seconds}" ;;
  merge) known_target "${2:?target}"; merge "$2" ;;
  seeds) rm -rf "$build/seeds"; "$bin/make_seeds" "$build/seeds" ;;
  *) sed -n '2,12p' "$0" >&2; exit 2 ;;
esac
