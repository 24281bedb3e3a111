#!/usr/bin/env bash
# Installs a build into a temporary prefix, as a client would find it, and
# builds the example program against the installed package twice: through
# find_package(Corvid5) and through pkg-config. Both run against a small
# database that the installed corvid command makes from WordNet 3.0.
#   scripts/install-check.sh [BUILD_DIR]      (default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/release}
wordnet=${CORVID_WORDNET:-/usr/share/wordnet}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() { echo "install-check: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

# The library under its soname, with the development link beside it.
library=$(find "$prefix" -name 'libcorvid5.so.*.*.*' -print -quit)
[ -n "$library" ] || fail "no versioned libcorvid5.so installed"
libdir=$(dirname "$library")
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = libcorvid5.so.0 ] || fail "soname is '$soname', not libcorvid5.so.0"
[ -L "$libdir/$soname" ] && [ -L "$libdir/libcorvid5.so" ] || fail "soname or development link missing"
[ -f "$prefix/include/corvid5/corvid5.h" ] || fail "public headers missing"
[ -f "$libdir/cmake/Corvid5/Corvid5ConfigVersion.cmake" ] || fail "CMake package version file missing"

# A WordNet of the synsets of "dog" only, their pointers dropped (they lead
# out of it); the index files are WordNet's own.
small=$work/wordnet
mkdir -p "$small"
for pos in noun verb adj adv; do
  ln -s "$wordnet/index.$pos" "$small/index.$pos"
  offsets=$(awk '$1 == "dog" { for (i = NF - $3 + 1; i <= NF; i++) print $i }' "$wordnet/index.$pos")
  awk -v keep="$offsets" '
    function hex(s,  v, i) {
      v = 0
      for (i = 1; i <= length(s); i++) v = v * 16 + index("0123456789abcdef", substr(s, i, 1)) - 1
      return v
    }
    BEGIN { n = split(keep, k, "\n"); for (i = 1; i <= n; i++) wanted[k[i]] = 1 }
    /^ / { print; next }  # the licence, which every data file keeps
    $1 in wanted {
      bar = index($0, " | ")
      nf = split(substr($0, 1, bar - 1), f, " ")
      at = 5 + 2 * hex(f[4])
      line = ""
      for (i = 1; i < at; i++) line = line f[i] " "
      line = line "000"
      for (i = at + 1 + 4 * f[at]; i <= nf; i++) line = line " " f[i]
      print line substr($0, bar)
    }' "$wordnet/data.$pos" > "$small/data.$pos"
done
# The installed command finds its library without help.
"$prefix/bin/corvid" build "$work/dog.db" --wordnet "$small" >/dev/null 2>&1 ||
  fail "the installed corvid command could not build a database"

expect_dog() {
  local out
  out=$("$@" "$work/dog.db" dog) || fail "$1 failed"
  grep -q '^n 02084071  dog, domestic dog, Canis familiaris$' <<<"$out" ||
    fail "$1 did not print the first sense of dog: $out"
  [ "$(grep -c '^[nv] [0-9]\{8\}  ' <<<"$out")" -eq 8 ] || fail "$1 did not print 8 meanings: $out"
  sed -n 1,2p <<<"$out"
}

echo "find_package(Corvid5):"
cmake -S examples/lookup -B "$work/example" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/example" >/dev/null
expect_dog "$work/example/corvid-lookup"

echo "pkg-config corvid5:"
export PKG_CONFIG_PATH=$libdir/pkgconfig
[ "$(pkg-config --modversion corvid5)" = "$(sed -n 's/^project(Corvid5 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)" ] ||
  fail "pkg-config reports another version"
# shellcheck disable=SC2046  # the flags are separate words
c++ -std=c++17 -Wall -Wextra -Wpedantic -Werror examples/lookup/lookup.cpp \
  $(pkg-config --cflags --libs corvid5) -o "$work/corvid-lookup"
LD_LIBRARY_PATH=$libdir expect_dog "$work/corvid-lookup"
echo "installed package: both builds of the example work"
