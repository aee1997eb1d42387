#!/usr/bin/env bash
# Decoding speed of the example H.264 decoder on the bundled 720p Baseline
# clip (45 frames, decoded four times over), single-threaded, next to FFmpeg's (when installed) on the same clip.
#   scripts/h264_speed.sh [RUNS]    best of RUNS (default 5) for each decoder
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/deps.sh"   # the build tools, on a fresh machine
build="${BUILD_DIR:-$here/build-demo}"
runs="${1:-5}"
# The bundled clip four times over (each copy starts with an IDR picture), so
# that process start-up weighs little in either decoder's time.
clip="$(mktemp --suffix=.264)"
trap 'rm -f "$clip"' EXIT
for _ in 1 2 3 4; do cat "$here/tests/data/h264/speed_720p.264"; done > "$clip"

# BUILD_DIR: an existing release build to use instead of a fresh one.
if [ -z "${BUILD_DIR:-}" ]; then
  cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release -DMOXVC_TESTS=OFF -DMOXVC_BENCH=OFF >/dev/null
fi
cmake --build "$build" -j"$(nproc)" --target h264dec_cli >/dev/null

frames=$("$build/examples/h264dec" "$clip" /dev/null 2>&1 | sed -n 's/^h264dec: \([0-9]*\) frames.*/\1/p')

# best_time COMMAND...: the least user+system CPU time of $runs runs, in seconds.
best_time() {
  local best="" t tf
  tf="$(mktemp)"
  for _ in $(seq "$runs"); do
    /usr/bin/time -f "%U %S" -o "$tf" "$@" >/dev/null 2>&1
    t=$(awk '{print $1 + $2}' "$tf")
    if [ -z "$best" ] || awk "BEGIN{exit !($t < $best)}"; then best="$t"; fi
  done
  rm -f "$tf"
  echo "$best"
}

ours=$(best_time "$build/examples/h264dec" -q "$clip" /dev/null)
printf "h264dec (moxvc):      %d frames, %6.3f s CPU, %7.1f fps\n" "$frames" "$ours" "$(awk "BEGIN{print $frames / $ours}")"
if command -v ffmpeg >/dev/null; then
  theirs=$(best_time ffmpeg -v error -threads 1 -i "$clip" -f null -)
  printf "ffmpeg -threads 1:    %d frames, %6.3f s CPU, %7.1f fps\n" "$frames" "$theirs" "$(awk "BEGIN{print $frames / $theirs}")"
  printf "speed relative to FFmpeg: %.2f\n" "$(awk "BEGIN{print $theirs / $ours}")"
else
  echo "ffmpeg not installed: no comparison"
fi
