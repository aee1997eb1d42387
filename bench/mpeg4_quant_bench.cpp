// MPEG-4 and H.263 quantisation benchmarks: every member on full 8x8 blocks
// (last index 63) in place. Calls rotate over 16 blocks, as a decoder's
// calls follow each other on different blocks (calls on one block would
// measure the latency of each call waiting for the previous one's stores);
// the kernels take no data-dependent branches, so values that repeated
// quantisation drives to zero or to the clamps cost the same. Ticks per call
// include the call and its argument checks.
#include <array>
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

struct Block {
    std::vector<Mox16s> c;
    int next = 0;
    explicit Block(int maxValue) : c(16 * 64) {
        const auto v = mox::bench::randomBuffer<uint16_t>(c.size(), 2 * maxValue, 7);
        for (size_t k = 0; k < c.size(); ++k) c[k] = static_cast<Mox16s>(v[k] - maxValue);
    }
    Mox16s* data() { return c.data() + 64 * (next++ & 15); }
};

std::array<Mox8u, 64> matrix() {
    std::array<Mox8u, 64> m{};
    for (int k = 0; k < 64; ++k) m[k] = static_cast<Mox8u>(16 + (k >> 3) + (k & 7));
    return m;
}

struct Record {
    std::vector<Mox8u> mem;
    Record(MoxStatus (*size)(int*), MoxStatus (*init)(const Mox8u*, void*, int), bool withMatrix, int bitDepth) {
        int n = 0;
        size(&n);
        mem.resize(n);
        const auto m = matrix();
        init(withMatrix ? m.data() : nullptr, mem.data(), bitDepth);
    }
};

// ---------------------------------------------------------------- H.263
void BM_H263_QuantInter(benchmark::State& st) {
    Block b(2047);
    int n = 0;
    mox::bench::measure(st, [&] { moxiQuantInter_H263_16s_C1I(b.data(), 6, &n, 0); });
}
void BM_H263_QuantIntra(benchmark::State& st) {
    Block b(2047);
    int n = 0;
    mox::bench::measure(st, [&] { moxiQuantIntra_H263_16s_C1I(b.data(), 6, &n, static_cast<int>(st.range(0)), 0); });
}
void BM_H263_QuantInvInter(benchmark::State& st) {
    Block b(127);
    mox::bench::measure(st, [&] { moxiQuantInvInter_H263_16s_C1I(b.data(), 63, 10, 0); });
}
void BM_H263_QuantInvIntra(benchmark::State& st) {
    Block b(127);
    mox::bench::measure(st,
                        [&] { moxiQuantInvIntra_H263_16s_C1I(b.data(), 63, 10, static_cast<int>(st.range(0)), 0); });
}
BENCHMARK(BM_H263_QuantInter);
BENCHMARK(BM_H263_QuantIntra)->Arg(0)->Arg(1);
BENCHMARK(BM_H263_QuantInvInter);
BENCHMARK(BM_H263_QuantInvIntra)->Arg(0)->Arg(1);

// ---------------------------------------------------------------- MPEG-4 records
void BM_MPEG4_GetSizeInit(benchmark::State& st) {
    std::vector<Mox8u> mem(512);
    const auto m = matrix();
    mox::bench::measure(st, [&] {
        int n = 0;
        moxiQuantInvInterGetSize_MPEG4(&n);
        moxiQuantInvInterInit_MPEG4(m.data(), mem.data(), 8);
    });
}
void BM_MPEG4_QuantInitForward(benchmark::State& st) {
    std::vector<Mox8u> mem(512);
    const auto m = matrix();
    mox::bench::measure(st, [&] { moxiQuantInterInit_MPEG4(m.data(), mem.data(), 8); });
}
BENCHMARK(BM_MPEG4_GetSizeInit);
BENCHMARK(BM_MPEG4_QuantInitForward);

// ---------------------------------------------------------------- MPEG-4 workers: (matrix?, bit depth)
void BM_MPEG4_QuantInvIntra(benchmark::State& st) {
    Record r(moxiQuantInvIntraGetSize_MPEG4, moxiQuantInvIntraInit_MPEG4, st.range(0) != 0, static_cast<int>(st.range(1)));
    Block b(127);
    mox::bench::measure(st, [&] { moxiQuantInvIntra_MPEG4_16s_C1I(b.data(), 63, r.mem.data(), 10, 0); });
}
void BM_MPEG4_QuantInvInter(benchmark::State& st) {
    Record r(moxiQuantInvInterGetSize_MPEG4, moxiQuantInvInterInit_MPEG4, st.range(0) != 0, static_cast<int>(st.range(1)));
    Block b(127);
    mox::bench::measure(st, [&] { moxiQuantInvInter_MPEG4_16s_C1I(b.data(), 63, r.mem.data(), 10); });
}
void BM_MPEG4_QuantIntra(benchmark::State& st) {
    Record r(moxiQuantIntraGetSize_MPEG4, moxiQuantIntraInit_MPEG4, st.range(0) != 0, static_cast<int>(st.range(1)));
    Block b(2047);
    int n = 0;
    mox::bench::measure(st, [&] { moxiQuantIntra_MPEG4_16s_C1I(b.data(), r.mem.data(), 10, &n, 0); });
}
void BM_MPEG4_QuantInter(benchmark::State& st) {
    Record r(moxiQuantInterGetSize_MPEG4, moxiQuantInterInit_MPEG4, st.range(0) != 0, static_cast<int>(st.range(1)));
    Block b(2047);
    int n = 0;
    mox::bench::measure(st, [&] { moxiQuantInter_MPEG4_16s_C1I(b.data(), r.mem.data(), 10, &n); });
}
#define MOX_MPEG4_ARGS ->Args({1, 8})->Args({0, 8})->Args({1, 12})->Args({0, 12})
BENCHMARK(BM_MPEG4_QuantInvIntra) MOX_MPEG4_ARGS;
BENCHMARK(BM_MPEG4_QuantInvInter) MOX_MPEG4_ARGS;
BENCHMARK(BM_MPEG4_QuantIntra) MOX_MPEG4_ARGS;
BENCHMARK(BM_MPEG4_QuantInter) MOX_MPEG4_ARGS;

}  // namespace
