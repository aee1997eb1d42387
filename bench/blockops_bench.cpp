// Block copy, average, add, interpolate-average, MC and GetDiff benchmarks:
// every member at each half-sample position (full, h, v, hv) with rounding
// control 0; the members that take the control unmasked also with control 2,
// which runs their 32-bit path. Registered from tables.
#include <cstdint>
#include <string>

#include "bench_util.h"
#include "moxvc.h"

namespace {

// Tight steps, and every plane in its own window modulo 4 KiB: a store and a
// later load of different planes never look alike to the store-to-load
// forwarding check (which compares the low 12 address bits).
struct Buffers {
    static constexpr int kRefStep = 32;  // bytes: 17 (or 18) bytes used, 17 rows
    static constexpr int kStep = 16;     // bytes: current block and destination
    static constexpr int kResStep = 32;  // bytes: residuals, differences, predictors (16 values)

    std::vector<Mox8u> arena = mox::bench::randomBuffer(9 * 8192, 255, 3);
    Mox8u* base = arena.data() + (4096 - reinterpret_cast<uintptr_t>(arena.data()) % 4096) % 4096;
    Mox8u* at(int plane, int offset) { return base + plane * 8192 + offset; }
    const Mox8u* ref = at(0, 0);       // [0, 544)
    const Mox8u* ref2 = at(1, 576);    // [576, 1120)
    const Mox8u* cur = at(2, 1152);    // [1152, 1408)
    Mox16s* res = reinterpret_cast<Mox16s*>(at(3, 1408));    // [1408, 1920)
    Mox8u* dst = at(4, 1920);          // [1920, 2176)
    Mox16s* diff = reinterpret_cast<Mox16s*>(at(5, 2176));   // [2176, 2688)
    Mox16s* diff2 = reinterpret_cast<Mox16s*>(at(6, 2688));  // [2688, 3200)
    Mox16s* pred = reinterpret_cast<Mox16s*>(at(7, 3200));   // [3200, 3712)

    Buffers() {  // residuals in -300..300
        for (int i = 0; i < 16 * 16; ++i) res[i] = static_cast<Mox16s>(static_cast<int>(res[i] & 0x3FF) % 601 - 300);
    }
};

Buffers& buffers() {
    static Buffers b;
    return b;
}

const char* const kPos[] = {"full", "h", "v", "hv"};
const int kAcc[] = {0, 1, 2, 3};
const int kMcType[] = {0, 8, 4, 12};

template <class F>
void add(const std::string& name, F f) {
    benchmark::RegisterBenchmark(name.c_str(), [f](benchmark::State& st) {
        Buffers& b = buffers();
        mox::bench::measure(st, [&] { f(b); });
    });
}

using B = Buffers;
constexpr int RS = B::kRefStep, S = B::kStep, R = B::kResStep;

struct Plain {
    const char* name;
    MoxStatus (*fn)(const Mox8u*, int, Mox8u*, int);
};
struct Hp {
    const char* name;
    MoxStatus (*fn)(const Mox8u*, int, Mox8u*, int, int, int);
};
struct Mc {
    const char* name;
    MoxStatus (*one)(const Mox8u*, int, const Mox16s*, int, Mox8u*, int, int, int);
    MoxStatus (*two)(const Mox8u*, int, int, const Mox8u*, int, int, const Mox16s*, int, Mox8u*, int, int);
    bool unmasked;
};
struct Diff {
    const char* name;
    MoxStatus (*one)(const Mox8u*, int, const Mox8u*, int, Mox16s*, int, Mox16s*, int, int, int);
    MoxStatus (*two)(const Mox8u*, int, const Mox8u*, int, int, const Mox8u*, int, int, Mox16s*, int, int);
};

struct Uv {
    const char* name;
    MoxStatus (*one)(const Mox8u*, int, const Mox16s*, const Mox16s*, int, Mox8u*, int, int, int);
    MoxStatus (*two)(const Mox8u*, int, int, const Mox8u*, int, int, const Mox16s*, const Mox16s*, int, Mox8u*, int,
                     int);
};
struct DiffC2 {
    const char* name;
    MoxStatus (*one)(const Mox8u*, int, const Mox8u*, int, Mox16s*, Mox16s*, int, int, int);
    MoxStatus (*two)(const Mox8u*, int, const Mox8u*, int, int, const Mox8u*, int, int, Mox16s*, Mox16s*, int, int);
};
struct Avg {
    const char* name;
    MoxStatus (*fn)(const Mox8u*, int, const Mox8u*, int, Mox8u*, int);
};

const Plain kPlain[] = {{"Copy8x8", moxiCopy8x8_8u_C1R},
                        {"Copy16x16", moxiCopy16x16_8u_C1R},
                        {"Average8x8_C1IR", moxiAverage8x8_8u_C1IR},
                        {"Average16x16_C1IR", moxiAverage16x16_8u_C1IR}};
const Hp kHp[] = {{"Copy8x4HP", moxiCopy8x4HP_8u_C1R},
                  {"Copy8x8HP", moxiCopy8x8HP_8u_C1R},
                  {"Copy16x8HP", moxiCopy16x8HP_8u_C1R},
                  {"Copy16x16HP", moxiCopy16x16HP_8u_C1R},
                  {"InterpolateAverage8x4", moxiInterpolateAverage8x4_8u_C1IR},
                  {"InterpolateAverage8x8", moxiInterpolateAverage8x8_8u_C1IR},
                  {"InterpolateAverage16x8", moxiInterpolateAverage16x8_8u_C1IR},
                  {"InterpolateAverage16x16", moxiInterpolateAverage16x16_8u_C1IR}};
const Mc kMc[] = {
    {"MC16x16", moxiMC16x16_8u_C1, moxiMC16x16B_8u_C1, false}, {"MC16x8", moxiMC16x8_8u_C1, moxiMC16x8B_8u_C1, false},
    {"MC8x16", moxiMC8x16_8u_C1, moxiMC8x16B_8u_C1, false},    {"MC8x8", moxiMC8x8_8u_C1, moxiMC8x8B_8u_C1, false},
    {"MC8x4", moxiMC8x4_8u_C1, moxiMC8x4B_8u_C1, false},       {"MC16x4", moxiMC16x4_8u_C1, moxiMC16x4B_8u_C1, false},
    {"MC16x8UV", moxiMC16x8UV_8u_C1, moxiMC16x8BUV_8u_C1, false},
    {"MC4x8", moxiMC4x8_8u_C1, moxiMC4x8B_8u_C1, true},        {"MC4x4", moxiMC4x4_8u_C1, moxiMC4x4B_8u_C1, true},
    {"MC4x2", moxiMC4x2_8u_C1, moxiMC4x2B_8u_C1, true},        {"MC2x4", moxiMC2x4_8u_C1, moxiMC2x4B_8u_C1, true},
    {"MC2x2", moxiMC2x2_8u_C1, moxiMC2x2B_8u_C1, true},
};
const Diff kDiff[] = {{"GetDiff16x16", moxiGetDiff16x16_8u16s_C1, moxiGetDiff16x16B_8u16s_C1},
                      {"GetDiff16x8", moxiGetDiff16x8_8u16s_C1, moxiGetDiff16x8B_8u16s_C1},
                      {"GetDiff8x16", moxiGetDiff8x16_8u16s_C1, moxiGetDiff8x16B_8u16s_C1},
                      {"GetDiff8x8", moxiGetDiff8x8_8u16s_C1, moxiGetDiff8x8B_8u16s_C1},
                      {"GetDiff8x4", moxiGetDiff8x4_8u16s_C1, moxiGetDiff8x4B_8u16s_C1},
                      {"GetDiff4x4", moxiGetDiff4x4_8u16s_C1, nullptr}};

const Avg kAvg[] = {{"Average8x8", moxiAverage8x8_8u_C1R}, {"Average16x16", moxiAverage16x16_8u_C1R}};
const Uv kUv[] = {{"MC8x8_P2C2R", moxiMC8x8_16s8u_P2C2R, moxiMC8x8B_16s8u_P2C2R},
                  {"MC8x4_P2C2R", moxiMC8x4_16s8u_P2C2R, moxiMC8x4B_16s8u_P2C2R}};
const DiffC2 kDiffC2[] = {{"GetDiff8x8_C2P2", moxiGetDiff8x8_8u16s_C2P2, moxiGetDiff8x8B_8u16s_C2P2},
                          {"GetDiff8x4_C2P2", moxiGetDiff8x4_8u16s_C2P2, moxiGetDiff8x4B_8u16s_C2P2}};

const int kRegistered = [] {
    for (const auto& c : kPlain) add(c.name, [fn = c.fn](B& b) { fn(b.ref, RS, b.dst, S); });
    for (const auto& c : kAvg) add(c.name, [fn = c.fn](B& b) { fn(b.ref, RS, b.ref2, RS, b.dst, S); });
    add("Add8x8", [](B& b) { moxiAdd8x8_16s8u_C1IRS(b.res, R, b.dst, S); });
    add("AddC8x8", [](B& b) { moxiAddC8x8_16s8u_C1IR(-7, b.dst, S); });

    for (int p = 0; p < 4; ++p) {
        const std::string pos = std::string("/") + kPos[p];
        const int acc = kAcc[p], mc = kMcType[p];
        for (const auto& c : kHp) add(c.name + pos, [fn = c.fn, acc](B& b) { fn(b.ref, RS, b.dst, S, acc, 0); });
        add("Add8x8HP" + pos, [acc](B& b) { moxiAdd8x8HP_16s8u_C1RS(b.res, R, b.ref, RS, b.dst, S, acc, 0); });
        for (const auto& c : kMc) {
            for (int rc : {0, 2}) {
                if (rc && (!c.unmasked || p == 0)) continue;
                const std::string suffix = pos + (rc ? "/rc2" : "");
                add(c.name + suffix,
                    [fn = c.one, mc, rc](B& b) { fn(b.ref, RS, b.res, R, b.dst, S, mc, rc); });
                add(std::string(c.name) + "B" + suffix, [fn = c.two, mc, rc](B& b) {
                    fn(b.ref, RS, mc, b.ref2, RS, mc, b.res, R, b.dst, S, rc);
                });
            }
        }
        for (const auto& c : kUv) {
            add(c.name + pos, [fn = c.one, mc](B& b) {
                fn(b.ref, RS, b.res, b.res + 8, R, b.dst, S, mc, 0);
            });
            add(std::string(c.name) + "B" + pos, [fn = c.two, mc](B& b) {
                fn(b.ref, RS, mc, b.ref2, RS, mc, b.res, b.res + 8, R, b.dst, S, 0);
            });
        }
        for (const auto& c : kDiff) {
            for (int rc : {0, 2}) {
                if (rc && p == 0) continue;
                const std::string suffix = pos + (rc ? "/rc2" : "");
                add(c.name + suffix, [fn = c.one, mc, rc](B& b) {
                    fn(b.cur, S, b.ref, RS, b.diff, R, b.pred, R, mc, rc);
                });
                if (c.two)
                    add(std::string(c.name) + "B" + suffix, [fn = c.two, mc, rc](B& b) {
                        fn(b.cur, S, b.ref, RS, mc, b.ref2, RS, mc, b.diff, R, rc);
                    });
            }
        }
        for (const auto& c : kDiffC2) {
            add(c.name + pos, [fn = c.one, mc](B& b) { fn(b.cur, S, b.ref, RS, b.diff, b.diff2, R, mc, 0); });
            add(std::string(c.name) + "B" + pos, [fn = c.two, mc](B& b) {
                fn(b.cur, S, b.ref, RS, mc, b.ref2, RS, mc, b.diff, b.diff2, R, 0);
            });
        }
    }
    return 0;
}();

}  // namespace
