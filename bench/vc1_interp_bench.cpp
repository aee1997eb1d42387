// VC-1 interpolation benchmarks: every plain size and fraction class with
// both rounding modes folded into one figure (rnd 0), and the block forms
// inside the picture, over its corner, and with intensity compensation.
#include <array>

#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStep = 64;

template <int kFilter>
void BM_Plain(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), h = static_cast<int>(st.range(1));
    const int dx = static_cast<int>(st.range(2)), dy = static_cast<int>(st.range(3));
    auto src = mox::bench::randomBuffer(kStep * 48);
    alignas(16) Mox8u dst[32 * 16];
    MoxVCQPInterpParams p{src.data() + kStep * 8 + 8, kStep, dst, 32, dx, dy, {w, h}, 0};
    if constexpr (kFilter == 0)
        mox::bench::measure(st, [&] { moxiInterpolateQPBicubic_VC1_8u_C1R(&p); });
    else if constexpr (kFilter == 1)
        mox::bench::measure(st, [&] { moxiInterpolateQPBilinear_VC1_8u_C1R(&p); });
    else
        mox::bench::measure(st, [&] { moxiInterpolateQPBilinear_VC1_8u_C2R(&p); });
}

void sizes(benchmark::internal::Benchmark* b, std::initializer_list<std::pair<int, int>> list) {
    for (auto s : list)
        for (auto f : {std::pair{0, 0}, {1, 0}, {2, 0}, {0, 1}, {0, 2}, {1, 1}, {2, 2}, {3, 1}, {1, 2}})
            b->Args({s.first, s.second, f.first, f.second});
    b->ArgNames({"w", "h", "dx", "dy"});
}

BENCHMARK_TEMPLATE(BM_Plain, 0)->Name("InterpolateQPBicubic_VC1_8u_C1R")->Apply([](auto* b) {
    sizes(b, {{8, 8}, {16, 8}, {16, 16}});
});
BENCHMARK_TEMPLATE(BM_Plain, 1)->Name("InterpolateQPBilinear_VC1_8u_C1R")->Apply([](auto* b) {
    sizes(b, {{4, 4}, {8, 4}, {8, 8}, {16, 16}});
});
BENCHMARK_TEMPLATE(BM_Plain, 2)->Name("InterpolateQPBilinear_VC1_8u_C2R")->Apply([](auto* b) {
    sizes(b, {{4, 4}, {8, 4}, {8, 8}});
});

// range 0: 0 inside, 1 over the top-left corner, 2 inside with both tables.
template <int kFilter>
void BM_Block(benchmark::State& st) {
    const int where = static_cast<int>(st.range(0)), w = static_cast<int>(st.range(1));
    auto src = mox::bench::randomBuffer(kStep * 48);
    std::array<Mox8u, 256> lut;
    for (int i = 0; i < 256; ++i) lut[i] = static_cast<Mox8u>(i ^ 3);
    alignas(16) Mox8u dst[32 * 16];
    MoxVCBlockICParams p{src.data(), kStep, dst, 32, nullptr, nullptr, {kFilter == 2 ? 32 : 64, 48}, {w, w},
                         {where == 1 ? -3 : 8, where == 1 ? -2 : 8}, {1, 3}, 0, 0, 0, 0};
    if (where == 2) p.pTopFieldLut = p.pBottomFieldLut = lut.data();
    if constexpr (kFilter == 0)
        mox::bench::measure(st, [&] { moxiInterpolateICBicubicBlock_VC1_8u_C1R(&p); });
    else if constexpr (kFilter == 1)
        mox::bench::measure(st, [&] { moxiInterpolateICBilinearBlock_VC1_8u_C1R(&p); });
    else
        mox::bench::measure(st, [&] { moxiInterpolateICBilinearBlock_VC1_8u_C2R(&p); });
}

void blockArgs(benchmark::internal::Benchmark* b, std::initializer_list<int> widths) {
    for (int w : widths)
        for (int where = 0; where < 3; ++where) b->Args({where, w});
    b->ArgNames({"where", "w"});
}

BENCHMARK_TEMPLATE(BM_Block, 0)->Name("InterpolateICBicubicBlock_VC1_8u_C1R")->Apply([](auto* b) { blockArgs(b, {8, 16}); });
BENCHMARK_TEMPLATE(BM_Block, 1)->Name("InterpolateICBilinearBlock_VC1_8u_C1R")->Apply([](auto* b) { blockArgs(b, {4, 8, 16}); });
BENCHMARK_TEMPLATE(BM_Block, 2)->Name("InterpolateICBilinearBlock_VC1_8u_C2R")->Apply([](auto* b) { blockArgs(b, {4, 8}); });

}  // namespace
