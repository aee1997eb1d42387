// VC-1 inverse transform benchmarks: every size, residual and add-to-
// prediction forms, on a dense block of conforming coefficients.
#include "bench_util.h"
#include "moxvc.h"

namespace {

using InvFn = MoxStatus (*)(const Mox16s*, Mox32s, Mox16s*, Mox32s);
using AddFn = MoxStatus (*)(const Mox16s*, Mox32s, const Mox8u*, Mox32s, Mox8u*, Mox32s);

template <InvFn F>
void BM_Inv(benchmark::State& st) {
    alignas(16) Mox16s c[64], d[64];
    auto v = mox::bench::randomBuffer<Mox16s>(64, 120);
    for (int i = 0; i < 64; ++i) c[i] = static_cast<Mox16s>(v[i] - 60);
    mox::bench::measure(st, [&] { F(c, 16, d, 16); });
}

template <AddFn F>
void BM_Add(benchmark::State& st) {
    alignas(16) Mox16s c[64];
    alignas(16) Mox8u p[64], d[64];
    auto v = mox::bench::randomBuffer<Mox16s>(64, 120);
    auto q = mox::bench::randomBuffer(64);
    for (int i = 0; i < 64; ++i) c[i] = static_cast<Mox16s>(v[i] - 60), p[i] = q[i];
    mox::bench::measure(st, [&] { F(c, 16, p, 8, d, 8); });
}

BENCHMARK_TEMPLATE(BM_Inv, moxiTransform8x8Inv_VC1_16s_C1R)->Name("Transform8x8Inv_VC1_16s_C1R");
BENCHMARK_TEMPLATE(BM_Inv, moxiTransform8x4Inv_VC1_16s_C1R)->Name("Transform8x4Inv_VC1_16s_C1R");
BENCHMARK_TEMPLATE(BM_Inv, moxiTransform4x8Inv_VC1_16s_C1R)->Name("Transform4x8Inv_VC1_16s_C1R");
BENCHMARK_TEMPLATE(BM_Inv, moxiTransform4x4Inv_VC1_16s_C1R)->Name("Transform4x4Inv_VC1_16s_C1R");
BENCHMARK_TEMPLATE(BM_Add, moxiTransform8x8InvAddPred_VC1_16s8u_C1R)->Name("Transform8x8InvAddPred_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Add, moxiTransform8x4InvAddPred_VC1_16s8u_C1R)->Name("Transform8x4InvAddPred_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Add, moxiTransform4x8InvAddPred_VC1_16s8u_C1R)->Name("Transform4x8InvAddPred_VC1_16s8u_C1R");
BENCHMARK_TEMPLATE(BM_Add, moxiTransform4x4InvAddPred_VC1_16s8u_C1R)->Name("Transform4x4InvAddPred_VC1_16s8u_C1R");

}  // namespace
