// VC-1 quantisation: the reciprocal division against exact division over
// every 16-bit value and step size, every member against the per-coefficient
// models over the whole coefficient range and every quant (with guards around
// every block), the extents, and the argument checks in their order.
#include "common/harness.h"
#include "vc1/quant_ref.h"

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace mox::test;
namespace ref = mox::ref::vc1;

constexpr MoxiSize kSizes[] = {{4, 4}, {8, 4}, {4, 8}, {8, 8}};

bool inexactStep(int q) { return q == 19 || q == 21 || q == 27 || q == 41 || q == 55; }

int truncDiv(int v, int q) { return v < 0 ? -(-v / q) : v / q; }

// ---------------------------------------------------------------- reciprocals

TEST(QuantVC1, ReciprocalDivisionIsExactExceptFiveSteps) {
    // The five rows whose multipliers are rounded down, as the encoders expect them.
    struct Inexact {
        int q, m, s;
    };
    const Inexact kInexact[] = {{19, 13797, 2}, {21, 12483, 2}, {27, 19418, 3}, {41, 25575, 4}, {55, 2383, 1}};
    for (int q = 2; q <= 62; ++q) {
        const Inexact* row = nullptr;
        for (const Inexact& i : kInexact)
            if (i.q == q) row = &i;
        for (int v = -32768; v <= 32767; ++v) {
            const int exact = truncDiv(v, q), got = ref::divideByQuant(v, q);
            if (!row) {
                ASSERT_EQ(got, exact) << "quant " << q << " value " << v;
                continue;
            }
            const int64_t floorDiv = (int64_t{v} * row->m) >> (16 + row->s);
            ASSERT_EQ(got, floorDiv + (v < 0)) << "quant " << q << " value " << v;
            ASSERT_LE(std::abs(got), std::abs(exact)) << "quant " << q << " value " << v;
            ASSERT_LE(std::abs(got - exact), 1) << "quant " << q << " value " << v;
            if (v > 0 && v % q == 0) {
                ASSERT_EQ(got, exact - 1) << "quant " << q << " value " << v;
            }
        }
    }
    EXPECT_EQ(ref::divideByQuant(19, 19), 0);
    EXPECT_EQ(ref::divideByQuant(38, 19), 1);
    EXPECT_EQ(ref::divideByQuant(-7, 4), -1);
}

// ---------------------------------------------------------------- inverse members

struct InvMember {
    std::string name;
    bool intra, nonuniform, inPlace;
    // (src, srcStep, dst, dstStep, quant, roi, nz); in-place members get src == dst.
    std::function<MoxStatus(const Mox16s*, int, Mox16s*, int, int, MoxiSize, MoxiSize*)> call;
};

std::vector<InvMember> invMembers() {
    return {
        {"IntraUniform_C1R", true, false, false,
         [](const Mox16s* s, int ss, Mox16s* d, int ds, int q, MoxiSize, MoxiSize* nz) {
             return moxiQuantInvIntraUniform_VC1_16s_C1R(s, ss, d, ds, q, nz);
         }},
        {"IntraNonuniform_C1R", true, true, false,
         [](const Mox16s* s, int ss, Mox16s* d, int ds, int q, MoxiSize, MoxiSize* nz) {
             return moxiQuantInvIntraNonuniform_VC1_16s_C1R(s, ss, d, ds, q, nz);
         }},
        {"IntraUniform_C1IR", true, false, true,
         [](const Mox16s*, int, Mox16s* d, int ds, int q, MoxiSize, MoxiSize* nz) {
             return moxiQuantInvIntraUniform_VC1_16s_C1IR(d, ds, q, nz);
         }},
        {"IntraNonuniform_C1IR", true, true, true,
         [](const Mox16s*, int, Mox16s* d, int ds, int q, MoxiSize, MoxiSize* nz) {
             return moxiQuantInvIntraNonuniform_VC1_16s_C1IR(d, ds, q, nz);
         }},
        {"InterUniform_C1R", false, false, false,
         [](const Mox16s* s, int ss, Mox16s* d, int ds, int q, MoxiSize roi, MoxiSize* nz) {
             return moxiQuantInvInterUniform_VC1_16s_C1R(s, ss, d, ds, q, roi, nz);
         }},
        {"InterNonuniform_C1R", false, true, false,
         [](const Mox16s* s, int ss, Mox16s* d, int ds, int q, MoxiSize roi, MoxiSize* nz) {
             return moxiQuantInvInterNonuniform_VC1_16s_C1R(s, ss, d, ds, q, roi, nz);
         }},
        {"InterUniform_C1IR", false, false, true,
         [](const Mox16s*, int, Mox16s* d, int ds, int q, MoxiSize roi, MoxiSize* nz) {
             return moxiQuantInvInterUniform_VC1_16s_C1IR(d, ds, q, roi, nz);
         }},
        {"InterNonuniform_C1IR", false, true, true,
         [](const Mox16s*, int, Mox16s* d, int ds, int q, MoxiSize roi, MoxiSize* nz) {
             return moxiQuantInvInterNonuniform_VC1_16s_C1IR(d, ds, q, roi, nz);
         }},
    };
}

// A block whose non-zero coefficients are confined to a random corner (so
// every extent occurs), with extreme values mixed in.
Guarded<Mox16s> randomCoeffs(Rng& r, int w, int h, Layout layout) {
    Guarded<Mox16s> g(w, h, layout);
    int ew = r.uniform(0, w), eh = r.uniform(0, h), density = r.uniform(1, 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            g.at(x, y) = x < ew && y < eh && r.uniform(0, 3) < density ? Mox16s(r.extreme(-32768, 32767)) : 0;
    g.arm();
    return g;
}

// Any quant the caller may pass: the VC-1 steps, the ends, and wide values
// whose high bits the 16-bit arithmetic must ignore in the same way.
int randomInverseQuant(Rng& r) {
    switch (r.uniform(0, 5)) {
        case 0: return int(r.range(INT32_MIN, INT32_MAX));
        case 1: return r.uniform(-70000, 70000);
        default: return r.uniform(0, 63);
    }
}

void checkInverse(const InvMember& m, Rng& r, MoxiSize roi, int quant) {
    Guarded<Mox16s> src = randomCoeffs(r, roi.width, roi.height, randomLayout(r, 2));
    Guarded<Mox16s> dst(roi.width, roi.height, randomLayout(r, 2)), want(roi.width, roi.height);
    if (m.inPlace) dst = src;
    MoxiSize nz{-1, -1};
    ASSERT_EQ(m.call(src.ptr(), src.step(), dst.ptr(), dst.step(), quant, roi, &nz), moxStsNoErr);
    MoxiSize wantNz = ref::quantInv(src.ptr(), src.step(), want.ptr(), want.step(), quant, roi.width, roi.height,
                                    m.intra, m.nonuniform);
    ASSERT_EQ(dst.samples(), want.samples()) << m.name << " " << roi.width << "x" << roi.height << " quant " << quant;
    ASSERT_EQ(nz.width, wantNz.width) << m.name << " quant " << quant;
    ASSERT_EQ(nz.height, wantNz.height) << m.name << " quant " << quant;
    ASSERT_TRUE(dst.guardsIntact()) << m.name;
    if (!m.inPlace) {
        ASSERT_TRUE(src.guardsIntact()) << m.name;
    }
}

TEST(QuantVC1, InverseMatchesModelForEveryQuant) {
    Rng r(421);
    for (const InvMember& m : invMembers()) {
        for (MoxiSize roi : kSizes) {
            if (m.intra && roi.width * roi.height != 64) continue;
            for (int q = 0; q <= 63; ++q)
                for (int i = 0; i < 12; ++i) checkInverse(m, r, roi, q);
            for (int i = 0; i < 300; ++i) checkInverse(m, r, roi, randomInverseQuant(r));
        }
    }
}

TEST(QuantVC1, InverseExtents) {
    Mox16s block[64] = {};
    MoxiSize nz{-1, -1};
    ASSERT_EQ(moxiQuantInvInterUniform_VC1_16s_C1IR(block, 16, 9, {8, 8}, &nz), moxStsNoErr);
    EXPECT_EQ(nz.width, 0);
    EXPECT_EQ(nz.height, 0);
    // An all-zero intra block still counts row 0.
    ASSERT_EQ(moxiQuantInvIntraNonuniform_VC1_16s_C1IR(block, 16, 9, &nz), moxStsNoErr);
    EXPECT_EQ(nz.width, 0);
    EXPECT_EQ(nz.height, 1);
    block[0] = 5;
    ASSERT_EQ(moxiQuantInvIntraUniform_VC1_16s_C1IR(block, 16, 9, &nz), moxStsNoErr);
    EXPECT_EQ(block[0], 5);
    EXPECT_EQ(nz.width, 1);
    EXPECT_EQ(nz.height, 1);
    // A DC whose scaled value wraps to zero leaves column 0 empty, yet is kept as it was.
    block[0] = 16384;
    ASSERT_EQ(moxiQuantInvIntraUniform_VC1_16s_C1IR(block, 16, 4, &nz), moxStsNoErr);
    EXPECT_EQ(block[0], 16384);
    EXPECT_EQ(nz.width, 0);
    EXPECT_EQ(nz.height, 1);
    // One coefficient anywhere in an 8x8 block: its position is the extent,
    // unless its scaled value wraps to zero (16384 * 4).
    for (int pos = 0; pos < 64; ++pos) {
        for (int v : {-1, 3, 16384}) {
            Mox16s b[64] = {}, out[64];
            b[pos] = Mox16s(v);
            const bool wraps = v == 16384;
            ASSERT_EQ(moxiQuantInvInterUniform_VC1_16s_C1R(b, 16, out, 16, 4, {8, 8}, &nz), moxStsNoErr);
            EXPECT_EQ(nz.width, wraps ? 0 : pos % 8 + 1) << pos << " " << v;
            EXPECT_EQ(nz.height, wraps ? 0 : pos / 8 + 1) << pos << " " << v;
            ASSERT_EQ(moxiQuantInvIntraNonuniform_VC1_16s_C1IR(b, 16, 4, &nz), moxStsNoErr);
            EXPECT_EQ(nz.width, pos % 8 + 1) << pos << " " << v;  // 16384 * 4 + 2 is not zero
            EXPECT_EQ(nz.height, pos / 8 + 1) << pos << " " << v;
        }
    }
    // 8 wide, 4 high: the last coefficient sets both.
    Mox16s b84[32] = {};
    b84[31] = -1;
    ASSERT_EQ(moxiQuantInvInterNonuniform_VC1_16s_C1IR(b84, 16, 5, {8, 4}, &nz), moxStsNoErr);
    EXPECT_EQ(b84[31], -7);
    EXPECT_EQ(nz.width, 8);
    EXPECT_EQ(nz.height, 4);
}

// ---------------------------------------------------------------- forward members

struct FwdMember {
    std::string name;
    bool intra, nonuniform;
    std::function<MoxStatus(Mox16s*, int, int, MoxiSize)> call;
};

std::vector<FwdMember> fwdMembers() {
    return {
        {"IntraUniform", true, false,
         [](Mox16s* p, int s, int q, MoxiSize) { return moxiQuantIntraUniform_VC1_16s_C1IR(p, s, q); }},
        {"IntraNonuniform", true, true,
         [](Mox16s* p, int s, int q, MoxiSize) { return moxiQuantIntraNonuniform_VC1_16s_C1IR(p, s, q); }},
        {"InterUniform", false, false,
         [](Mox16s* p, int s, int q, MoxiSize roi) { return moxiQuantInterUniform_VC1_16s_C1IR(p, s, q, roi); }},
        {"InterNonuniform", false, true,
         [](Mox16s* p, int s, int q, MoxiSize roi) { return moxiQuantInterNonuniform_VC1_16s_C1IR(p, s, q, roi); }},
    };
}

// Every 16-bit value through every member, size and step size 2..62.
TEST(QuantVC1, ForwardMatchesModelOverWholeRange) {
    Rng r(8);
    for (const FwdMember& m : fwdMembers()) {
        for (MoxiSize roi : kSizes) {
            if (m.intra && roi.width * roi.height != 64) continue;
            const int n = roi.width * roi.height;
            for (int q = 2; q <= 62; ++q) {
                Guarded<Mox16s> got(roi.width, roi.height, randomLayout(r, 2)), want(roi.width, roi.height);
                for (int base = -32768; base < 32768; base += n) {
                    got.fill([v = base]() mutable { return v++; });
                    want.fill([v = base]() mutable { return v++; });
                    ASSERT_EQ(m.call(got.ptr(), got.step(), q, roi), moxStsNoErr);
                    ref::quantFwd(want.ptr(), want.step(), q, roi.width, roi.height, m.intra, m.nonuniform);
                    ASSERT_EQ(got.samples(), want.samples())
                        << m.name << " " << roi.width << "x" << roi.height << " quant " << q << " from " << base;
                    ASSERT_TRUE(got.guardsIntact()) << m.name;
                }
            }
        }
    }
}

TEST(QuantVC1, ForwardEdgeCases) {
    Mox16s b[16] = {};
    // Truncation towards zero.
    b[1] = -7;
    b[2] = 7;
    ASSERT_EQ(moxiQuantInterUniform_VC1_16s_C1IR(b, 8, 4, {4, 4}), moxStsNoErr);
    EXPECT_EQ(b[1], -1);
    EXPECT_EQ(b[2], 1);
    // The dead zone: |c| < quant + (quant >> 1) gives 0, the first value past it 1.
    for (int q = 2; q <= 62; ++q) {
        Mox16s d[16] = {};
        const int edge = q + (q >> 1);
        d[0] = Mox16s(edge - 1);
        d[1] = Mox16s(1 - edge);
        d[2] = Mox16s(edge + (inexactStep(q) ? 1 : 0));
        ASSERT_EQ(moxiQuantInterNonuniform_VC1_16s_C1IR(d, 8, q, {4, 4}), moxStsNoErr);
        EXPECT_EQ(d[0], 0) << q;
        EXPECT_EQ(d[1], 0) << q;
        EXPECT_EQ(d[2], 1) << q;
    }
    // Intra keeps the DC.
    Mox16s intra[64];
    for (int i = 0; i < 64; ++i) intra[i] = Mox16s(100 * i - 3000);
    ASSERT_EQ(moxiQuantIntraNonuniform_VC1_16s_C1IR(intra, 16, 62), moxStsNoErr);
    EXPECT_EQ(intra[0], -3000);
    EXPECT_EQ(intra[63], (100 * 63 - 3000 - 31) / 62);
}

// ---------------------------------------------------------------- argument checks

TEST(QuantVC1, InverseChecksInOrder) {
    Mox16s src[64] = {1, 2, 3}, dst[64] = {7};
    std::vector<Mox16s> dstBytes(dst, dst + 64), srcBytes(src, src + 64);
    for (const InvMember& m : invMembers()) {
        MoxiSize nz{-5, -5};
        std::vector<MoxiSize> nzv{nz};
        Mox16s* d = m.inPlace ? srcBytes.data() : dstBytes.data();
        auto run = [&](const Mox16s* s, Mox16s* dd, MoxiSize roi, MoxiSize* pnz) {
            return [=] { return m.call(s, 16, dd, 16, 3, roi, pnz); };
        };
        if (!m.inPlace) expectUntouched(moxStsNullPtrErr, run(nullptr, d, {3, 3}, nzv.data()), {dstBytes, nzv});
        expectUntouched(moxStsNullPtrErr, run(srcBytes.data(), nullptr, {3, 3}, nzv.data()), {srcBytes, nzv});
        expectUntouched(moxStsNullPtrErr, run(srcBytes.data(), d, {3, 3}, nullptr), {srcBytes, dstBytes});
        if (m.intra) continue;  // always 8x8: no size
        for (MoxiSize bad : {MoxiSize{8, 2}, MoxiSize{16, 8}, MoxiSize{0, 4}, MoxiSize{4, -4}, MoxiSize{6, 6}})
            expectUntouched(moxStsSizeErr, run(srcBytes.data(), d, bad, nzv.data()), {srcBytes, dstBytes, nzv});
    }
}

TEST(QuantVC1, ForwardChecksInOrder) {
    std::vector<Mox16s> block(64, 1000);
    for (const FwdMember& m : fwdMembers()) {
        expectUntouched(moxStsNullPtrErr, [&] { return m.call(nullptr, 16, 0, {0, 0}); }, {block});
        for (int q : {INT32_MIN, -2, 0, 1, 63, 64, 1 << 16})
            expectUntouched(moxStsOutOfRangeErr, [&] { return m.call(block.data(), 16, q, {0, 0}); }, {block});
        if (!m.intra)
            for (MoxiSize bad : {MoxiSize{8, 2}, MoxiSize{16, 8}, MoxiSize{0, 0}, MoxiSize{4, 6}})
                expectUntouched(moxStsSizeErr, [&] { return m.call(block.data(), 16, 2, bad); }, {block});
        for (int q : {2, 62}) {
            std::vector<Mox16s> b(64, 1000);
            EXPECT_EQ(m.call(b.data(), 16, q, {8, 8}), moxStsNoErr) << m.name << " quant " << q;
        }
    }
}

}  // namespace
