#!/usr/bin/env bash
# Builds the library in release mode and prints the benchmark summary: per
# call of every member, nanoseconds and time-stamp-counter ticks.
#   scripts/bench.sh [google-benchmark options, e.g. --benchmark_filter=SAD]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j"$(nproc)" --target moxvc_bench
build/release/bench/moxvc_bench --benchmark_min_time=0.05 --benchmark_counters_tabular=true "$@"
