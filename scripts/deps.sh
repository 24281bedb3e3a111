#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and benchmarks with.
# Safe to run again: it only asks apt for what is missing.
set -euo pipefail

packages=(
  build-essential g++ cmake ninja-build pkg-config git
  libsqlite3-dev libicu-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  wordnet-base
  clang libclang-rt-dev
  valgrind
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
