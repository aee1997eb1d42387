#!/usr/bin/env bash
# Builds the library and the example H.264 decoder (release), decodes a
# bundled clip and checks the output against FFmpeg's recorded decode.
#   scripts/h264_demo.sh [CLIP]     (default: the bundled 720p clip tests/data/h264/speed_720p.264)
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/deps.sh"   # the build tools, on a fresh machine
build="${BUILD_DIR:-$here/build-demo}"
clip="${1:-$here/tests/data/h264/speed_720p.264}"

# BUILD_DIR: an existing release build to use instead of a fresh one.
if [ -z "${BUILD_DIR:-}" ]; then
  cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release -DMOXVC_TESTS=OFF -DMOXVC_BENCH=OFF >/dev/null
fi
cmake --build "$build" -j"$(nproc)" --target h264dec_cli >/dev/null

out="$(mktemp)"
trap 'rm -f "$out"' EXIT
echo "decoding $clip"
"$build/examples/h264dec" "$clip" "$out" 2>&1   # prints frames, time and frames per second

got="$(md5sum < "$out" | cut -d' ' -f1)"
want="$(grep " $(basename "$clip")\$" "$here/tests/data/h264/clips.md5" | cut -d' ' -f1 || true)"
if [ -z "$want" ]; then
  echo "no recorded FFmpeg MD5 for $(basename "$clip"); output MD5 $got"
elif [ "$got" = "$want" ]; then
  echo "output MD5 $got matches FFmpeg's decode"
else
  echo "output MD5 $got DIFFERS from FFmpeg's $want"
  exit 1
fi
