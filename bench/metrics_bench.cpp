// Block metric benchmarks: every member, and every half-sample position of
// the members that take mcType; registered from tables.
#include <string>

#include "bench_util.h"
#include "moxvc.h"

namespace {

template <class T>
using PairFn = MoxStatus (*)(const T*, int, const T*, int, Mox32s*, int);
using FullFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox32s*);
template <class T>
using VarFn = MoxStatus (*)(const T*, int, Mox32s*, Mox32s*);
using XnFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16u*, int);
using XniFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16u*, int, Mox16u*, int*);

template <class F>
struct Entry {
    const char* name;
    F fn;
};

const Entry<PairFn<Mox8u>> kMc8u[] = {
    {"SAD16x16_8u32s", moxiSAD16x16_8u32s}, {"SAD16x8_8u32s", moxiSAD16x8_8u32s_C1R},
    {"SAD8x8_8u32s", moxiSAD8x8_8u32s_C1R}, {"SSD8x8_8u32s", moxiSSD8x8_8u32s_C1R},
    {"SSD4x4_8u32s", moxiSSD4x4_8u32s_C1R},
};
const Entry<PairFn<Mox16u>> kMc16u[] = {
    {"SAD16x16_16u32s", moxiSAD16x16_16u32s_C1R},
    {"SAD8x8_16u32s", moxiSAD8x8_16u32s_C1R},
    {"SAD4x4_16u32s", moxiSAD4x4_16u32s_C1R},
};
const Entry<FullFn> kFull[] = {
    {"SAD4x4_8u32s", moxiSAD4x4_8u32s},           {"SAD4x8_8u32s", moxiSAD4x8_8u32s_C1R},
    {"SAD8x4_8u32s", moxiSAD8x4_8u32s_C1R},       {"SAD8x16_8u32s", moxiSAD8x16_8u32s_C1R},
    {"SATD4x4_8u32s", moxiSATD4x4_8u32s_C1R},     {"SATD4x8_8u32s", moxiSATD4x8_8u32s_C1R},
    {"SATD8x4_8u32s", moxiSATD8x4_8u32s_C1R},     {"SATD8x8_8u32s", moxiSATD8x8_8u32s_C1R},
    {"SATD8x16_8u32s", moxiSATD8x16_8u32s_C1R},   {"SATD16x8_8u32s", moxiSATD16x8_8u32s_C1R},
    {"SATD16x16_8u32s", moxiSATD16x16_8u32s_C1R},
};
const Entry<VarFn<Mox8u>> kVar8u[] = {
    {"VarMean8x8_8u32s", moxiVarMean8x8_8u32s_C1R},
    {"VarSum8x8_8u32s", moxiVarSum8x8_8u32s_C1R},
};
const Entry<VarFn<Mox16s>> kVar16s[] = {
    {"VarMean8x8_16s32s", moxiVarMean8x8_16s32s_C1R},
    {"VarSum8x8_16s32s", moxiVarSum8x8_16s32s_C1R},
};
const Entry<XnFn> kXn[] = {
    {"SAD16x16xN_8u16u", moxiSAD16x16xN_8u16u_C1R},
    {"SAD8x8xN_8u16u", moxiSAD8x8xN_8u16u_C1R},
    {"SAD4x4xN_8u16u", moxiSAD4x4xN_8u16u_C1R},
    {"SAD2x2xN_8u16u", moxiSAD2x2xN_8u16u_C1R},
};
const Entry<XniFn> kXni[] = {
    {"SAD16x16xNI_8u16u", moxiSAD16x16xNI_8u16u_C1R},
    {"SAD8x8xNI_8u16u", moxiSAD8x8xNI_8u16u_C1R},
    {"SAD4x4xNI_8u16u", moxiSAD4x4xNI_8u16u_C1R},
};

// mcType of each position, with its name.
const struct {
    int mcType;
    const char* name;
} kPositions[] = {{0, "full"}, {8, "h"}, {4, "v"}, {12, "hv"}};

constexpr int kStep = 128;  // bytes between rows of every benchmark plane

// One random plane per sample type; sources and references are blocks of it.
template <class T>
const T* plane(int maxValue) {
    static const auto a = mox::bench::randomBuffer<T>(kStep / sizeof(T) * 96, maxValue, sizeof(T));
    return a.data();
}

int registerAll() {
    using benchmark::RegisterBenchmark;
    using benchmark::State;
    const Mox8u* s8 = plane<Mox8u>(255) + 3;
    const Mox8u* r8 = plane<Mox8u>(255) + 40 * kStep + 5;
    const Mox16u* s16 = plane<Mox16u>(65535) + 1;
    const Mox16u* r16 = plane<Mox16u>(65535) + 40 * kStep / 2 + 2;
    const Mox16s* v16 = reinterpret_cast<const Mox16s*>(s16);

    for (const auto& e : kMc8u)
        for (const auto& p : kPositions)
            RegisterBenchmark((std::string(e.name) + "/" + p.name).c_str(), [=](State& st) {
                Mox32s out;
                mox::bench::measure(st, [&] { e.fn(s8, kStep, r8, kStep, &out, p.mcType); });
            });
    for (const auto& e : kMc16u)
        for (const auto& p : kPositions)
            RegisterBenchmark((std::string(e.name) + "/" + p.name).c_str(), [=](State& st) {
                Mox32s out;
                mox::bench::measure(st, [&] { e.fn(s16, kStep, r16, kStep, &out, p.mcType); });
            });
    for (const auto& e : kFull)
        RegisterBenchmark(e.name, [=](State& st) {
            Mox32s out;
            mox::bench::measure(st, [&] { e.fn(s8, kStep, r8, kStep, &out); });
        });
    RegisterBenchmark("Variance16x16_8u32s", [=](State& st) {
        Mox32s out;
        mox::bench::measure(st, [&] { moxiVariance16x16_8u32s(s8, kStep, &out); });
    });
    for (const auto& e : kVar8u)
        RegisterBenchmark(e.name, [=](State& st) {
            Mox32s var, sum;
            mox::bench::measure(st, [&] { e.fn(s8, kStep, &var, &sum); });
        });
    for (const auto& e : kVar16s)
        RegisterBenchmark(e.name, [=](State& st) {
            Mox32s var, sum;
            mox::bench::measure(st, [&] { e.fn(v16, kStep, &var, &sum); });
        });
    for (int n : {8, 64}) {
        for (const auto& e : kXn)
            RegisterBenchmark((std::string(e.name) + "/" + std::to_string(n)).c_str(), [=](State& st) {
                Mox16u out[64];
                mox::bench::measure(st, [&] { e.fn(s8, kStep, r8, kStep, out, n); });
            });
        for (const auto& e : kXni)
            RegisterBenchmark((std::string(e.name) + "/" + std::to_string(n)).c_str(), [=](State& st) {
                Mox16u out[64], minSad;
                int minIndex;
                mox::bench::measure(st, [&] { e.fn(s8, kStep, r8, kStep, out, n, &minSad, &minIndex); });
            });
    }
    return 0;
}

const int kRegistered = registerAll();

}  // namespace
