// Benchmarks of the sub-block SAD, difference-sum, deviation, frame/field,
// 8x8 Hadamard, squared-difference, variance-of-difference and edge
// metrics; members with a half-sample position run once per position.
#include <memory>
#include <string>

#include "bench_util.h"
#include "moxvc.h"

namespace {

using benchmark::State;

constexpr int kDim = 64;  // source and reference planes are kDim x kDim samples
constexpr int kPositions[] = {0, 4, 8, 12};

template <class T>
struct Planes {
    std::vector<T> a = mox::bench::randomBuffer<T>(kDim * kDim, sizeof(T) == 1 ? 255 : 65535, 1);
    std::vector<T> b = mox::bench::randomBuffer<T>(kDim * kDim, sizeof(T) == 1 ? 255 : 65535, 2);
    std::vector<T> c = mox::bench::randomBuffer<T>(kDim * kDim, sizeof(T) == 1 ? 255 : 65535, 3);
    static constexpr int step = kDim * sizeof(T);
};

template <class F>
void add(const std::string& name, F&& body) {
    benchmark::RegisterBenchmark(name.c_str(), [body](State& st) { mox::bench::measure(st, body); });
}

std::string at(const char* name, int mcType) { return std::string(name) + "/mc" + std::to_string(mcType); }

template <class T, class R>
using SadBlocksFn = MoxStatus (*)(const T*, int, const T*, int, R*, int);
template <class T, class R>
void addSadBlocks(const char* name, SadBlocksFn<T, R> fn) {
    for (int mc : kPositions)
        add(at(name, mc), [fn, mc, p = std::make_shared<Planes<T>>()] {
            alignas(16) R out[16];
            fn(p->a.data() + 3, p->step, p->b.data() + 5, p->step, out, mc);
            benchmark::DoNotOptimize(out);
        });
}

using Mcfn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox32s*, Mox32s*, int);

const int kRegistered = [] {
    addSadBlocks<Mox8u, Mox16u>("SAD16x16Blocks8x8_8u16u", moxiSAD16x16Blocks8x8_8u16u);
    addSadBlocks<Mox8u, Mox16u>("SAD16x16Blocks4x4_8u16u", moxiSAD16x16Blocks4x4_8u16u);
    addSadBlocks<Mox16u, Mox32u>("SAD16x16Blocks8x8_16u32u", moxiSAD16x16Blocks8x8_16u32u);
    addSadBlocks<Mox16u, Mox32u>("SAD16x16Blocks4x4_16u32u", moxiSAD16x16Blocks4x4_16u32u);

    auto p8 = std::make_shared<Planes<Mox8u>>();
    auto p16 = std::make_shared<Planes<Mox16u>>();
    const int s8 = Planes<Mox8u>::step, s16 = Planes<Mox16u>::step;

    struct SumsDiff {
        const char* name;
        MoxStatus (*fn)(const Mox8u*, int, const Mox8u*, int, Mox16s*, Mox16s*);
    };
    for (SumsDiff c : {SumsDiff{"SumsDiff16x16Blocks4x4_8u16s", moxiSumsDiff16x16Blocks4x4_8u16s_C1},
                       SumsDiff{"SumsDiff8x8Blocks4x4_8u16s", moxiSumsDiff8x8Blocks4x4_8u16s_C1}}) {
        for (bool withDiff : {true, false})
            add(std::string(c.name) + (withDiff ? "/diff" : "/sums"), [c, p8, withDiff] {
                alignas(16) Mox16s sums[16], diff[256];
                c.fn(p8->a.data(), s8, p8->b.data(), s8, sums, withDiff ? diff : nullptr);
                benchmark::DoNotOptimize(sums);
                benchmark::DoNotOptimize(diff);
            });
    }

    struct Single {
        const char* name;
        MoxStatus (*fn)(const Mox8u*, int, Mox32s*);
    };
    for (Single c : {Single{"MeanAbsDev8x8_8u32s", moxiMeanAbsDev8x8_8u32s_C1R},
                     Single{"MeanAbsDev16x16_8u32s", moxiMeanAbsDev16x16_8u32s_C1R}})
        add(c.name, [c, p8] {
            Mox32s v;
            c.fn(p8->a.data() + 1, s8, &v);
            benchmark::DoNotOptimize(v);
        });

    add("FrameFieldSAD16x16_8u32s", [p8] {
        Mox32s fr, fi;
        moxiFrameFieldSAD16x16_8u32s_C1R(p8->a.data() + 1, s8, &fr, &fi);
        benchmark::DoNotOptimize(fr);
        benchmark::DoNotOptimize(fi);
    });
    add("FrameFieldSAD16x16_16s32s", [p16] {
        Mox32s fr, fi;
        moxiFrameFieldSAD16x16_16s32s_C1R(reinterpret_cast<const Mox16s*>(p16->a.data() + 1), s16, &fr, &fi);
        benchmark::DoNotOptimize(fr);
        benchmark::DoNotOptimize(fi);
    });

    add("SAT8x8D_8u32s", [p8] {
        Mox32s v;
        moxiSAT8x8D_8u32s_C1R(p8->a.data() + 1, s8, p8->b.data() + 2, s8, &v);
        benchmark::DoNotOptimize(v);
    });
    add("SAT8x8D_16u32s", [p16] {
        Mox32s v;
        moxiSAT8x8D_16u32s_C1R(p16->a.data() + 1, s16, p16->b.data() + 2, s16, &v);
        benchmark::DoNotOptimize(v);
    });

    for (int mc : kPositions)
        add(at("SqrDiff16x16_8u32s", mc), [p8, mc] {
            Mox32s v;
            moxiSqrDiff16x16_8u32s(p8->a.data(), s8, p8->b.data() + 3, s8, &v, mc);
            benchmark::DoNotOptimize(v);
        });
    for (int mcF : kPositions)
        for (int mcB : kPositions)
            add(at("SqrDiff16x16B_8u32s", mcF) + "/mc" + std::to_string(mcB), [p8, mcF, mcB] {
                Mox32s v;
                moxiSqrDiff16x16B_8u32s(p8->a.data(), s8, p8->b.data() + 3, s8, mcF, p8->c.data() + 7, s8, mcB, &v);
                benchmark::DoNotOptimize(v);
            });

    struct VarMean {
        const char* name;
        Mcfn fn;
    };
    for (VarMean c : {VarMean{"VarMeanDiff16x16_8u32s", moxiVarMeanDiff16x16_8u32s_C1R},
                      VarMean{"VarMeanDiff16x8_8u32s", moxiVarMeanDiff16x8_8u32s_C1R}})
        for (int mc : kPositions)
            add(at(c.name, mc), [c, p8, mc] {
                alignas(16) Mox32s var[4], mean[4];
                c.fn(p8->a.data(), s8, p8->b.data() + 3, s8, var, mean, mc);
                benchmark::DoNotOptimize(var);
                benchmark::DoNotOptimize(mean);
            });

    add("EdgesDetect16x16_8u", [p8] {
        Mox8u v;
        moxiEdgesDetect16x16_8u_C1R(p8->a.data() + 1, s8, 64, 100, &v);
        benchmark::DoNotOptimize(v);
    });
    add("EdgesDetect16x16_16u", [p16] {
        Mox8u v;
        moxiEdgesDetect16x16_16u_C1R(p16->a.data() + 1, s16, 16384, 100, &v);
        benchmark::DoNotOptimize(v);
    });
    return 0;
}();

}  // namespace
