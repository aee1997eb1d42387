// Real streams: short clips from the FFmpeg mpeg4, h263 and h261 encoders
// (skipped when the ffmpeg program is absent) are walked by a small parser of
// their picture, GOB and macroblock layers that reads every block with the
// library's decoders: intra pictures and predicted pictures (skipped and
// intra macroblocks, coded block patterns, motion vector codes, inter blocks
// with the inter table and its escapes). Each picture must
// parse to its end without an error, and the bits consumed must leave only
// the standard's stuffing before the next start code.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/bitstream.h"
#include "moxvc.h"

namespace {

using mox::ByteReader;

bool haveFfmpeg() { return std::system("ffmpeg -version > /dev/null 2>&1") == 0; }

// Encodes `frames` frames of a test pattern; returns the elementary stream.
// `gop` 1 gives intra pictures only, more gives predicted pictures between them.
std::vector<Mox8u> encodeClip(const std::string& codecAndFormat, const std::string& size, int qscale, int gop = 1,
                              int frames = 3) {
    char path[] = "/tmp/moxvc_stream_XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0) return {};
    close(fd);
    std::string cmd = "ffmpeg -hide_banner -loglevel error -y -f lavfi -i testsrc=size=" + size +
                      ":rate=25 -frames:v " + std::to_string(frames) + " -bf 0 -g " + std::to_string(gop) + " -qscale:v " + std::to_string(qscale) +
                      " " + codecAndFormat + " " + path;
    std::vector<Mox8u> data;
    if (std::system(cmd.c_str()) == 0) {
        std::ifstream f(path, std::ios::binary);
        data.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    }
    std::remove(path);
    data.resize(data.size() + 8, 0);  // readable bytes after the stream
    return data;
}

// A macroblock-layer code table, matched bit by bit.
struct VlcRow {
    const char* bits;
    int value;
};

int readVlc(ByteReader& r, const std::vector<VlcRow>& rows) {
    std::string seen;
    while (seen.size() < 16) {
        seen += static_cast<char>('0' + r.read(1));
        for (const VlcRow& row : rows)
            if (seen == row.bits) return row.value;
    }
    return -1;
}

constexpr int kStuffing = 99;
// MCBPC of I pictures (H.263 Table 7, ISO/IEC 14496-2 Table B-6): type * 4 + CBPC.
const std::vector<VlcRow> kMcbpcIntra = {{"1", 12},      {"001", 13},    {"010", 14},    {"011", 15},
                                         {"0001", 16},   {"000001", 17}, {"000010", 18}, {"000011", 19},
                                         {"000000001", kStuffing}};
// MCBPC of P pictures (H.263 Table 8, ISO/IEC 14496-2 Table B-7): type * 4 + CBPC
// with types 0 inter, 1 inter + DQUANT, 2 four vectors, 3 intra, 4 intra + DQUANT.
const std::vector<VlcRow> kMcbpcInter = {
    {"1", 0},          {"0011", 1},       {"0010", 2},       {"000101", 3},     {"011", 4},
    {"0000111", 5},    {"0000110", 6},    {"000000101", 7},  {"010", 8},        {"0000101", 9},
    {"0000100", 10},   {"00000101", 11},  {"00011", 12},     {"00000100", 13},  {"00000011", 14},
    {"0000011", 15},   {"000100", 16},    {"000000100", 17}, {"000000011", 18}, {"000000010", 19},
    {"000000001", kStuffing}};
// |MVD| (H.263 Table 14, ISO/IEC 14496-2 Table B-12), a sign bit after a non-zero one.
const std::vector<VlcRow> kMvd = {
    {"1", 0},            {"01", 1},           {"001", 2},          {"0001", 3},         {"000011", 4},
    {"0000101", 5},      {"0000100", 6},      {"0000011", 7},      {"000001011", 8},    {"000001010", 9},
    {"000001001", 10},   {"0000010001", 11},  {"0000010000", 12},  {"0000001111", 13},  {"0000001110", 14},
    {"0000001101", 15},  {"0000001100", 16},  {"0000001011", 17},  {"0000001010", 18},  {"0000001001", 19},
    {"0000001000", 20},  {"0000000111", 21},  {"0000000110", 22},  {"0000000101", 23},  {"0000000100", 24},
    {"00000000111", 25}, {"00000000110", 26}, {"00000000101", 27}, {"00000000100", 28}, {"00000000011", 29},
    {"00000000010", 30}, {"000000000011", 31}, {"000000000010", 32}};
// CBPY of intra macroblocks (H.263 Table 13); inter macroblocks send it inverted.
const std::vector<VlcRow> kCbpyIntra = {{"0011", 0},  {"00101", 1}, {"00100", 2}, {"1001", 3},   {"00011", 4}, {"0111", 5},
                                        {"000010", 6}, {"1011", 7},  {"00010", 8}, {"000011", 9}, {"0101", 10}, {"1010", 11},
                                        {"0100", 12},  {"1000", 13}, {"0110", 14}, {"11", 15}};
// H.261 MBA (Table 1).
const std::vector<VlcRow> kMba = {
    {"1", 1},           {"011", 2},         {"010", 3},         {"0011", 4},        {"0010", 5},
    {"00011", 6},       {"00010", 7},       {"0000111", 8},     {"0000110", 9},     {"00001011", 10},
    {"00001010", 11},   {"00001001", 12},   {"00001000", 13},   {"00000111", 14},   {"00000110", 15},
    {"0000010111", 16}, {"0000010110", 17}, {"0000010101", 18}, {"0000010100", 19}, {"0000010011", 20},
    {"0000010010", 21}, {"00000100011", 22}, {"00000100010", 23}, {"00000100001", 24}, {"00000100000", 25},
    {"00000011111", 26}, {"00000011110", 27}, {"00000011101", 28}, {"00000011100", 29}, {"00000011011", 30},
    {"00000011010", 31}, {"00000011001", 32}, {"00000011000", 33}, {"00000001111", kStuffing}};
// MTYPE (H.261 Table 2), numbered 0..9 in the table's order; the bits say
// which fields follow.
const std::vector<VlcRow> kMtype = {{"0001", 0},     {"0000001", 1},    {"1", 2},   {"00001", 3}, {"000000001", 4},
                                    {"00000001", 5}, {"0000000001", 6}, {"001", 7}, {"01", 8},    {"000001", 9}};
constexpr int kMtypeQuant = 1 << 1 | 1 << 3 | 1 << 6 | 1 << 9;
constexpr int kMtypeVector = 1 << 4 | 1 << 5 | 1 << 6 | 1 << 7 | 1 << 8 | 1 << 9;
constexpr int kMtypeCbp = 1 << 2 | 1 << 3 | 1 << 5 | 1 << 6 | 1 << 8 | 1 << 9;
// CBP (H.261 Table 4): bit 5 for the first luminance block down to bit 0 for Cr.
const std::vector<VlcRow> kCbp = {
    {"01011", 1}, {"01001", 2}, {"001101", 3}, {"1101", 4}, {"0010111", 5}, {"0010011", 6}, {"00011111", 7},
    {"1100", 8}, {"0010110", 9}, {"0010010", 10}, {"00011110", 11}, {"10011", 12}, {"00011011", 13}, {"00010111", 14},
    {"00010011", 15}, {"1011", 16}, {"0010101", 17}, {"0010001", 18}, {"00011101", 19}, {"10001", 20},
    {"00011001", 21}, {"00010101", 22}, {"00010001", 23}, {"001111", 24}, {"00001111", 25}, {"00001101", 26},
    {"000000011", 27}, {"01111", 28}, {"00001011", 29}, {"00000111", 30}, {"000000111", 31}, {"1010", 32},
    {"0010100", 33}, {"0010000", 34}, {"00011100", 35}, {"001110", 36}, {"00001110", 37}, {"00001100", 38},
    {"000000010", 39}, {"10000", 40}, {"00011000", 41}, {"00010100", 42}, {"00010000", 43}, {"01110", 44},
    {"00001010", 45}, {"00000110", 46}, {"000000110", 47}, {"10010", 48}, {"00011010", 49}, {"00010110", 50},
    {"00010010", 51}, {"01101", 52}, {"00001001", 53}, {"00000101", 54}, {"000000101", 55}, {"01100", 56},
    {"00001000", 57}, {"00000100", 58}, {"000000100", 59}, {"111", 60}, {"01010", 61}, {"01000", 62}, {"001100", 63}};

struct Cursor {
    Mox8u* p;
    int off;
};
Cursor cursorOf(const ByteReader& r) { return {const_cast<Mox8u*>(r.ptr()), r.offset()}; }

// Runs a block decoder at the reader's position; the reader moves past the block.
template <class F>
::testing::AssertionResult block(ByteReader& r, F decode) {
    Cursor c = cursorOf(r);
    Mox16s coef[64] = {};
    int last = -1;
    MoxStatus st = decode(&c.p, &c.off, coef, &last);
    if (st != moxStsNoErr) return ::testing::AssertionFailure() << "status " << st;
    r = ByteReader(c.p, c.off);
    return ::testing::AssertionSuccess();
}

// Two decoders of the same block must end on the same bit.
template <class F, class G>
::testing::AssertionResult sameEnd(ByteReader& r, F decode, G other) {
    ByteReader copy = r;
    auto a = block(r, decode);
    if (!a) return a;
    auto b = block(copy, other);
    if (!b) return b;
    if (r.ptr() != copy.ptr() || r.offset() != copy.offset()) return ::testing::AssertionFailure() << "ends differ";
    return ::testing::AssertionSuccess();
}

// The motion vector differences of an inter macroblock: one pair, or four
// with type 2; MPEG-4 adds f_code - 1 residual bits to a non-zero code.
bool skipVectors(ByteReader& r, int type, int fcode = 1) {
    for (int i = 0; i < (type == 2 ? 8 : 2); ++i) {
        int v = readVlc(r, kMvd);
        if (v < 0) return false;
        if (v) r.read(fcode);  // sign and residual
    }
    return true;
}

// The MCBPC of a macroblock of an I or P picture; -1 for a skipped one (COD or
// not_coded set; stuffing is read over).
int readMcbpc(ByteReader& r, bool inter) {
    int mcbpc;
    do {
        if (inter && r.read(1)) return -1;
        mcbpc = readVlc(r, inter ? kMcbpcInter : kMcbpcIntra);
    } while (mcbpc == kStuffing);
    return mcbpc < 0 ? -2 : mcbpc;
}

// Blocks decoded per kind, to prove a clip exercised the inter path.
struct Counts {
    int intra = 0, inter = 0;
};

enum class Std { H261, H263, Mpeg4 };

// After a picture: zero stuffing (H.261, H.263) or MPEG-4 stuffing (0 then
// ones) up to the byte boundary, then a start code or the end of the data.
::testing::AssertionResult endsAtStartCode(ByteReader r, const Mox8u* end, Std std) {
    bool mpeg4 = std == Std::Mpeg4;
    int bits = r.offset() ? 8 - r.offset() : 0;
    if (mpeg4) {
        if (!bits) bits = 8;  // MPEG-4 stuffing is 1 to 8 bits
        if (r.read(1) != 0) return ::testing::AssertionFailure() << "stuffing does not start with 0";
        for (int i = 1; i < bits; ++i)
            if (r.read(1) != 1) return ::testing::AssertionFailure() << "stuffing bit not 1";
    } else {
        for (int i = 0; i < bits; ++i)
            if (r.read(1) != 0) return ::testing::AssertionFailure() << "stuffing bit not 0 at " << i;
    }
    const Mox8u* p = r.ptr();
    if (p >= end - 8) return ::testing::AssertionSuccess();
    bool startCode = std == Std::H261 ? p[0] == 0 && p[1] == 1 && p[2] >> 4 == 0      // PSC 0000 0000 0000 0001 0000
                     : std == Std::H263 ? p[0] == 0 && p[1] == 0 && p[2] >> 2 == 0x20  // PSC 0000 0000 0000 0000 1000 00
                                        : p[0] == 0 && p[1] == 0 && p[2] == 1;
    if (startCode) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "no start code after the picture, bytes " << int(p[0]) << " " << int(p[1]) << " "
                                         << int(p[2]);
}

// ------------------------------------------------------------------ H.261
int parseH261(const std::vector<Mox8u>& data, Counts& counts) {
    const Mox8u* end = data.data() + data.size();
    ByteReader r(data.data(), 0);
    int pictures = 0;
    while (r.ptr() < end - 8) {
        EXPECT_EQ(r.read(20), 0x10u) << "PSC";
        r.read(5);                            // TR
        bool cif = (r.read(6) >> 2) & 1;      // PTYPE, bit 4: source format
        while (r.read(1)) r.read(8);          // PEI, PSPARE
        for (int gob = 0; gob < (cif ? 12 : 3); ++gob) {
            EXPECT_EQ(r.read(16), 1u) << "GBSC";
            r.read(4);                        // GN
            int quant = static_cast<int>(r.read(5));
            while (r.read(1)) r.read(8);      // GEI, GSPARE
            // A GOB ends after macroblock 33 or where fifteen zeros (a start code,
            // or the stuffing before the next picture's) follow.
            for (int mba = 0; mba < 33 && r.peek(16) > 1;) {
                int inc = readVlc(r, kMba);
                if (inc == kStuffing) continue;
                if (inc < 0) return -1;
                mba += inc;
                int mtype = readVlc(r, kMtype);
                if (mtype < 0) return -1;
                int has = 1 << mtype;
                if (has & kMtypeQuant) quant = static_cast<int>(r.read(5));
                // MVD (Table 3) is the H.263 table's first 17 rows, a sign after a non-zero one.
                if ((has & kMtypeVector) && !skipVectors(r, 0)) return -1;
                const bool intra = mtype <= 1;
                int cbp = intra ? 63 : 0;
                if (has & kMtypeCbp) cbp = readVlc(r, kCbp);
                if (cbp < 0) return -1;
                auto reconstruct = [quant, intra](Mox8u** p, int* o, Mox16s* c, int* l) {
                    return (intra ? moxiReconstructCoeffsIntra_H261_1u16s : moxiReconstructCoeffsInter_H261_1u16s)(
                        p, o, c, l, quant);
                };
                auto decode = [intra](Mox8u** p, int* o, Mox16s* c, int* l) {
                    return (intra ? moxiDecodeCoeffsIntra_H261_1u16s : moxiDecodeCoeffsInter_H261_1u16s)(p, o, c, l);
                };
                for (int b = 0; b < 6; ++b) {
                    if (!(cbp >> (5 - b) & 1)) continue;
                    if (!sameEnd(r, reconstruct, decode)) return -1;
                    ++(intra ? counts.intra : counts.inter);
                }
            }
        }
        EXPECT_TRUE(endsAtStartCode(r, end, Std::H261));
        r.align();
        ++pictures;
    }
    return pictures;
}

TEST(Mpeg4Streams, FfmpegH261Pictures) {
    if (!haveFfmpeg()) GTEST_SKIP() << "ffmpeg not installed";
    for (int gop : {1, 3}) {
        Counts counts;
        for (int q : {1, 4, 13, 31}) {
            for (const char* size : {"176x144", "352x288"}) {
                std::vector<Mox8u> s = encodeClip("-c:v h261 -f h261", size, q, gop);
                ASSERT_GT(s.size(), 100u);
                EXPECT_EQ(parseH261(s, counts), 3) << "qscale " << q << " " << size << " gop " << gop;
            }
        }
        EXPECT_GT(counts.intra, 0);
        EXPECT_EQ(counts.inter > 0, gop > 1);
    }
}

// ------------------------------------------------------------------ H.263
// Picture header of H.263 (PTYPE) or H.263 version 2 (PLUSPTYPE, 5.1.4): an I
// or P picture where, of the optional modes, only advanced intra coding
// (Annex I), slices (Annex K) and modified quantisation (Annex T) may be on.
struct H263Picture {
    int format = 0, quant = 0, mbaBits = 0;
    bool aic = false, modQ = false, slices = false, inter = false;
};
constexpr int kMbCols[] = {0, 8, 11, 22, 44, 88}, kMbRows[] = {0, 6, 9, 18, 36, 72};  // by source format

bool parseH263Header(ByteReader& r, H263Picture& pic) {
    if (r.read(22) != 0x20) return false;  // PSC
    r.read(8);                             // TR
    if (r.read(2) != 2) return false;      // PTYPE: 1, 0
    r.read(3);                             // split screen, document camera, freeze release
    pic.format = static_cast<int>(r.read(3));
    bool slices = false;
    if (pic.format != 7) {
        uint32_t type = r.read(5);           // coding type, then no optional modes
        if (type & 15) return false;
        pic.inter = type >> 4;
        pic.quant = static_cast<int>(r.read(5));
        if (r.read(1)) return false;       // CPM
    } else {
        if (r.read(3) != 1) return false;  // UFEP: OPPTYPE follows
        pic.format = static_cast<int>(r.read(3));
        bool customClock = r.read(1);
        if (r.read(3)) return false;       // UMV, SAC, AP
        pic.aic = r.read(1);
        if (r.read(1)) return false;       // deblocking filter
        slices = r.read(1);                // Annex K
        if (r.read(3)) return false;       // RPS, ISD, AIV
        pic.modQ = r.read(1);
        if (r.read(4) != 8) return false;
        uint32_t type = r.read(3);         // MPPTYPE: I or P picture
        if (type > 1) return false;
        pic.inter = type == 1;
        r.read(3);                         // RPR, RRU, rounding type
        if (r.read(3) != 1) return false;
        if (r.read(1)) return false;       // CPM
        if (customClock) r.read(8 + 2);    // CPCFC, ETR
        if (slices) r.read(2);             // SSS
        pic.quant = static_cast<int>(r.read(5));
    }
    while (r.read(1)) r.read(8);           // PEI, PSPARE
    if (pic.format < 1 || pic.format > 5) return false;
    if (slices) {  // Annex K: SEPB1, MBA of the first macroblock (Table K.2 length), SEPB3
        const int mbaMax[] = {47, 98, 395, 1583, 6335}, mbaBits[] = {6, 7, 9, 11, 13};
        int i = 0;
        while (kMbCols[pic.format] * kMbRows[pic.format] - 1 > mbaMax[i]) ++i;
        pic.mbaBits = mbaBits[i];
        if (r.read(1) != 1 || r.read(pic.mbaBits) != 0 || r.read(1) != 1) return false;
    }
    pic.slices = slices;
    return true;
}

int parseH263(const std::vector<Mox8u>& data, Counts& counts) {
    const Mox8u* end = data.data() + data.size();
    ByteReader r(data.data(), 0);
    int pictures = 0;
    const std::vector<VlcRow> intraMode = {{"0", 0}, {"10", 1}, {"11", 2}};  // Annex I INTRA_MODE
    while (r.ptr() < end - 8) {
        H263Picture pic;
        if (!parseH263Header(r, pic)) return -1;
        int quant = pic.quant;
        for (int row = 0; row < kMbRows[pic.format]; ++row) {
            ByteReader aligned = r;
            aligned.align();
            if (row && r.peek(8 - r.offset()) == 0 && aligned.peek(17) == 1) {  // GSTUF, GBSC
                r = aligned;
                r.read(17);
                if (pic.slices) {          // Annex K slice header: SEPB1, MBA, SQUANT, SEPB3, GFID
                    if (r.read(1) != 1) return -1;
                    if (static_cast<int>(r.read(pic.mbaBits)) != row * kMbCols[pic.format]) return -1;
                    quant = static_cast<int>(r.read(5));
                    if (r.read(1) != 1) return -1;
                    r.read(2);
                } else {
                    r.read(5 + 2);         // GN, GFID
                    quant = static_cast<int>(r.read(5));
                }
            }
            for (int col = 0; col < kMbCols[pic.format]; ++col) {
                int mcbpc = readMcbpc(r, pic.inter);
                if (mcbpc == -1) continue;
                if (mcbpc < 0) return -1;
                bool intra = mcbpc >> 2 >= 3;
                int mode = pic.aic && intra ? readVlc(r, intraMode) : 0;
                int cbpy = readVlc(r, kCbpyIntra);
                if (cbpy < 0 || mode < 0) return -1;
                if (!intra) cbpy ^= 15;
                if (mcbpc >> 2 == 4 || mcbpc >> 2 == 1) {
                    if (pic.modQ) {        // Annex T DQUANT: 1 and a table step, or 0 and QUANT
                        if (r.read(1))
                            r.read(1);
                        else
                            quant = static_cast<int>(r.read(5));
                    } else {
                        const int dquant[] = {-1, -2, 1, 2};
                        quant += dquant[r.read(2)];
                    }
                }
                int qp = std::min(31, std::max(1, quant));
                int cbp = cbpy << 2 | (mcbpc & 3);
                if (!intra) {
                    if (!skipVectors(r, mcbpc >> 2)) return -1;
                    for (int b = 0; b < 6; ++b) {
                        if (!(cbp >> (5 - b) & 1)) continue;
                        int mq = pic.modQ;
                        bool ok = sameEnd(
                            r, [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiReconstructCoeffsInter_H263_1u16s(p, o, c, l, qp, mq); },
                            [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_H263_1u16s(p, o, c, l, mq, 0); });
                        if (!ok) return -1;
                        ++counts.inter;
                    }
                    continue;
                }
                for (int b = 0; b < 6; ++b) {
                    if (!pic.aic) {
                        Cursor c = cursorOf(r);
                        Mox16s dc;
                        if (moxiDecodeDCIntra_H263_1u16s(&c.p, &c.off, &dc) != moxStsNoErr) return -1;
                        r = ByteReader(c.p, c.off);
                    }
                    if (!(cbp >> (5 - b) & 1)) continue;
                    // With Annex I the flag of the reconstruction is the scan + 1 (mode 1: alternate
                    // horizontal, 2: alternate vertical); the bits read are the same for all scans.
                    int adv = pic.aic ? (mode == 0 ? 1 : mode == 1 ? 3 : 2) : 0, mq = pic.modQ;
                    bool ok = sameEnd(
                        r,
                        [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiReconstructCoeffsIntra_H263_1u16s(p, o, c, l, qp, adv, mq); },
                        [=](Mox8u** p, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsIntra_H263_1u16s(p, o, c, l, adv, mq, adv ? adv - 1 : 0); });
                    if (!ok) return -1;
                    ++counts.intra;
                }
            }
        }
        EXPECT_TRUE(endsAtStartCode(r, end, Std::H263));
        r.align();
        ++pictures;
    }
    return pictures;
}

// Intra clips, then I P P clips: P pictures bring the inter table, coded
// block patterns and, at the small quantisers, escapes in inter blocks.
TEST(Mpeg4Streams, FfmpegH263Pictures) {
    if (!haveFfmpeg()) GTEST_SKIP() << "ffmpeg not installed";
    for (int gop : {1, 3}) {
        Counts counts;
        for (int q : {1, 3, 12, 31}) {
            for (const char* size : {"128x96", "176x144", "352x288"}) {
                std::vector<Mox8u> s = encodeClip("-c:v h263 -f h263", size, q, gop);
                ASSERT_GT(s.size(), 100u);
                EXPECT_EQ(parseH263(s, counts), 3) << "qscale " << q << " " << size << " gop " << gop;
            }
        }
        EXPECT_GT(counts.intra, 0);
        EXPECT_EQ(counts.inter > 0, gop > 1);
    }
}

// H.263 version 2 with advanced intra coding, which the encoder pairs with
// modified quantisation: Table I.2 and the Annex T escape, in intra and inter blocks.
TEST(Mpeg4Streams, FfmpegH263AdvancedIntraPictures) {
    if (!haveFfmpeg()) GTEST_SKIP() << "ffmpeg not installed";
    for (int gop : {1, 3}) {
        Counts counts;
        for (int q : {1, 2, 6, 31}) {
            for (const char* size : {"176x144", "352x288"}) {
                std::vector<Mox8u> s = encodeClip("-c:v h263p -flags +aic -f h263", size, q, gop);
                ASSERT_GT(s.size(), 100u);
                EXPECT_EQ(parseH263(s, counts), 3) << "qscale " << q << " " << size << " gop " << gop;
            }
        }
        EXPECT_EQ(counts.inter > 0, gop > 1);
    }
}

// ------------------------------------------------------------------ MPEG-4 Visual
struct Vol {
    int timeBits = 1, width = 0, height = 0;
    bool interlaced = false, resync = false;
};

// MPEG-4 stuffing to the byte boundary (0 then ones, 1 to 8 bits) followed by
// the resync marker (17 bits in I-VOPs, 16 + f_code in P-VOPs): the start of
// a video packet.
bool resyncAhead(ByteReader r, int markerBits) {
    int bits = 8 - r.offset();
    if (r.read(1)) return false;
    for (int i = 1; i < bits; ++i)
        if (!r.read(1)) return false;
    return r.peek(markerBits) == 1;
}

// video_object_layer() of a rectangular, 8-bit, non-scalable simple-profile VOL.
bool parseVol(ByteReader r, Vol& v) {
    r.read(1 + 8);  // random_accessible_vol, video_object_type_indication
    int verid = 1;
    if (r.read(1)) verid = static_cast<int>(r.read(4)), r.read(3);
    if (r.read(4) == 15) r.read(16);  // aspect_ratio_info, par
    if (r.read(1)) {                  // vol_control_parameters
        r.read(3);
        if (r.read(1)) {
            r.read(16), r.read(16), r.read(16), r.read(15), r.read(16);
        }
    }
    if (r.read(2) != 0) return false;  // shape: rectangular only
    r.read(1);
    int resolution = static_cast<int>(r.read(16));
    while ((1 << v.timeBits) < resolution) ++v.timeBits;
    r.read(1);
    if (r.read(1)) r.read(v.timeBits);  // fixed_vop_rate
    r.read(1);
    v.width = static_cast<int>(r.read(13));
    r.read(1);
    v.height = static_cast<int>(r.read(13));
    r.read(1);
    v.interlaced = r.read(1);
    r.read(1);                            // obmc_disable
    if (r.read(verid == 1 ? 1 : 2)) return false;  // sprites
    if (r.read(1)) return false;          // not_8_bit
    if (r.read(1)) {                      // quant_type: skip the matrices
        for (int m = 0; m < 2; ++m)
            if (r.read(1))
                for (int i = 0; i < 64 && r.read(8); ++i) {
                }
    }
    if (verid != 1 && r.read(1)) return false;  // quarter_sample
    if (!r.read(1)) return false;               // complexity estimation
    v.resync = !r.read(1);                      // resync_marker_disable
    if (r.read(1)) return false;                // data partitioning
    return true;
}

int parseMpeg4(const std::vector<Mox8u>& data, Counts& counts) {
    const Mox8u* end = data.data() + data.size() - 8;
    Vol vol;
    bool haveVol = false;
    int pictures = 0;
    for (const Mox8u* p = data.data(); p + 4 <= end;) {
        if (!(p[0] == 0 && p[1] == 0 && p[2] == 1)) {
            ++p;
            continue;
        }
        int code = p[3];
        ByteReader r(p + 4, 0);
        if (code >= 0x20 && code <= 0x2F) {
            haveVol = parseVol(r, vol);
            if (!haveVol) return -1;
        } else if (code == 0xB6) {
            if (!haveVol) return -1;
            uint32_t type = r.read(2);
            if (type > 1) return -1;            // I-VOP or P-VOP
            while (r.read(1)) {
            }                                   // modulo_time_base
            r.read(1 + vol.timeBits + 1);       // marker, vop_time_increment, marker
            if (!r.read(1)) return -1;          // vop_coded
            if (type) r.read(1);                // vop_rounding_type
            int thr = static_cast<int>(r.read(3));  // intra_dc_vlc_thr
            if (vol.interlaced) r.read(2);
            int quant = static_cast<int>(r.read(5));
            int fcode = type ? static_cast<int>(r.read(3)) : 1;
            int mbs = ((vol.width + 15) / 16) * ((vol.height + 15) / 16);
            int mbBits = 1;
            while ((1 << mbBits) < mbs) ++mbBits;
            for (int mb = 0; mb < mbs; ++mb) {
                if (vol.resync && mb && resyncAhead(r, type ? 16 + fcode : 17)) {  // video_packet_header()
                    r.skip(8 - r.offset());  // stuffing, a whole byte when aligned
                    r.read(type ? 16 + fcode : 17);
                    EXPECT_EQ(static_cast<int>(r.read(mbBits)), mb);
                    quant = static_cast<int>(r.read(5));
                    if (r.read(1)) return -1;  // header_extension_code: not written by the encoder used
                }
                int mcbpc = readMcbpc(r, type == 1);
                if (mcbpc == -1) continue;       // not_coded
                if (mcbpc < 0) return -1;
                bool intra = mcbpc >> 2 >= 3;
                int acPred = intra ? static_cast<int>(r.read(1)) : 0;
                int cbpy = readVlc(r, kCbpyIntra);
                if (cbpy < 0) return -1;
                if (!intra) cbpy ^= 15;
                if (mcbpc >> 2 == 4 || mcbpc >> 2 == 1) {
                    const int dquant[] = {-1, -2, 1, 2};
                    quant += dquant[r.read(2)];
                }
                if (vol.interlaced && (cbpy || (mcbpc & 3))) r.read(1);  // dct_type
                bool dcVlc = thr == 0 || (thr < 7 && quant < 11 + 2 * thr);
                int cbp = cbpy << 2 | (mcbpc & 3);
                if (!intra) {
                    if (vol.interlaced || !skipVectors(r, mcbpc >> 2, fcode)) return -1;
                    for (int b = 0; b < 6; ++b) {
                        if (!(cbp >> (5 - b) & 1)) continue;
                        int qp = quant;
                        bool ok = sameEnd(
                            r, [](Mox8u** pp, int* o, Mox16s* c, int* l) { return moxiDecodeCoeffsInter_MPEG4_1u16s(pp, o, c, l, 0, 0); },
                            [qp](Mox8u** pp, int* o, Mox16s* c, int* l) {
                                return moxiReconstructCoeffsInter_MPEG4_1u16s(pp, o, c, l, 0, 0, qp, nullptr);
                            });
                        if (!ok) return -1;
                        ++counts.inter;
                    }
                    continue;
                }
                for (int b = 0; b < 6; ++b) {
                    if (dcVlc) {
                        Cursor c = cursorOf(r);
                        Mox16s dc;
                        if (moxiDecodeDCIntra_MPEG4_1u16s(&c.p, &c.off, &dc, b < 4 ? MOX_BLOCK_LUMA : MOX_BLOCK_CHROMA) != moxStsNoErr)
                            return -1;
                        r = ByteReader(c.p, c.off);
                    }
                    if (!(cbp >> (5 - b) & 1)) continue;
                    // The scan (chosen by AC prediction) does not change the bits read.
                    int scan = acPred ? 1 : 0;
                    bool ok = block(r, [=](Mox8u** pp, int* o, Mox16s* c, int* l) {
                        return moxiDecodeCoeffsIntra_MPEG4_1u16s(pp, o, c, l, 0, dcVlc, scan);
                    });
                    if (!ok) return -1;
                    ++counts.intra;
                }
            }
            EXPECT_TRUE(endsAtStartCode(r, end + 8, Std::Mpeg4));
            ++pictures;
        }
        p += 4;
    }
    return pictures;
}

TEST(Mpeg4Streams, FfmpegMpeg4Vops) {
    if (!haveFfmpeg()) GTEST_SKIP() << "ffmpeg not installed";
    for (int gop : {1, 3}) {
        Counts counts;
        for (int q : {1, 2, 8, 31}) {
            for (const char* options : {"-c:v mpeg4 -f m4v", "-c:v mpeg4 -flags +aic -f m4v", "-c:v mpeg4 -mpeg_quant 1 -f m4v"}) {
                std::vector<Mox8u> s = encodeClip(options, "176x144", q, gop);
                ASSERT_GT(s.size(), 100u);
                EXPECT_EQ(parseMpeg4(s, counts), 3) << "qscale " << q << " " << options << " gop " << gop;
            }
        }
        std::vector<Mox8u> s = encodeClip("-c:v mpeg4 -f m4v", "320x240", 2, gop);
        EXPECT_EQ(parseMpeg4(s, counts), 3);
        EXPECT_EQ(counts.inter > 0, gop > 1);
    }
}

}  // namespace
