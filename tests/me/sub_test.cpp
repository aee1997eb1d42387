// Block difference: kernels against the reference model on random blocks,
// with guards around the output and every layout of steps.
#include "common/harness.h"
#include "me/sub_ref.h"

namespace {

using namespace mox::test;

template <class T>
using SubFn = MoxStatus (*)(const T*, int, const T*, int, Mox16s*, int);

template <class T>
struct SubCase {
    const char* name;
    SubFn<T> fn;
    int w, h;
};

template <class T>
void checkAgainstReference(const SubCase<T>& c, int maxValue) {
    Rng r(1234);
    for (int iter = 0; iter < 300; ++iter) {
        Guarded<T> a(c.w, c.h, randomLayout(r, sizeof(T))), b(c.w, c.h, randomLayout(r, sizeof(T)));
        a.fillRandom(r, 0, maxValue);
        b.fillRandom(r, 0, maxValue);
        Guarded<Mox16s> got(c.w, c.h, randomLayout(r, 2)), want(c.w, c.h);
        ASSERT_EQ(c.fn(a.ptr(), a.step(), b.ptr(), b.step(), got.ptr(), got.step()), moxStsNoErr);
        mox::ref::sub<T>(a.ptr(), a.step(), b.ptr(), b.step(), want.ptr(), want.step(), c.w, c.h);
        ASSERT_EQ(got.samples(), want.samples()) << c.name << " iteration " << iter;
        ASSERT_TRUE(got.guardsIntact()) << c.name;
    }
}

template <class T>
void checkNullPointers(const SubCase<T>& c) {
    Guarded<T> a(c.w, c.h), b(c.w, c.h);
    Guarded<Mox16s> d(c.w, c.h);
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, a.step(), b.ptr(), b.step(), d.ptr(), d.step()); }, {d});
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(a.ptr(), a.step(), nullptr, b.step(), d.ptr(), d.step()); }, {d});
    EXPECT_EQ(c.fn(a.ptr(), a.step(), b.ptr(), b.step(), nullptr, d.step()), moxStsNullPtrErr);
}

const SubCase<Mox8u> kSub8u[] = {
    {"Sub4x4_8u16s", moxiSub4x4_8u16s_C1R, 4, 4},
    {"Sub8x8_8u16s", moxiSub8x8_8u16s_C1R, 8, 8},
    {"Sub16x16_8u16s", moxiSub16x16_8u16s_C1R, 16, 16},
};
const SubCase<Mox16u> kSub16u[] = {
    {"Sub4x4_16u16s", moxiSub4x4_16u16s_C1R, 4, 4},
    {"Sub8x8_16u16s", moxiSub8x8_16u16s_C1R, 8, 8},
};

TEST(Sub, MatchesReference8u) {
    for (const auto& c : kSub8u) checkAgainstReference(c, 255);
}

TEST(Sub, MatchesReference16uIncludingWrap) {
    // Full 16-bit range: differences beyond 16 bits wrap, as documented.
    for (const auto& c : kSub16u) checkAgainstReference(c, 65535);
}

TEST(Sub, NullPointers) {
    for (const auto& c : kSub8u) checkNullPointers(c);
    for (const auto& c : kSub16u) checkNullPointers(c);
}

}  // namespace
