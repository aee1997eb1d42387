// H.264 interpolation benchmarks: every luma position and chroma case at
// every width class.
#include <string>

#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStep = 64;

void BM_Luma(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), dx = static_cast<int>(st.range(1)), dy = static_cast<int>(st.range(2));
    auto src = mox::bench::randomBuffer(kStep * 48);
    alignas(16) Mox8u dst[16 * 32];
    const Mox8u* s = src.data() + kStep * 8 + 8;
    mox::bench::measure(st, [&] { moxiInterpolateLuma_H264_8u_C1R(s, kStep, dst, 32, dx, dy, {w, w}); });
}

template <bool kC2>
void BM_Chroma(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), dx = static_cast<int>(st.range(1)), dy = static_cast<int>(st.range(2));
    auto src = mox::bench::randomBuffer(kStep * 48);
    alignas(16) Mox8u u[16 * 16], v[16 * 16];
    const Mox8u* s = src.data() + kStep * 8 + 8;
    if constexpr (kC2)
        mox::bench::measure(st, [&] { moxiInterpolateChroma_H264_8u_C2P2R(s, kStep, u, v, 16, dx, dy, {w, w}); });
    else
        mox::bench::measure(st, [&] { moxiInterpolateChroma_H264_8u_C1R(s, kStep, u, 16, dx, dy, {w, w}); });
}

void lumaArgs(benchmark::internal::Benchmark* b) {
    for (int w : {4, 8, 16})
        for (int dy = 0; dy < 4; ++dy)
            for (int dx = 0; dx < 4; ++dx) b->Args({w, dx, dy});
    b->ArgNames({"w", "dx", "dy"});
}

void chromaArgs(benchmark::internal::Benchmark* b) {
    for (int w : {2, 4, 8})
        for (auto f : {std::pair{0, 0}, {3, 0}, {0, 5}, {3, 5}}) b->Args({w, f.first, f.second});
    b->ArgNames({"w", "dx", "dy"});
}

BENCHMARK(BM_Luma)->Name("InterpolateLuma_H264_8u")->Apply(lumaArgs);
BENCHMARK_TEMPLATE(BM_Chroma, false)->Name("InterpolateChroma_H264_8u_C1R")->Apply(chromaArgs);
BENCHMARK_TEMPLATE(BM_Chroma, true)->Name("InterpolateChroma_H264_8u_C2P2R")->Apply(chromaArgs);

// Block forms: a 16x16 luma / 8x8 chroma block at (dx, dy) = (range 1, range 2),
// inside the picture (range 0 = 0) or over its top-left corner (range 0 = 1).
template <int kKind>
void BM_Block(benchmark::State& st) {
    const bool edge = st.range(0) != 0;
    const int fx = static_cast<int>(st.range(1)), fy = static_cast<int>(st.range(2));
    auto pic = mox::bench::randomBuffer(kStep * 48);
    alignas(16) Mox8u u[16 * 16], v[16 * 16];
    const int shift = kKind == 0 ? 2 : 3, size = kKind == 0 ? 16 : 8, pos = edge ? 0 : 16;
    MoxVCInterpolateBlock_8u p{{pic.data(), pic.data() + 32}, kStep, {u, v}, 16, {kKind == 2 ? 24 : 48, 48},
                               {size, size}, {pos, pos}, {fx - (1 << shift), fy - (1 << shift)}};
    if (!edge) p.pointVector = {(1 << shift) + fx, (1 << shift) + fy};
    mox::bench::measure(st, [&] {
        if constexpr (kKind == 0) moxiInterpolateLumaBlock_H264_8u_P1R(&p);
        else if constexpr (kKind == 1) moxiInterpolateChromaBlock_H264_8u_P2R(&p);
        else moxiInterpolateChromaBlock_H264_8u_C2P2R(&p);
    });
}

void blockArgs(benchmark::internal::Benchmark* b, std::initializer_list<std::pair<int, int>> fracs) {
    for (int edge : {0, 1})
        for (auto f : fracs) b->Args({edge, f.first, f.second});
    b->ArgNames({"edge", "dx", "dy"});
}

BENCHMARK_TEMPLATE(BM_Block, 0)->Name("InterpolateLumaBlock_H264_8u_P1R")->Apply([](benchmark::internal::Benchmark* b) {
    blockArgs(b, {{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}});
});
BENCHMARK_TEMPLATE(BM_Block, 1)->Name("InterpolateChromaBlock_H264_8u_P2R")->Apply([](benchmark::internal::Benchmark* b) {
    blockArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
});
BENCHMARK_TEMPLATE(BM_Block, 2)->Name("InterpolateChromaBlock_H264_8u_C2P2R")->Apply([](benchmark::internal::Benchmark* b) {
    blockArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
});

// Top/bottom forms: 16x16 luma or 8x8 chroma with its top row 3 rows above
// the first picture row (bottom row 3 below the last).
template <MoxStatus (*F)(const Mox8u*, Mox32s, Mox8u*, Mox32s, Mox32s, Mox32s, Mox32s, MoxiSize), int kSize>
void BM_Edge(benchmark::State& st) {
    const int dx = static_cast<int>(st.range(0)), dy = static_cast<int>(st.range(1));
    auto pic = mox::bench::randomBuffer(kStep * 48);
    alignas(16) Mox8u d[16 * 16];
    const Mox8u* s = pic.data() + kStep * 16 + 8;
    mox::bench::measure(st, [&] { F(s, kStep, d, 16, dx, dy, 3, {kSize, kSize}); });
}

void edgeArgs(benchmark::internal::Benchmark* b, std::initializer_list<std::pair<int, int>> fracs) {
    for (auto f : fracs) b->Args({f.first, f.second});
    b->ArgNames({"dx", "dy"});
}

BENCHMARK_TEMPLATE(BM_Edge, moxiInterpolateLumaTop_H264_8u_C1R, 16)->Name("InterpolateLumaTop_H264_8u")->Apply([](auto* b) {
    edgeArgs(b, {{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}});
});
BENCHMARK_TEMPLATE(BM_Edge, moxiInterpolateLumaBottom_H264_8u_C1R, 16)->Name("InterpolateLumaBottom_H264_8u")->Apply([](auto* b) {
    edgeArgs(b, {{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}});
});
BENCHMARK_TEMPLATE(BM_Edge, moxiInterpolateChromaTop_H264_8u_C1R, 8)->Name("InterpolateChromaTop_H264_8u")->Apply([](auto* b) {
    edgeArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
});
BENCHMARK_TEMPLATE(BM_Edge, moxiInterpolateChromaBottom_H264_8u_C1R, 8)->Name("InterpolateChromaBottom_H264_8u")->Apply([](auto* b) {
    edgeArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
});

void BM_Luma16(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), dx = static_cast<int>(st.range(1)), dy = static_cast<int>(st.range(2));
    auto src = mox::bench::randomBuffer<Mox16u>(kStep * 48, 1023);
    alignas(16) Mox16u dst[16 * 16];
    MoxVCInterpolate_16u p{src.data() + kStep * 8 + 8, kStep, dst, 16, dx, dy, {w, w}};
    mox::bench::measure(st, [&] { moxiInterpolateLuma_H264_16u_C1R(&p, 10); });
}
BENCHMARK(BM_Luma16)->Name("InterpolateLuma_H264_16u")->Apply(lumaArgs);

}  // namespace
