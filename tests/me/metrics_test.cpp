// Block metrics: every member against the reference model on random and
// extreme blocks at every mcType and in random layouts (padded, misaligned,
// bottom-up); blocks placed flush against unreadable pages to prove no
// kernel reads beyond what its position needs; null pointers and candidate
// counts; the documented worked cases.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <type_traits>
#include <vector>

#include "common/harness.h"
#include "core/pixel.h"
#include "me/metrics_ref.h"

namespace {

using namespace mox::test;

// ----------------------------------------------------------------- inputs

// Fills a source and a reference block with one of several patterns: the
// extremes of the range against each other, alternating extremes against
// their inverse, identical extremes, random values with and without extremes.
template <class T>
void fillPair(Guarded<T>& src, Guarded<T>& ref, int pattern, Rng& r, int64_t lo, int64_t hi) {
    auto flat = [](Guarded<T>& g, int64_t v) { g.fill([v] { return v; }); };
    auto alternate = [&](Guarded<T>& g, bool inverse) {
        for (int y = 0; y < g.height(); ++y)
            for (int x = 0; x < g.width(); ++x) g.at(x, y) = static_cast<T>(((x + y) & 1) != inverse ? hi : lo);
        g.arm();
    };
    switch (pattern % 6) {
        case 0:
            flat(src, lo);
            flat(ref, hi);
            break;
        case 1:
            flat(src, hi);
            flat(ref, lo);
            break;
        case 2:
            alternate(src, false);
            alternate(ref, true);
            break;
        case 3:
            flat(src, hi);
            flat(ref, hi);
            break;
        case 4:
            src.fillRandom(r, lo, hi, false);
            ref.fillRandom(r, lo, hi, false);
            break;
        default:
            src.fillRandom(r, lo, hi);
            ref.fillRandom(r, lo, hi);
            break;
    }
}

// A block of T whose rows are packed tightly (or padded) inside a mapping
// with unreadable pages on both sides, its first row flush against the page
// before or its last byte flush against the page after.
template <class T>
class Fenced {
public:
    Fenced(int width, int height, int pad, bool flushEnd, bool bottomUp) : width_(width), height_(height) {
        page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        stride_ = width * static_cast<int>(sizeof(T)) + pad;
        const size_t span = static_cast<size_t>(stride_) * (height - 1) + width * sizeof(T);
        inner_ = (span + page_ - 1) / page_ * page_;
        mem_ = static_cast<uint8_t*>(
            mmap(nullptr, inner_ + 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(mem_, MAP_FAILED);
        mprotect(mem_, page_, PROT_NONE);
        mprotect(mem_ + page_ + inner_, page_, PROT_NONE);
        uint8_t* first = flushEnd ? mem_ + page_ + inner_ - span : mem_ + page_;
        step_ = bottomUp ? -stride_ : stride_;
        origin_ = bottomUp ? first + static_cast<size_t>(stride_) * (height - 1) : first;
    }
    ~Fenced() { munmap(mem_, inner_ + 2 * page_); }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;

    T* ptr() { return reinterpret_cast<T*>(origin_); }
    int step() const { return step_; }
    void fillRandom(Rng& r, int64_t lo, int64_t hi) {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) mox::row(ptr(), step_, y)[x] = static_cast<T>(r.extreme(lo, hi));
    }

private:
    int width_, height_, stride_ = 0, step_ = 0;
    size_t page_ = 0, inner_ = 0;
    uint8_t* mem_ = nullptr;
    uint8_t* origin_ = nullptr;
};

// A 32-bit result between two sentinels that must survive every call.
struct Out32 {
    Mox32s v[3] = {0x5A5A5A5A, 0x5A5A5A5A, 0x5A5A5A5A};
    Mox32s* ptr() { return &v[1]; }
    bool fenced() const { return v[0] == 0x5A5A5A5A && v[2] == 0x5A5A5A5A; }
};

// ----------------------------------------------------------------- src/ref members

template <class T>
using PairFn = MoxStatus (*)(const T*, int, const T*, int, Mox32s*, int);

enum class Kind { Sad, Ssd, Satd };

template <class T>
struct PairCase {
    const char* name;
    PairFn<T> fn;
    int w, h;
    Kind kind;
    bool halfPositions;  // takes mcType; otherwise the full position only
};

// Full-position members take no mcType; adapt them to the common signature.
#define FULL(f) [](const Mox8u* a, int as, const Mox8u* b, int bs, Mox32s* o, int) { return f(a, as, b, bs, o); }

const PairCase<Mox8u> k8u[] = {
    {"SAD16x16_8u32s", moxiSAD16x16_8u32s, 16, 16, Kind::Sad, true},
    {"SAD16x8_8u32s", moxiSAD16x8_8u32s_C1R, 16, 8, Kind::Sad, true},
    {"SAD8x8_8u32s", moxiSAD8x8_8u32s_C1R, 8, 8, Kind::Sad, true},
    {"SSD8x8_8u32s", moxiSSD8x8_8u32s_C1R, 8, 8, Kind::Ssd, true},
    {"SSD4x4_8u32s", moxiSSD4x4_8u32s_C1R, 4, 4, Kind::Ssd, true},
    {"SAD4x4_8u32s", FULL(moxiSAD4x4_8u32s), 4, 4, Kind::Sad, false},
    {"SAD4x8_8u32s", FULL(moxiSAD4x8_8u32s_C1R), 4, 8, Kind::Sad, false},
    {"SAD8x4_8u32s", FULL(moxiSAD8x4_8u32s_C1R), 8, 4, Kind::Sad, false},
    {"SAD8x16_8u32s", FULL(moxiSAD8x16_8u32s_C1R), 8, 16, Kind::Sad, false},
    {"SATD4x4_8u32s", FULL(moxiSATD4x4_8u32s_C1R), 4, 4, Kind::Satd, false},
    {"SATD4x8_8u32s", FULL(moxiSATD4x8_8u32s_C1R), 4, 8, Kind::Satd, false},
    {"SATD8x4_8u32s", FULL(moxiSATD8x4_8u32s_C1R), 8, 4, Kind::Satd, false},
    {"SATD8x8_8u32s", FULL(moxiSATD8x8_8u32s_C1R), 8, 8, Kind::Satd, false},
    {"SATD8x16_8u32s", FULL(moxiSATD8x16_8u32s_C1R), 8, 16, Kind::Satd, false},
    {"SATD16x8_8u32s", FULL(moxiSATD16x8_8u32s_C1R), 16, 8, Kind::Satd, false},
    {"SATD16x16_8u32s", FULL(moxiSATD16x16_8u32s_C1R), 16, 16, Kind::Satd, false},
};
const PairCase<Mox16u> k16u[] = {
    {"SAD16x16_16u32s", moxiSAD16x16_16u32s_C1R, 16, 16, Kind::Sad, true},
    {"SAD8x8_16u32s", moxiSAD8x8_16u32s_C1R, 8, 8, Kind::Sad, true},
    {"SAD4x4_16u32s", moxiSAD4x4_16u32s_C1R, 4, 4, Kind::Sad, true},
};

template <class T>
int expected(const PairCase<T>& c, const T* s, int ss, const T* r, int rs, int mcType) {
    if (!c.halfPositions) mcType = 0;
    if constexpr (std::is_same_v<T, Mox8u>) {
        if (c.kind == Kind::Ssd) return mox::ref::ssd(s, ss, r, rs, c.w, c.h, mcType);
        if (c.kind == Kind::Satd) return mox::ref::satd(s, ss, r, rs, c.w, c.h);
    }
    return mox::ref::sad(s, ss, r, rs, c.w, c.h, mcType);
}

template <class T>
void checkAgainstReference(const PairCase<T>& c, int64_t maxValue) {
    Rng r(77);
    const int positions = c.halfPositions ? 16 : 1;
    for (int mcType = 0; mcType < positions; ++mcType) {
        for (int iter = 0; iter < 48; ++iter) {
            // The reference block carries the extra column and row a half position reads.
            Guarded<T> src(c.w, c.h, randomLayout(r, sizeof(T))), ref(c.w + 1, c.h + 1, randomLayout(r, sizeof(T)));
            fillPair(src, ref, iter, r, 0, maxValue);
            Out32 out;
            ASSERT_EQ(c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), out.ptr(), mcType), moxStsNoErr);
            ASSERT_EQ(out.v[1], expected(c, src.ptr(), src.step(), ref.ptr(), ref.step(), mcType))
                << c.name << " mcType " << mcType << " iteration " << iter;
            ASSERT_TRUE(out.fenced()) << c.name;
        }
    }
}

// Source and reference flush against unreadable pages, at every position the
// member takes, with the reference carrying exactly the column and row its
// position needs.
template <class T>
void checkReadsStayInside(const PairCase<T>& c, int64_t maxValue) {
    Rng r(5);
    for (int mcType = 0; mcType < (c.halfPositions ? 16 : 1); mcType += 4) {
        const int hx = (mcType >> 3) & 1, hy = (mcType >> 2) & 1;
        for (int variant = 0; variant < 4; ++variant) {
            const bool flushEnd = variant & 1, bottomUp = variant & 2;
            Fenced<T> src(c.w, c.h, 0, flushEnd, bottomUp), ref(c.w + hx, c.h + hy, 0, flushEnd, bottomUp);
            src.fillRandom(r, 0, maxValue);
            ref.fillRandom(r, 0, maxValue);
            Out32 out;
            ASSERT_EQ(c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), out.ptr(), mcType), moxStsNoErr);
            EXPECT_EQ(out.v[1], expected(c, src.ptr(), src.step(), ref.ptr(), ref.step(), mcType)) << c.name;
        }
    }
}

template <class T>
void checkNullPointers(const PairCase<T>& c) {
    Guarded<T> a(c.w + 1, c.h + 1), b(c.w + 1, c.h + 1);
    std::vector<Mox32s> out(1, 0x5A5A5A5A);
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, a.step(), b.ptr(), b.step(), out.data(), 12); },
                    {out});
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(a.ptr(), a.step(), nullptr, b.step(), out.data(), 12); },
                    {out});
    EXPECT_EQ(c.fn(a.ptr(), a.step(), b.ptr(), b.step(), nullptr, 12), moxStsNullPtrErr) << c.name;
}

TEST(Metrics, MatchesReference8u) {
    for (const auto& c : k8u) checkAgainstReference(c, 255);
}

TEST(Metrics, MatchesReference16uFullRange) {
    // Half-half sums of four 65535 need 18 bits.
    for (const auto& c : k16u) checkAgainstReference(c, 65535);
}

TEST(Metrics, ReadsStayInsideTheBlock) {
    for (const auto& c : k8u) checkReadsStayInside(c, 255);
    for (const auto& c : k16u) checkReadsStayInside(c, 65535);
}

TEST(Metrics, NullPointers) {
    for (const auto& c : k8u) checkNullPointers(c);
    for (const auto& c : k16u) checkNullPointers(c);
}

TEST(Metrics, McTypeAndWorkedCases) {
    // Only bits 2 and 3 of mcType count (5 acts as 4); values from 16 on are
    // unsupported but stay harmless, acting as their bits 2 and 3.
    Rng r(9);
    Guarded<Mox8u> src(16, 16), ref(17, 17);
    src.fillRandom(r, 0, 255);
    ref.fillRandom(r, 0, 255);
    for (int mcType : {4, 5, 6, 7, 13, 16, 20, 31, 255, -1, INT_MIN, INT_MAX}) {
        Mox32s got = -1;
        ASSERT_EQ(moxiSAD16x16_8u32s(src.ptr(), src.step(), ref.ptr(), ref.step(), &got, mcType), moxStsNoErr);
        EXPECT_EQ(got, mox::ref::sad(src.ptr(), src.step(), ref.ptr(), ref.step(), 16, 16, mcType & 12)) << mcType;
    }
    Mox32s same = -1;
    moxiSAD16x16_8u32s(src.ptr(), src.step(), src.ptr(), src.step(), &same, 0);
    EXPECT_EQ(same, 0);

    Guarded<Mox8u> flat(16, 16);
    Mox32s var = -1, mean = -1;
    flat.fill([] { return 2; });
    EXPECT_EQ(moxiVarMean8x8_8u32s_C1R(flat.ptr(), flat.step(), &var, &mean), moxStsNoErr);
    EXPECT_EQ(var, 0);
    EXPECT_EQ(mean, 128);  // the sum, not the mean
    flat.fill([] { return 100; });
    moxiVariance16x16_8u32s(flat.ptr(), flat.step(), &var);
    EXPECT_EQ(var, 0);
    flat.fill([] { return 255; });
    moxiVariance16x16_8u32s(flat.ptr(), flat.step(), &var);
    EXPECT_EQ(var, 16777216);  // s * s wraps in 32 bits
}

TEST(Metrics, SatdOfOneUnitDifferenceIs16InEveryTile) {
    // A single difference spreads to all 16 coefficients of its tile with magnitude 1.
    for (const auto& c : k8u) {
        if (c.kind != Kind::Satd) continue;
        for (int y = 0; y < c.h; ++y)
            for (int x = 0; x < c.w; ++x) {
                Guarded<Mox8u> a(c.w, c.h), b(c.w, c.h);
                a.fill([] { return 50; });
                b.fill([] { return 50; });
                a.at(x, y) = 51;
                Mox32s got = -1;
                c.fn(a.ptr(), a.step(), b.ptr(), b.step(), &got, 0);
                ASSERT_EQ(got, 16) << c.name << " at " << x << "," << y;
            }
    }
}

// ----------------------------------------------------------------- variance

TEST(Metrics, Variance16x16MatchesReference) {
    Rng r(11);
    for (int iter = 0; iter < 300; ++iter) {
        Guarded<Mox8u> g(16, 16, randomLayout(r, 1));
        // Means on both sides of 181, where s * s starts to wrap.
        const int lo = iter % 3 == 0 ? 150 : 0;
        g.fillRandom(r, lo, 255);
        Out32 out;
        ASSERT_EQ(moxiVariance16x16_8u32s(g.ptr(), g.step(), out.ptr()), moxStsNoErr);
        ASSERT_EQ(out.v[1], mox::ref::variance16x16(g.ptr(), g.step())) << iter;
        ASSERT_TRUE(out.fenced());
    }
    Guarded<Mox8u> g(16, 16);
    std::vector<Mox32s> out(1, 7);
    expectUntouched(moxStsNullPtrErr, [&] { return moxiVariance16x16_8u32s(nullptr, g.step(), out.data()); }, {out});
    EXPECT_EQ(moxiVariance16x16_8u32s(g.ptr(), g.step(), nullptr), moxStsNullPtrErr);
}

template <class T>
using VarFn = MoxStatus (*)(const T*, int, Mox32s*, Mox32s*);

template <class T>
struct VarCase {
    const char* name;
    VarFn<T> fn;
};

const VarCase<Mox8u> kVar8u[] = {{"VarMean8x8_8u32s", moxiVarMean8x8_8u32s_C1R},
                                 {"VarSum8x8_8u32s", moxiVarSum8x8_8u32s_C1R}};
const VarCase<Mox16s> kVar16s[] = {{"VarMean8x8_16s32s", moxiVarMean8x8_16s32s_C1R},
                                   {"VarSum8x8_16s32s", moxiVarSum8x8_16s32s_C1R}};

template <class T>
void checkVar(const VarCase<T>& c, int64_t lo, int64_t hi) {
    Rng r(13);
    for (int iter = 0; iter < 400; ++iter) {
        Guarded<T> g(8, 8, randomLayout(r, sizeof(T)));
        switch (iter % 4) {
            case 0: g.fill([&] { return r.coin() ? lo : hi; }); break;
            case 1: g.fill([&] { return iter % 8 == 1 ? lo : hi; }); break;
            default: g.fillRandom(r, lo, hi); break;
        }
        Out32 var, sum;
        ASSERT_EQ(c.fn(g.ptr(), g.step(), var.ptr(), sum.ptr()), moxStsNoErr);
        int wantVar = 0, wantSum = 0;
        mox::ref::varSum8x8(g.ptr(), g.step(), &wantVar, &wantSum);
        ASSERT_EQ(var.v[1], wantVar) << c.name << " iteration " << iter;
        ASSERT_EQ(sum.v[1], wantSum) << c.name << " iteration " << iter;
        ASSERT_TRUE(var.fenced() && sum.fenced());
    }
    Guarded<T> g(8, 8);
    std::vector<Mox32s> v(1, 3), s(1, 4);
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, g.step(), v.data(), s.data()); }, {v, s});
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(g.ptr(), g.step(), nullptr, s.data()); }, {s});
    expectUntouched(moxStsNullPtrErr, [&] { return c.fn(g.ptr(), g.step(), v.data(), nullptr); }, {v});
}

TEST(Metrics, VarMeanVarSumMatchReference) {
    for (const auto& c : kVar8u) checkVar(c, 0, 255);
    // Squares of -32768 sum past 32 bits.
    for (const auto& c : kVar16s) checkVar(c, -32768, 32767);
}

TEST(Metrics, VarSum16sExtremeBlocks) {
    Guarded<Mox16s> g(8, 8);
    Mox32s var = -1, sum = -1;
    g.fill([] { return -32768; });
    moxiVarSum8x8_16s32s_C1R(g.ptr(), g.step(), &var, &sum);
    EXPECT_EQ(var, 0);
    EXPECT_EQ(sum, -2097152);
    int i = 0;
    g.fill([&] { return (i++ & 1) ? 32767 : -32768; });
    moxiVarSum8x8_16s32s_C1R(g.ptr(), g.step(), &var, &sum);
    EXPECT_EQ(sum, -32);
    EXPECT_EQ(var, 1073709056);  // (32767^2 + 32768^2) / 2 - 0.25, in single precision
}

// ----------------------------------------------------------------- candidate runs

using XnFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16u*, int);
using XniFn = MoxStatus (*)(const Mox8u*, int, const Mox8u*, int, Mox16u*, int, Mox16u*, int*);

struct XnCase {
    const char* name;
    XnFn fn;
    XniFn fnI;  // the form with the minimum, or null
    int size;
};

const XnCase kXn[] = {
    {"SAD16x16xN", moxiSAD16x16xN_8u16u_C1R, moxiSAD16x16xNI_8u16u_C1R, 16},
    {"SAD8x8xN", moxiSAD8x8xN_8u16u_C1R, moxiSAD8x8xNI_8u16u_C1R, 8},
    {"SAD4x4xN", moxiSAD4x4xN_8u16u_C1R, moxiSAD4x4xNI_8u16u_C1R, 4},
    {"SAD2x2xN", moxiSAD2x2xN_8u16u_C1R, nullptr, 2},
};

constexpr Mox16u kUnset = 0xBEEF;

// Runs both forms (when present) on a run of n candidates and compares with
// the reference; entries from n rounded down to 8 on stay unset.
template <class Src, class Ref>
void runCandidates(const XnCase& c, Src& src, Ref& ref, int n, const char* what) {
    const int used = n & ~7;
    std::vector<Mox16u> want(used);
    mox::ref::sadCandidates(src.ptr(), src.step(), ref.ptr(), ref.step(), c.size, c.size, used, want.data());
    std::vector<Mox16u> got(n + 8, kUnset);
    ASSERT_EQ(c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), got.data(), n), moxStsNoErr) << c.name;
    ASSERT_EQ(std::vector<Mox16u>(got.begin(), got.begin() + used), want) << c.name << " n " << n << " " << what;
    for (size_t i = used; i < got.size(); ++i) ASSERT_EQ(got[i], kUnset) << c.name << " wrote entry " << i;
    if (!c.fnI) return;
    std::vector<Mox16u> gotI(n + 8, kUnset);
    Mox16u minSad = kUnset;
    int minIndex = -1;
    ASSERT_EQ(c.fnI(src.ptr(), src.step(), ref.ptr(), ref.step(), gotI.data(), n, &minSad, &minIndex), moxStsNoErr);
    EXPECT_EQ(gotI, got) << c.name;
    const auto first = std::min_element(want.begin(), want.end());  // the first of equal minima
    EXPECT_EQ(minSad, *first) << c.name << " n " << n;
    EXPECT_EQ(minIndex, first - want.begin()) << c.name << " n " << n << " " << what;
}

TEST(MetricsCandidates, MatchReference) {
    Rng r(21);
    for (const auto& c : kXn)
        for (int n : {8, 9, 15, 16, 24, 31, 64}) {
            for (int iter = 0; iter < 12; ++iter) {
                Guarded<Mox8u> src(c.size, c.size, randomLayout(r, 1)), ref(c.size + n - 1, c.size, randomLayout(r, 1));
                fillPair(src, ref, iter, r, 0, 255);
                runCandidates(c, src, ref, n, "random");
            }
        }
}

TEST(MetricsCandidates, MinimumIndexIsTheFirstOfEqualSads) {
    // A reference repeating every 8 columns gives every SAD eight times over;
    // flat blocks give one SAD for all candidates.
    Rng r(22);
    for (const auto& c : kXn) {
        for (int iter = 0; iter < 20; ++iter) {
            const int n = 64;
            Guarded<Mox8u> src(c.size, c.size), ref(c.size + n - 1, c.size);
            src.fillRandom(r, 0, 255);
            std::vector<int> period(8 * c.size);
            for (int& v : period) v = r.uniform(0, 255);
            for (int y = 0; y < c.size; ++y)
                for (int x = 0; x < c.size + n - 1; ++x) ref.at(x, y) = static_cast<Mox8u>(period[y * 8 + x % 8]);
            runCandidates(c, src, ref, n, "periodic");
        }
        Guarded<Mox8u> src(c.size, c.size), ref(c.size + 15, c.size);
        src.fill([] { return 9; });
        ref.fill([] { return 9; });
        runCandidates(c, src, ref, 16, "flat");
    }
}

TEST(MetricsCandidates, ReadsStayInsideTheRun) {
    Rng r(23);
    for (const auto& c : kXn)
        for (int n : {8, 9, 16, 24})
            for (int variant = 0; variant < 4; ++variant) {
                const bool flushEnd = variant & 1, bottomUp = variant & 2;
                Fenced<Mox8u> src(c.size, c.size, 0, flushEnd, bottomUp);
                Fenced<Mox8u> ref(c.size + (n & ~7) - 1, c.size, 0, flushEnd, bottomUp);
                src.fillRandom(r, 0, 255);
                ref.fillRandom(r, 0, 255);
                runCandidates(c, src, ref, n, "fenced");
            }
}

TEST(MetricsCandidates, CountsBelowEightAreSizeErrors) {
    Guarded<Mox8u> src(16, 16), ref(40, 16);
    std::vector<Mox16u> out(16, kUnset), minSad(1, kUnset);
    std::vector<int> minIndex(1, -7);
    for (const auto& c : kXn)
        for (int n : {0, 1, 2, 3, 4, 5, 6, 7, -1, -8, INT_MIN}) {
            expectUntouched(moxStsSizeErr,
                            [&] { return c.fn(src.ptr(), src.step(), ref.ptr(), ref.step(), out.data(), n); }, {out});
            if (c.fnI)
                expectUntouched(moxStsSizeErr,
                                [&] {
                                    return c.fnI(src.ptr(), src.step(), ref.ptr(), ref.step(), out.data(), n,
                                                 minSad.data(), minIndex.data());
                                },
                                {out, minSad, minIndex});
        }
}

TEST(MetricsCandidates, NullPointersComeBeforeTheCount) {
    Guarded<Mox8u> src(16, 16), ref(40, 16);
    std::vector<Mox16u> out(16, kUnset), minSad(1, kUnset);
    std::vector<int> minIndex(1, -7);
    const Mox8u* s = src.ptr();
    const Mox8u* rf = ref.ptr();
    for (const auto& c : kXn)
        for (int n : {0, 8}) {
            expectUntouched(moxStsNullPtrErr, [&] { return c.fn(nullptr, src.step(), rf, ref.step(), out.data(), n); },
                            {out});
            expectUntouched(moxStsNullPtrErr, [&] { return c.fn(s, src.step(), nullptr, ref.step(), out.data(), n); },
                            {out});
            EXPECT_EQ(c.fn(s, src.step(), rf, ref.step(), nullptr, n), moxStsNullPtrErr);
            if (!c.fnI) continue;
            auto callI = [&](const Mox8u* a, const Mox8u* b, Mox16u* d, Mox16u* m, int* i) {
                return c.fnI(a, src.step(), b, ref.step(), d, n, m, i);
            };
            expectUntouched(moxStsNullPtrErr,
                            [&] { return callI(nullptr, rf, out.data(), minSad.data(), minIndex.data()); },
                            {out, minSad, minIndex});
            expectUntouched(moxStsNullPtrErr,
                            [&] { return callI(s, nullptr, out.data(), minSad.data(), minIndex.data()); },
                            {out, minSad, minIndex});
            expectUntouched(moxStsNullPtrErr, [&] { return callI(s, rf, nullptr, minSad.data(), minIndex.data()); },
                            {minSad, minIndex});
            expectUntouched(moxStsNullPtrErr, [&] { return callI(s, rf, out.data(), nullptr, minIndex.data()); },
                            {out, minIndex});
            expectUntouched(moxStsNullPtrErr, [&] { return callI(s, rf, out.data(), minSad.data(), nullptr); },
                            {out, minSad});
        }
}

}  // namespace
