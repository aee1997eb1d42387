// VC-1 quantisation benchmarks: every inverse member (with its non-zero
// extent) and every forward member, 8x8 and, for inter blocks, 4x4; the
// forward inter 8x8 also once per reciprocal kind (ticks per call include the
// call itself).
#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStep = 16;  // bytes: 8 coefficients per row

struct Blocks {
    std::vector<Mox16s> src = mox::bench::randomBuffer<Mox16s>(64, 40, 7);
    std::vector<Mox16s> dst = std::vector<Mox16s>(64);
    MoxiSize nz{};
};

template <class F>
void inverse(benchmark::State& st, F&& f) {
    Blocks b;
    mox::bench::measure(st, [&] { f(b); });
    benchmark::DoNotOptimize(b.nz);
}

void BM_VC1QuantInvIntraUniform_C1R(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvIntraUniform_VC1_16s_C1R(b.src.data(), kStep, b.dst.data(), kStep, 9, &b.nz); });
}
void BM_VC1QuantInvIntraNonuniform_C1R(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvIntraNonuniform_VC1_16s_C1R(b.src.data(), kStep, b.dst.data(), kStep, 9, &b.nz); });
}
void BM_VC1QuantInvIntraUniform_C1IR(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvIntraUniform_VC1_16s_C1IR(b.dst.data(), kStep, 1, &b.nz); });
}
void BM_VC1QuantInvIntraNonuniform_C1IR(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvIntraNonuniform_VC1_16s_C1IR(b.dst.data(), kStep, 1, &b.nz); });
}
template <int W, int H>
void BM_VC1QuantInvInterUniform_C1R(benchmark::State& st) {
    inverse(st, [](Blocks& b) {
        moxiQuantInvInterUniform_VC1_16s_C1R(b.src.data(), kStep, b.dst.data(), kStep, 9, {W, H}, &b.nz);
    });
}
template <int W, int H>
void BM_VC1QuantInvInterNonuniform_C1R(benchmark::State& st) {
    inverse(st, [](Blocks& b) {
        moxiQuantInvInterNonuniform_VC1_16s_C1R(b.src.data(), kStep, b.dst.data(), kStep, 9, {W, H}, &b.nz);
    });
}
template <int W, int H>
void BM_VC1QuantInvInterUniform_C1IR(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvInterUniform_VC1_16s_C1IR(b.dst.data(), kStep, 1, {W, H}, &b.nz); });
}
template <int W, int H>
void BM_VC1QuantInvInterNonuniform_C1IR(benchmark::State& st) {
    inverse(st, [](Blocks& b) { moxiQuantInvInterNonuniform_VC1_16s_C1IR(b.dst.data(), kStep, 1, {W, H}, &b.nz); });
}

// In-place forward quantisation of the same block over and over: the values
// shrink to small ones quickly, which does not change the work done.
template <class F>
void forward(benchmark::State& st, F&& f) {
    Blocks b;
    mox::bench::measure(st, [&] { f(b.dst.data()); });
}

void BM_VC1QuantFwdIntraUniform(benchmark::State& st) {
    forward(st, [](Mox16s* p) { moxiQuantIntraUniform_VC1_16s_C1IR(p, kStep, 9); });
}
void BM_VC1QuantFwdIntraNonuniform(benchmark::State& st) {
    forward(st, [](Mox16s* p) { moxiQuantIntraNonuniform_VC1_16s_C1IR(p, kStep, 9); });
}
// quant 9, 7 and 8: one of each reciprocal kind.
template <int W, int H, int Q>
void BM_VC1QuantFwdInterUniform(benchmark::State& st) {
    forward(st, [](Mox16s* p) { moxiQuantInterUniform_VC1_16s_C1IR(p, kStep, Q, {W, H}); });
}
template <int W, int H>
void BM_VC1QuantFwdInterNonuniform(benchmark::State& st) {
    forward(st, [](Mox16s* p) { moxiQuantInterNonuniform_VC1_16s_C1IR(p, kStep, 9, {W, H}); });
}

}  // namespace

BENCHMARK(BM_VC1QuantInvIntraUniform_C1R);
BENCHMARK(BM_VC1QuantInvIntraNonuniform_C1R);
BENCHMARK(BM_VC1QuantInvIntraUniform_C1IR);
BENCHMARK(BM_VC1QuantInvIntraNonuniform_C1IR);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterUniform_C1R, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterUniform_C1R, 4, 4);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterNonuniform_C1R, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterNonuniform_C1R, 4, 4);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterUniform_C1IR, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterUniform_C1IR, 8, 4);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterNonuniform_C1IR, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantInvInterNonuniform_C1IR, 4, 8);
BENCHMARK(BM_VC1QuantFwdIntraUniform);
BENCHMARK(BM_VC1QuantFwdIntraNonuniform);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterUniform, 8, 8, 9);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterUniform, 8, 8, 7);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterUniform, 8, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterUniform, 4, 4, 9);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterNonuniform, 8, 8);
BENCHMARK_TEMPLATE(BM_VC1QuantFwdInterNonuniform, 4, 4);
