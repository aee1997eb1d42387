// H.264 weighted prediction benchmarks: every member on 16x16, 8x8 and 4x4
// blocks (ticks per call include the call itself).
#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStep = 64;

struct Planes8u {
    std::vector<Mox8u> a = mox::bench::randomBuffer(kStep * 16, 255, 1);
    std::vector<Mox8u> b = mox::bench::randomBuffer(kStep * 16, 255, 2);
    std::vector<Mox8u> d = mox::bench::randomBuffer(kStep * 16, 255, 3);
};

struct Planes16u {
    std::vector<Mox16u> a = mox::bench::randomBuffer<Mox16u>(kStep * 16, 1023, 1);
    std::vector<Mox16u> b = mox::bench::randomBuffer<Mox16u>(kStep * 16, 1023, 2);
    std::vector<Mox16u> d = std::vector<Mox16u>(kStep * 16);
};

template <int W, int H>
void BM_UniDir(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] { moxiUniDirWeightBlock_H264_8u_C1R(p.d.data(), kStep, 5, 40, -3, {W, H}); });
}

// An offset beyond the square blocks' single-prediction kernel (H.264 offsets -128..127).
template <int W, int H>
void BM_UniDirWideOffset(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] { moxiUniDirWeightBlock_H264_8u_C1R(p.d.data(), kStep, 5, 40, 200, {W, H}); });
}

template <int W, int H>
void BM_BiDirP2(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] {
        moxiBiDirWeightBlock_H264_8u_P2P1R(p.a.data(), p.b.data(), p.d.data(), kStep, kStep, 5, 40, 3, 24, -2, {W, H});
    });
}

template <int W, int H>
void BM_BiDirP3(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] {
        moxiBiDirWeightBlock_H264_8u_P3P1R(p.a.data(), p.b.data(), p.d.data(), kStep, kStep, kStep, 5, 40, 3, 24, -2,
                                           {W, H});
    });
}

template <int W, int H>
void BM_ImplicitP2(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] {
        moxiBiDirWeightBlockImplicit_H264_8u_P2P1R(p.a.data(), p.b.data(), p.d.data(), kStep, kStep, 40, 24, {W, H});
    });
}

template <int W, int H>
void BM_ImplicitP3(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] {
        moxiBiDirWeightBlockImplicit_H264_8u_P3P1R(p.a.data(), p.b.data(), p.d.data(), kStep, kStep, kStep, 40, 24,
                                                   {W, H});
    });
}

template <int W, int H>
void BM_WeightedAverage(benchmark::State& st) {
    Planes8u p;
    mox::bench::measure(st, [&] {
        moxiWeightedAverage_H264_8u_C1IR(p.a.data(), p.d.data(), kStep, 40, 24, 6, 0, {W, H});
    });
}

template <int W, int H, int kind>
void BM_16u(benchmark::State& st) {
    Planes16u p;
    MoxWeightBlock_H264_16u blk{p.a.data(), p.b.data(), p.d.data(), 2 * kStep, 2 * kStep, 2 * kStep, {W, H}, 10};
    MoxWeightParams_H264 w{5, 40, 12, 24, -8};
    mox::bench::measure(st, [&] {
        if constexpr (kind == 0) moxiBidir_H264_16u_P2P1R(&blk);
        if constexpr (kind == 1) moxiBidirWeight_H264_16u_P2P1R(&blk, &w);
        if constexpr (kind == 2) moxiBidirWeightImplicit_H264_16u_P2P1R(&blk, &w);
        if constexpr (kind == 3) moxiUnidirWeight_H264_16u_IP2P1R(&blk, &w);
    });
}

#define MOX_WEIGHT_BENCH(fn, name)                                \
    BENCHMARK_TEMPLATE(fn, 16, 16)->Name(name "_16x16");          \
    BENCHMARK_TEMPLATE(fn, 8, 8)->Name(name "_8x8");              \
    BENCHMARK_TEMPLATE(fn, 4, 4)->Name(name "_4x4");

MOX_WEIGHT_BENCH(BM_UniDir, "H264UniDirWeight_8u")
MOX_WEIGHT_BENCH(BM_UniDirWideOffset, "H264UniDirWeightWideOffset_8u")
MOX_WEIGHT_BENCH(BM_BiDirP2, "H264BiDirWeightP2_8u")
MOX_WEIGHT_BENCH(BM_BiDirP3, "H264BiDirWeightP3_8u")
MOX_WEIGHT_BENCH(BM_ImplicitP2, "H264BiDirImplicitP2_8u")
MOX_WEIGHT_BENCH(BM_ImplicitP3, "H264BiDirImplicitP3_8u")
MOX_WEIGHT_BENCH(BM_WeightedAverage, "H264WeightedAverage_8u")

#define MOX_WEIGHT_BENCH16(kind, name)                            \
    BENCHMARK_TEMPLATE(BM_16u, 16, 16, kind)->Name(name "_16x16"); \
    BENCHMARK_TEMPLATE(BM_16u, 8, 8, kind)->Name(name "_8x8");     \
    BENCHMARK_TEMPLATE(BM_16u, 4, 4, kind)->Name(name "_4x4");

MOX_WEIGHT_BENCH16(0, "H264Bidir_16u")
MOX_WEIGHT_BENCH16(1, "H264BidirWeight_16u")
MOX_WEIGHT_BENCH16(2, "H264BidirWeightImplicit_16u")
MOX_WEIGHT_BENCH16(3, "H264UnidirWeight_16u")

}  // namespace
