// MPEG-4, H.263 and H.261 coefficient decoding against bit strings written
// here from the rows of the standards' tables (not through the library's
// tables): ordinary codes at both ends of each table, every escape form,
// scans, DC codes, the one-pass inverse quantisation, corrupt input and the
// argument checks.
#include <algorithm>

#include "common/harness.h"
#include "mpeg4/decode_check.h"

namespace {

using namespace mox::test;

constexpr int kRaster = 3;  // scan argument: positions are raster positions

BlockDecoder mpeg4Inter(int rvlc = 0, int scan = kRaster) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_MPEG4_1u16s(p, o, c, l, rvlc, scan); };
}
BlockDecoder mpeg4Intra(int rvlc = 0, int dcPresent = 0, int scan = kRaster) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiDecodeCoeffsIntra_MPEG4_1u16s(p, o, c, l, rvlc, dcPresent, scan);
    };
}
BlockDecoder h263Inter(int modQ = 0, int scan = kRaster) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_H263_1u16s(p, o, c, l, modQ, scan); };
}
BlockDecoder h263Intra(int advIntra, int modQ = 0, int scan = kRaster) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiDecodeCoeffsIntra_H263_1u16s(p, o, c, l, advIntra, modQ, scan);
    };
}

// ------------------------------------------------------------------ MPEG-4 TCOEF
TEST(Mpeg4Decode, InterTableB17Rows) {
    // last run level: 0 0 1 "10", 0 1 1 "110", 0 0 12 "0000 0100 000", 0 26 1 "0000 0101 0111",
    // 1 8 1 "0010 000"; each followed by its sign.
    expectBlock("10 0  110 1  00000100000 0  000001010111 1  0010000 0", mpeg4Inter(),
                {{0, 1}, {2, -1}, {3, 12}, {30, -1}, {39, 1}}, 39);
    expectBlock("000001011111 0", mpeg4Inter(), {{40, 1}}, 40);  // 1 40 1, the longest run
    expectBlock("0111 1", mpeg4Inter(), {{0, -1}}, 0);           // 1 0 1
    expectBlock("1111 0  0111 0", mpeg4Inter(), {{0, 2}, {1, 1}}, 1);  // 0 0 2
}

TEST(Mpeg4Decode, IntraTableB16Rows) {
    // 0 0 1 "10", 0 0 2 "110", 0 0 27 "0000 0101 0010", 0 14 1 "0000 0101 1000", 1 20 1 "0000 0101 1111".
    expectBlock("10 0  110 1  000001010010 0  000001011000 1  000001011111 0", mpeg4Intra(),
                {{0, 1}, {1, -2}, {2, 27}, {17, -1}, {38, 1}}, 38);
    // With the DC already decoded, coefficient 0 is kept and the codes start at 1.
    expectBlock("10 0  0111 1", mpeg4Intra(0, 1), {{1, 1}, {2, -1}}, 2, true);
}

TEST(Mpeg4Decode, ThreeEscapeModes) {
    // Type 1: level + LMAX (inter last 0 run 0: 12; last 1 run 0: 3; intra last 1 run 0: 8).
    expectBlock("0000011 0 10 0  0111 0", mpeg4Inter(), {{0, 13}, {1, 1}}, 1);
    expectBlock("0000011 0 0111 1", mpeg4Inter(), {{0, -4}}, 0);
    expectBlock("0000011 0 0111 0", mpeg4Intra(), {{0, 9}}, 0);
    // Type 2: run + RMAX + 1 (inter last 0 level 1: 27; last 1 level 1: 41; intra last 1 level 1: 21).
    expectBlock("0000011 10 10 1  0111 0", mpeg4Inter(), {{27, -1}, {28, 1}}, 28);
    expectBlock("0000011 10 0111 0", mpeg4Inter(), {{41, 1}}, 41);
    expectBlock("0000011 10 0111 1", mpeg4Intra(), {{21, -1}}, 21);
    // Type 3: last, run (6), marker, level (12, two's complement), marker.
    expectBlock("0000011 11 1 000101 1 111111111110 1", mpeg4Inter(), {{5, -2}}, 5);
    expectBlock("0000011 11 0 000000 1 011111111111 1  0000011 11 1 000000 1 100000000001 1", mpeg4Intra(),
                {{0, 2047}, {1, -2047}}, 1);
    // Level 0 is stored as it stands and still counts as the last index.
    expectBlock("0000011 11 1 000011 1 000000000000 1", mpeg4Inter(), {}, 3);
}

TEST(Mpeg4Decode, CorruptCodesFail) {
    expectVlcError("0000011 11 1 000000 1 100000000000 1", mpeg4Inter());  // level -2048
    expectVlcError("0000011 11 1 000000 0 000000000001 1", mpeg4Inter());  // first marker
    expectVlcError("0000011 11 1 000000 1 000000000001 0", mpeg4Intra());  // second marker
    expectVlcError("0000011 10 0000011 11 1 000000 1 000000000001 1", mpeg4Inter());  // escape in type 2
    expectVlcError("0000011 0 0000011 11 1 000000 1 000000000001 1", mpeg4Inter());   // escape in type 1
    expectVlcError("0000 0000 0111", mpeg4Inter());   // below the table
    expectVlcError("0000 0000 0000", mpeg4Intra());
    expectVlcError("10 0", mpeg4Inter());             // no last code before the zero padding
    // A run past coefficient 63: the coefficients so far stay, the last index is 63.
    Decoded d = decodeAt("0000011 11 0 111111 1 000000000001 1  10 0", 3, mpeg4Inter());
    EXPECT_EQ(d.status, moxStsVLCErr);
    EXPECT_EQ(d.consumed, 0);
    EXPECT_EQ(d.last, 63);
    EXPECT_EQ(d.coef[63], 1);
    EXPECT_EQ(d.coef[0], 0);
}

TEST(Mpeg4Decode, ScansFollowIso14496Figures) {
    // Figure 7-2 (zigzag) and 7-3 (alternate horizontal, alternate vertical): first 16 positions.
    const std::vector<int> zigzag = {0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5};
    const std::vector<int> altH = {0, 1, 2, 3, 8, 9, 16, 17, 10, 11, 4, 5, 6, 7, 15, 14};
    const std::vector<int> altV = {0, 8, 16, 24, 1, 9, 2, 10, 17, 25, 32, 40, 48, 56, 57, 49};
    auto head = [](std::vector<int> v) { return std::vector<int>(v.begin(), v.begin() + 16); };
    EXPECT_EQ(head(scanOf(mpeg4Intra(0, 0, 0))), zigzag);
    EXPECT_EQ(head(scanOf(mpeg4Intra(0, 0, 1))), altV);
    EXPECT_EQ(head(scanOf(mpeg4Intra(0, 0, 2))), altH);
    EXPECT_EQ(scanOf(mpeg4Intra(0, 0, 0)).back(), 63);
    EXPECT_EQ(scanOf(mpeg4Inter(0, 0)), scanOf(mpeg4Intra(0, 0, 0)));
    EXPECT_EQ(head(scanOf(mpeg4Inter(0, 1))), altV);
    std::vector<int> raster(64);
    for (int i = 0; i < 64; ++i) raster[i] = i;
    EXPECT_EQ(scanOf(mpeg4Inter(0, 2)), raster);  // no alternate-horizontal scan for inter blocks
    EXPECT_EQ(scanOf(mpeg4Intra(0, 0, 7)), raster);
}

// ------------------------------------------------------------------ MPEG-4 reversible VLC
TEST(Mpeg4Decode, ReversibleForward) {
    // Table B-23 intra: 0 0 1 "110", 0 0 2 "111", 1 0 1 "1011"; 1 44 1 "0111 1110 1111 101";
    // inter: 0 0 2 "0001", 0 38 1 "0111 0111 1111 100".
    expectBlock("110 0  111 1  1011 0", mpeg4Intra(1), {{0, 1}, {1, -2}, {2, 1}}, 2);
    expectBlock("011111101111101 1", mpeg4Intra(1), {{44, -1}}, 44);
    expectBlock("0001 0  011101111111100 0  1011 1", mpeg4Inter(1), {{0, 2}, {39, 1}, {40, -1}}, 40);
    // Escape: 00001, last, run, marker, level (11), marker, 0000, sign.
    expectBlock("110 0  00001 1 000001 1 00000000111 1 0000 1", mpeg4Inter(1), {{0, 1}, {2, -7}}, 2);
    expectVlcError("00001 1 000001 1 00000000000 1 0000 1", mpeg4Inter(1));  // level 0
    expectVlcError("00000 1 000001 1 00000000111 1 0000 1", mpeg4Inter(1));  // 00000
    expectVlcError("00001 1 000001 0 00000000111 1 0000 1", mpeg4Intra(1));  // marker
    expectVlcError("00001 1 000001 1 00000000111 0 0000 1", mpeg4Intra(1));  // marker
    expectVlcError("00001 1 000001 1 00000000111 1 0100 1", mpeg4Intra(1));  // closing 0000
}

// Decodes backward from the end of `bits` (written after `offset` lead bits and
// one more byte: the decoders may read one byte before the preceding block's
// last code, and an unreadable page comes before that byte).
Decoded decodeBackward(const BitString& bits, int offset, bool intra, int dcPresent) {
    std::vector<Mox8u> bytes = bits.bytes(offset + 8);
    GuardPage mem(bytes.size(), GuardPage::kAfterPage);
    std::copy(bytes.begin(), bytes.end(), mem.data());
    Decoded d;
    for (Mox16s& c : d.coef) c = 0x5555;
    d.coef[0] = 0x3333;
    long long end = offset + 8 + bits.size();
    Mox8u* p = mem.data() + end / 8;
    int off = static_cast<int>(end % 8);
    d.status = intra ? moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&p, &off, d.coef, &d.last, dcPresent)
                     : moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, d.coef, &d.last);
    d.consumed = end - bitPos(mem.data(), p, off);
    return d;
}

TEST(Mpeg4Decode, ReversibleBackward) {
    // The preceding block's last code (1 0 1), then 0 0 1, 0 0 2 and an escape with last = 1.
    BitString block = "110 1  111 0  00001 1 000010 1 00000001001 1 0000 0";
    BitString all = "1011 0  110 1  111 0  00001 1 000010 1 00000001001 1 0000 0";
    for (int offset = 0; offset < 8; ++offset) {
        Decoded d = decodeBackward(all, offset, true, 0);
        ASSERT_EQ(d.status, moxStsNoErr);
        EXPECT_EQ(d.consumed, block.size());
        EXPECT_EQ(d.last, 4);
        EXPECT_EQ(d.coef[0], -1);
        EXPECT_EQ(d.coef[1], 2);
        EXPECT_EQ(d.coef[4], 9);
        EXPECT_EQ(d.coef[2], 0);
        EXPECT_EQ(d.coef[63], 0);
        // With the DC kept the same codes land one position later.
        d = decodeBackward(all, offset, true, 1);
        ASSERT_EQ(d.status, moxStsNoErr);
        EXPECT_EQ(d.coef[0], 0x3333);
        EXPECT_EQ(d.coef[1], -1);
        EXPECT_EQ(d.last, 5);
    }
    // Inter: 0 0 2 is "0001".
    Decoded d = decodeBackward("1011 1  0001 1  1011 0", 3, false, 0);
    ASSERT_EQ(d.status, moxStsNoErr);
    EXPECT_EQ(d.consumed, 10);
    EXPECT_EQ(d.coef[0], -2);
    EXPECT_EQ(d.coef[1], 1);
    // The code before the cursor must carry last = 1.
    d = decodeBackward("1011 1  0001 1", 3, false, 0);
    EXPECT_EQ(d.status, moxStsVLCErr);
    EXPECT_EQ(d.consumed, 0);
    // 64 coefficients fill an inter block; a 65th runs past coefficient 63.
    for (int n : {63, 64}) {
        BitString many = "1011 0";
        for (int i = 0; i < n; ++i) many.add("110 0");
        d = decodeBackward(many.add("1011 1"), 5, false, 0);
        EXPECT_EQ(d.status, n == 63 ? moxStsNoErr : moxStsVLCErr);
        EXPECT_EQ(d.consumed, n == 63 ? many.size() - 5 : 0);
        EXPECT_EQ(d.last, n == 63 ? 63 : -1);
        EXPECT_EQ(d.coef[63], n == 63 ? -1 : 0);
    }
    // Corrupt escape read backward: the level is 0.
    d = decodeBackward("1011 0  00001 1 000010 1 00000000000 1 0000 0", 2, true, 0);
    EXPECT_EQ(d.status, moxStsVLCErr);
    EXPECT_EQ(d.consumed, 0);
}

// ------------------------------------------------------------------ MPEG-4 DC and reconstruction
TEST(Mpeg4Decode, IntraDcSizesAndDifferentials) {
    struct Case {
        const char* bits;
        int type, value;
    } cases[] = {
        {"011", 0, 0}, {"11 1", 0, 1}, {"11 0", 0, -1}, {"10 11", 0, 3}, {"10 00", 0, -3}, {"010 010", 0, -5},
        {"0001 10000", 0, 16}, {"00000001 100000000 1", 0, 256}, {"00000001 011111111 1", 0, -256},
        {"00000000001 111111111111 1", 0, 4095}, {"11", 1, 0}, {"10 1", 1, 1}, {"01 00", 1, -3},
        {"001 100", 1, 4}, {"000000000001 000000000000 1", 1, -4095},
    };
    for (const Case& c : cases) {
        for (int offset = 0; offset < 8; ++offset) {
            SCOPED_TRACE(testing::Message() << c.bits << " offset " << offset);
            BitString b(c.bits);
            std::vector<Mox8u> bytes = b.bytes(offset, 1);  // one byte after the code, then no more
            GuardPage mem(bytes.size());
            std::copy(bytes.begin(), bytes.end(), mem.data());
            Mox8u* p = mem.data();
            int off = offset;
            Mox16s dc = 0x7777;
            ASSERT_EQ(moxiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, c.type), moxStsNoErr);
            EXPECT_EQ(dc, c.value);
            EXPECT_EQ(bitPos(mem.data(), p, off) - offset, b.size());
        }
    }
    const Case bad[] = {{"00000001 100000000 0", 0, 0}, {"00000000000 1", 0, 0}, {"000000000000 1", 1, 0}};
    for (const Case& c : bad) {
        std::vector<Mox8u> buf = BitString(c.bits).bytes(1);
        Mox8u* p = buf.data();
        int off = 1;
        Mox16s dc = 0x7777;
        EXPECT_EQ(moxiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, c.type), moxStsVLCErr) << c.bits;
        EXPECT_EQ(p, buf.data());
        EXPECT_EQ(off, 1);
        EXPECT_EQ(dc, 0x7777);
    }
}

BlockDecoder mpeg4Recon(int QP, const Mox8u* matrix) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiReconstructCoeffsInter_MPEG4_1u16s(p, o, c, l, 0, kRaster, QP, matrix);
    };
}

TEST(Mpeg4Decode, ReconstructInterBothMethods) {
    // Second method: QP (2|L| + 1), less 1 for even QP; clamped.
    expectBlock("10 0  1111 1  0000011 11 1 000001 1 011111111111 1", mpeg4Recon(6, nullptr),
                {{0, 17}, {1, -29}, {3, 2047}}, 3);
    expectBlock("10 1  0111 0", mpeg4Recon(5, nullptr), {{0, -15}, {1, 15}}, 1);
    // First method: (2L + sign(L)) W QP / 16 toward zero, then mismatch control on F[7][7].
    Mox8u flat[64], w17[64];
    for (int i = 0; i < 64; ++i) flat[i] = 16, w17[i] = 17;
    expectBlock("0111 0", mpeg4Recon(2, flat), {{0, 6}, {63, 1}}, 0);         // sum 6 is even
    expectBlock("10 0  0111 1", mpeg4Recon(1, w17), {{0, 3}, {1, -3}, {63, 1}}, 1);  // 51/16 = 3
    expectBlock("0111 0", mpeg4Recon(1, flat), {{0, 3}}, 0);                  // odd sum: untouched
    expectBlock("0000011 11 1 111110 1 000000000001 1", mpeg4Recon(2, flat), {{62, 6}, {63, 1}}, 62);
    expectBlock("0000011 11 1 111111 1 000000000001 1", mpeg4Recon(2, flat), {{63, 7}}, 63);  // 6 toggled
}

// ------------------------------------------------------------------ H.263
TEST(H263Decode, Table16AndEscape) {
    expectBlock("10 0  110 1  0111 0", h263Inter(), {{0, 1}, {2, -1}, {3, 1}}, 3);
    // Escape: LAST, RUN (6), LEVEL (8, two's complement).
    expectBlock("0000011 1 000011 00000101", h263Inter(), {{3, 5}}, 3);
    expectBlock("0000011 0 000000 10000001  0000011 1 111110 01111111", h263Inter(), {{0, -127}, {63, 127}}, 63);
    expectVlcError("0000011 1 000011 00000000", h263Inter());  // LEVEL 0
    expectVlcError("0000011 1 000011 10000000", h263Inter());  // LEVEL -128 without Annex T
    // Annex T: LEVEL -128, then EXTENDED-LEVEL as 5 low bits and 6 high bits.
    expectBlock("0000011 1 000000 10000000 01100 001001", h263Inter(1), {{0, 300}}, 0);
    expectBlock("0000011 1 000001 10000000 10100 110110", h263Inter(1), {{1, -300}}, 1);
    expectBlock("0000011 1 000001 10000000 11111 011111", h263Inter(1), {{1, 1023}}, 1);
    expectVlcError("0000011 1 000001 10000000 00000 000000", h263Inter(1));
}

TEST(H263Decode, IntraKeepsDcOrUsesAnnexITable) {
    // Without Annex I the INTRADC stays and the codes start at position 1.
    expectBlock("10 0  0111 1", h263Intra(0), {{1, 1}, {2, -1}}, 2, true);
    // Table I.2: 0 0 2 "110", 0 13 1 "0000 0100 000", 1 23 1 "0000 0101 1010", 0 0 25 "0000 0101 0011".
    expectBlock("110 1  00000100000 0  000001011010 0", h263Intra(1), {{0, -2}, {14, 1}, {38, 1}}, 38);
    expectBlock("000001010011 1  0111 0", h263Intra(1), {{0, -25}, {1, 1}}, 1);
}

BlockDecoder h263ReconInter(int QP, int modQ = 0) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiReconstructCoeffsInter_H263_1u16s(p, o, c, l, QP, modQ);
    };
}
BlockDecoder h263ReconIntra(int QP, int advIntra, int modQ = 0) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return moxiReconstructCoeffsIntra_H263_1u16s(p, o, c, l, QP, advIntra, modQ);
    };
}

TEST(H263Decode, ReconstructInAllFourModes) {
    // Zigzag: positions 0, 1, 2 are raster 0, 1, 8.
    expectBlock("10 0  1111 1  0111 0", h263ReconInter(5), {{0, 15}, {1, -25}, {8, 15}}, 2);
    expectBlock("10 0  1111 1  0111 0", h263ReconInter(4), {{0, 11}, {1, -19}, {8, 11}}, 2);
    expectBlock("0000011 0 000000 01111111  0000011 1 000000 10000001", h263ReconInter(31),
                {{0, 2047}, {1, -2048}}, 1);
    expectBlock("0000011 1 000000 10000000 01100 001001", h263ReconInter(2, 1), {{0, 1201}}, 0);
    // Intra without Annex I: INTRADC kept.
    expectBlock("10 0  0111 1", h263ReconIntra(3, 0), {{1, 9}, {8, -9}}, 2, true);
    // Annex I: 2 QP L from position 0; flag 1 zigzag, 2 alternate vertical, 3 alternate horizontal.
    expectBlock("110 1  10 0  0111 0", h263ReconIntra(5, 1), {{0, -20}, {1, 10}, {8, 10}}, 2);
    expectBlock("110 1  10 0  0111 0", h263ReconIntra(5, 2), {{0, -20}, {8, 10}, {16, 10}}, 2);
    expectBlock("110 1  10 0  0111 0", h263ReconIntra(5, 3), {{0, -20}, {1, 10}, {2, 10}}, 2);
    expectBlock("0000011 1 000000 10000000 01100 001001", h263ReconIntra(5, 1, 1), {{0, 2047}}, 0);
}

TEST(H263Decode, IntraDcByte) {
    const std::pair<int, int> cases[] = {{0x01, 1}, {0x10, 16}, {0x7F, 127}, {0x81, 129}, {0xFE, 254}, {0xFF, 128}};
    for (auto [byte, value] : cases) {
        for (int offset = 0; offset < 8; ++offset) {
            std::vector<Mox8u> buf = BitString().value(byte, 8).bytes(offset);
            Mox8u* p = buf.data();
            int off = offset;
            Mox16s dc = 0;
            ASSERT_EQ(moxiDecodeDCIntra_H263_1u16s(&p, &off, &dc), moxStsNoErr);
            EXPECT_EQ(dc, value);
            EXPECT_EQ(p, buf.data() + 1);
            EXPECT_EQ(off, offset);
        }
    }
    for (int byte : {0x00, 0x80}) {
        std::vector<Mox8u> buf = BitString().value(byte, 8).bytes(6);
        Mox8u* p = buf.data();
        int off = 6;
        Mox16s dc = 99;
        EXPECT_EQ(moxiDecodeDCIntra_H263_1u16s(&p, &off, &dc), moxStsVLCErr);
        EXPECT_EQ(p, buf.data());
        EXPECT_EQ(off, 6);
        EXPECT_EQ(dc, 99);
    }
}

// ------------------------------------------------------------------ H.261
BlockDecoder h261(bool intra, int QP = 0) {
    return [=](Mox8u** p, int* o, Mox16s* c, int* l) {
        if (QP) return intra ? moxiReconstructCoeffsIntra_H261_1u16s(p, o, c, l, QP)
                             : moxiReconstructCoeffsInter_H261_1u16s(p, o, c, l, QP);
        return intra ? moxiDecodeCoeffsIntra_H261_1u16s(p, o, c, l) : moxiDecodeCoeffsInter_H261_1u16s(p, o, c, l);
    };
}

TEST(H261Decode, Table5RowsAndEndOfBlock) {
    // Inter: a first 1s is run 0 level 1; later 11s is run 0 level 1; EOB is 10.
    expectBlock("1 1  10", h261(false), {{0, -1}}, 0);
    expectBlock("1 0  11 1  0100 0  10", h261(false), {{0, 1}, {1, -1}, {8, 2}}, 2);
    // 0 0 3 "0010 1", 0 26 1 "0000 0000 1101 1", 0 0 15 "0000 0000 1011 1".
    expectBlock("00101 1  0000000011011 0  10", h261(false), {{0, -3}, {6, 1}}, 27);
    expectBlock("0000000010111 1  10", h261(false), {{0, -15}}, 0);
    // Escape: 000001, RUN (6), LEVEL (8).
    expectBlock("000001 000011 00000101  000001 000000 10000001  10", h261(false), {{16, 5}, {9, -127}}, 4);
    // Intra: 8-bit DC first (1111 1111 is 128), then AC codes from position 1.
    expectBlock("00010000  10", h261(true), {{0, 16}}, 0);
    expectBlock("11111111  11 1  10", h261(true), {{0, 128}, {1, -1}}, 1);
}

TEST(H261Decode, CorruptBlocksFail) {
    expectVlcError("10", h261(false));                       // an inter block cannot be empty
    expectVlcError("1 0  000001 000011 00000000", h261(false));  // escape level 0
    expectVlcError("1 0  000001 000011 10000000", h261(false));  // escape level -128
    expectVlcError("1 0  0000 0000 0001 1111", h261(false));     // below the table
    expectVlcError("00000000  10", h261(true));                 // DC 0
    expectVlcError("10000000  10", h261(true, 5));              // DC 128
    Decoded d = decodeAt("1 0  000001 111111 00000001  10", 2, h261(false));  // run past 63
    EXPECT_EQ(d.status, moxStsVLCErr);
    EXPECT_EQ(d.consumed, 0);
    EXPECT_EQ(d.last, 0);
    EXPECT_EQ(d.coef[0], 1);
}

TEST(H261Decode, ReconstructClampsAllButTheFirstCode) {
    // QP 3 (odd): 6L +/- 3; QP 4 (even): 8L +/- 3.
    expectBlock("1 0  11 1  0100 0  10", h261(false, 3), {{0, 9}, {1, -9}, {8, 15}}, 2);
    expectBlock("1 1  11 1  0100 0  10", h261(false, 4), {{0, -11}, {1, -11}, {8, 19}}, 2);
    expectBlock("1 0  000001 000000 01111111  000001 000000 10000001  10", h261(false, 31),
                {{0, 93}, {1, 2047}, {8, -2048}}, 2);
    // Intra DC: 8 DC, 1111 1111 gives 1024.
    expectBlock("00010000  11 0  10", h261(true, 7), {{0, 128}, {1, 21}}, 1);
    expectBlock("11111111  10", h261(true, 7), {{0, 1024}}, 0);
}

// ------------------------------------------------------------------ argument checks
// Every block decoder, as a call with all arguments but the four pointers fixed.
using Call = std::function<MoxStatus(Mox8u**, int*, Mox16s*, int*, int QP)>;

std::vector<std::pair<Call, bool>> allBlockDecoders() {  // call, takes a QP
    return {
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsIntra_MPEG4_1u16s(p, o, c, l, 0, 0, 0); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsInter_MPEG4_1u16s(p, o, c, l, 1, 0); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(p, o, c, l, 0); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(p, o, c, l); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int q) { return moxiReconstructCoeffsInter_MPEG4_1u16s(p, o, c, l, 0, 0, q, nullptr); }, true},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsInter_H263_1u16s(p, o, c, l, 0, 0); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsIntra_H263_1u16s(p, o, c, l, 1, 1, 0); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int q) { return moxiReconstructCoeffsInter_H263_1u16s(p, o, c, l, q, 0); }, true},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int q) { return moxiReconstructCoeffsIntra_H263_1u16s(p, o, c, l, q, 1, 0); }, true},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsIntra_H261_1u16s(p, o, c, l); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int) { return moxiDecodeCoeffsInter_H261_1u16s(p, o, c, l); }, false},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int q) { return moxiReconstructCoeffsIntra_H261_1u16s(p, o, c, l, q); }, true},
        {[](Mox8u** p, int* o, Mox16s* c, int* l, int q) { return moxiReconstructCoeffsInter_H261_1u16s(p, o, c, l, q); }, true},
    };
}

TEST(Mpeg4Decode, ArgumentChecksInOrderTouchNothing) {
    std::vector<Mox8u> stream(16, 0x96);
    for (const auto& entry : allBlockDecoders()) {
        const Call& call = entry.first;
        bool hasQp = entry.second;
        std::vector<Mox16s> coef(64, 0x1111);
        std::vector<int> last(1, 77);
        std::vector<Mox8u*> ptr(1, stream.data() + 4);
        std::vector<int> off(1, 3);
        auto untouched = [&](MoxStatus st, Mox8u** p, int* o, Mox16s* c, int* l, int qp) {
            expectUntouched(st, [&] { return call(p, o, c, l, qp); }, {coef, last, ptr, off});
        };
        untouched(moxStsNullPtrErr, nullptr, off.data(), coef.data(), last.data(), 0);
        untouched(moxStsNullPtrErr, ptr.data(), nullptr, coef.data(), last.data(), 0);
        untouched(moxStsNullPtrErr, ptr.data(), off.data(), nullptr, last.data(), 0);
        untouched(moxStsNullPtrErr, ptr.data(), off.data(), coef.data(), nullptr, 0);
        Mox8u* nullByte = nullptr;
        expectUntouched(moxStsNullPtrErr, [&] { return call(&nullByte, off.data(), coef.data(), last.data(), 0); },
                        {coef, last, off});
        for (int bad : {-1, 8, 255}) {
            off[0] = bad;
            untouched(moxStsBitOffsetErr, ptr.data(), off.data(), coef.data(), last.data(), 0);  // before QP
        }
        off[0] = 3;
        if (hasQp)
            for (int qp : {0, -1, 32})
                untouched(moxStsQPErr, ptr.data(), off.data(), coef.data(), last.data(), qp);
    }
    // The DC decoders and the encoders check the same way.
    Mox8u* p = stream.data();
    int off = 8;
    Mox16s dc = 5;
    EXPECT_EQ(moxiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, 0), moxStsBitOffsetErr);
    EXPECT_EQ(moxiDecodeDCIntra_H263_1u16s(&p, &off, &dc), moxStsBitOffsetErr);
    EXPECT_EQ(moxiDecodeDCIntra_H263_1u16s(&p, &off, nullptr), moxStsNullPtrErr);
    EXPECT_EQ(moxiDecodeDCIntra_MPEG4_1u16s(nullptr, &off, &dc, 1), moxStsNullPtrErr);
    EXPECT_EQ(dc, 5);
    EXPECT_EQ(p, stream.data());
}

}  // namespace
