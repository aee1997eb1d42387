// VC-1 overlap smoothing: luma and chroma, vertical and horizontal edges, in
// place and into 8-bit samples, against the line model on the intra range and
// on full 16-bit values (wrap-around), by hand for the rounding alternation,
// and the checks.
#include <vector>

#include "common/harness.h"
#include "vc1/overlap_ref.h"

namespace {

using namespace mox::test;

using InPlace = MoxStatus (*)(Mox16s*, Mox32s);
using To8u = MoxStatus (*)(const Mox16s*, Mox32s, Mox8u*, Mox32s);

struct Edge {
    const char* name;
    InPlace inPlace;
    To8u to8u;
    int lines;
    bool vertical;
};

const Edge kEdges[] = {
    {"luma ver", moxiSmoothingLuma_VerEdge_VC1_16s_C1IR, moxiSmoothingLuma_VerEdge_VC1_16s8u_C1R, 16, true},
    {"luma hor", moxiSmoothingLuma_HorEdge_VC1_16s_C1IR, moxiSmoothingLuma_HorEdge_VC1_16s8u_C1R, 16, false},
    {"chroma ver", moxiSmoothingChroma_VerEdge_VC1_16s_C1IR, moxiSmoothingChroma_VerEdge_VC1_16s8u_C1R, 8, true},
    {"chroma hor", moxiSmoothingChroma_HorEdge_VC1_16s_C1IR, moxiSmoothingChroma_HorEdge_VC1_16s8u_C1R, 8, false},
};

TEST(SmoothingVC1, EveryEdgeAgainstModel) {
    Rng r(41);
    for (const Edge& e : kEdges) {
        const int w = e.vertical ? 4 : e.lines, h = e.vertical ? e.lines : 4;
        for (int iter = 0; iter < 1500; ++iter) {
            Guarded<Mox16s> got(w, h, randomLayout(r, 2)), want(w, h);
            const int lim = iter % 3 == 2 ? 32767 : (iter % 3 ? 300 : 4095);
            got.fillRandom(r, -lim - 1, lim);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) want.at(x, y) = got.at(x, y);
            Guarded<Mox16s> src = got;
            Mox16s* p = e.vertical ? &got.at(2, 0) : &got.at(0, 2);
            ASSERT_EQ(e.inPlace(p, got.step()), moxStsNoErr);
            Mox16s* q = e.vertical ? &want.at(2, 0) : &want.at(0, 2);
            mox::ref::vc1::smoothEdge(q, e.vertical ? want.step() : 2, e.vertical ? 2 : want.step(), e.lines);
            ASSERT_EQ(got.samples(), want.samples()) << e.name << " limit " << lim;
            ASSERT_TRUE(got.guardsIntact()) << e.name;

            Guarded<Mox8u> out(w, h, randomLayout(r, 1)), ref(w, h);
            const Mox16s* s = e.vertical ? &src.at(2, 0) : &src.at(0, 2);
            ASSERT_EQ(e.to8u(s, src.step(), e.vertical ? &out.at(2, 0) : &out.at(0, 2), out.step()), moxStsNoErr);
            mox::ref::vc1::smoothEdgeTo8u(s, e.vertical ? src.step() : 2, e.vertical ? 2 : src.step(),
                                          e.vertical ? &ref.at(2, 0) : &ref.at(0, 2), e.vertical ? ref.step() : 1,
                                          e.vertical ? 1 : ref.step(), e.lines);
            ASSERT_EQ(out.samples(), ref.samples()) << e.name << " 16s8u, limit " << lim;
            ASSERT_TRUE(out.guardsIntact()) << e.name;
        }
    }
}

// A step of 4 (x0 x1 = 0, x2 x3 = 4): x0 = (4 + r) >> 3, x1 = (8 + r') >> 3,
// x2 = (24 + r) >> 3, x3 = (28 + r') >> 3 with (r, r') = (4, 3) on even
// lines, (3, 4) on odd ones: 1 1 3 3, then 0 1 3 4.
TEST(SmoothingVC1, RoundingAlternatesByLine) {
    Mox16s area[16 * 4];
    for (int line = 0; line < 16; ++line)
        for (int k = 0; k < 4; ++k) area[line * 4 + k] = static_cast<Mox16s>(k < 2 ? 0 : 4);
    ASSERT_EQ(moxiSmoothingLuma_VerEdge_VC1_16s_C1IR(area + 2, 8), moxStsNoErr);
    for (int line = 0; line < 16; ++line) {
        const bool even = line % 2 == 0;
        EXPECT_EQ(area[line * 4 + 0], even ? 1 : 0) << line;
        EXPECT_EQ(area[line * 4 + 1], 1) << line;
        EXPECT_EQ(area[line * 4 + 2], 3) << line;
        EXPECT_EQ(area[line * 4 + 3], even ? 3 : 4) << line;
    }
}

TEST(SmoothingVC1, NullPointers) {
    for (const Edge& e : kEdges) {
        Guarded<Mox16s> g(16, 16);
        Guarded<Mox8u> o(16, 16);
        EXPECT_EQ(e.inPlace(nullptr, 32), moxStsNullPtrErr);
        expectUntouched(moxStsNullPtrErr, [&] { return e.to8u(nullptr, 32, &o.at(4, 4), o.step()); }, {o});
        expectUntouched(moxStsNullPtrErr, [&] { return e.to8u(&g.at(4, 4), g.step(), nullptr, 16); }, {g});
    }
}

}  // namespace
