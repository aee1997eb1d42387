// H.264 interpolation benchmarks: every luma position and chroma case at
// every width class.
#include <string>
#include <type_traits>

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
// the first picture row (bottom row 3 below the last); 16-bit forms at 10 bits.
using EdgeFn = MoxStatus (*)(const Mox8u*, Mox32s, Mox8u*, Mox32s, Mox32s, Mox32s, Mox32s, MoxiSize);
using EdgeFn16 = MoxStatus (*)(const MoxVCInterpolate_16u*, Mox32s, Mox32s);

template <auto F, int kSize>
void BM_Edge(benchmark::State& st) {
    constexpr bool k16 = std::is_same_v<decltype(F), EdgeFn16>;
    using T = std::conditional_t<k16, Mox16u, Mox8u>;
    const int dx = static_cast<int>(st.range(0)), dy = static_cast<int>(st.range(1));
    auto pic = mox::bench::randomBuffer<T>(kStep * 48, k16 ? 1023 : 255);
    alignas(16) T d[16 * 16];
    const T* s = pic.data() + kStep * 16 + 8;
    if constexpr (k16) {
        MoxVCInterpolate_16u p{s, kStep, d, 16, dx, dy, {kSize, kSize}};
        mox::bench::measure(st, [&] { F(&p, 3, 10); });
    } else {
        mox::bench::measure(st, [&] { F(s, kStep, d, 16, dx, dy, 3, {kSize, kSize}); });
    }
}

void edgeArgs(benchmark::internal::Benchmark* b, std::initializer_list<std::pair<int, int>> fracs) {
    for (auto f : fracs) b->Args({f.first, f.second});
    b->ArgNames({"dx", "dy"});
}

// Luma forms at six positions, chroma at the four fraction cases.
template <auto F, int kSize>
void registerEdge(const char* name) {
    auto* b = benchmark::RegisterBenchmark(name, BM_Edge<F, kSize>);
    if (kSize == 16) edgeArgs(b, {{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}});
    else edgeArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
}

const int kEdgeRegistered = [] {
    registerEdge<moxiInterpolateLumaTop_H264_8u_C1R, 16>("InterpolateLumaTop_H264_8u");
    registerEdge<moxiInterpolateLumaBottom_H264_8u_C1R, 16>("InterpolateLumaBottom_H264_8u");
    registerEdge<moxiInterpolateChromaTop_H264_8u_C1R, 8>("InterpolateChromaTop_H264_8u");
    registerEdge<moxiInterpolateChromaBottom_H264_8u_C1R, 8>("InterpolateChromaBottom_H264_8u");
    registerEdge<moxiInterpolateLumaTop_H264_16u_C1R, 16>("InterpolateLumaTop_H264_16u");
    registerEdge<moxiInterpolateLumaBottom_H264_16u_C1R, 16>("InterpolateLumaBottom_H264_16u");
    registerEdge<moxiInterpolateChromaTop_H264_16u_C1R, 8>("InterpolateChromaTop_H264_16u");
    registerEdge<moxiInterpolateChromaBottom_H264_16u_C1R, 8>("InterpolateChromaBottom_H264_16u");
    return 0;
}();

void BM_Luma16(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), dx = static_cast<int>(st.range(1)), dy = static_cast<int>(st.range(2));
    auto src = mox::bench::randomBuffer<Mox16u>(kStep * 48, 1023);
    alignas(16) Mox16u dst[16 * 16];
    MoxVCInterpolate_16u p{src.data() + kStep * 8 + 8, kStep, dst, 16, dx, dy, {w, w}};
    mox::bench::measure(st, [&] { moxiInterpolateLuma_H264_16u_C1R(&p, 10); });
}
BENCHMARK(BM_Luma16)->Name("InterpolateLuma_H264_16u")->Apply(lumaArgs);

}  // namespace

namespace {

// 16-bit chroma at 10 bits: every width class, the four fraction cases.
void BM_Chroma16(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0)), dx = static_cast<int>(st.range(1)), dy = static_cast<int>(st.range(2));
    auto src = mox::bench::randomBuffer<Mox16u>(kStep * 48, 1023);
    alignas(16) Mox16u dst[16 * 16];
    MoxVCInterpolate_16u p{src.data() + kStep * 8 + 8, kStep, dst, 16, dx, dy, {w, w}};
    mox::bench::measure(st, [&] { moxiInterpolateChroma_H264_16u_C1R(&p, 10); });
}
BENCHMARK(BM_Chroma16)->Name("InterpolateChroma_H264_16u")->Apply(chromaArgs);

// 16-bit block forms: 16x16 luma / 8x8 chroma, inside the picture or over its top-left corner.
template <bool kLuma>
void BM_Block16(benchmark::State& st) {
    const bool edge = st.range(0) != 0;
    const int fx = static_cast<int>(st.range(1)), fy = static_cast<int>(st.range(2));
    auto pic = mox::bench::randomBuffer<Mox16u>(kStep * 48, 1023);
    alignas(16) Mox16u u[16 * 16], v[16 * 16];
    const int shift = kLuma ? 2 : 3, size = kLuma ? 16 : 8, pos = edge ? 0 : 16;
    MoxVCInterpolateBlock_16u p{{pic.data(), pic.data() + 32}, kStep, {u, v}, 16, {kLuma ? 48 : 24, 48},
                                {size, size}, {pos, pos}, {fx - (1 << shift), fy - (1 << shift)}};
    if (!edge) p.pointVector = {(1 << shift) + fx, (1 << shift) + fy};
    mox::bench::measure(st, [&] {
        if constexpr (kLuma) moxiInterpolateLumaBlock_H264_16u_P1R(&p, 10);
        else moxiInterpolateChromaBlock_H264_16u_P2R(&p, 10);
    });
}

BENCHMARK_TEMPLATE(BM_Block16, true)->Name("InterpolateLumaBlock_H264_16u_P1R")->Apply([](benchmark::internal::Benchmark* b) {
    blockArgs(b, {{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}});
});
BENCHMARK_TEMPLATE(BM_Block16, false)->Name("InterpolateChromaBlock_H264_16u_P2R")->Apply([](benchmark::internal::Benchmark* b) {
    blockArgs(b, {{0, 0}, {3, 0}, {0, 5}, {3, 5}});
});

// Whole partitions (luma and both chroma planes from one luma vector): a
// 16x16, 8x8 or 4x4 luma block at quarter position (dx, dy), inside the
// picture (edge 0) or over its top-left corner (edge 1).
template <bool kInterleaved>
void BM_BlockYUV(benchmark::State& st) {
    const int w = static_cast<int>(st.range(0));
    const bool edge = st.range(1) != 0;
    const int fx = static_cast<int>(st.range(2)), fy = static_cast<int>(st.range(3));
    auto luma = mox::bench::randomBuffer(kStep * 48), chroma = mox::bench::randomBuffer(kStep * 24);
    alignas(16) Mox8u y[16 * 16], u[8 * 8], v[8 * 8];
    const int pos = edge ? 0 : 16;
    MoxVCInterpolateBlockYUV_8u p{{luma.data(), chroma.data(), chroma.data() + 16}, {kStep, kStep}, {y, u, v}, {16, 8},
                                  {48, 48}, {w, w}, {pos, pos}, {fx - 4, fy - 4}};
    if (!edge) p.pointVector = {4 + fx, 4 + fy};
    mox::bench::measure(st, [&] {
        if constexpr (kInterleaved) moxiInterpolateBlock_H264_8u_P2P1R(&p);
        else moxiInterpolateBlock_H264_8u_P3P1R(&p);
    });
}

void yuvArgs(benchmark::internal::Benchmark* b) {
    for (int w : {4, 8, 16})
        for (int edge : {0, 1})
            for (auto f : {std::pair{0, 0}, {2, 0}, {0, 2}, {2, 2}, {2, 1}, {1, 1}}) b->Args({w, edge, f.first, f.second});
    b->ArgNames({"w", "edge", "dx", "dy"});
}

BENCHMARK_TEMPLATE(BM_BlockYUV, false)->Name("InterpolateBlock_H264_8u_P3P1R")->Apply(yuvArgs);
BENCHMARK_TEMPLATE(BM_BlockYUV, true)->Name("InterpolateBlock_H264_8u_P2P1R")->Apply(yuvArgs);

}  // namespace
