// The floor under every per-call figure: a call into the shared library that
// fails its first check and returns at once.
#include "bench_util.h"
#include "moxvc.h"

static void BM_CallOverhead(benchmark::State& st) {
    mox::bench::measure(st, [] { moxiSub4x4_8u16s_C1R(nullptr, 0, nullptr, 0, nullptr, 0); });
}
BENCHMARK(BM_CallOverhead)->Name("CallOverhead");
