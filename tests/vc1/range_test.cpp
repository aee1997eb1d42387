// VC-1 range mapping and range reduction: every mapping value and both
// scalings over every sample value, odd region sizes (all row pieces), in
// place and not, against the model; the checks in their order.
#include <vector>

#include "common/harness.h"
#include "vc1/range_ref.h"

namespace {

using namespace mox::test;

template <class Call, class Ref>
void checkRegions(Call call, Ref ref) {
    Rng r(51);
    for (int iter = 0; iter < 400; ++iter) {
        const int w = iter < 64 ? iter + 1 : r.uniform(1, 70), h = r.uniform(1, 9);
        Guarded<Mox8u> src(w, h, randomLayout(r, 1)), got(w, h, randomLayout(r, 1)), want(w, h);
        int n = r.uniform(0, 255);
        src.fill([&n] { return (n = (n + 37) & 255); });  // every value once in each 256 samples
        ASSERT_EQ(call(src.ptr(), src.step(), got.ptr(), got.step(), MoxiSize{w, h}, iter), moxStsNoErr);
        ref(src.ptr(), src.step(), want.ptr(), want.step(), w, h, iter);
        ASSERT_EQ(got.samples(), want.samples()) << w << "x" << h << " case " << iter;
        ASSERT_TRUE(got.guardsIntact());
        // In place.
        ASSERT_EQ(call(src.ptr(), src.step(), src.ptr(), src.step(), MoxiSize{w, h}, iter), moxStsNoErr);
        ASSERT_EQ(src.samples(), want.samples()) << w << "x" << h << " in place, case " << iter;
        ASSERT_TRUE(src.guardsIntact());
    }
}

TEST(RangeVC1, MappingEveryValue) {
    checkRegions([](const Mox8u* s, int ss, Mox8u* d, int ds, MoxiSize sz,
                    int i) { return moxiRangeMapping_VC1_8u_C1R(s, ss, d, ds, sz, i & 7); },
                 [](const Mox8u* s, int ss, Mox8u* d, int ds, int w, int h, int i) {
                     mox::ref::vc1::rangeMap(s, ss, d, ds, w, h, i & 7);
                 });
}

TEST(RangeVC1, ReductionBothWays) {
    checkRegions([](const Mox8u* s, int ss, Mox8u* d, int ds, MoxiSize sz,
                    int i) { return moxiRangeReduction_VC1_8u_C1R(s, ss, d, ds, sz, (i & 1) * (i % 7 + 1)); },
                 [](const Mox8u* s, int ss, Mox8u* d, int ds, int w, int h, int i) {
                     mox::ref::vc1::rangeReduce(s, ss, d, ds, w, h, i & 1);
                 });
}

// Known points: RANGE_MAPY 7 doubles the distance from 128 (clamped); 0 keeps
// 9/8 of it; reduction halves it and expansion doubles it.
TEST(RangeVC1, KnownValues) {
    const Mox8u in[8] = {0, 1, 64, 127, 128, 129, 200, 255};
    Mox8u out[8];
    ASSERT_EQ(moxiRangeMapping_VC1_8u_C1R(in, 8, out, 8, {8, 1}, 7), moxStsNoErr);
    const Mox8u map7[8] = {0, 0, 0, 126, 128, 130, 255, 255};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], map7[i]) << i;
    ASSERT_EQ(moxiRangeMapping_VC1_8u_C1R(in, 8, out, 8, {8, 1}, 0), moxStsNoErr);
    const Mox8u map0[8] = {0, 0, 56, 127, 128, 129, 209, 255};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], map0[i]) << i;
    ASSERT_EQ(moxiRangeReduction_VC1_8u_C1R(in, 8, out, 8, {8, 1}, 0), moxStsNoErr);
    const Mox8u down[8] = {64, 64, 96, 127, 128, 128, 164, 191};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], down[i]) << i;
    ASSERT_EQ(moxiRangeReduction_VC1_8u_C1R(in, 8, out, 8, {8, 1}, 1), moxStsNoErr);
    const Mox8u up[8] = {0, 0, 0, 126, 128, 130, 255, 255};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], up[i]) << i;
}

TEST(RangeVC1, ChecksInOrder) {
    Guarded<Mox8u> s(8, 8), d(8, 8);
    expectUntouched(moxStsNullPtrErr, [&] { return moxiRangeMapping_VC1_8u_C1R(nullptr, 8, d.ptr(), 8, {0, 0}, 9); }, {d});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiRangeMapping_VC1_8u_C1R(s.ptr(), 8, nullptr, 8, {0, 0}, 9); }, {s});
    expectUntouched(moxStsSizeErr, [&] { return moxiRangeMapping_VC1_8u_C1R(s.ptr(), 8, d.ptr(), 8, {0, 8}, 9); }, {d});
    expectUntouched(moxStsSizeErr, [&] { return moxiRangeMapping_VC1_8u_C1R(s.ptr(), 8, d.ptr(), 8, {8, -1}, 9); }, {d});
    expectUntouched(moxStsOutOfRangeErr, [&] { return moxiRangeMapping_VC1_8u_C1R(s.ptr(), 8, d.ptr(), 8, {8, 8}, 8); }, {d});
    expectUntouched(moxStsOutOfRangeErr, [&] { return moxiRangeMapping_VC1_8u_C1R(s.ptr(), 8, d.ptr(), 8, {8, 8}, -1); }, {d});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiRangeReduction_VC1_8u_C1R(nullptr, 8, d.ptr(), 8, {0, 0}, 0); }, {d});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiRangeReduction_VC1_8u_C1R(s.ptr(), 8, nullptr, 8, {0, 0}, 0); }, {s});
    expectUntouched(moxStsSizeErr, [&] { return moxiRangeReduction_VC1_8u_C1R(s.ptr(), 8, d.ptr(), 8, {8, 0}, 1); }, {d});
}

}  // namespace
