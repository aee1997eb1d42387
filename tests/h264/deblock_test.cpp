// H.264 deblocking filters: every exported form against the scalar model on
// random macroblocks (smooth, noisy and near-saturated content, every kind of
// strength, thresholds over their whole range), with the macroblock and the
// samples the filter may read surrounded by guards, a macroblock at the
// picture's edges next to unreadable pages, plus argument checks.
#include <algorithm>
#include <functional>
#include <vector>

#include "common/guard_page.h"
#include "common/harness.h"
#include "h264/deblock_ref.h"

namespace {

using namespace mox::test;
namespace ref = mox::ref;

enum class Kind { LumaVer, LumaHor, LumaMbaff, ChromaVer, ChromaHor, ChromaVerC2, ChromaHorC2, ChromaMbaff, C422Ver, C422Hor };

// Area around the macroblock that a form may read: margins left and above, then the macroblock.
struct Area {
    int left, top, width, height;
};

Area areaOf(Kind k) {
    switch (k) {
        case Kind::LumaVer: return {4, 0, 16, 16};
        case Kind::LumaHor: return {0, 4, 16, 16};
        case Kind::LumaMbaff: return {4, 0, 16, 8};
        case Kind::ChromaVer: return {2, 0, 8, 8};
        case Kind::ChromaHor: return {0, 2, 8, 8};
        case Kind::ChromaVerC2: return {4, 0, 16, 8};
        case Kind::ChromaHorC2: return {0, 2, 16, 8};
        case Kind::ChromaMbaff: return {2, 0, 8, 4};
        case Kind::C422Ver: return {2, 0, 8, 16};
        case Kind::C422Hor: return {0, 2, 8, 16};
    }
    return {};
}

template <class T>
struct Params {
    T alpha[2], beta[2], tc0[16];
    Mox8u bs[16];
    uint32_t alphaValue, betaValue;  // the MBAFF forms' value arguments (8-bit)
    int bitDepth;
};

template <class T>
using Call = std::function<MoxStatus(T* mb, int stepBytes, Params<T>& p)>;

template <class T>
struct Case {
    const char* name;
    Kind kind;
    Call<T> call;
};

// ---------------------------------------------------------------- the exported forms

using Fn8 = MoxStatus (*)(Mox8u*, Mox32s, const Mox8u*, const Mox8u*, const Mox8u*, const Mox8u*);
using Mbaff8 = MoxStatus (*)(Mox8u*, Mox32s, Mox32u, Mox32u, const Mox8u*, const Mox8u*);
using Rec8 = MoxStatus (*)(const MoxiFilterDeblock_8u*);
using Rec16 = MoxStatus (*)(const MoxiFilterDeblock_16u*);

Call<Mox8u> arrays(Fn8 f) {
    return [f](Mox8u* mb, int step, Params<Mox8u>& p) { return f(mb, step, p.alpha, p.beta, p.tc0, p.bs); };
}
Call<Mox8u> values(Mbaff8 f) {
    return [f](Mox8u* mb, int step, Params<Mox8u>& p) {
        return f(mb, step, p.alphaValue, p.betaValue, p.tc0, p.bs);
    };
}
Call<Mox8u> record8(Rec8 f) {
    return [f](Mox8u* mb, int step, Params<Mox8u>& p) {
        const MoxiFilterDeblock_8u d{mb, step, p.alpha, p.beta, p.tc0, p.bs};
        return f(&d);
    };
}
Call<Mox16u> record16(Rec16 f) {
    return [f](Mox16u* mb, int step, Params<Mox16u>& p) {
        const MoxiFilterDeblock_16u d{mb, step / 2, p.alpha, p.beta, p.tc0, p.bs, p.bitDepth};
        return f(&d);
    };
}

const Case<Mox8u> k8u[] = {
    {"LumaVer8u", Kind::LumaVer, arrays(moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR)},
    {"LumaHor8u", Kind::LumaHor, arrays(moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR)},
    {"LumaMbaff8u", Kind::LumaMbaff, values(moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR)},
    {"ChromaVer8u", Kind::ChromaVer, arrays(moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR)},
    {"ChromaHor8u", Kind::ChromaHor, arrays(moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR)},
    {"ChromaVerC2_8u", Kind::ChromaVerC2, arrays(moxiFilterDeblockingChroma_VerEdge_H264_8u_C2IR)},
    {"ChromaHorC2_8u", Kind::ChromaHorC2, arrays(moxiFilterDeblockingChroma_HorEdge_H264_8u_C2IR)},
    {"ChromaMbaff8u", Kind::ChromaMbaff, values(moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR)},
    {"Chroma422Ver8u", Kind::C422Ver, record8(moxiFilterDeblockingChroma422VerEdge_H264_8u_C1IR)},
    {"Chroma422Hor8u", Kind::C422Hor, record8(moxiFilterDeblockingChroma422HorEdge_H264_8u_C1IR)},
};

const Case<Mox16u> k16u[] = {
    {"LumaVer16u", Kind::LumaVer, record16(moxiFilterDeblockingLumaVerEdge_H264_16u_C1IR)},
    {"LumaHor16u", Kind::LumaHor, record16(moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR)},
    {"LumaMbaff16u", Kind::LumaMbaff, record16(moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR)},
    {"ChromaVer16u", Kind::ChromaVer, record16(moxiFilterDeblockingChromaVerEdge_H264_16u_C1IR)},
    {"ChromaHor16u", Kind::ChromaHor, record16(moxiFilterDeblockingChromaHorEdge_H264_16u_C1IR)},
    {"ChromaMbaff16u", Kind::ChromaMbaff, record16(moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR)},
    {"Chroma422Ver16u", Kind::C422Ver, record16(moxiFilterDeblockingChroma422VerEdge_H264_16u_C1IR)},
    {"Chroma422Hor16u", Kind::C422Hor, record16(moxiFilterDeblockingChroma422HorEdge_H264_16u_C1IR)},
};

// ---------------------------------------------------------------- the model

template <class T>
void model(Kind k, T* mb, int step, const Params<T>& p) {
    const int maxValue = sizeof(T) == 1 ? 255 : (1 << p.bitDepth) - 1;
    // The 16-bit MBAFF forms take their thresholds from the arrays.
    const uint32_t av = sizeof(T) == 1 ? p.alphaValue : p.alpha[0];
    const uint32_t bv = sizeof(T) == 1 ? p.betaValue : p.beta[0];
    switch (k) {
        case Kind::LumaVer: ref::deblockLuma(mb, step, true, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::LumaHor: ref::deblockLuma(mb, step, false, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::LumaMbaff: ref::deblockLumaMbaff(mb, step, av, bv, p.tc0, p.bs, maxValue); break;
        case Kind::ChromaVer: ref::deblockChroma(mb, step, true, 1, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::ChromaHor: ref::deblockChroma(mb, step, false, 1, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::ChromaVerC2: ref::deblockChroma(mb, step, true, 2, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::ChromaHorC2: ref::deblockChroma(mb, step, false, 2, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::ChromaMbaff: ref::deblockChromaMbaff(mb, step, av, bv, p.tc0, p.bs, maxValue); break;
        case Kind::C422Ver: ref::deblockChroma422(mb, step, true, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
        case Kind::C422Hor: ref::deblockChroma422(mb, step, false, p.alpha, p.beta, p.tc0, p.bs, maxValue); break;
    }
}

// ---------------------------------------------------------------- random inputs

// Content that the filter acts on: 4x4 blocks of a common level plus noise
// (small steps across block edges), sometimes near 0 or the maximum so that
// results clamp, sometimes plain noise.
template <class T>
void fillContent(Rng& r, Guarded<T>& g, int maxValue) {
    const int style = r.uniform(0, 3);
    const int spread = r.coin() ? r.uniform(0, 8) : r.uniform(0, maxValue / 8 + 1);
    const int base = style == 1 ? r.uniform(0, 6) : (style == 2 ? maxValue - r.uniform(0, 6) : r.uniform(0, maxValue));
    const int blockJump = r.uniform(0, maxValue / 10 + 1);
    int level[8][8];
    for (auto& rowLevels : level)
        for (int& l : rowLevels) l = base + r.uniform(-blockJump, blockJump);
    for (int y = 0; y < g.height(); ++y)
        for (int x = 0; x < g.width(); ++x) {
            int v = style == 3 ? r.uniform(0, maxValue) : level[y / 4 % 8][x / 4 % 8] + r.uniform(-spread, spread);
            g.at(x, y) = static_cast<T>(v < 0 ? 0 : (v > maxValue ? maxValue : v));
        }
    g.arm();
}

template <class T>
Params<T> randomParams(Rng& r, int bitDepth) {
    Params<T> p{};
    p.bitDepth = bitDepth;
    const int maxT = sizeof(T) == 1 ? 255 : (1 << bitDepth) + r.uniform(0, 4) - 2;
    auto threshold = [&](int small) {
        // Mostly the useful range, sometimes anything up to the type's maximum, and 0.
        switch (r.uniform(0, 9)) {
            case 0: return 0;
            case 1: return static_cast<int>(r.range(0, sizeof(T) == 1 ? 255 : 65535));
            case 2: return maxT < 0 ? 0 : (maxT > 65535 ? 65535 : maxT);
            default: return r.uniform(0, small);
        }
    };
    const int scale = 1 << (bitDepth - 8);
    for (int i = 0; i < 2; ++i) {
        p.alpha[i] = static_cast<T>(threshold(255 * scale));
        p.beta[i] = static_cast<T>(threshold(20 * scale));
    }
    for (auto& t : p.tc0) t = static_cast<T>(r.coin() ? r.uniform(0, 25 * scale) : threshold(255 * scale));
    const int bsStyle = r.uniform(0, 3);  // mixed, all 4, all normal, all 0
    for (auto& b : p.bs) {
        static const Mox8u kinds[] = {0, 1, 2, 3, 4, 7, 0, 255};
        const Mox8u mixed = r.coin() ? kinds[r.uniform(0, 7)] : static_cast<Mox8u>(r.uniform(0, 255));
        b = bsStyle == 0 ? mixed : (bsStyle == 1 ? 4 : (bsStyle == 2 ? static_cast<Mox8u>(r.uniform(1, 3)) : 0));
        if (bsStyle == 3 && r.uniform(0, 7) == 0) b = mixed;
    }
    p.alphaValue = r.uniform(0, 9) == 0 ? static_cast<uint32_t>(r.range(256, 0xFFFFFFFFll)) : p.alpha[0];
    p.betaValue = r.uniform(0, 9) == 0 ? static_cast<uint32_t>(r.range(256, 0xFFFFFFFFll)) : p.beta[0];
    return p;
}

template <class T>
void checkAgainstModel(const Case<T>& c, uint32_t seed) {
    Rng r(seed);
    const Area a = areaOf(c.kind);
    const int bytesPerSample = sizeof(T);
    int changedCalls = 0;
    for (int iter = 0; iter < 3000; ++iter) {
        const int bitDepth = sizeof(T) == 1 ? 8 : r.uniform(8, 16);
        const int maxValue = (1 << bitDepth) - 1;
        Guarded<T> got(a.left + a.width, a.top + a.height, randomLayout(r, bytesPerSample));
        fillContent(r, got, maxValue);
        Guarded<T> want(got.width(), got.height());
        want.fill([&, i = 0]() mutable {
            const int x = i % got.width(), y = i / got.width();
            ++i;
            return got.at(x, y);
        });
        const auto before = got.samples();
        Params<T> p = randomParams<T>(r, bitDepth);
        ASSERT_EQ(c.call(&got.at(a.left, a.top), got.step(), p), moxStsNoErr) << c.name;
        model(c.kind, &want.at(a.left, a.top), want.step(), p);
        ASSERT_EQ(got.samples(), want.samples()) << c.name << " iteration " << iter;
        ASSERT_TRUE(got.guardsIntact()) << c.name << " iteration " << iter;
        changedCalls += got.samples() != before;
    }
    // The inputs must exercise the filter, not only its early exits.
    EXPECT_GT(changedCalls, 1000) << c.name;
}

TEST(Deblock, MatchesModel8u) {
    uint32_t seed = 100;
    for (const auto& c : k8u) checkAgainstModel(c, seed++);
}

TEST(Deblock, MatchesModel16u) {
    // Bit depths 8..16 with thresholds scaled to them and beyond.
    uint32_t seed = 200;
    for (const auto& c : k16u) checkAgainstModel(c, seed++);
}

// 10-bit normal filtering that overshoots: the result clamps to 1023 and to 0.
TEST(Deblock, ClampsToBitDepth16u) {
    // Lines p3..q3 across the first horizontal edge; delta = +4 and -4 respectively.
    const int lines[2][8] = {{1023, 1023, 1023, 1020, 1023, 1000, 1000, 1000}, {0, 0, 0, 3, 0, 23, 23, 23}};
    const int want[2][2] = {{1023, 1019}, {0, 4}};
    for (int k = 0; k < 2; ++k) {
        Guarded<Mox16u> g(16, 20);
        g.fill([] { return 0; });
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 16; ++x) g.at(x, y) = static_cast<Mox16u>(lines[k][y]);
        g.arm();
        const Mox16u alpha[2] = {100, 100}, beta[2] = {50, 50};
        Mox16u tc0[16];
        const Mox8u bs[16] = {2, 2, 2, 2};
        for (auto& t : tc0) t = 40;
        const MoxiFilterDeblock_16u d{&g.at(0, 4), g.step() / 2, alpha, beta, tc0, bs, 10};
        ASSERT_EQ(moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR(&d), moxStsNoErr);
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(g.at(x, 3), want[k][0]);
            EXPECT_EQ(g.at(x, 4), want[k][1]);
        }
    }
}

// Strength 0 leaves its group alone; strengths other than 0 and 4 are all the
// normal filter (checked as equal results for 1 and 7).
TEST(Deblock, StrengthsZeroAndSeven8u) {
    Rng r(7);
    for (const auto& c : k8u) {
        const Area a = areaOf(c.kind);
        for (int iter = 0; iter < 200; ++iter) {
            Guarded<Mox8u> g1(a.left + a.width, a.top + a.height), g7(a.left + a.width, a.top + a.height);
            fillContent(r, g1, 255);
            g7.fill([&, i = 0]() mutable {
                const int x = i % g1.width(), y = i / g1.width();
                ++i;
                return g1.at(x, y);
            });
            Params<Mox8u> p = randomParams<Mox8u>(r, 8);
            for (auto& b : p.bs) b = r.coin() ? 1 : 0;
            Params<Mox8u> p7 = p;
            for (auto& b : p7.bs) b = b ? 7 : 0;
            ASSERT_EQ(c.call(&g1.at(a.left, a.top), g1.step(), p), moxStsNoErr);
            ASSERT_EQ(c.call(&g7.at(a.left, a.top), g7.step(), p7), moxStsNoErr);
            ASSERT_EQ(g1.samples(), g7.samples()) << c.name;
        }
        Guarded<Mox8u> g(a.left + a.width, a.top + a.height);
        fillContent(r, g, 255);
        const auto before = g.samples();
        Params<Mox8u> p = randomParams<Mox8u>(r, 8);
        for (auto& b : p.bs) b = 0;
        p.alpha[0] = p.alpha[1] = p.beta[0] = p.beta[1] = 255;
        p.alphaValue = p.betaValue = 255;
        EXPECT_EQ(c.call(&g.at(a.left, a.top), g.step(), p), moxStsNoErr);
        EXPECT_EQ(g.samples(), before) << c.name;
    }
}

// ---------------------------------------------------------------- argument checks

TEST(Deblock, NullPointers8u) {
    Guarded<Mox8u> g(24, 24);
    Mox8u* mb = &g.at(4, 4);
    const Mox8u th[16] = {}, bs[16] = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
    const Mox8u ab[2] = {255, 255};
    const Fn8 fns[] = {moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR,  moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR,
                       moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR, moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR,
                       moxiFilterDeblockingChroma_VerEdge_H264_8u_C2IR, moxiFilterDeblockingChroma_HorEdge_H264_8u_C2IR};
    for (Fn8 f : fns) {
        expectUntouched(moxStsNullPtrErr, [&] { return f(nullptr, g.step(), ab, ab, th, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), nullptr, ab, th, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), ab, nullptr, th, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), ab, ab, nullptr, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), ab, ab, th, nullptr); }, {g});
    }
    for (Mbaff8 f : {moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR,
                     moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR}) {
        // Pointers are checked before alpha 0 returns.
        expectUntouched(moxStsNullPtrErr, [&] { return f(nullptr, g.step(), 0, 255, th, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), 0, 255, nullptr, bs); }, {g});
        expectUntouched(moxStsNullPtrErr, [&] { return f(mb, g.step(), 0, 255, th, nullptr); }, {g});
    }
    for (Rec8 f : {moxiFilterDeblockingChroma422VerEdge_H264_8u_C1IR, moxiFilterDeblockingChroma422HorEdge_H264_8u_C1IR}) {
        EXPECT_EQ(f(nullptr), moxStsNullPtrErr);
        const MoxiFilterDeblock_8u full{mb, g.step(), ab, ab, th, bs};
        for (int missing = 0; missing < 5; ++missing) {
            MoxiFilterDeblock_8u d = full;
            if (missing == 0) d.pSrcDstPlane = nullptr;
            if (missing == 1) d.pAlpha = nullptr;
            if (missing == 2) d.pBeta = nullptr;
            if (missing == 3) d.pThresholds = nullptr;
            if (missing == 4) d.pBs = nullptr;
            expectUntouched(moxStsNullPtrErr, [&] { return f(&d); }, {g});
        }
    }
}

TEST(Deblock, NullPointers16u) {
    Guarded<Mox16u> g(24, 24);
    const Mox16u th[16] = {}, ab[2] = {1023, 1023};
    const Mox8u bs[16] = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
    const MoxiFilterDeblock_16u full{&g.at(4, 4), g.step() / 2, ab, ab, th, bs, 10};
    const Rec16 fns[] = {moxiFilterDeblockingLumaVerEdge_H264_16u_C1IR, moxiFilterDeblockingLumaHorEdge_H264_16u_C1IR,
                         moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR, moxiFilterDeblockingChromaVerEdge_H264_16u_C1IR,
                         moxiFilterDeblockingChromaHorEdge_H264_16u_C1IR, moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR,
                         moxiFilterDeblockingChroma422VerEdge_H264_16u_C1IR, moxiFilterDeblockingChroma422HorEdge_H264_16u_C1IR};
    for (Rec16 f : fns) {
        EXPECT_EQ(f(nullptr), moxStsNullPtrErr);
        for (int missing = 0; missing < 5; ++missing) {
            MoxiFilterDeblock_16u d = full;
            if (missing == 0) d.pSrcDstPlane = nullptr;
            if (missing == 1) d.pAlpha = nullptr;
            if (missing == 2) d.pBeta = nullptr;
            if (missing == 3) d.pThresholds = nullptr;
            if (missing == 4) d.pBs = nullptr;
            expectUntouched(moxStsNullPtrErr, [&] { return f(&d); }, {g});
        }
    }
}

// MBAFF with alpha 0 returns before looking at the strengths: pBs may point at
// an unreadable page.
TEST(Deblock, MbaffAlphaZeroReadsNothing8u) {
    GuardPage none(0);
    Guarded<Mox8u> g(24, 24);
    const Mox8u th[4] = {3, 3, 3, 3};
    expectUntouched(moxStsNoErr, [&] {
        return moxiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(&g.at(4, 4), g.step(), 0, 255, th, none.as<Mox8u>());
    }, {g});
    expectUntouched(moxStsNoErr, [&] {
        return moxiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(&g.at(4, 4), g.step(), 0, 255, th,
                                                                     none.as<Mox8u>());
    }, {g});
    Guarded<Mox16u> g16(24, 24);
    const Mox16u zero[2] = {0, 1023}, th16[4] = {3, 3, 3, 3};
    const MoxiFilterDeblock_16u d{&g16.at(4, 4), g16.step() / 2, zero, zero + 1, th16, none.as<Mox8u>(), 10};
    expectUntouched(moxStsNoErr, [&] { return moxiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR(&d); }, {g16});
    expectUntouched(moxStsNoErr, [&] { return moxiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR(&d); }, {g16});
}

// ---------------------------------------------------------------- picture edges

// A macroblock alone in a picture: every row of the macroblock sits in a page
// of its own whose neighbouring pages (before and after, and the rows above
// and below) are unreadable. Rows start at their page's start (the picture's
// left edge) or end at its end (the right edge). Row y is at page 9 + 2y.
class EdgePages {
public:
    static constexpr int kRows = 16;
    EdgePages() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), size_((2 * kRows + 11) * page_) {
        void* m = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::runtime_error("mmap");
        base_ = static_cast<Mox8u*>(m);
        for (int y = 0; y < kRows; ++y)
            if (mprotect(rowPage(y), page_, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("mprotect");
    }
    ~EdgePages() { munmap(base_, size_); }
    EdgePages(const EdgePages&) = delete;
    EdgePages& operator=(const EdgePages&) = delete;

    Mox8u* rowPage(int y) const { return base_ + (9 + 2 * static_cast<size_t>(y)) * page_; }
    int step() const { return static_cast<int>(2 * page_); }
    int pageBytes() const { return static_cast<int>(page_); }

private:
    size_t page_, size_;
    Mox8u* base_;
};

// With edge 0's strengths all 0 (the macroblock at the picture's left or top
// edge) no form may touch anything outside the macroblock; the inner edges
// are still filtered as the model says and the rest of every row's page
// stays as it was.
template <class T>
void checkPictureEdges(const Case<T>& c, EdgePages& pages, uint32_t seed) {
    Rng r(seed);
    const Area a = areaOf(c.kind);
    const int rowBytes = a.width * static_cast<int>(sizeof(T));
    const bool mbaff = c.kind == Kind::LumaMbaff || c.kind == Kind::ChromaMbaff;
    int changedCalls = 0;
    for (int atEnd = 0; atEnd < 2; ++atEnd) {
        const int offset = atEnd ? pages.pageBytes() - rowBytes : 0;
        // The bytes of each row's page next to the macroblock, which must stay as they were.
        const int lo = std::max(0, offset - 64), hi = std::min(pages.pageBytes(), offset + rowBytes + 64);
        for (int iter = 0; iter < 300; ++iter) {
            const int bitDepth = sizeof(T) == 1 ? 8 : r.uniform(8, 16);
            Guarded<T> want(a.left + a.width, a.top + a.height);
            fillContent(r, want, (1 << bitDepth) - 1);
            Params<T> p = randomParams<T>(r, bitDepth);
            for (int i = 0; i < 4; ++i) p.bs[i] = 0;
            std::vector<std::vector<Mox8u>> before(a.height);
            bool changed = false;
            for (int y = 0; y < a.height; ++y) {
                Mox8u* page = pages.rowPage(y);
                for (int x = lo; x < hi; ++x) page[x] = static_cast<Mox8u>(r.uniform(0, 255));
                std::memcpy(page + offset, &want.at(a.left, a.top + y), rowBytes);
                before[y].assign(page + lo, page + hi);
            }
            ASSERT_EQ(c.call(reinterpret_cast<T*>(pages.rowPage(0) + offset), pages.step(), p), moxStsNoErr) << c.name;
            model(c.kind, &want.at(a.left, a.top), want.step(), p);
            for (int y = 0; y < a.height; ++y) {
                const Mox8u* page = pages.rowPage(y);
                std::vector<Mox8u> expect = before[y];
                std::memcpy(expect.data() + offset - lo, &want.at(a.left, a.top + y), rowBytes);
                ASSERT_EQ(std::vector<Mox8u>(page + lo, page + hi), expect)
                    << c.name << (atEnd ? " right" : " left") << " edge, row " << y << ", iteration " << iter;
                changed |= std::memcmp(before[y].data() + offset - lo, page + offset, rowBytes) != 0;
            }
            changedCalls += changed;
        }
    }
    // The inner edges must have been filtered, not only skipped (the MBAFF
    // forms have only edge 0).
    if (!mbaff) {
        EXPECT_GT(changedCalls, 100) << c.name;
    }
}

TEST(Deblock, ZeroOuterEdgeStaysInsidePicture) {
    EdgePages pages;
    uint32_t seed = 300;
    for (const auto& c : k8u) checkPictureEdges(c, pages, seed++);
    for (const auto& c : k16u) checkPictureEdges(c, pages, seed++);
}

TEST(Deblock, Chroma422MbaffNotImplemented) {
    Guarded<Mox8u> g8(24, 24);
    Guarded<Mox16u> g16(24, 24);
    const Mox8u bs[16] = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4}, t8[16] = {255, 255};
    const Mox16u t16[16] = {255, 255};
    const MoxiFilterDeblock_8u d8{&g8.at(4, 4), g8.step(), t8, t8, t8, bs};
    const MoxiFilterDeblock_16u d16{&g16.at(4, 4), g16.step() / 2, t16, t16, t16, bs, 10};
    expectUntouched(moxStsNotImplementedErr, [&] { return moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(&d8); }, {g8});
    expectUntouched(moxStsNotImplementedErr, [&] { return moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(nullptr); }, {g8});
    expectUntouched(moxStsNotImplementedErr, [&] { return moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(&d16); }, {g16});
    expectUntouched(moxStsNotImplementedErr, [&] { return moxiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(nullptr); }, {g16});
}

}  // namespace
