// H.264 macroblock reconstruction: every member against the reference model
// (built from the reference predictors and transforms) on random macroblocks
// inside random pictures: random modes, coded-block words, quantisers, edge
// words, scaling tables and levels, lossless macroblocks included. Each call
// must match the model in status, in every sample of the picture (so nothing
// outside the macroblock changes), in how far it advances the coefficient
// stream, and leave the levels and the guards around the picture alone.
// Then the worked cases, the unread neighbours, and the argument checks in
// their order with nothing written.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>

#include "common/guard_page.h"
#include "common/harness.h"
#include "h264/reconstruct_ref.h"
#include "h264/transform_ref.h"

namespace {

using namespace mox::test;
using mox::ref::ChromaMB;
using mox::ref::LumaMB;

// ---------------------------------------------------------------- inputs

// A picture with the macroblock at (x0, y0) and its neighbours all around.
template <class P>
struct Picture {
    Guarded<P> g;
    int x0, y0;
    P* mb() { return &g.at(x0, y0); }
    int step() const { return g.step(); }
};

template <class P>
Picture<P> randomPicture(Rng& r, int w, int h, int x0, int y0, int bitDepth, Layout layout) {
    Picture<P> p{Guarded<P>(w, h, layout), x0, y0};
    const int maxV = (1 << bitDepth) - 1;
    if (r.uniform(0, 3) == 0) {
        int base = r.uniform(0, maxV);
        p.g.fill([&] { return std::clamp<int64_t>(base + r.uniform(-4, 4), 0, maxV); });
    } else {
        p.g.fillRandom(r, 0, maxV);
    }
    return p;
}

template <class P>
Picture<P> copyOf(const Picture<P>& p) {
    Picture<P> c{Guarded<P>(p.g.width(), p.g.height()), p.x0, p.y0};
    for (int y = 0; y < p.g.height(); ++y)
        for (int x = 0; x < p.g.width(); ++x) c.g.at(x, y) = p.g.at(x, y);
    c.g.arm();
    return c;
}

// Levels as streams carry them: mostly small or zero, sometimes large,
// now and then the type's limits.
template <class C>
std::vector<C> randomStream(Rng& r, int n) {
    constexpr int64_t lo = std::numeric_limits<C>::min(), hi = std::numeric_limits<C>::max();
    std::vector<C> s(n);
    for (C& v : s) {
        switch (r.uniform(0, 15)) {
            case 0:
                v = static_cast<C>(r.extreme(lo, hi));
                break;
            case 1:
            case 2:
                v = static_cast<C>(r.uniform(-2048, 2048));
                break;
            case 3:
            case 4:
            case 5:
            case 6:
                v = static_cast<C>(r.uniform(-20, 20));
                break;
            default:
                v = 0;
                break;
        }
    }
    return s;
}

// LevelScale values of one QP % 6: flat (16 x normAdjust) or a random weighting matrix.
std::vector<Mox16s> randomTable(Rng& r, int n, int qp) {
    std::vector<Mox16s> t(n);
    bool flat = r.coin();
    for (int k = 0; k < n; ++k) {
        int w = flat ? 16 : r.uniform(1, 255);
        t[k] = static_cast<Mox16s>(mox::ref::flatLevelScale(qp % 6, k, n == 64) / 16 * w);
    }
    return t;
}

int randomQp(Rng& r, int maxQp) {
    return r.uniform(0, 4) == 0 ? 0 : r.uniform(0, maxQp);
}

// ---------------------------------------------------------------- luma members

enum class Kind { Intra4x4, Intra8x8, Intra16x16, Inter4x4, Inter8x8 };

struct LumaCase {
    Mox32u modes[16];
    Mox32u mode16;
    Mox32u cbp;
    int qp;
    int edge;
    const Mox16s* table;
    int bypass;
    int bitDepth;
};

template <class C, class P>
struct LumaMember {
    std::string name;
    Kind kind;
    bool flat;    // flat tables: no pQuantTable, no lossless
    bool halves;  // edge 0x01 / 0x02 split the left column
    int maxQp;    // at 8 bits; 6 more per extra bit
    std::function<MoxStatus(C**, P*, int, const LumaCase&)> call;
};

// Intra16x16 modes that need a neighbour the edge word excludes.
bool luma16x16Refuses(Mox32u mode, int edge) {
    return (mode == 0 && (edge & 0x04)) || (mode == 1 && (edge & 0x01)) || (mode == 3 && (edge & 0x15));
}

// `shape` (may be empty) narrows each random case before its table is drawn.
template <class C, class P>
void checkLuma(const LumaMember<C, P>& m, int iterations, uint32_t seed,
               const std::function<void(LumaCase&, int)>& shape = {}) {
    Rng r(seed);
    const bool is8x8 = m.kind == Kind::Intra8x8 || m.kind == Kind::Inter8x8;
    for (int iter = 0; iter < iterations; ++iter) {
        LumaCase c{};
        for (Mox32u& v : c.modes) v = static_cast<Mox32u>(r.uniform(0, 8));
        if (m.kind == Kind::Intra8x8 && r.uniform(0, 15) == 0) c.modes[r.uniform(0, 3)] = r.coin() ? 9 : 0x80000000u;
        c.mode16 = static_cast<Mox32u>(r.uniform(0, 15) == 0 ? r.uniform(4, 7) : r.uniform(0, 3));
        c.cbp = static_cast<Mox32u>(r.range(0, 0xFFFFFFFF));
        if (r.uniform(0, 7) == 0)
            c.cbp &= is8x8 ? ~0xFu : ~0x1FFFFu;  // no luma block at all
        else if (r.uniform(0, 3) == 0)
            c.cbp |= is8x8 ? 0xFu : 0x1FFFFu;  // every block
        c.bitDepth = sizeof(P) == 1 ? 8 : r.uniform(8, 14);
        c.qp = randomQp(r, m.maxQp + 6 * (c.bitDepth - 8));
        c.edge = r.uniform(0, 255);
        c.bypass = m.flat ? 0 : (r.coin() ? r.uniform(1, 255) : 0);
        if (shape) shape(c, iter);
        std::vector<Mox16s> table = randomTable(r, is8x8 ? 64 : 16, c.qp);
        c.table = m.flat ? nullptr : table.data();

        Picture<P> got = randomPicture<P>(r, 48, 24, 16, 4, c.bitDepth, randomLayout(r, sizeof(P))), want = copyOf(got);
        std::vector<C> stream = randomStream<C>(r, 16 * 17 + 64 * 4 + 8), original = stream;
        C* ptr = stream.data();

        if (m.kind == Kind::Intra16x16 && (luma16x16Refuses(c.mode16, c.edge) || c.mode16 > 3)) {
            MoxStatus st = luma16x16Refuses(c.mode16, c.edge) ? moxStsIntraNeighbourErr : moxStsOutOfRangeErr;
            expectUntouched(st, [&] { return m.call(&ptr, got.mb(), got.step(), c); }, {got.g});
            ASSERT_EQ(ptr, stream.data());
            continue;
        }

        LumaMB<C, P> mb;
        mb.p = want.mb();
        mb.step = want.step();
        mb.modes = c.modes;
        mb.mode = static_cast<int>(c.mode16);
        mb.cbp = c.cbp;
        mb.qp = c.qp;
        mb.edge = m.kind == Kind::Inter4x4 || m.kind == Kind::Inter8x8 ? 0 : c.edge;
        mb.table = c.table;
        mb.bypass = c.bypass != 0;
        mb.halves = m.halves;
        mb.bitDepth = c.bitDepth;
        const C* refPtr = stream.data();
        MoxStatus wantSt = moxStsNoErr;
        switch (m.kind) {
            case Kind::Intra4x4:
                wantSt = mox::ref::lumaIntra4x4(mb, refPtr);
                break;
            case Kind::Intra8x8:
                wantSt = mox::ref::lumaIntra8x8(mb, refPtr);
                break;
            case Kind::Intra16x16:
                mox::ref::lumaIntra16x16(mb, refPtr);
                break;
            case Kind::Inter4x4:
                mox::ref::lumaInter4x4(mb, refPtr);
                break;
            case Kind::Inter8x8:
                mox::ref::lumaInter8x8(mb, refPtr);
                break;
        }
        std::string what = m.name + " iteration " + std::to_string(iter);
        ASSERT_EQ(m.call(&ptr, got.mb(), got.step(), c), wantSt) << what;
        ASSERT_EQ(got.g.samples(), want.g.samples()) << what;
        ASSERT_EQ(ptr - stream.data(), refPtr - stream.data()) << what;
        ASSERT_EQ(stream, original) << what << ": the levels changed";
        ASSERT_TRUE(got.g.guardsIntact()) << what;
    }
}

// The 8-bit luma members, adapted to one calling shape.
std::vector<LumaMember<Mox16s, Mox8u>> lumaMembers8() {
    using C = Mox16s;
    using P = Mox8u;
    using L = LumaCase;
    return {
        {"LumaIntraMB", Kind::Intra4x4, true, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntraMB_H264_16s8u_C1R(pp, p, s, c.modes, c.cbp, c.qp,
                                                              static_cast<Mox8u>(c.edge));
         }},
        {"LumaIntra4x4MB", Kind::Intra4x4, false, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(
                 pp, p, s, c.modes, c.cbp, c.qp, static_cast<Mox8u>(c.edge), c.table, static_cast<Mox8u>(c.bypass));
         }},
        {"LumaIntra8x8MB", Kind::Intra8x8, false, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(
                 pp, p, s, c.modes, c.cbp, c.qp, static_cast<Mox8u>(c.edge), c.table, static_cast<Mox8u>(c.bypass));
         }},
        {"LumaIntra16x16MB", Kind::Intra16x16, true, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(pp, p, s, c.mode16, c.cbp, c.qp,
                                                                   static_cast<Mox8u>(c.edge));
         }},
        {"LumaIntra_16x16MB", Kind::Intra16x16, false, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(
                 pp, p, s, c.mode16, c.cbp, c.qp, static_cast<Mox8u>(c.edge), c.table, static_cast<Mox8u>(c.bypass));
         }},
        {"LumaInter4x4MB", Kind::Inter4x4, false, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(pp, p, s, c.cbp, c.qp, c.table,
                                                                 static_cast<Mox8u>(c.bypass));
         }},
        {"LumaInter8x8MB", Kind::Inter8x8, false, false, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(pp, p, s, c.cbp, c.qp, c.table,
                                                                 static_cast<Mox8u>(c.bypass));
         }},
        {"LumaIntraHalfMB", Kind::Intra4x4, true, true, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(pp, p, s, c.modes, c.cbp, c.qp,
                                                                  static_cast<Mox8u>(c.edge));
         }},
        {"LumaIntraHalf4x4MB", Kind::Intra4x4, false, true, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntraHalf4x4MB_H264_16s8u_C1R(
                 pp, p, s, c.modes, c.cbp, c.qp, static_cast<Mox8u>(c.edge), c.table, static_cast<Mox8u>(c.bypass));
         }},
        {"LumaIntraHalf8x8MB", Kind::Intra8x8, false, true, 51,
         [](C** pp, P* p, int s, const L& c) {
             return moxiReconstructLumaIntraHalf8x8MB_H264_16s8u_C1R(
                 pp, p, s, c.modes, c.cbp, c.qp, static_cast<Mox8u>(c.edge), c.table, static_cast<Mox8u>(c.bypass));
         }},
    };
}

TEST(H264Reconstruct, LumaMatchesReference) {
    uint32_t seed = 100;
    for (const auto& m : lumaMembers8()) checkLuma(m, 1500, seed++);
}

TEST(H264Reconstruct, Intra16x16EveryModeAndQpMatchesReference) {
    // Every mode with its neighbours there, at every QP, with the coded
    // blocks drawn at random or all of them: the strips of four blocks that
    // take the prediction from registers.
    uint32_t seed = 200;
    for (const auto& m : lumaMembers8())
        if (m.kind == Kind::Intra16x16)
            checkLuma(m, 4 * 52 * 3, seed++, [](LumaCase& c, int iter) {
                c.mode16 = static_cast<Mox32u>(iter % 4);
                c.qp = iter / 4 % 52;
                c.edge &= ~0x15;
                if (iter / 208 == 1) c.cbp |= 0x1FFFF;
            });
}

// ---------------------------------------------------------------- chroma members

struct ChromaCase {
    Mox32u mode;
    Mox32u cbp;
    int qpU, qpV;
    int edge;
    const Mox16s *tableU, *tableV, *tableDCU, *tableDCV;
    int bypass;
    int bitDepth;
};

template <class C, class P>
struct ChromaMember {
    std::string name;
    bool intra, flat, halves;
    int height;        // 8 for 4:2:0, 16 for 4:2:2
    bool modeModulo4;  // the mode is not range-checked but taken modulo 4
    int maxQp;         // at 8 bits; 6 more per extra bit
    std::function<MoxStatus(C**, P*, P*, int, const ChromaCase&)> call;
};

// Chroma modes that need a neighbour the edge word excludes.
bool chromaRefuses(Mox32u mode, int edge, bool halves) {
    int left = halves ? 0x03 : 0x01;
    return (mode == 1 && (edge & left)) || (mode == 2 && (edge & 0x04)) || (mode == 3 && (edge & (0x14 | left)));
}

template <class C, class P>
void checkChroma(const ChromaMember<C, P>& m, int iterations, uint32_t seed) {
    Rng r(seed);
    const bool is422 = m.height == 16;
    const Mox32u mask = is422 ? 0x3FFFF : 0x7FE0000;
    for (int iter = 0; iter < iterations; ++iter) {
        ChromaCase c{};
        c.mode = static_cast<Mox32u>(r.uniform(0, 15) == 0 ? r.uniform(4, 9) : r.uniform(0, 3));
        c.cbp = static_cast<Mox32u>(r.range(0, 0xFFFFFFFF));
        if (r.uniform(0, 7) == 0)
            c.cbp &= ~mask;
        else if (r.uniform(0, 3) == 0)
            c.cbp |= mask;
        c.bitDepth = sizeof(P) == 1 ? 8 : r.uniform(8, 14);
        const int maxQp = m.maxQp + 6 * (c.bitDepth - 8);
        c.qpU = randomQp(r, maxQp);
        c.qpV = m.flat || r.coin() ? c.qpU : randomQp(r, maxQp);
        c.edge = r.uniform(0, 255);
        c.bypass = m.flat ? 0 : (r.coin() ? r.uniform(1, 255) : 0);
        std::vector<Mox16s> tu = randomTable(r, 16, c.qpU), tv = randomTable(r, 16, c.qpV);
        std::vector<Mox16s> tdu = randomTable(r, 16, c.qpU + 3), tdv = randomTable(r, 16, c.qpV + 3);
        if (!m.flat) c.tableU = tu.data(), c.tableV = tv.data(), c.tableDCU = tdu.data(), c.tableDCV = tdv.data();

        Layout lu = randomLayout(r, sizeof(P));
        Picture<P> u = randomPicture<P>(r, 24, m.height + 8, 8, 4, c.bitDepth, lu),
                   v = randomPicture<P>(r, 24, m.height + 8, 8, 4, c.bitDepth, lu);
        Picture<P> wu = copyOf(u), wv = copyOf(v);
        std::vector<C> stream = randomStream<C>(r, 16 * 16 + 16 + 8), original = stream;
        C* ptr = stream.data();
        Mox32u mode = m.modeModulo4 ? c.mode & 3 : c.mode;
        std::string what = m.name + " iteration " + std::to_string(iter);

        if (m.intra && (mode > 3 || chromaRefuses(mode, c.edge, m.halves))) {
            MoxStatus st = mode > 3 ? moxStsOutOfRangeErr : moxStsIntraNeighbourErr;
            expectUntouched(st, [&] { return m.call(&ptr, u.mb(), v.mb(), u.step(), c); }, {u.g, v.g});
            ASSERT_EQ(ptr, stream.data()) << what;
            continue;
        }
        ChromaMB<C, P> mb;
        mb.u = wu.mb();
        mb.v = wv.mb();
        mb.step = wu.step();
        mb.mode = static_cast<int>(mode);
        mb.cbp = c.cbp;
        mb.qpU = c.qpU;
        mb.qpV = c.qpV;
        mb.edge = c.edge;
        mb.tableU = c.tableU;
        mb.tableV = c.tableV;
        mb.tableDCU = c.tableDCU;
        mb.tableDCV = c.tableDCV;
        mb.bypass = c.bypass != 0;
        mb.halves = m.halves;
        mb.height = m.height;
        mb.bitDepth = c.bitDepth;
        const C* refPtr = stream.data();
        if (m.intra)
            mox::ref::chromaIntra(mb, refPtr);
        else
            mox::ref::chromaInter(mb, refPtr);
        ASSERT_EQ(m.call(&ptr, u.mb(), v.mb(), u.step(), c), moxStsNoErr) << what;
        ASSERT_EQ(u.g.samples(), wu.g.samples()) << what << " (U)";
        ASSERT_EQ(v.g.samples(), wv.g.samples()) << what << " (V)";
        ASSERT_EQ(ptr - stream.data(), refPtr - stream.data()) << what;
        ASSERT_EQ(stream, original) << what << ": the levels changed";
        ASSERT_TRUE(u.g.guardsIntact()) << what;
        ASSERT_TRUE(v.g.guardsIntact()) << what;
    }
}

std::vector<ChromaMember<Mox16s, Mox8u>> chromaMembers8() {
    using C = Mox16s;
    using P = Mox8u;
    using K = ChromaCase;
    auto e = [](const K& c) { return static_cast<Mox8u>(c.edge); };
    auto b = [](const K& c) { return static_cast<Mox8u>(c.bypass); };
    return {
        {"ChromaIntraMB", true, true, false, 8, false, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntraMB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, e(c));
         }},
        {"ChromaInterMB", false, true, false, 8, false, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaInterMB_H264_16s8u_P2R(pp, u, v, s, c.cbp, c.qpU);
         }},
        {"ChromaIntra4x4MB", true, false, false, 8, true, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, c.qpV, e(c),
                                                                   c.tableU, c.tableV, b(c));
         }},
        {"ChromaInter4x4MB", false, false, false, 8, false, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(pp, u, v, s, c.cbp, c.qpU, c.qpV, c.tableU, c.tableV,
                                                                   b(c));
         }},
        {"ChromaIntraHalfsMB", true, true, true, 8, false, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, e(c));
         }},
        {"ChromaIntraHalvesMB", true, true, true, 8, false, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, e(c));
         }},
        {"ChromaIntraHalfs4x4MB", true, false, true, 8, true, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntraHalfs4x4MB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, c.qpV, e(c),
                                                                        c.tableU, c.tableV, b(c));
         }},
        {"ChromaIntraHalves4x4MB", true, false, true, 8, true, 39,
         [=](C** pp, P* u, P* v, int s, const K& c) {
             return moxiReconstructChromaIntraHalves4x4MB_H264_16s8u_P2R(pp, u, v, s, c.mode, c.cbp, c.qpU, c.qpV, e(c),
                                                                         c.tableU, c.tableV, b(c));
         }},
    };
}

TEST(H264Reconstruct, ChromaMatchesReference) {
    uint32_t seed = 200;
    for (const auto& m : chromaMembers8()) checkChroma(m, 1500, seed++);
}

// ---------------------------------------------------------------- high bit depths and 4:2:2

MoxReconstructLuma_H264High lumaRecord(Mox16u* p, int step, const LumaCase& c) {
    MoxReconstructLuma_H264High m{};
    m.pSrcDstPlane = p;
    m.srcDstStep = step;
    m.pMBIntraTypes = c.modes;
    m.intra16x16PredMode = c.mode16;
    m.cbp = c.cbp;
    m.qp = c.qp;
    m.edgeType = static_cast<Mox8u>(c.edge);
    m.bypassFlag = static_cast<Mox8u>(c.bypass);
    m.pQuantTable = c.table;
    m.bitDepth = c.bitDepth;
    return m;
}

template <class Rec, class P>
Rec chromaRecord(P* u, P* v, int step, const ChromaCase& c) {
    Rec m{};
    m.pSrcDstUPlane = u;
    m.pSrcDstVPlane = v;
    m.srcDstUVStep = step;
    m.intraChromaPredMode = c.mode;
    m.cbp = c.cbp;
    m.qpU = c.qpU;
    m.qpV = c.qpV;
    m.edgeType = static_cast<Mox8u>(c.edge);
    m.bypassFlag = static_cast<Mox8u>(c.bypass);
    m.pQuantTableU = c.tableU;
    m.pQuantTableV = c.tableV;
    m.pQuantTableDCU = c.tableDCU;
    m.pQuantTableDCV = c.tableDCV;
    if constexpr (std::is_same_v<Rec, MoxReconstructChroma_H264High>) m.bitDepth = c.bitDepth;
    return m;
}

using LumaHighFn = MoxStatus (*)(Mox32s**, const MoxReconstructLuma_H264High*);
using Chroma16Fn = MoxStatus (*)(Mox32s**, const MoxReconstructChroma_H264High*);
using Chroma8Fn = MoxStatus (*)(Mox16s**, const MoxReconstructChroma8u_H264High*);

std::function<MoxStatus(Mox32s**, Mox16u*, int, const LumaCase&)> viaRecord(LumaHighFn fn) {
    return [fn](Mox32s** pp, Mox16u* p, int s, const LumaCase& c) {
        MoxReconstructLuma_H264High m = lumaRecord(p, s, c);
        return fn(pp, &m);
    };
}

template <class Rec, class C, class P>
std::function<MoxStatus(C**, P*, P*, int, const ChromaCase&)> viaRecord(MoxStatus (*fn)(C**, const Rec*)) {
    return [fn](C** pp, P* u, P* v, int s, const ChromaCase& c) {
        Rec m = chromaRecord<Rec>(u, v, s, c);
        return fn(pp, &m);
    };
}

TEST(H264Reconstruct, HighLumaMatchesReference) {
    std::vector<LumaMember<Mox32s, Mox16u>> members = {
        {"LumaIntra4x4_High", Kind::Intra4x4, false, false, 51,
         viaRecord(moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R)},
        {"LumaIntra8x8_High", Kind::Intra8x8, false, false, 51,
         viaRecord(moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R)},
        {"LumaIntra16x16_High", Kind::Intra16x16, false, false, 51,
         viaRecord(moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R)},
        {"LumaInter4x4_High", Kind::Inter4x4, false, false, 51,
         viaRecord(moxiReconstructLumaInter4x4_H264High_32s16u_IP1R)},
        {"LumaInter8x8_High", Kind::Inter8x8, false, false, 51,
         viaRecord(moxiReconstructLumaInter8x8_H264High_32s16u_IP1R)},
        {"LumaIntraHalf4x4_High", Kind::Intra4x4, false, true, 51,
         viaRecord(moxiReconstructLumaIntraHalf4x4_H264High_32s16u_IP1R)},
        {"LumaIntraHalf8x8_High", Kind::Intra8x8, false, true, 51,
         viaRecord(moxiReconstructLumaIntraHalf8x8_H264High_32s16u_IP1R)},
    };
    uint32_t seed = 400;
    for (const auto& m : members) checkLuma(m, 1200, seed++);
}

TEST(H264Reconstruct, HighChromaMatchesReference) {
    using R16 = MoxReconstructChroma_H264High;
    using R8 = MoxReconstructChroma8u_H264High;
    std::vector<ChromaMember<Mox32s, Mox16u>> members16 = {
        {"ChromaIntra4x4_High", true, false, false, 8, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R)},
        {"ChromaInter4x4_High", false, false, false, 8, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChromaInter4x4_H264High_32s16u_IP2R)},
        {"Chroma422Intra4x4_High", true, false, false, 16, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R)},
        {"Chroma422Inter4x4_High", false, false, false, 16, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R)},
        {"ChromaIntraHalf4x4_High", true, false, true, 8, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChromaIntraHalf4x4_H264High_32s16u_IP2R)},
        {"Chroma422IntraHalf4x4_High", true, false, true, 16, false, 39,
         viaRecord<R16, Mox32s, Mox16u>(moxiReconstructChroma422IntraHalf4x4_H264High_32s16u_IP2R)},
    };
    std::vector<ChromaMember<Mox16s, Mox8u>> members8 = {
        {"Chroma422Intra4x4_High8", true, false, false, 16, false, 39,
         viaRecord<R8, Mox16s, Mox8u>(moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R)},
        {"Chroma422Inter4x4_High8", false, false, false, 16, false, 39,
         viaRecord<R8, Mox16s, Mox8u>(moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R)},
        {"Chroma422IntraHalf4x4_High8", true, false, true, 16, false, 39,
         viaRecord<R8, Mox16s, Mox8u>(moxiReconstructChroma422IntraHalf4x4_H264High_16s8u_IP2R)},
    };
    uint32_t seed = 500;
    for (const auto& m : members16) checkChroma(m, 1200, seed++);
    for (const auto& m : members8) checkChroma(m, 1200, seed++);
}

TEST(H264Reconstruct, HighClampsToTheBitDepth) {
    // A 10-bit flat picture at the top of its range plus a large positive DC
    // stays at 1023; a large negative one goes to 0.
    for (int sign : {1, -1}) {
        Guarded<Mox16u> g(16, 16);
        g.fill([] { return 1000; });
        std::vector<Mox32s> dc = {sign * 4000, 0, 0, 0};
        Mox32s* ptr = dc.data();
        const Mox16s* t = moxiGetLevelScale_H264(0, 0);
        MoxReconstructChroma_H264High m{};
        m.pSrcDstUPlane = g.ptr();
        m.pSrcDstVPlane = &g.at(8, 8);
        m.srcDstUVStep = g.step();
        m.cbp = 1u << 17;
        m.qpU = m.qpV = 30;
        m.pQuantTableU = m.pQuantTableV = t;
        m.bitDepth = 10;
        ASSERT_EQ(moxiReconstructChromaInter4x4_H264High_32s16u_IP2R(&ptr, &m), moxStsNoErr);
        EXPECT_EQ(ptr, dc.data() + 4);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) EXPECT_EQ(g.at(x, y), sign > 0 ? 1023 : 0);
        EXPECT_EQ(g.at(8, 8), 1000);
    }
}

// ---------------------------------------------------------------- worked cases

// The samples of an n x n block at (x, y) of the macroblock.
template <class P>
std::vector<int> blockOf(Picture<P>& p, int x, int y, int n) {
    std::vector<int> v;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) v.push_back(p.g.at(p.x0 + x + i, p.y0 + y + j));
    return v;
}

TEST(H264Reconstruct, NoCodedBlocksWritesThePredictionAlone) {
    Rng r(300);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {}), q = copyOf(p);
    std::vector<Mox16s> stream(64, 7);
    Mox16s* ptr = stream.data();
    // Chroma and 8x8 bits do not count for a 16x16 luma macroblock.
    ASSERT_EQ(moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), 2, 0xFFFE0000u, 30, 0),
              moxStsNoErr);
    EXPECT_EQ(ptr, stream.data());
    ASSERT_EQ(moxiPredictIntra_16x16_H264_8u_C1IR(q.mb(), q.step(), 2, 0x63), moxStsNoErr);
    EXPECT_EQ(p.g.samples(), q.g.samples());
    // Chroma residual without chroma bits touches nothing.
    Picture<Mox8u> u = randomPicture<Mox8u>(r, 24, 16, 8, 4, 8, {}), v = copyOf(u);
    expectUntouched(
        moxStsNoErr,
        [&] { return moxiReconstructChromaInterMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), u.step(), 0x1FFFF, 20); },
        {u.g, v.g});
    EXPECT_EQ(ptr, stream.data());
}

TEST(H264Reconstruct, Intra4x4AtTheTopLeftCorner) {
    // Every block vertical with the top, left and top-left macroblocks gone:
    // the top-row blocks 0, 1, 4, 5 are flat 128, the rest copy the row above.
    Rng r(301);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {});
    Mox32u modes[16] = {};
    std::vector<Mox16s> stream(16);
    Mox16s* ptr = stream.data();
    ASSERT_EQ(moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), modes, 0, 20, 0x35),
              moxStsIntraNeighbourWrn);
    for (int k : {0, 1, 4, 5}) {
        int x = (k & 1) * 4 + (k & 4) * 2;
        EXPECT_EQ(blockOf(p, x, 0, 4), std::vector<int>(16, 128)) << "block " << k;
    }
    for (int x = 0; x < 16; ++x)
        for (int y = 4; y < 16; ++y) EXPECT_EQ(p.g.at(16 + x, 4 + y), 128);
    // With the top there, no warning: left and corner are not needed by vertical.
    Picture<Mox8u> q = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {});
    EXPECT_EQ(moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, q.mb(), q.step(), modes, 0, 20, 0x11), moxStsNoErr);
}

TEST(H264Reconstruct, Intra8x8UpperRightOfBlock1FollowsTopRightOnly) {
    // Top macroblock gone but the top-right one there: block 1's diagonal
    // down-left prediction reads the real upper-right samples.
    Rng r(302);
    for (int iter = 0; iter < 20; ++iter) {
        Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {}), q = copyOf(p);
        Mox32u modes[4] = {3, 3, 3, 3};
        std::vector<Mox16s> stream(4);
        Mox16s* ptr = stream.data();
        const Mox16s* t = moxiGetLevelScale_H264(0, 1);
        ASSERT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), modes, 0, 0, 0x04, t, 0),
                  moxStsNoErr);
        // Changing the upper-right samples changes block 1 only.
        for (int x = 16; x < 24; ++x) q.g.at(16 + x, 3) = static_cast<Mox8u>(255 - q.g.at(16 + x, 3));
        ASSERT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, q.mb(), q.step(), modes, 0, 0, 0x04, t, 0),
                  moxStsNoErr);
        EXPECT_EQ(blockOf(p, 0, 0, 8), blockOf(q, 0, 0, 8));
        EXPECT_NE(blockOf(p, 8, 0, 8), blockOf(q, 8, 0, 8));
        // With 0x20 as well, block 1 repeats its last upper sample instead.
        Picture<Mox8u> a = copyOf(p), b = copyOf(q);
        ASSERT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, a.mb(), a.step(), modes, 0, 0, 0x24, t, 0),
                  moxStsNoErr);
        ASSERT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, b.mb(), b.step(), modes, 0, 0, 0x24, t, 0),
                  moxStsNoErr);
        EXPECT_EQ(blockOf(a, 8, 0, 8), blockOf(b, 8, 0, 8));
    }
}

TEST(H264Reconstruct, Intra8x8BadModeStopsAtItsBlock) {
    Rng r(303);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {}), q = copyOf(p);
    Mox32u modes[4] = {2, 2, 9, 2};
    std::vector<Mox16s> stream(256, 3);
    Mox16s* ptr = stream.data();
    const Mox16s* t = moxiGetLevelScale_H264(4, 1);
    EXPECT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), modes, 0xF, 28, 0, t, 0),
              moxStsOutOfRangeErr);
    EXPECT_EQ(ptr, stream.data());
    // Blocks 0 and 1 are rebuilt, blocks 2 and 3 untouched.
    EXPECT_NE(blockOf(p, 0, 0, 8), blockOf(q, 0, 0, 8));
    EXPECT_EQ(blockOf(p, 0, 8, 8), blockOf(q, 0, 8, 8));
    EXPECT_EQ(blockOf(p, 8, 8, 8), blockOf(q, 8, 8, 8));
}

TEST(H264Reconstruct, LosslessAccumulatesAlongThePrediction) {
    // Intra 4x4 vertical at QP 0 with bypass: the levels of a column add up.
    Rng r(304);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {});
    for (int x = 0; x < 4; ++x) p.g.at(16 + x, 3) = 100;
    Mox32u modes[16] = {0};
    Mox16s levels[16] = {1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, -1, -2, -3, -4};
    Mox16s* ptr = levels;
    const Mox16s* t = moxiGetLevelScale_H264(0, 0);
    ASSERT_EQ(moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), modes, 2, 0, 0, t, 1), moxStsNoErr);
    EXPECT_EQ(ptr, levels + 16);
    EXPECT_EQ(blockOf(p, 0, 0, 4),
              (std::vector<int>{101, 102, 103, 104, 102, 104, 106, 108, 103, 106, 109, 112, 102, 104, 106, 108}));
}

TEST(H264Reconstruct, HalfLeftColumn) {
    // Horizontal prediction in every 4x4 block with only the lower half of
    // the left column usable: blocks 0 and 2 (rows 0..7) read 128, blocks 8
    // and 10 (rows 8..15) their real left samples, with the warning.
    Rng r(306);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {}), q = copyOf(p);
    Mox32u modes[16];
    std::fill(modes, modes + 16, 1u);
    std::vector<Mox16s> stream(16);
    Mox16s* ptr = stream.data();
    ASSERT_EQ(moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), modes, 0, 20, 0x01),
              moxStsIntraNeighbourWrn);
    for (int y = 0; y < 16; ++y) EXPECT_EQ(p.g.at(16, 4 + y), y < 8 ? 128 : q.g.at(15, 4 + y)) << "row " << y;
    // The same call with the upper half usable: no warning.
    EXPECT_EQ(moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(&ptr, q.mb(), q.step(), modes, 0, 20, 0x02),
              moxStsIntraNeighbourWrn);
    EXPECT_EQ(moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(&ptr, q.mb(), q.step(), modes, 0, 20, 0xFC), moxStsNoErr);
    // Chroma: horizontal needs both halves; DC of the lower blocks uses the lower half alone.
    Picture<Mox8u> u = randomPicture<Mox8u>(r, 24, 16, 8, 4, 8, {}), v = copyOf(u);
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] {
                        return moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), u.step(), 1, 0,
                                                                                20, 0x02);
                    },
                    {u.g, v.g});
    for (int y = 0; y < 8; ++y) u.g.at(7, 4 + y) = static_cast<Mox8u>(y < 4 ? 0 : 200);
    ASSERT_EQ(moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), u.step(), 0, 0, 20, 0x15),
              moxStsNoErr);
    EXPECT_EQ(blockOf(u, 0, 0, 4), std::vector<int>(16, 128));  // upper half and top missing
    EXPECT_EQ(blockOf(u, 0, 4, 4), std::vector<int>(16, 200));
    EXPECT_EQ(blockOf(u, 4, 4, 4), std::vector<int>(16, 200));
}

TEST(H264Reconstruct, WorkedStatuses) {
    Rng r(305);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {});
    std::vector<Mox16s> stream(64);
    Mox16s* ptr = stream.data();
    // QP 52 is reported before the invalid mode.
    expectUntouched(moxStsOutOfRangeErr,
                    [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, p.mb(), p.step(), 7, 1, 52, 0); },
                    {p.g});
    // Chroma QP 40, and a missing neighbour leaves the stream where it was.
    Picture<Mox8u> u = randomPicture<Mox8u>(r, 24, 16, 8, 4, 8, {}), v = copyOf(u);
    expectUntouched(moxStsOutOfRangeErr,
                    [&] {
                        return moxiReconstructChromaIntraMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), u.step(), 0, 0x7FE0000,
                                                                           40, 0);
                    },
                    {u.g, v.g});
    expectUntouched(moxStsIntraNeighbourErr,
                    [&] {
                        return moxiReconstructChromaIntraMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), u.step(), 2, 0x7FE0000,
                                                                           20, 0x04);
                    },
                    {u.g, v.g});
    EXPECT_EQ(ptr, stream.data());
}

// ---------------------------------------------------------------- neighbours that must not be read

TEST(H264Reconstruct, MissingTopIsNotRead) {
    // A bottom-up picture whose row above the macroblock would be the first
    // byte past the end of readable memory.
    constexpr int stride = 32;
    GuardPage mem(16 * stride);
    std::memset(mem.data(), 90, mem.size());
    Mox8u* mb = mem.data() + 15 * stride + 16;
    const int step = -stride;
    std::vector<Mox16s> stream(16 * 17 + 256, 1);
    const Mox16s* t4 = moxiGetLevelScale_H264(2, 0);
    const Mox16s* t8 = moxiGetLevelScale_H264(2, 1);
    for (Mox32u mode = 0; mode < 9; ++mode) {
        Mox32u modes[16];
        std::fill(modes, modes + 16, mode);
        Mox16s* ptr = stream.data();
        EXPECT_GE(moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, mb, step, modes, 0x1FFFF, 20, 0x34), 0);
        ptr = stream.data();
        EXPECT_EQ(moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, mb, step, modes, 0xF, 20, 0x34, t8, 0),
                  moxStsNoErr);
    }
    for (Mox32u mode : {1u, 2u}) {
        Mox16s* ptr = stream.data();
        EXPECT_EQ(moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&ptr, mb, step, mode, 0x1FFFF, 20, 0x34, t4, 0),
                  moxStsNoErr);
    }
    // Chroma planes the same way: DC and horizontal.
    for (Mox32u mode : {0u, 1u}) {
        Mox16s* ptr = stream.data();
        Mox8u* u = mem.data() + 7 * stride + 8;
        EXPECT_EQ(moxiReconstructChromaIntraMB_H264_16s8u_P2R(&ptr, u, u + 16, stride * -1, mode, 0x7FE0000, 20, 0x34),
                  moxStsNoErr);
    }
}

// ---------------------------------------------------------------- argument checks

TEST(H264Reconstruct, ArgumentChecksInOrder) {
    Rng r(306);
    Picture<Mox8u> p = randomPicture<Mox8u>(r, 48, 24, 16, 4, 8, {});
    Picture<Mox8u> u = randomPicture<Mox8u>(r, 24, 16, 8, 4, 8, {}), v = copyOf(u);
    std::vector<Mox16s> stream(512, 1);
    Mox16s* ptr = stream.data();
    Mox16s* nullStream = nullptr;
    Mox32u modes[16] = {}, badModes[16] = {};
    badModes[15] = 9;
    const Mox16s* t = moxiGetLevelScale_H264(0, 0);
    Mox8u* mb = p.mb();
    const int s = p.step();
    auto untouched = [&](MoxStatus st, auto call) {
        expectUntouched(st, call, {p.g, u.g, v.g, stream});
        EXPECT_EQ(ptr, stream.data());
    };
    // Pointers first (the stream pointer's target too), then QP, then modes.
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(nullptr, mb, s, badModes, 1, 99, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, nullptr, s, badModes, 1, 99, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, mb, s, nullptr, 1, 99, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(&nullStream, mb, s, badModes, 1, 99, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, mb, s, modes, 0x1FFFE, 52, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntraMB_H264_16s8u_C1R(&ptr, mb, s, badModes, 0x1FFFE, 51, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&ptr, mb, s, modes, 1, 99, 0, nullptr, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&ptr, mb, s, badModes, 1, 52, 0, t, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&ptr, mb, s, badModes, 1, 51, 0, t, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, mb, s, nullptr, 1, 99, 0, t, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, mb, s, modes, 1, 99, 0, nullptr, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&ptr, mb, s, modes, 1, 52, 0, t, 0); });
    // 16x16: the missing neighbour before the mode range.
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&nullStream, mb, s, 9, 1, 99, 0); });
    untouched(moxStsIntraNeighbourErr,
              [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, mb, s, 3, 1, 51, 0x10); });
    untouched(moxStsIntraNeighbourErr,
              [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, mb, s, 0, 1, 51, 0x04); });
    untouched(moxStsIntraNeighbourErr,
              [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, mb, s, 1, 1, 51, 0x01); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&ptr, mb, s, 4, 1, 51, 0xFF); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&ptr, mb, s, 9, 1, 99, 0, nullptr, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&ptr, mb, s, 9, 1, 52, 0, t, 0); });
    // Inter: QP tested as unsigned.
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(&ptr, mb, s, 2, -1, nullptr, 0); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(&ptr, mb, s, 2, -1, t, 1); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(&ptr, mb, s, 1, 52, t, 0); });
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(&nullStream, mb, s, 1, 52, t, 0); });
    // Chroma.
    untouched(moxStsNullPtrErr,
              [&] { return moxiReconstructChromaInterMB_H264_16s8u_P2R(&ptr, u.mb(), nullptr, s, 0x7FE0000, 40); });
    untouched(moxStsOutOfRangeErr,
              [&] { return moxiReconstructChromaInterMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 0x7FE0000, 40); });
    untouched(moxStsNullPtrErr, [&] {
        return moxiReconstructChromaIntraMB_H264_16s8u_P2R(&nullStream, u.mb(), v.mb(), s, 4, 0x7FE0000, 40, 0xFF);
    });
    untouched(moxStsOutOfRangeErr, [&] {
        return moxiReconstructChromaIntraMB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 4, 0x7FE0000, 39, 0xFF);
    });
    untouched(moxStsNullPtrErr, [&] {
        return moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 0, 0x7FE0000, 40, 40, 0, t,
                                                              nullptr, 0);
    });
    untouched(moxStsOutOfRangeErr, [&] {
        return moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 3, 0x7FE0000, 39, 40, 0xFF, t, t,
                                                              0);
    });
    untouched(moxStsIntraNeighbourErr, [&] {
        return moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 7, 0x7FE0000, 39, 39, 0x10, t, t,
                                                              0);
    });
    untouched(moxStsNullPtrErr, [&] {
        return moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 0x7FE0000, 40, 40, nullptr, t,
                                                              0);
    });
    untouched(moxStsOutOfRangeErr, [&] {
        return moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(&ptr, u.mb(), v.mb(), s, 0x7FE0000, 0, 40, t, t, 0);
    });
}

TEST(H264Reconstruct, HighArgumentChecksInOrder) {
    Rng r(307);
    Picture<Mox16u> p = randomPicture<Mox16u>(r, 48, 24, 16, 4, 10, {});
    Picture<Mox16u> u = randomPicture<Mox16u>(r, 24, 24, 8, 4, 10, {}), v = copyOf(u);
    std::vector<Mox32s> stream(512, 1);
    Mox32s* ptr = stream.data();
    Mox32s* nullStream = nullptr;
    Mox32u modes[16] = {}, badModes[16] = {};
    badModes[3] = 9;
    const Mox16s* t = moxiGetLevelScale_H264(0, 0);
    auto untouched = [&](MoxStatus st, auto call) {
        expectUntouched(st, call, {p.g, u.g, v.g, stream});
        EXPECT_EQ(ptr, stream.data());
    };
    // Luma: a valid 10-bit record, then one fault at a time.
    MoxReconstructLuma_H264High good{p.mb(), p.step(), modes, 0, 0x1FFFF, 63, 0, 0, t, 10};
    for (LumaHighFn fn :
         {moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R, moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R,
          moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R, moxiReconstructLumaInter4x4_H264High_32s16u_IP1R,
          moxiReconstructLumaInter8x8_H264High_32s16u_IP1R}) {
        MoxReconstructLuma_H264High m = good;
        untouched(moxStsNullPtrErr, [&] { return fn(nullptr, &m); });
        untouched(moxStsNullPtrErr, [&] { return fn(&ptr, nullptr); });
        untouched(moxStsNullPtrErr, [&] { return fn(&nullStream, &m); });
        m.bitDepth = 15;
        m.pQuantTable = nullptr;
        untouched(moxStsNullPtrErr, [&] { return fn(&ptr, &m); });
        m.pQuantTable = t;
        m.pSrcDstPlane = nullptr;
        untouched(moxStsNullPtrErr, [&] { return fn(&ptr, &m); });
        m.pSrcDstPlane = p.mb();
        m.qp = -1;
        untouched(moxStsOutOfRangeErr, [&] { return fn(&ptr, &m); });  // bit depth first
        m.bitDepth = 7;
        untouched(moxStsOutOfRangeErr, [&] { return fn(&ptr, &m); });
        m.bitDepth = 10;
        untouched(moxStsOutOfRangeErr, [&] { return fn(&ptr, &m); });
        m.qp = 64;
        untouched(moxStsOutOfRangeErr, [&] { return fn(&ptr, &m); });
        m.qp = 63;
        ptr = stream.data();
        EXPECT_GE(fn(&ptr, &m), 0);
        ptr = stream.data();
    }
    MoxReconstructLuma_H264High m = good;
    m.pMBIntraTypes = nullptr;
    untouched(moxStsNullPtrErr, [&] { return moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R(&ptr, &m); });
    untouched(moxStsNullPtrErr, [&] { return moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R(&ptr, &m); });
    m.pMBIntraTypes = badModes;
    untouched(moxStsOutOfRangeErr, [&] { return moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R(&ptr, &m); });
    m.intra16x16PredMode = 3;
    m.edgeType = 0x10;
    untouched(moxStsIntraNeighbourErr, [&] { return moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R(&ptr, &m); });
    m.intra16x16PredMode = 4;
    untouched(moxStsOutOfRangeErr, [&] { return moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R(&ptr, &m); });

    // Chroma: the DC tables are needed by 4:2:2 only.
    MoxReconstructChroma_H264High c{u.mb(), v.mb(),  u.step(), 0, 0x3FFFF | 0x7FE0000, 51, 51, 0, 0, t,
                                    t,      nullptr, nullptr,  10};
    EXPECT_EQ(moxiReconstructChromaInter4x4_H264High_32s16u_IP2R(&ptr, &c), moxStsNoErr);
    ptr = stream.data();
    untouched(moxStsNullPtrErr, [&] { return moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R(&ptr, &c); });
    c.pQuantTableDCU = c.pQuantTableDCV = t;
    c.qpV = 52;  // 39 + 6 x 2 at 10 bits
    untouched(moxStsOutOfRangeErr, [&] { return moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R(&ptr, &c); });
    c.qpV = 51;
    c.intraChromaPredMode = 4;
    untouched(moxStsOutOfRangeErr, [&] { return moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R(&ptr, &c); });
    c.intraChromaPredMode = 1;
    c.edgeType = 0x01;
    untouched(moxStsIntraNeighbourErr, [&] { return moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R(&ptr, &c); });
    c.bitDepth = 0;
    untouched(moxStsOutOfRangeErr, [&] { return moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R(&ptr, &c); });
    // 8-bit 4:2:2: quantisers up to 39.
    Picture<Mox8u> u8 = randomPicture<Mox8u>(r, 24, 24, 8, 4, 8, {}), v8 = copyOf(u8);
    std::vector<Mox16s> s16(512, 1);
    Mox16s* p16 = s16.data();
    MoxReconstructChroma8u_H264High c8{u8.mb(), v8.mb(), u8.step(), 0, 0x3FFFF, 40, 0, 0, 0, t, t, t, t};
    expectUntouched(moxStsOutOfRangeErr,
                    [&] { return moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R(&p16, &c8); }, {u8.g, v8.g});
    c8.qpU = 39;
    c8.pQuantTableV = nullptr;
    expectUntouched(moxStsNullPtrErr, [&] { return moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R(&p16, &c8); },
                    {u8.g, v8.g});
    EXPECT_EQ(p16, s16.data());
}

}  // namespace
