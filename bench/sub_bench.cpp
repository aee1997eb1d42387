// Block difference benchmarks.
#include "bench_util.h"
#include "moxvc.h"

namespace {

template <class T, MoxStatus (*F)(const T*, int, const T*, int, Mox16s*, int)>
void BM_Sub(benchmark::State& st) {
    auto a = mox::bench::randomBuffer<T>(64 * 64, 255, 1);
    auto b = mox::bench::randomBuffer<T>(64 * 64, 255, 2);
    alignas(16) Mox16s d[16 * 16];
    int step = 64 * sizeof(T);
    mox::bench::measure(st, [&] { F(a.data(), step, b.data(), step, d, 32); });
}

BENCHMARK_TEMPLATE(BM_Sub, Mox8u, moxiSub4x4_8u16s_C1R)->Name("Sub4x4_8u16s");
BENCHMARK_TEMPLATE(BM_Sub, Mox8u, moxiSub8x8_8u16s_C1R)->Name("Sub8x8_8u16s");
BENCHMARK_TEMPLATE(BM_Sub, Mox8u, moxiSub16x16_8u16s_C1R)->Name("Sub16x16_8u16s");
BENCHMARK_TEMPLATE(BM_Sub, Mox16u, moxiSub4x4_16u16s_C1R)->Name("Sub4x4_16u16s");
BENCHMARK_TEMPLATE(BM_Sub, Mox16u, moxiSub8x8_16u16s_C1R)->Name("Sub8x8_16u16s");

}  // namespace
