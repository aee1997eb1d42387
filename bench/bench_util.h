// Benchmark helpers: every benchmark reports, per call of the measured
// function, wall-clock nanoseconds ("ns") and time-stamp-counter ticks
// ("ticks"), as the checkasm tools of the open-source codecs do, and the
// fewest ticks per call seen over one batch of calls ("min_ticks"): on a
// shared host the mean follows the neighbours' load, the minimum follows the
// code.
//
//   static void BM_Foo(benchmark::State& st) {
//       ... set up inputs ...
//       mox::bench::measure(st, [&] { moxiFoo(...); });
//   }
//
// Each benchmark iteration times kRepeat rounds of kUnroll unrolled calls,
// so that the loop's own overhead stays out of the per-call figures and the
// time-stamp counter's step, which on some hosts is tens of ticks, adds at
// most a fraction of a tick to "min_ticks".
#pragma once

#include <benchmark/benchmark.h>
#include <x86intrin.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <vector>

namespace mox::bench {

constexpr int kUnroll = 16;
constexpr int kRepeat = 8;
constexpr int kCallsPerIteration = kUnroll * kRepeat;

template <class F>
void measure(benchmark::State& st, F&& f) {
    auto t0 = std::chrono::steady_clock::now();
    uint64_t c0 = __rdtsc();
    uint64_t best = UINT64_MAX;
    for (auto _ : st) {
        uint64_t b0 = __rdtsc();
        for (int r = 0; r < kRepeat; ++r) {
#pragma GCC unroll 16
            for (int i = 0; i < kUnroll; ++i) f();
        }
        benchmark::ClobberMemory();
        uint64_t b1 = __rdtsc();
        if (b1 - b0 < best) best = b1 - b0;
    }
    uint64_t c1 = __rdtsc();
    auto t1 = std::chrono::steady_clock::now();
    double calls = static_cast<double>(st.iterations()) * kCallsPerIteration;
    if (calls > 0) {
        st.counters["ns"] = std::chrono::duration<double, std::nano>(t1 - t0).count() / calls;
        st.counters["ticks"] = static_cast<double>(c1 - c0) / calls;
        st.counters["min_ticks"] = static_cast<double>(best) / kCallsPerIteration;
    }
}

// Filter benchmarks call their kernel on kAreas identical areas in turn,
// each a macroblock apart, visiting them in steps of three so that two
// successive calls never share samples: repeating the call on one area
// makes each call's narrow stores stall the next call's wide loads of the
// same bytes (store-to-load forwarding), which a decoder, filtering the
// edges of successive blocks, does not see. f gets the area's index.
constexpr int kAreas = 8;

template <class F>
void measureRotating(benchmark::State& st, F&& f) {
    static_assert(kUnroll % kAreas == 0, "every batch visits every area equally often");
    int k = 0;
    measure(st, [&] {
        f(k);
        k = (k + 3) & (kAreas - 1);
    });
}

// A buffer of random bytes (fixed seed) to take source and reference blocks from.
template <class T = uint8_t>
std::vector<T> randomBuffer(size_t n, int maxValue = 255, uint32_t seed = 1) {
    std::mt19937 g(seed);
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(g() % (static_cast<uint32_t>(maxValue) + 1));
    return v;
}

}  // namespace mox::bench
