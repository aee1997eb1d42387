#!/usr/bin/env bash
# Installs the Debian packages the build, tests and benchmarks need (only the
# missing ones; needs root or sudo when something is missing).
#   scripts/deps.sh --clip-tools   also x264, ffmpeg and python3, with which the
#                                  tests encode fresh H.264 clips and check the
#                                  example decoder against FFmpeg
set -euo pipefail
pkgs=(cmake make g++ clang libclang-rt-14-dev pkg-config libgtest-dev libbenchmark-dev)
[ "${1:-}" = "--clip-tools" ] && pkgs+=(x264 ffmpeg python3)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq "${missing[@]}"
fi
