// Exp-Golomb and CAVLC decoding: random blocks of every kind written by the
// test encoder decode back exactly with the exact final cursor; hand-built
// bit strings pin the tables; corrupt bits and bad arguments give their
// status with the cursor and outputs untouched.
#include "common/guard_page.h"
#include "common/harness.h"
#include "h264/cavlc_encoder.h"

namespace {

using namespace mox::test;

const MoxCAVLCTables_H264& tables() { return *moxiGetCAVLCTables_H264(); }

// The same tables in arrays of the caller's own: the decoders then walk the
// packed form instead of taking their look-up path for the library's arrays.
const MoxCAVLCTables_H264& callerTables() {
    static const MoxCAVLCTables_H264 copy = tables();
    return copy;
}
// Even trials use the library's arrays, odd ones the caller's copy.
const MoxCAVLCTables_H264& tablesFor(int trial) { return trial & 1 ? callerTables() : tables(); }

constexpr Mox32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
constexpr Mox32s kIdentity[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// A random level: mostly small, sometimes needing the escape (level_prefix
// 15) or the extended escape (16 and above), within `maxAbs`.
int randomLevel(Rng& r, int maxAbs) {
    int mag;
    switch (r.uniform(0, 9)) {
        case 0: mag = r.uniform(1, std::min(maxAbs, 5000)); break;
        case 1: mag = r.uniform(1, maxAbs); break;
        case 2: mag = r.uniform(1, 60); break;
        default: mag = r.uniform(1, 3); break;
    }
    return r.coin() ? mag : -mag;
}

// maxCoeff values in scan order with tc non-zero ones.
std::vector<int> randomScan(Rng& r, int maxCoeff, int maxAbs) {
    std::vector<int> s(maxCoeff, 0);
    int tc = r.uniform(0, 3) == 0 ? maxCoeff : r.uniform(0, maxCoeff);
    // Half the blocks keep their coefficients near the start, as real ones
    // do: few zeros between them (short total_zeros and run_before codes).
    int span = r.coin() ? maxCoeff : std::min(maxCoeff, tc + r.uniform(0, 6));
    for (int placed = 0; placed < tc;) {
        int p = r.uniform(0, span - 1);
        if (!s[p]) {
            s[p] = randomLevel(r, maxAbs);
            ++placed;
        }
    }
    return s;
}

struct Coded {
    std::vector<int> scan;
    int maxCoeff = 16, nC = 0;
    long long endBit = 0;
};

template <class T>
using CoeffFn = MoxStatus (*)(Mox32u**, int*, Mox16s*, T**, int, Mox16s, const Mox32s* const*, const Mox32s* const*,
                              const Mox32s* const*, const Mox32s*);

// Encodes many random 4x4 blocks back to back and decodes them again.
template <class T>
void roundTrip4x4(CoeffFn<T> fn, int maxAbs, uint32_t seed) {
    Rng r(seed);
    const int nCs[] = {0, 1, 2, 3, 4, 5, 7, 8, 16, 100};
    for (int trial = 0; trial < 40; ++trial) {
        BitSink sink;
        int lead = r.uniform(0, 31);
        sink.put(0, lead);
        std::vector<Coded> blocks;
        for (int b = 0; b < 60; ++b) {
            Coded c;
            c.maxCoeff = r.coin() ? 16 : 15;
            c.nC = nCs[r.uniform(0, 9)];
            c.scan = randomScan(r, c.maxCoeff, maxAbs);
            encodeCavlc(sink, c.scan.data(), c.maxCoeff, c.nC, CavlcKind::Block4x4);
            c.endBit = sink.size();
            blocks.push_back(c);
        }
        std::vector<Mox32u> words = sink.words();
        Mox32u* p = words.data();
        int offset = 31 - lead;
        std::vector<T> coeffs(16 * blocks.size() + 16, 0x55);
        T* out = coeffs.data();
        for (const Coded& c : blocks) {
            Mox16s num = -1;
            T* before = out;
            const MoxCAVLCTables_H264& t = tablesFor(trial);
            ASSERT_EQ(fn(&p, &offset, &num, &out, c.nC, static_cast<Mox16s>(c.maxCoeff), t.coeffToken, t.totalZeros,
                         t.runBefore, kZigzag),
                      moxStsNoErr);
            int tc = 0;
            for (int v : c.scan) tc += v != 0;
            ASSERT_EQ(num, tc);
            ASSERT_EQ(out, before + (tc ? 16 : 0));
            ASSERT_EQ((p - words.data()) * 32LL + 31 - offset, c.endBit) << "cursor after block";
            if (tc) {
                int first = 16 - c.maxCoeff;
                for (int i = 0; i < 16; ++i) {
                    int want = i < first ? 0 : c.scan[i - first];
                    ASSERT_EQ(before[kZigzag[i]], static_cast<T>(want)) << "scan position " << i;
                }
            }
        }
    }
}

TEST(Cavlc, RoundTripRandomBlocks16s) { roundTrip4x4<Mox16s>(moxiDecodeCAVLCCoeffs_H264_1u16s, 2000, 1); }

TEST(Cavlc, RoundTripRandomBlocks32sWithExtendedEscape) {
    roundTrip4x4<Mox32s>(moxiDecodeCAVLCCoeffs_H264_1u32s, 1 << 20, 2);
}

template <class T>
using DcFn = MoxStatus (*)(Mox32u**, int*, Mox16s*, T**, const Mox32s*, const Mox32s* const*, const Mox32s* const*);

template <class T, int N>
void roundTripDc(DcFn<T> fn, uint32_t seed) {
    Rng r(seed);
    const bool is420 = N == 4;
    for (int trial = 0; trial < 200; ++trial) {
        BitSink sink;
        int lead = r.uniform(0, 31);
        sink.put(0, lead);
        std::vector<Coded> blocks;
        for (int b = 0; b < 20; ++b) {
            Coded c;
            c.maxCoeff = N;
            c.scan = randomScan(r, N, 3000);
            encodeCavlc(sink, c.scan.data(), N, 0, is420 ? CavlcKind::ChromaDc : CavlcKind::Chroma422Dc);
            c.endBit = sink.size();
            blocks.push_back(c);
        }
        std::vector<Mox32u> words = sink.words();
        Mox32u* p = words.data();
        int offset = 31 - lead;
        std::vector<T> coeffs(N * blocks.size());
        T* out = coeffs.data();
        for (const Coded& c : blocks) {
            Mox16s num = -1;
            T* before = out;
            const MoxCAVLCTables_H264& t = tablesFor(trial);
            ASSERT_EQ(fn(&p, &offset, &num, &out, is420 ? t.coeffTokenChromaDc : t.coeffTokenChroma422Dc,
                         is420 ? t.totalZerosChromaDc : t.totalZerosChroma422Dc, t.runBefore),
                      moxStsNoErr);
            int tc = 0;
            for (int v : c.scan) tc += v != 0;
            ASSERT_EQ(num, tc);
            ASSERT_EQ(out, before + (tc ? N : 0));
            ASSERT_EQ((p - words.data()) * 32LL + 31 - offset, c.endBit);
            for (int i = 0; tc && i < N; ++i) ASSERT_EQ(before[i], static_cast<T>(c.scan[i]));
        }
    }
}

TEST(Cavlc, RoundTripChromaDc) {
    roundTripDc<Mox16s, 4>(moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s, 3);
    roundTripDc<Mox32s, 4>(moxiDecodeCAVLCChromaDcCoeffs_H264_1u32s, 4);
    roundTripDc<Mox16s, 8>(moxiDecodeCAVLCChroma422DcCoeffs_H264_1u16s, 5);
    roundTripDc<Mox32s, 8>(moxiDecodeCAVLCChroma422DcCoeffs_H264_1u32s, 6);
}

// Valid blocks with a few bits flipped, or random bits: the look-up path
// (the library's arrays) and the walk through the packed tables (a copy of
// them) agree on every status, count, output and cursor, block after block.
template <class T>
void lookUpsAgreeWithPackedTables(CoeffFn<T> fn4x4, DcFn<T> fn420, DcFn<T> fn422, uint32_t seed) {
    Rng r(seed);
    for (int trial = 0; trial < 1200; ++trial) {
        const int kind = trial % 3, n = kind == 0 ? 16 : 4 << (kind - 1);
        BitSink sink;
        sink.put(0, r.uniform(0, 31));
        for (int b = 0; b < 12; ++b) {
            std::vector<int> scan = randomScan(r, n, b & 1 ? 3000 : 40);
            encodeCavlc(sink, scan.data(), n, r.uniform(0, 9), static_cast<CavlcKind>(kind));
        }
        std::vector<Mox32u> words = sink.words(24);
        const int last = static_cast<int>(words.size()) - 25;
        for (int f = r.uniform(0, 3); f > 0; --f) words[r.uniform(0, last)] ^= 1u << r.uniform(0, 31);
        for (int i = 0; trial % 8 == 0 && i <= last; ++i) words[i] = static_cast<Mox32u>(r.range(0, 0xFFFFFFFFu));
        Mox32u* p[2] = {words.data(), words.data()};
        int off[2] = {31, 31};
        std::vector<T> buf[2] = {std::vector<T>(16 * 13, 0x55), std::vector<T>(16 * 13, 0x55)};
        T* out[2] = {buf[0].data(), buf[1].data()};
        for (int b = 0; b < 13; ++b) {
            const int nC = r.uniform(0, 9);
            const Mox16s maxCoeff = r.coin() ? 16 : 15;
            MoxStatus st[2];
            Mox16s num[2] = {-7, -7};
            for (int k = 0; k < 2; ++k) {
                const MoxCAVLCTables_H264& t = tablesFor(k);
                st[k] = kind == 0   ? fn4x4(&p[k], &off[k], &num[k], &out[k], nC, maxCoeff, t.coeffToken, t.totalZeros,
                                            t.runBefore, kZigzag)
                        : kind == 1 ? fn420(&p[k], &off[k], &num[k], &out[k], t.coeffTokenChromaDc,
                                            t.totalZerosChromaDc, t.runBefore)
                                    : fn422(&p[k], &off[k], &num[k], &out[k], t.coeffTokenChroma422Dc,
                                            t.totalZerosChroma422Dc, t.runBefore);
            }
            ASSERT_EQ(st[0], st[1]) << "trial " << trial << " block " << b;
            ASSERT_EQ(num[0], num[1]);
            ASSERT_EQ(p[0] - words.data(), p[1] - words.data());
            ASSERT_EQ(off[0], off[1]);
            ASSERT_EQ(out[0] - buf[0].data(), out[1] - buf[1].data());
            ASSERT_EQ(buf[0], buf[1]);
            if (st[0] != moxStsNoErr || p[0] > words.data() + last) break;
        }
    }
}

TEST(Cavlc, LookUpsAgreeWithPackedTablesOnValidAndCorruptBits) {
    lookUpsAgreeWithPackedTables<Mox16s>(moxiDecodeCAVLCCoeffs_H264_1u16s, moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s,
                                         moxiDecodeCAVLCChroma422DcCoeffs_H264_1u16s, 41);
    lookUpsAgreeWithPackedTables<Mox32s>(moxiDecodeCAVLCCoeffs_H264_1u32s, moxiDecodeCAVLCChromaDcCoeffs_H264_1u32s,
                                         moxiDecodeCAVLCChroma422DcCoeffs_H264_1u32s, 42);
}

// Decodes one 4x4 block from a bit string; returns the status.
MoxStatus decodeBits(const char* bits, int nC, Mox16s maxNum, Mox16s* coeffs, Mox16s* num, long long* used,
                     int lead = 0) {
    BitSink s;
    s.put(0, lead);
    s.put(bits);
    std::vector<Mox32u> w = s.words(2);
    Mox32u* p = w.data();
    int off = 31 - lead;
    Mox16s* out = coeffs;
    MoxStatus st = moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, num, &out, nC, maxNum, tables().coeffToken,
                                                    tables().totalZeros, tables().runBefore, kZigzag);
    *used = (p - w.data()) * 32LL + 31 - off - lead;
    return st;
}

TEST(Cavlc, HandBuiltStringsFromTheStandardsTables) {
    // The textbook block {0,3,-1,0 / 0,-1,1,0 / 1,0,0,0 / 0,...}: coeff_token
    // (5, 3) 0000100, signs 011, levels 1 and 0010, total_zeros 111, runs 10 1 1 01.
    Mox16s c[16], num;
    long long used;
    for (int lead : {0, 20, 31}) {
        ASSERT_EQ(decodeBits("0000100 011 1 0010 111 10 1 1 01", 0, 16, c, &num, &used, lead), moxStsNoErr);
        const Mox16s want[16] = {0, 3, -1, 0, 0, -1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0};
        EXPECT_EQ(num, 5);
        EXPECT_EQ(used, 24);
        for (int i = 0; i < 16; ++i) EXPECT_EQ(c[i], want[i]) << i;
    }
    // nC >= 8: the 6-bit code 000011 is an empty block.
    ASSERT_EQ(decodeBits("000011", 8, 16, c, &num, &used), moxStsNoErr);
    EXPECT_EQ(num, 0);
    EXPECT_EQ(used, 6);
    // nC 2..3: "11" is TotalCoeff 0; nC 4..7: "1111".
    ASSERT_EQ(decodeBits("11", 2, 16, c, &num, &used), moxStsNoErr);
    EXPECT_EQ(used, 2);
    ASSERT_EQ(decodeBits("1111", 5, 16, c, &num, &used), moxStsNoErr);
    EXPECT_EQ(used, 4);
    // maxNumCoeff 15 with TotalCoeff 15 (nC 8 code 111010 = 15 coefficients, 2
    // trailing ones): no total_zeros; the levels fill scan positions 1..15.
    int scan[15];
    for (int i = 0; i < 15; ++i) scan[i] = 2;
    scan[14] = 1;
    scan[13] = -1;
    BitSink ref;
    encodeCavlc(ref, scan, 15, 8, CavlcKind::Block4x4);
    std::vector<Mox32u> w = ref.words();
    Mox32u* p = w.data();
    int off = 31;
    Mox16s* out = c;
    ASSERT_EQ(moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &out, 8, 15, tables().coeffToken, tables().totalZeros,
                                               tables().runBefore, kIdentity),
              moxStsNoErr);
    EXPECT_EQ(num, 15);
    EXPECT_EQ(c[0], 0);
    EXPECT_EQ(c[15], 1);
    EXPECT_EQ(c[14], -1);
    EXPECT_EQ(c[1], 2);
}

TEST(Cavlc, ChromaDcShortcutsNeedNoTablesOrOutput) {
    // "01": an empty block; null coefficient stream and tables are fine.
    BitSink s;
    s.put("01 1");
    std::vector<Mox32u> w = s.words();
    Mox32u* p = w.data();
    int off = 31;
    Mox16s num = 9;
    ASSERT_EQ(moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, nullptr, nullptr, nullptr, nullptr), moxStsNoErr);
    EXPECT_EQ(num, 0);
    EXPECT_EQ(off, 29);
    // "1 1 01": one trailing one, negative, total_zeros 1 -> position 1, 4 bits.
    BitSink t;
    t.put("1101");
    w = t.words();
    p = w.data();
    off = 31;
    Mox16s dc[4] = {7, 7, 7, 7}, *out = dc;
    ASSERT_EQ(moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &out, nullptr, nullptr, nullptr), moxStsNoErr);
    EXPECT_EQ(num, 1);
    EXPECT_EQ(off, 27);
    EXPECT_EQ(out, dc + 4);
    EXPECT_EQ(dc[0], 0);
    EXPECT_EQ(dc[1], -1);
    EXPECT_EQ(dc[2], 0);
    EXPECT_EQ(dc[3], 0);
    // The same shortcut with nowhere to write is a null pointer, cursor unmoved.
    p = w.data();
    off = 31;
    EXPECT_EQ(moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, nullptr, nullptr, nullptr, nullptr),
              moxStsNullPtrErr);
    EXPECT_EQ(p, w.data());
    EXPECT_EQ(off, 31);
}

TEST(Cavlc, CorruptBitsRestoreTheCursor) {
    // Sixteen zeros are no coeff_token for nC 0..1.
    Mox16s c[16] = {}, num = 77;
    long long used;
    EXPECT_EQ(decodeBits("0000000000000000 1111", 0, 16, c, &num, &used, 9), moxStsBitstreamErr);
    EXPECT_EQ(used, 0);
    EXPECT_EQ(num, 77);
    // Token (2, 2), two signs, total_zeros 13, then a run_before of 11 zeros,
    // which is no code for zerosLeft >= 7.
    BitSink bad;
    bad.put("001 00 000001 00000000000 000");
    std::vector<Mox32u> w = bad.words(2);
    Mox32u* p = w.data();
    int off = 31;
    Mox16s block[16];
    std::fill(block, block + 16, Mox16s{5});
    Mox16s* out = block;
    EXPECT_EQ(moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &out, 0, 16, tables().coeffToken, tables().totalZeros,
                                               tables().runBefore, kZigzag),
              moxStsBitstreamErr);
    EXPECT_EQ(p, w.data());
    EXPECT_EQ(off, 31);
    EXPECT_EQ(out, block);
    // More coefficients than the block holds: 16 with maxNumCoeff 15 (nC 8 code 111100).
    EXPECT_EQ(decodeBits("111100 000", 8, 15, c, &num, &used), moxStsBitstreamErr);
    EXPECT_EQ(used, 0);
}

TEST(Cavlc, ArgumentChecksInOrder) {
    std::vector<Mox32u> w(4, 0xFFFFFFFF);
    Mox32u* p = w.data();
    Mox32u* nullStream = nullptr;
    int off = 31;
    Mox16s num = 3, c[16];
    Mox16s* out = c;
    Mox16s* nullOut = nullptr;
    auto call = [&](Mox32u** pp, int* po, Mox16s* pn, Mox16s** pc, int nC, Mox16s maxNum,
                    const Mox32s* const* tok, const Mox32s* const* tz, const Mox32s* const* rb, const Mox32s* scan) {
        return moxiDecodeCAVLCCoeffs_H264_1u16s(pp, po, pn, pc, nC, maxNum, tok, tz, rb, scan);
    };
    // The library's arrays (the look-up path) and a copy of them check alike.
    for (int trial = 0; trial < 2; ++trial) {
        const auto& t = tablesFor(trial);
        EXPECT_EQ(call(nullptr, &off, &num, &out, 0, 16, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsNullPtrErr);
        EXPECT_EQ(call(&p, &off, &num, &out, 0, 16, t.coeffToken, t.totalZeros, t.runBefore, nullptr), moxStsNullPtrErr);
        EXPECT_EQ(call(&nullStream, &off, &num, &out, 0, 16, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsNullPtrErr);
        EXPECT_EQ(call(&p, &off, &num, &nullOut, 0, 16, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsNullPtrErr);
        // Null pointers come before range errors.
        EXPECT_EQ(call(&p, &off, &num, &nullOut, -1, 14, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsNullPtrErr);
        EXPECT_EQ(call(&p, &off, nullptr, &out, 0, 14, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsNullPtrErr);
        EXPECT_EQ(call(&p, &off, &num, &out, 0, 14, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsOutOfRangeErr);
        EXPECT_EQ(call(&p, &off, &num, &out, -1, 16, t.coeffToken, t.totalZeros, t.runBefore, kZigzag),
                  moxStsOutOfRangeErr);
    }
    const auto& t = tables();
    EXPECT_EQ(call(&p, &off, &num, &out, 0, 14, nullptr, t.totalZeros, t.runBefore, kZigzag), moxStsNullPtrErr);
    EXPECT_EQ(call(&p, &off, &num, &out, 0, 14, t.coeffToken, t.totalZeros, nullptr, kZigzag), moxStsNullPtrErr);
    // A table that is needed and null inside the array.
    const Mox32s* noTokens[3] = {nullptr, nullptr, nullptr};
    EXPECT_EQ(call(&p, &off, &num, &out, 0, 16, noTokens, t.totalZeros, t.runBefore, kZigzag), moxStsNullPtrErr);
    EXPECT_EQ(p, w.data());
    EXPECT_EQ(off, 31);
    EXPECT_EQ(num, 3);
    // ...but not when the fixed-length code is used instead.
    EXPECT_EQ(call(&p, &off, &num, &out, 8, 16, noTokens, t.totalZeros, t.runBefore, kZigzag), moxStsNoErr);
}

TEST(ExpGolomb, RoundTripAndLimits) {
    Rng r(21);
    BitSink s;
    std::vector<uint64_t> codes;
    for (int i = 0; i < 2000; ++i) {
        int z = r.uniform(0, i % 50 == 0 ? 32 : 16);
        uint64_t v = (uint64_t{1} << z) - 1 + static_cast<uint64_t>(r.range(0, (int64_t{1} << z) - 1));
        codes.push_back(v);
        encodeExpGolomb(s, v);
    }
    std::vector<Mox32u> w = s.words();
    Mox32u* p = w.data();
    int off = 31;
    for (size_t i = 0; i < codes.size(); ++i) {
        Mox32s u32;
        Mox16s s16;
        Mox32u* p2 = p;
        int off2 = off;
        ASSERT_EQ(moxiDecodeExpGolombOne_H264_1u16s(&p2, &off2, &s16, 0x100 | 1), moxStsNoErr);  // signed
        uint64_t m = (codes[i] + 1) >> 1;
        ASSERT_EQ(s16, static_cast<Mox16s>(codes[i] & 1 ? m : 0 - m));
        ASSERT_EQ(moxiDecodeExpGolombOne_H264_1u32s(&p, &off, &u32, 0x100), moxStsNoErr);  // low byte 0: unsigned
        ASSERT_EQ(static_cast<Mox32u>(u32), static_cast<Mox32u>(codes[i]));
        ASSERT_EQ(p, p2);
        ASSERT_EQ(off, off2);
    }
    // 33 leading zeros: corrupt, cursor and output untouched.
    std::vector<Mox32u> zeros(4, 0);
    p = zeros.data();
    off = 5;
    Mox32s v = 42;
    EXPECT_EQ(moxiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 0), moxStsBitstreamErr);
    EXPECT_EQ(p, zeros.data());
    EXPECT_EQ(off, 5);
    EXPECT_EQ(v, 42);
    // Offsets outside 0..31 are bad arguments, after the pointer checks.
    off = 32;
    EXPECT_EQ(moxiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 0), moxStsBadArgErr);
    off = -1;
    EXPECT_EQ(moxiDecodeExpGolombOne_H264_1u32s(&p, &off, nullptr, 0), moxStsNullPtrErr);
    Mox32u* np = nullptr;
    EXPECT_EQ(moxiDecodeExpGolombOne_H264_1u32s(&np, &off, &v, 0), moxStsNullPtrErr);
}

TEST(Cavlc, DecodingStaysWithinTheWordAfterTheStream) {
    // Blocks whose stream ends in the last readable word but one: decoding
    // them all must not touch the page behind.
    Rng r(31);
    for (int trial = 0; trial < 50; ++trial) {
        BitSink sink;
        std::vector<std::vector<int>> scans;
        for (int b = 0; b < 8; ++b) {
            scans.push_back(randomScan(r, 16, 100));
            encodeCavlc(sink, scans.back().data(), 16, b % 9, CavlcKind::Block4x4);
        }
        std::vector<Mox32u> words = sink.words(1);
        GuardPage mem(words.size() * 4);
        std::memcpy(mem.data(), words.data(), words.size() * 4);
        Mox32u* p = mem.as<Mox32u>();
        int off = 31;
        std::vector<Mox16s> coeffs(16 * 8);
        Mox16s* out = coeffs.data();
        for (int b = 0; b < 8; ++b) {
            Mox16s num;
            ASSERT_EQ(moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &out, b % 9, 16, tables().coeffToken,
                                                       tables().totalZeros, tables().runBefore, kZigzag),
                      moxStsNoErr);
        }
    }
}

}  // namespace
