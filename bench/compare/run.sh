#!/usr/bin/env bash
# Compares Corvid5 with the wordnet libraries people use today, doing the same
# work on the same words: every meaning of each of the first 20,000 entries of
# WordNet 3.0's noun index, with the literals of each meaning. Prints a
# markdown table (also left in build/compare/table.md).
#
#   bench/compare/run.sh
#
# Installs what is missing (the project's build packages, python3-nltk,
# wordnet-dev), builds the release flavour, and makes two databases under
# build/compare when they are not there: English alone, and English with the
# wordnets of the shared data folder (CORVID_SHARED, by default ../shared
# beside the clone) for the translation row, which is left out without them.
# Each peer runs RUNS times (3 unless set); the table shows the run with the
# fastest first pass.
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD

shared=${CORVID_SHARED:-$(cd .. && pwd)/shared}
wordnet=/usr/share/wordnet
work=$root/build/compare
words=$work/words.txt
word_count=20000
hot_cache_kb=65535
runs=${RUNS:-3}

install_missing() {
  local missing=()
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}" >&2
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
  fi
}

# The first entries of the noun index, past the licence lines that open it.
# (awk stops by itself: a pipe into head would end in SIGPIPE, which
# pipefail counts as a failure.)
make_words() {
  awk -v n="$word_count" '!/^ / { print $1; if (++taken == n) exit }' "$wordnet/index.noun" > "$words.tmp"
  mv "$words.tmp" "$words"
}

make_database() {
  local out=$1
  shift
  [ -f "$out" ] || build/release/tools/corvid/corvid build "$out" "$@" >&2
}

# The value of one `name value` line a peer printed.
field() { awk -v name="$2" '$1 == name { print $2 }' "$work/$1.out"; }

# Thousands grouped, as the tables in the README write them.
count() { echo "$1" | sed -E ':a;s/([0-9])([0-9]{3})($|,)/\1,\2\3/;ta'; }

# Two decimals below 1, one above.
decimal() { awk -v v="$1" 'BEGIN { printf(v < 1 ? "%.2f" : "%.1f", v) }'; }

row() {
  local peer=$1 name=$2
  printf '| %s | %s ms | %s | %s | %s | %s |\n' "$name" \
    "$(decimal "$(field "$peer" open_to_first_answer_ms)")" \
    "$(decimal "$(field "$peer" first_pass_us)")" "$(decimal "$(field "$peer" second_pass_us)")" \
    "$(count "$(field "$peer" meanings)")" "$(count "$(field "$peer" literals)")"
}

version() { dpkg-query -W -f='${Version}' "$1"; }

# Runs a peer's command `runs` times and keeps, as $work/PEER.out, the output
# of the run whose first pass was fastest.
measure() {
  local peer=$1 best=
  shift
  echo "$peer..." >&2
  for i in $(seq "$runs"); do
    "$@" > "$work/$peer.run$i.out"
    if [ -z "$best" ] || awk -v a="$(field "$peer.run$i" first_pass_us)" \
        -v b="$(field "$peer.run$best" first_pass_us)" 'BEGIN { exit !(a < b) }'; then
      best=$i
    fi
  done
  cp "$work/$peer.run$best.out" "$work/$peer.out"
}

scripts/deps.sh >&2
install_missing python3-nltk wordnet-dev
scripts/build.sh release corvid compare_corvid >&2
mkdir -p "$work"
[ -s "$words" ] || make_words
make_database "$work/english.db" --wordnet "$wordnet"
translation=0
if [ -d "$shared/data/omw" ]; then
  make_database "$work/polylex.db" --wordnet "$wordnet" --omw "$shared/data/omw"
  translation=1
fi
cc -std=c11 -O2 -Wall -Wextra -Wpedantic -Werror -o "$work/wordnet_lookup" \
  bench/compare/wordnet_lookup.c -lwordnet

# The files every peer reads go into the system's page cache first, so that
# no peer pays for the disk.
cat "$wordnet"/* "$work"/*.db > /dev/null 2>&1 || true

corvid=build/release/bench/compare_corvid
measure nltk /usr/bin/python3 bench/compare/nltk_lookup.py "$words" "$work/nltk-wordnet" "$wordnet"
measure wordnet "$work/wordnet_lookup" "$words"
measure corvid "$corvid" "$work/english.db" "$words"
measure corvid-hot "$corvid" "$work/english.db" "$words" --cache "$hot_cache_kb"
if [ "$translation" = 1 ]; then
  measure corvid-translate "$corvid" "$work/polylex.db" "$words" --cache "$hot_cache_kb" --translate
fi

{
  echo "| peer | open to first answer | µs a word, first pass | µs a word, second pass | meanings | literals |"
  echo "|---|---|---|---|---|---|"
  row nltk "NLTK $(version python3-nltk) WordNet reader"
  row wordnet "WordNet C library $(version wordnet-dev)"
  row corvid "Corvid5, default cache limit ($(field corvid cache_kb) KB)"
  row corvid-hot "Corvid5, cache limit $(count "$(field corvid-hot cache_kb)") KB"
  if [ "$translation" = 1 ]; then
    row corvid-translate \
      "Corvid5, translation into $(field corvid-translate languages) languages (cache limit $(count "$(field corvid-translate cache_kb)") KB)"
  fi
} > "$work/table.md"
cat "$work/table.md"
