// The floor under every per-call figure: a call into the shared library that
// fails its first check and returns at once.
#include "bench_util.h"
#include "moxvc.h"

static void BM_CallOverhead(benchmark::State& st) {
    mox::bench::measure(st, [] { moxiCopy8x8_8u_C1R(nullptr, 0, nullptr, 0); });
}
BENCHMARK(BM_CallOverhead)->Name("CallOverhead");
