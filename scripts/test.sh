#!/usr/bin/env bash
# Builds the library and runs every test.
#   scripts/test.sh              release build (build/release)
#   scripts/test.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer (build/sanitize)
#   --werror                     treat compiler warnings as errors
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
mode=release
flags=(-DCMAKE_BUILD_TYPE=Release)
for a in "$@"; do
  case "$a" in
    --sanitize)
      # clang, so that the libFuzzer targets build and run as smoke tests too
      mode=sanitize
      export CC=clang CXX=clang++
      flags+=(-DMOXVC_SANITIZE=ON -DMOXVC_FUZZ=ON -DMOXVC_BENCH=OFF) ;;
    --werror) flags+=(-DMOXVC_WERROR=ON) ;;
    *) echo "unknown option $a" >&2; exit 2 ;;
  esac
done
dir=build/$mode
cmake -S . -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
