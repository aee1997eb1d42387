// VC-1 loop filter, overlap smoothing and range mapping benchmarks. The loop
// filter runs on an edge where every line is filtered (a small step across
// the edge on flat sides) and on one where none is (a flat area). It rotates
// over kAreas identical edges of a strip of neighbouring blocks (see
// measureRotating) because filtering one edge over and over makes each
// call's 2-byte stores stall the next call's 8- or 16-byte loads of the
// same lines, a store-forwarding stall no decoder has.
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStep = 32;
using mox::bench::kAreas;

using DeblockFn = MoxStatus (*)(Mox8u*, Mox32s, Mox32s, Mox32u);

// range 0: 1 every line filtered, 0 none. A strip of kAreas blocks of
// kLines lines side by side, edge k at column kLines k + 4 (of the strip's
// kLines rows, or of its row 4 over kLines columns); every edge sees 100
// before it and 110 (all) or 100 (none) after it, four samples each way.
// The first call on each edge must move every line's P4 | P5 from
// 100 | 110 to 102 | 108 (a0 = 4, d = -2) or leave the flat area alone;
// after it the lines stay at 102 | 108, which every line still filters
// (a0 = 1 < PQUANT, a3 = 0 < |a0|, clip -3), with d = 0.
template <DeblockFn F, bool kVertical, int kLines>
void BM_Deblock(benchmark::State& st) {
    const bool all = st.range(0) != 0;
    constexpr int stride = kLines * (kAreas + 1), rows = kVertical ? kLines : 8, across = kVertical ? 1 : stride;
    std::vector<Mox8u> strip(stride * rows);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < stride; ++x) {
            const bool after = kVertical ? (x + kLines - 4) % kLines < 4 : y >= 4;
            strip[y * stride + x] = static_cast<Mox8u>(all && after ? 110 : 100);
        }
    Mox8u* edge[kAreas];
    for (int k = 0; k < kAreas; ++k) edge[k] = strip.data() + (kVertical ? 0 : 4 * stride) + kLines * k + 4;
    for (Mox8u* e : edge) {
        F(e, stride, 31, 0);
        for (int i = 0; i < kLines; ++i) {
            const Mox8u* line = e + (kVertical ? i * stride : i);
            if (line[-across] != (all ? 102 : 100) || line[0] != (all ? 108 : 100)) {
                st.SkipWithError("the edge did not filter as set up");
                return;
            }
        }
    }
    mox::bench::measureRotating(st, [&](int k) { F(edge[k], stride, 31, 0); });
}

void allOrNone(benchmark::internal::Benchmark* b) { b->Arg(1)->Arg(0)->ArgName("filtered"); }

BENCHMARK_TEMPLATE(BM_Deblock, moxiFilterDeblockingLuma_VerEdge_VC1_8u_C1IR, true, 16)->Name("FilterDeblockingLuma_VerEdge_VC1_8u_C1IR")->Apply(allOrNone);
BENCHMARK_TEMPLATE(BM_Deblock, moxiFilterDeblockingLuma_HorEdge_VC1_8u_C1IR, false, 16)->Name("FilterDeblockingLuma_HorEdge_VC1_8u_C1IR")->Apply(allOrNone);
BENCHMARK_TEMPLATE(BM_Deblock, moxiFilterDeblockingChroma_VerEdge_VC1_8u_C1IR, true, 8)->Name("FilterDeblockingChroma_VerEdge_VC1_8u_C1IR")->Apply(allOrNone);
BENCHMARK_TEMPLATE(BM_Deblock, moxiFilterDeblockingChroma_HorEdge_VC1_8u_C1IR, false, 8)->Name("FilterDeblockingChroma_HorEdge_VC1_8u_C1IR")->Apply(allOrNone);

using SmoothFn = MoxStatus (*)(Mox16s*, Mox32s);
using Smooth8uFn = MoxStatus (*)(const Mox16s*, Mox32s, Mox8u*, Mox32s);

template <SmoothFn F>
void BM_Smooth(benchmark::State& st) {
    alignas(16) Mox16s area[kStep * 24];
    auto v = mox::bench::randomBuffer<Mox16s>(kStep * 24, 255);
    for (int i = 0; i < kStep * 24; ++i) area[i] = static_cast<Mox16s>(v[i] - 128);
    mox::bench::measure(st, [&] { F(area + 8 * kStep + 8, 2 * kStep); });
}

template <Smooth8uFn F>
void BM_Smooth8u(benchmark::State& st) {
    alignas(16) Mox16s area[kStep * 24];
    alignas(16) Mox8u out[kStep * 24];
    auto v = mox::bench::randomBuffer<Mox16s>(kStep * 24, 255);
    for (int i = 0; i < kStep * 24; ++i) area[i] = static_cast<Mox16s>(v[i] - 128);
    mox::bench::measure(st, [&] { F(area + 8 * kStep + 8, 2 * kStep, out + 8 * kStep + 8, kStep); });
}

BENCHMARK_TEMPLATE(BM_Smooth, moxiSmoothingLuma_VerEdge_VC1_16s_C1IR)->Name("SmoothingLuma_VerEdge_VC1_16s_C1IR");
BENCHMARK_TEMPLATE(BM_Smooth, moxiSmoothingLuma_HorEdge_VC1_16s_C1IR)->Name("SmoothingLuma_HorEdge_VC1_16s_C1IR");
BENCHMARK_TEMPLATE(BM_Smooth, moxiSmoothingChroma_VerEdge_VC1_16s_C1IR)->Name("SmoothingChroma_VerEdge_VC1_16s_C1IR");
BENCHMARK_TEMPLATE(BM_Smooth, moxiSmoothingChroma_HorEdge_VC1_16s_C1IR)->Name("SmoothingChroma_HorEdge_VC1_16s_C1IR");
BENCHMARK_TEMPLATE(BM_Smooth8u, moxiSmoothingLuma_VerEdge_VC1_16s8u_C1R)->Name("SmoothingLuma_VerEdge_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Smooth8u, moxiSmoothingLuma_HorEdge_VC1_16s8u_C1R)->Name("SmoothingLuma_HorEdge_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Smooth8u, moxiSmoothingChroma_VerEdge_VC1_16s8u_C1R)->Name("SmoothingChroma_VerEdge_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Smooth8u, moxiSmoothingChroma_HorEdge_VC1_16s8u_C1R)->Name("SmoothingChroma_HorEdge_VC1_16s8u_C1R");

// A 16x16 macroblock region and a 64x16 strip.
template <int kMode>
void BM_Range(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0));
    auto src = mox::bench::randomBuffer(64 * 16);
    alignas(16) Mox8u dst[64 * 16];
    if constexpr (kMode == 0)
        mox::bench::measure(st, [&] { moxiRangeMapping_VC1_8u_C1R(src.data(), 64, dst, 64, {w, 16}, 5); });
    else
        mox::bench::measure(st, [&] { moxiRangeReduction_VC1_8u_C1R(src.data(), 64, dst, 64, {w, 16}, kMode == 1); });
}

BENCHMARK_TEMPLATE(BM_Range, 0)->Name("RangeMapping_VC1_8u_C1R")->Arg(16)->Arg(64)->ArgName("w");
BENCHMARK_TEMPLATE(BM_Range, 1)->Name("RangeReduction_VC1_8u_C1R/up")->Arg(16)->Arg(64)->ArgName("w");
BENCHMARK_TEMPLATE(BM_Range, 2)->Name("RangeReduction_VC1_8u_C1R/down")->Arg(16)->Arg(64)->ArgName("w");

}  // namespace
