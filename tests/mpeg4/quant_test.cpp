// MPEG-4 Part 2 and H.263 quantisation and inverse quantisation: the exact
// reciprocals against true division for every numerator; every forward and
// inverse member against its scalar reference over every QP, bit depth and
// mode with every 16-bit input value, random matrices and last indices, and
// guards around the block and the state records; the standard's worked
// cases; argument checks in their order with every output untouched.
#include <array>
#include <initializer_list>
#include <utility>
#include <cstring>
#include <vector>

#include "common/harness.h"
#include "mpeg4/quant_ref.h"
#include "mpeg4/quant_tables.h"

namespace {

using namespace mox::test;
using namespace mox::mpeg4;

using InitFn = MoxStatus (*)(const Mox8u*, void*, int);
using SizeFn = MoxStatus (*)(int*);

// A state record in guarded caller memory at a chosen misalignment.
struct Record {
    Guarded<Mox8u> mem;
    Record(SizeFn size, InitFn init, const Mox8u* matrix, int bitDepth, int misalign = 0)
        : mem(bytes(size), 1, Layout{0, misalign, false}, 0x5A) {
        EXPECT_EQ(init(matrix, mem.ptr(), bitDepth), moxStsNoErr);
        EXPECT_TRUE(mem.guardsIntact());
    }
    static int bytes(SizeFn size) {
        int n = 0;
        EXPECT_EQ(size(&n), moxStsNoErr);
        return n;
    }
    const void* get() const { return mem.ptr(); }
};

Record invIntra(const Mox8u* m, int b) { return {moxiQuantInvIntraGetSize_MPEG4, moxiQuantInvIntraInit_MPEG4, m, b}; }
Record invInter(const Mox8u* m, int b) { return {moxiQuantInvInterGetSize_MPEG4, moxiQuantInvInterInit_MPEG4, m, b}; }
Record fwdIntra(const Mox8u* m, int b) { return {moxiQuantIntraGetSize_MPEG4, moxiQuantIntraInit_MPEG4, m, b}; }
Record fwdInter(const Mox8u* m, int b) { return {moxiQuantInterGetSize_MPEG4, moxiQuantInterInit_MPEG4, m, b}; }

// A weighting matrix with the extremes 1 and 255 among random entries.
std::array<Mox8u, 64> randomMatrix(Rng& r) {
    std::array<Mox8u, 64> m{};
    for (auto& w : m) w = static_cast<Mox8u>(r.extreme(1, 255));
    m[r.uniform(0, 63)] = 1;
    m[r.uniform(0, 63)] = 255;
    return m;
}

// The 1024 blocks that together hold every 16-bit value once.
template <class F>
void forEveryValue(F&& f) {
    std::array<Mox16s, 64> in{};
    for (int first = -32768; first < 32768; first += 64) {
        for (int k = 0; k < 64; ++k) in[k] = static_cast<Mox16s>(first + k);
        f(in);
    }
}

std::array<Mox16s, 64> randomBlock(Rng& r) {
    std::array<Mox16s, 64> b{};
    const int spread = r.coin() ? 32767 : r.uniform(1, 300);
    for (auto& c : b) c = r.uniform(0, 2) == 0 ? 0 : static_cast<Mox16s>(r.extreme(-spread - (spread == 32767), spread));
    return b;
}

// Runs the library call on a guarded copy of `in` and the reference on a plain copy; both must agree.
template <class Lib, class Ref>
void expectMatch(const std::array<Mox16s, 64>& in, Lib&& lib, Ref&& ref, const char* what, int qp) {
    Guarded<Mox16s> got(64, 1, Layout{0, (qp % 8) * 2, false});
    std::memcpy(got.ptr(), in.data(), sizeof(in));
    got.arm();
    std::array<Mox16s, 64> want = in;
    int gotCount = -1, wantCount = -2;
    ASSERT_EQ(lib(got.ptr(), &gotCount), moxStsNoErr) << what << " QP " << qp;
    ref(want.data(), &wantCount);
    ASSERT_TRUE(std::equal(want.begin(), want.end(), got.ptr())) << what << " QP " << qp << " first " << in[0];
    ASSERT_TRUE(got.guardsIntact()) << what;
    if (wantCount >= 0) {
        ASSERT_EQ(gotCount, wantCount) << what << " QP " << qp;
    }
}

// ------------------------------------------------------------------ tables

TEST(Mpeg4Quant, Tables) {
    const int luma[] = {8, 8, 8, 8, 10, 12, 14, 16, 17, 18, 24, 32, 34, 46};
    const int chroma[] = {8, 8, 8, 8, 9, 9, 10, 10, 11, 11, 14, 18, 19, 25};
    const int qps[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 16, 24, 25, 31};
    for (int i = 0; i < 14; ++i) {
        EXPECT_EQ(dcScaler(qps[i], true), luma[i]) << qps[i];
        EXPECT_EQ(dcScaler(qps[i], false), chroma[i]) << qps[i];
    }
    EXPECT_EQ(maxQP(4), 1);
    EXPECT_EQ(maxQP(8), 31);
    EXPECT_EQ(maxQP(12), 511);
    EXPECT_EQ(coefRange(8), 2048);
    EXPECT_EQ(std::memcmp(&kMarkInvIntra, "RAMC", 4), 0);
    EXPECT_EQ(std::memcmp(&kMarkFwdInter, "UAMC", 4), 0);
    const std::initializer_list<std::pair<SizeFn, int>> sizes = {{moxiQuantInvIntraGetSize_MPEG4, 156},
                                                                  {moxiQuantInvInterGetSize_MPEG4, 156},
                                                                  {moxiQuantIntraGetSize_MPEG4, 412},
                                                                  {moxiQuantInterGetSize_MPEG4, 412}};
    for (auto [size, want] : sizes) {
        int n = 0;
        EXPECT_EQ(size(&n), moxStsNoErr);
        EXPECT_EQ(n, want);
    }
}

// The reciprocals replace floor(a / (2 QP)) for every numerator a kernel can form.
TEST(Mpeg4Quant, ReciprocalsAreExact) {
    for (int qp = 1; qp < 512; ++qp) {
        const Reciprocal r = kHalfStepRecip[qp];
        for (uint32_t a = 0; a <= 32800; ++a)
            ASSERT_EQ((a * r.mul) >> (16 + r.shift), a / (2 * qp)) << "QP " << qp << " a " << a;
    }
    // The H.263 test model's floor(65536 / 2QP) + 1 is not: a = 32735 at QP 31 gives 528, not 527.
    EXPECT_EQ((32735 * (65536 / 62 + 1)) >> 16, 528);
}

// ------------------------------------------------------------------ H.263

TEST(Mpeg4Quant, H263ForwardEveryValue) {
    for (int qp = 1; qp <= 31; ++qp)
        for (int modQ = 0; modQ < 2; ++modQ)
            forEveryValue([&](const std::array<Mox16s, 64>& in) {
                expectMatch(in, [&](Mox16s* b, int* n) { return moxiQuantInter_H263_16s_C1I(b, qp, n, modQ); },
                            [&](Mox16s* b, int* n) { mox::ref::quantInterH263(b, qp, n, modQ); }, "inter", qp);
                for (int aic = 0; aic < 2; ++aic)
                    expectMatch(
                        in, [&](Mox16s* b, int* n) { return moxiQuantIntra_H263_16s_C1I(b, qp, n, aic, modQ); },
                        [&](Mox16s* b, int* n) { mox::ref::quantIntraH263(b, qp, n, aic, modQ); }, "intra", qp);
            });
}

TEST(Mpeg4Quant, H263InverseAgainstReference) {
    Rng r(263);
    for (int qp = 1; qp <= 31; ++qp) {
        auto both = [&](const std::array<Mox16s, 64>& in, int last) {
            const int modQ = r.uniform(0, 2), aic = r.uniform(0, 1) * r.uniform(1, 5);
            expectMatch(in, [&](Mox16s* b, int*) { return moxiQuantInvInter_H263_16s_C1I(b, last, qp, modQ); },
                        [&](Mox16s* b, int*) { mox::ref::quantInvInterH263(b, last, qp, modQ); }, "inv inter", qp);
            expectMatch(in, [&](Mox16s* b, int*) { return moxiQuantInvIntra_H263_16s_C1I(b, last, qp, aic, modQ); },
                        [&](Mox16s* b, int*) { mox::ref::quantInvIntraH263(b, last, qp, aic, modQ); }, "inv intra",
                        qp);
        };
        forEveryValue([&](const std::array<Mox16s, 64>& in) { both(in, 63); });
        for (int last = 0; last <= 70; ++last) both(randomBlock(r), last);
    }
}

TEST(Mpeg4Quant, H263WorkedCases) {
    Mox16s b[64] = {};
    int n = 0;
    // INTRADC: 2036..2043 would be 255 and is sent as 254; 0..3 would be 0 and is sent as 1.
    for (int dc : {2036, 2043, 0, 3, 2044}) {
        b[0] = static_cast<Mox16s>(dc);
        ASSERT_EQ(moxiQuantIntra_H263_16s_C1I(b, 10, &n, 0, 0), moxStsNoErr);
        EXPECT_EQ(b[0], dc >= 2044 ? 256 : (dc > 2000 ? 254 : 1)) << dc;
        EXPECT_EQ(n, 1);
    }
    // Clause 6.2.1: |REC| = QUANT (2 |LEVEL| + 1), minus 1 for even QUANT.
    Mox16s c[64] = {3, -3, 0, 1000, -1000, 1};
    c[63] = 5;
    ASSERT_EQ(moxiQuantInvInter_H263_16s_C1I(c, 5, 4, 0), moxStsNoErr);
    const Mox16s want[6] = {27, -27, 0, 2047, -2048, 11};
    EXPECT_TRUE(std::equal(want, want + 6, c));
    EXPECT_EQ(c[63], 5);  // row 7 lies past the last index
    // QP 31: 62 |c| + 31 passes 2047 from |c| = 33 and 16 bits from |c| = 1057 (62 x 1057 + 31 = 65565).
    Mox16s e[64] = {32, -32, 33, -33, 1056, -1056, 1057, -1057, 32767, -32768, -1, 1};
    ASSERT_EQ(moxiQuantInvInter_H263_16s_C1I(e, 63, 31, 0), moxStsNoErr);
    const Mox16s wantE[12] = {2015, -2015, 2047, -2048, 2047, -2048, 2047, -2048, 2047, -2048, -93, 93};
    EXPECT_TRUE(std::equal(wantE, wantE + 12, e));
    // Intra over the whole block: the DC is DC * 8 whatever the AC rows hold.
    Mox16s f[64] = {-300, 1, -1};
    f[63] = -1057;
    ASSERT_EQ(moxiQuantInvIntra_H263_16s_C1I(f, 63, 2, 0, 0), moxStsNoErr);
    EXPECT_EQ(f[0], -2400);
    EXPECT_EQ(f[1], 5);
    EXPECT_EQ(f[2], -5);
    EXPECT_EQ(f[63], -2048);
    // Intra with last index 0: only the DC, times 8.
    Mox16s d[64];
    for (int k = 0; k < 64; ++k) d[k] = static_cast<Mox16s>(k + 1);
    ASSERT_EQ(moxiQuantInvIntra_H263_16s_C1I(d, 0, 7, 0, 0), moxStsNoErr);
    EXPECT_EQ(d[0], 8);
    for (int k = 1; k < 64; ++k) ASSERT_EQ(d[k], k + 1);
}

// ------------------------------------------------------------------ MPEG-4

TEST(Mpeg4Quant, Mpeg4InverseAgainstReference) {
    Rng r(4);
    for (int b = kMinBitDepth; b <= kMaxBitDepth; ++b) {
        for (int withMatrix = 0; withMatrix < 2; ++withMatrix) {
            const auto m = randomMatrix(r);
            const Mox8u* mp = withMatrix ? m.data() : nullptr;
            const Record intra = invIntra(mp, b), inter = invInter(mp, b);
            for (int qp = 1; qp <= maxQP(b); qp += (b == 12 && qp > 40) ? r.uniform(1, 9) : 1) {
                auto both = [&](const std::array<Mox16s, 64>& in, int last) {
                    const int type = r.uniform(0, 2);
                    expectMatch(in, [&](Mox16s* c, int*) { return moxiQuantInvIntra_MPEG4_16s_C1I(c, last, intra.get(), qp, type); },
                                [&](Mox16s* c, int*) { mox::ref::quantInvIntraMpeg4(c, last, mp, b, qp, type); },
                                "inv intra", qp);
                    expectMatch(in, [&](Mox16s* c, int*) { return moxiQuantInvInter_MPEG4_16s_C1I(c, last, inter.get(), qp); },
                                [&](Mox16s* c, int*) { mox::ref::quantInvInterMpeg4(c, last, mp, b, qp); }, "inv inter",
                                qp);
                };
                if (b == 8 || b == 12 || qp == maxQP(b)) forEveryValue([&](const auto& in) { both(in, 63); });
                for (int i = 0; i < 8; ++i) both(randomBlock(r), r.uniform(-2, 70));
            }
        }
    }
}

TEST(Mpeg4Quant, Mpeg4ForwardAgainstReference) {
    Rng r(44);
    for (int b : {4, 5, 8, 10, 12}) {
        for (int withMatrix = 0; withMatrix < 2; ++withMatrix) {
            const auto m = randomMatrix(r);
            const Mox8u* mp = withMatrix ? m.data() : nullptr;
            const Record intra = fwdIntra(mp, b), inter = fwdInter(mp, b);
            for (int qp = 1; qp <= maxQP(b); ++qp) {
                const int type = r.uniform(0, 1);
                auto both = [&](const std::array<Mox16s, 64>& in) {
                    expectMatch(in, [&](Mox16s* c, int* n) { return moxiQuantIntra_MPEG4_16s_C1I(c, intra.get(), qp, n, type); },
                                [&](Mox16s* c, int* n) { mox::ref::quantIntraMpeg4(c, mp, b, qp, n, type); }, "intra",
                                qp);
                    expectMatch(in, [&](Mox16s* c, int* n) { return moxiQuantInter_MPEG4_16s_C1I(c, inter.get(), qp, n); },
                                [&](Mox16s* c, int* n) { mox::ref::quantInterMpeg4(c, mp, b, qp, n); }, "inter", qp);
                };
                if (qp <= 31 || qp % 32 == 1 || qp == maxQP(b)) forEveryValue(both);
                both(randomBlock(r));
            }
        }
    }
}

TEST(Mpeg4Quant, Mpeg4WorkedCases) {
    std::array<Mox8u, 64> m;
    m.fill(16);
    m[1] = 1;
    const Record intra = invIntra(m.data(), 8), inter = invInter(m.data(), 8);
    // DC-only intra block with an even DC value: mismatch control sets coefficient 63 to 1.
    Mox16s c[64] = {10};
    ASSERT_EQ(moxiQuantInvIntra_MPEG4_16s_C1I(c, 0, intra.get(), 9, 0), moxStsNoErr);
    EXPECT_EQ(c[0], 170);  // dc_scaler 17
    EXPECT_EQ(c[63], 1);
    // Inter, clause 7.4.4.1: (2 |c| + 1) W QP / 16 truncated; -16384 at W 1, QP 1 is the lowest -2048.
    Mox16s d[64] = {1, -16384, 16384};
    ASSERT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(d, 2, inter.get(), 1), moxStsNoErr);
    EXPECT_EQ(d[0], 3);
    EXPECT_EQ(d[1], -2048);
    EXPECT_EQ(d[2], 2047);
    EXPECT_EQ(d[63], 1);  // the sum 3 - 2048 + 2047 is even: coefficient 63 toggles
    // The largest QP of a bit depth is accepted, one more is not.
    const Record deep = invInter(nullptr, 12);
    EXPECT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(d, 0, deep.get(), 511), moxStsNoErr);
    EXPECT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(d, 0, deep.get(), 512), moxStsQPErr);
    EXPECT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(d, 0, inter.get(), 32), moxStsQPErr);
}

// Any alignment of the caller's memory works and nothing outside GetSize bytes is written.
TEST(Mpeg4Quant, RecordAlignment) {
    Rng r(16);
    const auto m = randomMatrix(r);
    for (int mis = 0; mis < 16; ++mis) {
        const Record fwd(moxiQuantInterGetSize_MPEG4, moxiQuantInterInit_MPEG4, m.data(), 8, mis);
        const Record inv(moxiQuantInvInterGetSize_MPEG4, moxiQuantInvInterInit_MPEG4, m.data(), 8, mis);
        std::array<Mox16s, 64> a = randomBlock(r), b = a;
        int n = 0, k = 0;
        ASSERT_EQ(moxiQuantInter_MPEG4_16s_C1I(a.data(), fwd.get(), 7, &n), moxStsNoErr);
        mox::ref::quantInterMpeg4(b.data(), m.data(), 8, 7, &k);
        EXPECT_EQ(a, b);
        ASSERT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(a.data(), 63, inv.get(), 7), moxStsNoErr);
        mox::ref::quantInvInterMpeg4(b.data(), 63, m.data(), 8, 7);
        EXPECT_EQ(a, b);
    }
}

// ------------------------------------------------------------------ argument checks

TEST(Mpeg4Quant, H263Errors) {
    std::vector<Mox16s> b(64, 3);
    std::vector<int> n(1, -1);
    auto keep = [&](MoxStatus s, auto call) { expectUntouched(s, call, {b, n}); };
    keep(moxStsNullPtrErr, [&] { return moxiQuantInter_H263_16s_C1I(nullptr, 0, n.data(), 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInter_H263_16s_C1I(b.data(), 0, nullptr, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantIntra_H263_16s_C1I(nullptr, 0, n.data(), 0, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantIntra_H263_16s_C1I(b.data(), 0, nullptr, 1, 0); });
    for (int qp : {0, -1, 32}) {
        keep(moxStsQPErr, [&] { return moxiQuantInter_H263_16s_C1I(b.data(), qp, n.data(), 1); });
        keep(moxStsQPErr, [&] { return moxiQuantIntra_H263_16s_C1I(b.data(), qp, n.data(), 1, 0); });
        keep(moxStsQPErr, [&] { return moxiQuantInvInter_H263_16s_C1I(b.data(), -1, qp, 0); });
        keep(moxStsQPErr, [&] { return moxiQuantInvIntra_H263_16s_C1I(b.data(), -1, qp, 0, 0); });
    }
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvInter_H263_16s_C1I(nullptr, -1, 0, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvIntra_H263_16s_C1I(nullptr, -1, 0, 0, 0); });
    keep(moxStsOutOfRangeErr, [&] { return moxiQuantInvInter_H263_16s_C1I(b.data(), -1, 31, 0); });
    keep(moxStsOutOfRangeErr, [&] { return moxiQuantInvIntra_H263_16s_C1I(b.data(), -1, 1, 1, 0); });
}

TEST(Mpeg4Quant, Mpeg4Errors) {
    std::vector<Mox16s> b(64, 3);
    std::vector<int> n(1, -1);
    const Record ii = invIntra(nullptr, 8), ie = invInter(nullptr, 8), fi = fwdIntra(nullptr, 8), fe = fwdInter(nullptr, 8);
    auto keep = [&](MoxStatus s, auto call) { expectUntouched(s, call, {b, n}); };
    // Null pointers first, then the record's kind, then QP.
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvIntra_MPEG4_16s_C1I(nullptr, 0, ie.get(), 0, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvIntra_MPEG4_16s_C1I(b.data(), 0, nullptr, 0, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvInter_MPEG4_16s_C1I(nullptr, 0, ii.get(), 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInvInter_MPEG4_16s_C1I(b.data(), 0, nullptr, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantIntra_MPEG4_16s_C1I(b.data(), fi.get(), 1, nullptr, 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantIntra_MPEG4_16s_C1I(b.data(), nullptr, 0, n.data(), 0); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInter_MPEG4_16s_C1I(nullptr, fe.get(), 0, n.data()); });
    keep(moxStsNullPtrErr, [&] { return moxiQuantInter_MPEG4_16s_C1I(b.data(), fe.get(), 1, nullptr); });
    for (const Record* wrong : {&ii, &ie, &fi, &fe}) {
        if (wrong != &ii) keep(moxStsContextMatchErr, [&] { return moxiQuantInvIntra_MPEG4_16s_C1I(b.data(), 0, wrong->get(), 0, 0); });
        if (wrong != &ie) keep(moxStsContextMatchErr, [&] { return moxiQuantInvInter_MPEG4_16s_C1I(b.data(), 0, wrong->get(), 0); });
        if (wrong != &fi) keep(moxStsContextMatchErr, [&] { return moxiQuantIntra_MPEG4_16s_C1I(b.data(), wrong->get(), 0, n.data(), 0); });
        if (wrong != &fe) keep(moxStsContextMatchErr, [&] { return moxiQuantInter_MPEG4_16s_C1I(b.data(), wrong->get(), 0, n.data()); });
    }
    for (int qp : {0, 32}) {
        keep(moxStsQPErr, [&] { return moxiQuantInvIntra_MPEG4_16s_C1I(b.data(), 5, ii.get(), qp, 0); });
        keep(moxStsQPErr, [&] { return moxiQuantInvInter_MPEG4_16s_C1I(b.data(), 5, ie.get(), qp); });
        keep(moxStsQPErr, [&] { return moxiQuantIntra_MPEG4_16s_C1I(b.data(), fi.get(), qp, n.data(), 0); });
        keep(moxStsQPErr, [&] { return moxiQuantInter_MPEG4_16s_C1I(b.data(), fe.get(), qp, n.data()); });
    }
    EXPECT_EQ(moxiQuantInvIntraGetSize_MPEG4(nullptr), moxStsNullPtrErr);
    EXPECT_EQ(moxiQuantInterGetSize_MPEG4(nullptr), moxStsNullPtrErr);
}

TEST(Mpeg4Quant, InitErrors) {
    for (InitFn init : {moxiQuantInvIntraInit_MPEG4, moxiQuantInvInterInit_MPEG4, moxiQuantIntraInit_MPEG4,
                        moxiQuantInterInit_MPEG4}) {
        std::vector<Mox8u> mem(512, 0xEE);
        std::vector<Mox8u> m(64, 9);
        EXPECT_EQ(init(m.data(), nullptr, 99), moxStsNullPtrErr);
        for (int b : {3, 13, -8}) expectUntouched(moxStsOutOfRangeErr, [&] { return init(m.data(), mem.data(), b); }, {mem});
        // A zero entry: the entries before it are copied, the record stays unusable.
        m[5] = 0;
        EXPECT_EQ(init(m.data(), mem.data(), 3), moxStsOutOfRangeErr);
        EXPECT_EQ(init(m.data(), mem.data(), 8), moxStsQPErr);
        Mox16s blk[64] = {};
        int n = 0;
        EXPECT_EQ(moxiQuantInvInter_MPEG4_16s_C1I(blk, 0, mem.data(), 1), moxStsContextMatchErr);
        EXPECT_EQ(moxiQuantInter_MPEG4_16s_C1I(blk, mem.data(), 1, &n), moxStsContextMatchErr);
    }
}

}  // namespace
