// The floors under the per-call figures: a call into the shared library that
// fails its first check and returns at once, and the stores alone of a block
// (one 16-byte store per row of 16 samples, one 8-byte store per row of 8),
// which no predictor, interpolator or weighting kernel of that size can beat
// on a core that writes 16 bytes a cycle, whether by vector or scalar stores.
#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "bench_util.h"
#include "moxvc.h"

static void BM_CallOverhead(benchmark::State& st) {
    mox::bench::measure(st, [] { moxiSub4x4_8u16s_C1R(nullptr, 0, nullptr, 0, nullptr, 0); });
}
BENCHMARK(BM_CallOverhead)->Name("CallOverhead");

namespace {

// Stores rows of W bytes (8 or 16) of one value; out of line, as a kernel is,
// and opaque to the caller, so that no call can be dropped as redundant.
template <int W, int H>
[[gnu::noipa]] void storeRows(uint8_t* p, std::ptrdiff_t step, __m128i v) {
#pragma GCC unroll 16
    for (int y = 0; y < H; ++y, p += step) {
        if constexpr (W == 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
        else _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    }
}

template <int W, int H>
void BM_StoreFloor(benchmark::State& st) {
    alignas(64) uint8_t block[64 * H] = {};
    const __m128i v = _mm_set1_epi8(static_cast<char>(W));
    mox::bench::measure(st, [&] { storeRows<W, H>(block, 64, v); });
}

}  // namespace

BENCHMARK(BM_StoreFloor<16, 16>)->Name("StoreFloor/16x16");
BENCHMARK(BM_StoreFloor<8, 8>)->Name("StoreFloor/8x8");
