// H.264 CAVLC code tables (coeff_token, total_zeros, run_before) and the
// compile-time builder that turns a list of codes into the packed table
// format the CAVLC decoders read.
//
// Packed format: element 0 is the number k of bits to peek; the entry for a
// peeked value v is element 1 + v. An entry with bit 7 set continues the code
// in the sub-table whose width entry is at index (entry >> 8); an entry with
// bit 7 clear ends it: value = entry >> 8, low byte = bits to give back.
// Value 0xF0F1 marks a pattern that is no code.
#pragma once

#include <array>
#include <cstddef>

#include "moxvc.h"

namespace mox::h264 {

constexpr Mox32s kNoCode = 0xF0F1;

struct VlcCode {
    int len;        // 0: no such code
    unsigned bits;  // the code, right-aligned
    int value;
};

// Size of the packed table for `codes` with a first level of k1 bits.
template <size_t N>
constexpr size_t packedSize(const std::array<VlcCode, N>& codes, int k1) {
    size_t size = 1 + (size_t{1} << k1);
    for (unsigned p = 0; p < (1u << k1); ++p) {
        int w = 0;
        for (const VlcCode& c : codes)
            if (c.len > k1 && (c.bits >> (c.len - k1)) == p && c.len - k1 > w) w = c.len - k1;
        if (w) size += 1 + (size_t{1} << w);
    }
    return size;
}

// Builds the two-level packed table. A code set that is not prefix-free
// fails to compile (the overlap check throws in a constant expression).
template <size_t Size, size_t N>
constexpr std::array<Mox32s, Size> buildPacked(const std::array<VlcCode, N>& codes, int k1) {
    std::array<Mox32s, Size> t{};
    constexpr Mox32s kFiller = kNoCode << 8;
    for (auto& e : t) e = kFiller;
    t[0] = k1;
    size_t next = 1 + (size_t{1} << k1);
    auto fill = [&](size_t base, int width, unsigned code, int len, Mox32s entry) {
        for (unsigned v = 0; v < (1u << (width - len)); ++v) {
            Mox32s& slot = t[base + 1 + ((code << (width - len)) | v)];
            if (slot != kFiller) throw "overlapping codes";
            slot = entry;
        }
    };
    for (unsigned p = 0; p < (1u << k1); ++p) {
        int w = 0;
        for (const VlcCode& c : codes)
            if (c.len > k1 && (c.bits >> (c.len - k1)) == p && c.len - k1 > w) w = c.len - k1;
        if (!w) continue;
        if (t[1 + p] != kFiller) throw "overlapping codes";
        t[1 + p] = static_cast<Mox32s>(next << 8) | 0x80;
        t[next] = w;
        for (const VlcCode& c : codes)
            if (c.len > k1 && (c.bits >> (c.len - k1)) == p)
                fill(next, w, c.bits & ((1u << (c.len - k1)) - 1), c.len - k1, (c.value << 8) | (w - (c.len - k1)));
        next += 1 + (size_t{1} << w);
    }
    for (const VlcCode& c : codes)
        if (c.len > 0 && c.len <= k1) fill(0, k1, c.bits, c.len, (c.value << 8) | (k1 - c.len));
    return t;
}

// The standard's code tables: code lengths (0: no such code) and codes.
// coeff_token is indexed [4 * TotalCoeff + TrailingOnes], for 0 <= nC < 2,
// 2 <= nC < 4 and 4 <= nC < 8 (nC >= 8 uses a 6-bit fixed-length code).
inline constexpr unsigned char kCoeffTokenLen[3][68] = {
    {1, 0, 0, 0, 6, 2, 0, 0, 8, 6, 3, 0, 9, 8, 7, 5, 10, 9, 8, 6, 11, 10, 9, 7, 13, 11, 10, 8,
     13, 13, 11, 9, 13, 13, 13, 10, 14, 14, 13, 11, 14, 14, 14, 13, 15, 15, 14, 14, 15, 15, 15, 14,
     16, 15, 15, 15, 16, 16, 16, 15, 16, 16, 16, 16, 16, 16, 16, 16},
    {2, 0, 0, 0, 6, 2, 0, 0, 6, 5, 3, 0, 7, 6, 6, 4, 8, 6, 6, 4, 8, 7, 7, 5, 9, 8, 8, 6,
     11, 9, 9, 6, 11, 11, 11, 7, 12, 11, 11, 9, 12, 12, 12, 11, 12, 12, 12, 11, 13, 13, 13, 12,
     13, 13, 13, 13, 13, 14, 13, 13, 14, 14, 14, 13, 14, 14, 14, 14},
    {4, 0, 0, 0, 6, 4, 0, 0, 6, 5, 4, 0, 6, 5, 5, 4, 7, 5, 5, 4, 7, 5, 5, 4, 7, 6, 6, 4,
     7, 6, 6, 4, 8, 7, 7, 5, 8, 8, 7, 6, 9, 8, 8, 7, 9, 9, 8, 8, 9, 9, 9, 8,
     10, 9, 9, 9, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10},
};
inline constexpr unsigned char kCoeffTokenBits[3][68] = {
    {1, 0, 0, 0, 5, 1, 0, 0, 7, 4, 1, 0, 7, 6, 5, 3, 7, 6, 5, 3, 7, 6, 5, 4, 15, 6, 5, 4,
     11, 14, 5, 4, 8, 10, 13, 4, 15, 14, 9, 4, 11, 10, 13, 12, 15, 14, 9, 12, 11, 10, 13, 8,
     15, 1, 9, 12, 11, 14, 13, 8, 7, 10, 9, 12, 4, 6, 5, 8},
    {3, 0, 0, 0, 11, 2, 0, 0, 7, 7, 3, 0, 7, 10, 9, 5, 7, 6, 5, 4, 4, 6, 5, 6, 7, 6, 5, 8,
     15, 6, 5, 4, 11, 14, 13, 4, 15, 10, 9, 4, 11, 14, 13, 12, 8, 10, 9, 8, 15, 14, 13, 12,
     11, 10, 9, 12, 7, 11, 6, 8, 9, 8, 10, 1, 7, 6, 5, 4},
    {15, 0, 0, 0, 15, 14, 0, 0, 11, 15, 13, 0, 8, 12, 14, 12, 15, 10, 11, 11, 11, 8, 9, 10, 9, 14, 13, 9,
     8, 10, 9, 8, 15, 14, 13, 13, 11, 14, 10, 12, 15, 10, 13, 12, 11, 14, 9, 12, 8, 10, 13, 8,
     13, 7, 9, 12, 9, 12, 11, 10, 5, 8, 7, 6, 1, 4, 3, 2},
};
// coeff_token of 4:2:0 chroma DC (nC = -1, TotalCoeff 0..4) and 4:2:2 chroma DC (nC = -2, 0..8).
inline constexpr unsigned char kCoeffTokenChromaDcLen[20] = {2, 0, 0, 0, 6, 1, 0, 0, 6, 6, 3, 0,
                                                             6, 7, 7, 6, 6, 8, 8, 7};
inline constexpr unsigned char kCoeffTokenChromaDcBits[20] = {1, 0, 0, 0, 7, 1, 0, 0, 4, 6, 1, 0,
                                                              3, 3, 2, 5, 2, 3, 2, 0};
inline constexpr unsigned char kCoeffTokenChroma422DcLen[36] = {
    1, 0, 0, 0, 7, 2, 0, 0, 7, 7, 3, 0, 9, 7, 7, 5, 9, 9, 7, 6,
    10, 10, 9, 7, 11, 11, 10, 7, 12, 12, 11, 10, 13, 12, 12, 11};
inline constexpr unsigned char kCoeffTokenChroma422DcBits[36] = {
    1, 0, 0, 0, 15, 1, 0, 0, 14, 13, 1, 0, 7, 12, 11, 1, 6, 5, 10, 1,
    7, 6, 4, 9, 7, 6, 5, 8, 7, 6, 5, 4, 7, 5, 4, 4};

// total_zeros [TotalCoeff - 1][total_zeros] of 4x4 blocks.
inline constexpr unsigned char kTotalZerosLen[15][16] = {
    {1, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 9}, {3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 6, 6, 6, 6},
    {4, 3, 3, 3, 4, 4, 3, 3, 4, 5, 5, 6, 5, 6},       {5, 3, 4, 4, 3, 3, 3, 4, 3, 4, 5, 5, 5},
    {4, 4, 4, 3, 3, 3, 3, 3, 4, 5, 4, 5},             {6, 5, 3, 3, 3, 3, 3, 3, 4, 3, 6},
    {6, 5, 3, 3, 3, 2, 3, 4, 3, 6},                   {6, 4, 5, 3, 2, 2, 3, 3, 6},
    {6, 6, 4, 2, 2, 3, 2, 5},                         {5, 5, 3, 2, 2, 2, 4},
    {4, 4, 3, 3, 1, 3},                               {4, 4, 2, 1, 3},
    {3, 3, 1, 2},                                     {2, 2, 1},
    {1, 1},
};
inline constexpr unsigned char kTotalZerosBits[15][16] = {
    {1, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3, 2, 1}, {7, 6, 5, 4, 3, 5, 4, 3, 2, 3, 2, 3, 2, 1, 0},
    {5, 7, 6, 5, 4, 3, 4, 3, 2, 3, 2, 1, 1, 0},       {3, 7, 5, 4, 6, 5, 4, 3, 3, 2, 2, 1, 0},
    {5, 4, 3, 7, 6, 5, 4, 3, 2, 1, 1, 0},             {1, 1, 7, 6, 5, 4, 3, 2, 1, 1, 0},
    {1, 1, 5, 4, 3, 3, 2, 1, 1, 0},                   {1, 1, 1, 3, 3, 2, 2, 1, 0},
    {1, 0, 1, 3, 2, 1, 1, 1},                         {1, 0, 1, 3, 2, 1, 1},
    {0, 1, 1, 2, 1, 3},                               {0, 1, 1, 1, 1},
    {0, 1, 1, 1},                                     {0, 1, 1},
    {0, 1},
};
// total_zeros of 4:2:0 chroma DC [TotalCoeff - 1][total_zeros] and of 4:2:2 chroma DC.
inline constexpr unsigned char kTotalZerosChromaDcLen[3][4] = {{1, 2, 3, 3}, {1, 2, 2}, {1, 1}};
inline constexpr unsigned char kTotalZerosChromaDcBits[3][4] = {{1, 1, 1, 0}, {1, 1, 0}, {1, 0}};
inline constexpr unsigned char kTotalZerosChroma422DcLen[7][8] = {
    {1, 3, 3, 4, 4, 4, 5, 5}, {3, 2, 3, 3, 3, 3, 3}, {3, 3, 2, 2, 3, 3}, {3, 2, 2, 2, 3},
    {2, 2, 2, 2},             {2, 2, 1},             {1, 1}};
inline constexpr unsigned char kTotalZerosChroma422DcBits[7][8] = {
    {1, 2, 3, 2, 3, 1, 1, 0}, {0, 1, 1, 4, 5, 6, 7}, {0, 1, 1, 2, 6, 7}, {6, 0, 1, 2, 7},
    {0, 1, 2, 3},             {0, 1, 1},             {0, 1}};
// run_before [min(zerosLeft, 7) - 1][run_before].
inline constexpr unsigned char kRunBeforeLen[7][15] = {
    {1, 1}, {1, 2, 2}, {2, 2, 2, 2}, {2, 2, 2, 3, 3}, {2, 2, 3, 3, 3, 3}, {2, 3, 3, 3, 3, 3, 3},
    {3, 3, 3, 3, 3, 3, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
inline constexpr unsigned char kRunBeforeBits[7][15] = {
    {1, 0}, {1, 1, 0}, {3, 2, 1, 0}, {3, 2, 1, 1, 0}, {3, 2, 3, 2, 1, 0}, {3, 0, 1, 3, 2, 5, 4},
    {7, 6, 5, 4, 3, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1}};

// run_before for zerosLeft 1..6 looked up on the next 3 bits: entry = length << 4 | run.
// Those six code sets are complete, so every 3-bit pattern starts a code.
constexpr std::array<std::array<unsigned char, 8>, 7> makeRunLut() {
    std::array<std::array<unsigned char, 8>, 7> lut{};
    for (int z = 1; z <= 6; ++z) {
        for (unsigned v = 0; v < 8; ++v) {
            int found = 0;
            for (int run = 0; run <= z; ++run) {
                int len = kRunBeforeLen[z - 1][run];
                if ((v >> (3 - len)) == kRunBeforeBits[z - 1][run]) {
                    lut[z][v] = static_cast<unsigned char>(len << 4 | run);
                    ++found;
                }
            }
            if (found != 1) throw "run_before code set is not complete and prefix-free";
        }
    }
    return lut;
}
inline constexpr auto kRunLut = makeRunLut();

// Two run_before codes looked up on the next 6 bits while fewer than seven
// zeros are left: bits 0..3 the first run, 4..7 the second (for the zeros left
// after the first), 8..10 and 11..13 their lengths; the second length is 0
// when the first run uses up every zero.
constexpr std::array<std::array<unsigned short, 64>, 7> makeRunPairLut() {
    std::array<std::array<unsigned short, 64>, 7> lut{};
    for (int z = 1; z <= 6; ++z) {
        for (unsigned v = 0; v < 64; ++v) {
            unsigned e1 = kRunLut[z][v >> 3];
            unsigned run1 = e1 & 15, len1 = e1 >> 4;
            unsigned entry = run1 | len1 << 8;
            int z2 = z - static_cast<int>(run1);
            if (z2 > 0) {
                unsigned e2 = kRunLut[z2][(v >> (3 - len1)) & 7];
                entry |= (e2 & 15) << 4 | (e2 >> 4) << 11;
            }
            lut[z][v] = static_cast<unsigned short>(entry);
        }
    }
    return lut;
}
inline constexpr auto kRunPairLut = makeRunPairLut();

// Single-look-up forms of the code tables for the decoders' own fast path.
//
// Leading-zero buckets: a code set whose codes (but one) have a 1 within
// their first zcap bits is looked up as [z][s], z the leading zeros counted
// up to zcap and s the w bits after the first 1. Bucket zcap holds the code
// that is zcap zeros, when the set has one; otherwise it is all "no code".
// Entry: length | value << 5, 0 for no code.
template <int Zcap, int W, size_t N>
constexpr std::array<unsigned short, (Zcap + 1) << W> buildBuckets(const unsigned char (&len)[N],
                                                                   const unsigned char (&bits)[N],
                                                                   int (*value)(size_t)) {
    std::array<unsigned short, (Zcap + 1) << W> lut{};
    for (size_t i = 0; i < N; ++i) {
        int l = len[i];
        if (!l) continue;
        unsigned b = bits[i];
        int z = 0;
        while (z < l && !((b >> (l - 1 - z)) & 1)) ++z;
        int tail = l - z - 1;  // code bits after the first 1
        if (z > Zcap || (z == Zcap && tail != -1) || (z < Zcap && tail > W)) throw "code does not fit the buckets";
        int first = 0, count = 1 << W;
        if (z < Zcap) {
            first = static_cast<int>(b & ((1u << tail) - 1)) << (W - tail);
            count = 1 << (W - tail);
        }
        for (int s = first; s < first + count; ++s) {
            unsigned short& slot = lut[(z << W) + s];
            if (slot) throw "overlapping codes";
            slot = static_cast<unsigned short>(l | value(i) << 5);
        }
    }
    return lut;
}

constexpr int tokenValue(size_t i) { return static_cast<int>((i >> 2) << 3 | (i & 3)); }

// coeff_token: entry = length | TrailingOnes << 5 | TotalCoeff << 8.
inline constexpr int kTokenZcap = 15, kTokenW = 3;
inline constexpr std::array<std::array<unsigned short, 128>, 3> kTokenLut = {
    buildBuckets<kTokenZcap, kTokenW>(kCoeffTokenLen[0], kCoeffTokenBits[0], tokenValue),
    buildBuckets<kTokenZcap, kTokenW>(kCoeffTokenLen[1], kCoeffTokenBits[1], tokenValue),
    buildBuckets<kTokenZcap, kTokenW>(kCoeffTokenLen[2], kCoeffTokenBits[2], tokenValue)};
// coeff_token codes of up to kTokenShortBits bits, looked up directly on the
// next kTokenShortBits bits so that the usual short codes need no leading-zero
// count. Each field has its own byte so that the decoder uses it as loaded:
// the length counts the code and its TrailingOnes sign bits; length 0 for a
// longer code (or no code).
inline constexpr int kTokenShortBits = 8;
struct TokenEntry {
    unsigned char len;
    unsigned char trailingOnes;
    unsigned char totalCoeff;
    unsigned char unused;
};
template <size_t N>
constexpr std::array<TokenEntry, 1 << kTokenShortBits> buildShortTokens(const unsigned char (&len)[N],
                                                                       const unsigned char (&bits)[N]) {
    std::array<TokenEntry, 1 << kTokenShortBits> lut{};
    for (size_t i = 0; i < N; ++i) {
        int l = len[i];
        if (!l || l > kTokenShortBits) continue;
        for (unsigned x = 0; x < (1u << (kTokenShortBits - l)); ++x) {
            TokenEntry& slot = lut[bits[i] << (kTokenShortBits - l) | x];
            if (slot.len) throw "overlapping codes";
            slot = {static_cast<unsigned char>(l + (i & 3)), static_cast<unsigned char>(i & 3),
                    static_cast<unsigned char>(i >> 2), 0};
        }
    }
    return lut;
}
inline constexpr std::array<std::array<TokenEntry, 1 << kTokenShortBits>, 3> kTokenShortLut = {
    buildShortTokens(kCoeffTokenLen[0], kCoeffTokenBits[0]), buildShortTokens(kCoeffTokenLen[1], kCoeffTokenBits[1]),
    buildShortTokens(kCoeffTokenLen[2], kCoeffTokenBits[2])};
// The short-code table of each nC 0..7.
inline constexpr const TokenEntry* kTokenShortRow[8] = {
    kTokenShortLut[0].data(), kTokenShortLut[0].data(), kTokenShortLut[1].data(), kTokenShortLut[1].data(),
    kTokenShortLut[2].data(), kTokenShortLut[2].data(), kTokenShortLut[2].data(), kTokenShortLut[2].data()};
inline constexpr int kTokenChromaDcZcap = 7, kTokenChromaDcW = 2;
inline constexpr auto kTokenChromaDcLut = buildBuckets<kTokenChromaDcZcap, kTokenChromaDcW>(
    kCoeffTokenChromaDcLen, kCoeffTokenChromaDcBits, tokenValue);
inline constexpr int kTokenChroma422DcZcap = 11, kTokenChroma422DcW = 3;
inline constexpr auto kTokenChroma422DcLut = buildBuckets<kTokenChroma422DcZcap, kTokenChroma422DcW>(
    kCoeffTokenChroma422DcLen, kCoeffTokenChroma422DcBits, tokenValue);

// total_zeros [TotalCoeff][next W bits] = length << 4 | total_zeros, 0 for
// no code or for a code longer than W bits (decoded from the packed table).
template <int Rows, int W, size_t Cols>
constexpr std::array<std::array<unsigned char, 1 << W>, Rows + 1> buildFlat(const unsigned char (&len)[Rows][Cols],
                                                                           const unsigned char (&bits)[Rows][Cols]) {
    std::array<std::array<unsigned char, 1 << W>, Rows + 1> lut{};
    for (int r = 0; r < Rows; ++r) {
        for (size_t v = 0; v < Cols; ++v) {
            int l = len[r][v];
            if (!l || l > W) continue;
            for (unsigned x = 0; x < (1u << (W - l)); ++x) {
                unsigned char& slot = lut[r + 1][bits[r][v] << (W - l) | x];
                if (slot) throw "overlapping codes";
                slot = static_cast<unsigned char>(l << 4 | v);
            }
        }
    }
    return lut;
}
inline constexpr int kTotalZerosW = 6;
inline constexpr auto kTotalZerosLut = buildFlat<15, kTotalZerosW>(kTotalZerosLen, kTotalZerosBits);
inline constexpr int kTotalZerosChromaDcW = 3;
inline constexpr auto kTotalZerosChromaDcLut =
    buildFlat<3, kTotalZerosChromaDcW>(kTotalZerosChromaDcLen, kTotalZerosChromaDcBits);
inline constexpr int kTotalZerosChroma422DcW = 5;
inline constexpr auto kTotalZerosChroma422DcLut =
    buildFlat<7, kTotalZerosChroma422DcW>(kTotalZerosChroma422DcLen, kTotalZerosChroma422DcBits);

// Levels (clause 9.2.2.1) looked up on the next kLevelBits bits, by state:
// suffixLength 0..6, then 7 and 8 for suffixLength 0 and 1 on the first level
// after fewer than three trailing ones (its levelCode is 2 more). An entry
// holds the level, the code length (0 for a code longer than kLevelBits,
// escapes included), the level and the byte offset of the next state's row
// from the table's start, so that the next row's address is one addition
// away from the loaded entry; the length comes first, as in every entry the
// decoder loads as one word.
inline constexpr int kLevelBits = 8;
struct LevelEntry {
    unsigned char len;
    signed char level;
    unsigned short nextRow;
};
constexpr unsigned short levelRowOffset(int state) {
    return static_cast<unsigned short>(state * (sizeof(LevelEntry) << kLevelBits));
}
constexpr std::array<std::array<LevelEntry, 1 << kLevelBits>, 9> makeLevelLut() {
    std::array<std::array<LevelEntry, 1 << kLevelBits>, 9> lut{};
    for (int state = 0; state < 9; ++state) {
        int suffixLength = state < 7 ? state : state - 7;
        int bump = state < 7 ? 0 : 2;
        for (unsigned v = 0; v < (1u << kLevelBits); ++v) {
            int prefix = 0;
            while (prefix < kLevelBits && !((v >> (kLevelBits - 1 - prefix)) & 1)) ++prefix;
            int len = prefix + 1 + suffixLength;
            if (prefix >= 14 || len > kLevelBits) continue;
            unsigned suffix = (v >> (kLevelBits - len)) & ((1u << suffixLength) - 1);
            int levelCode = (prefix << suffixLength) + static_cast<int>(suffix) + bump;
            int mag = (levelCode >> 1) + 1;
            int level = levelCode & 1 ? -mag : mag;
            int next = suffixLength ? suffixLength : 1;
            if (mag > (3 << (next - 1)) && next < 6) ++next;
            if (level < -128 || level > 127) throw "level does not fit its field";
            lut[state][v] = {static_cast<unsigned char>(len), static_cast<signed char>(level), levelRowOffset(next)};
        }
    }
    return lut;
}
inline constexpr auto kLevelLut = makeLevelLut();

// The first two levels after the trailing ones in one look-up on the next
// kLevelPairBits bits, for the first level's states with suffixLength 0
// (row 0: state 0, row 1: state 7): the length of both codes (0 when they do
// not both lie in those bits), the state after them and the two levels, each
// in its own byte.
inline constexpr int kLevelPairBits = 12;
struct LevelPairEntry {
    unsigned char len;
    unsigned char next;
    signed char first;
    signed char second;
};
constexpr std::array<std::array<LevelPairEntry, 1 << kLevelPairBits>, 2> makeLevelPairLut() {
    std::array<std::array<LevelPairEntry, 1 << kLevelPairBits>, 2> lut{};
    for (int row = 0; row < 2; ++row) {
        for (unsigned v = 0; v < (1u << kLevelPairBits); ++v) {
            // Zeros after the looked-at bits: a code that ends within them reads none.
            unsigned bits = v << (32 - kLevelPairBits);
            const LevelEntry& a = kLevelLut[row ? 7 : 0][bits >> (32 - kLevelBits)];
            if (!a.len) continue;
            const int aNext = a.nextRow / levelRowOffset(1);
            const LevelEntry& b = kLevelLut[aNext][bits << a.len >> (32 - kLevelBits)];
            int len = a.len + b.len;
            if (!b.len || len > kLevelPairBits) continue;
            const int bNext = b.nextRow / levelRowOffset(1);
            lut[row][v] = {static_cast<unsigned char>(len), static_cast<unsigned char>(bNext),
                           static_cast<signed char>(a.level), static_cast<signed char>(b.level)};
        }
    }
    return lut;
}
inline constexpr auto kLevelPairLut = makeLevelPairLut();

// Two coefficients' run_before codes on the next 6 bits while fewer than
// seven zeros are left, for a decoder that places both coefficients at once:
// the length of both codes, the scan step from the first coefficient to the
// second (-1 - first run) and from the first to the next pair (-2 - both
// runs), and the zeros left after them. A first run that uses up every zero
// reads no second code and gives the second coefficient run 0 (it then sits
// right below the first).
struct RunStepEntry {
    unsigned char len;
    signed char second;
    signed char step;
    unsigned char zerosLeft;
};
constexpr std::array<std::array<RunStepEntry, 64>, 7> makeRunStepLut() {
    std::array<std::array<RunStepEntry, 64>, 7> lut{};
    for (int z = 1; z <= 6; ++z) {
        for (unsigned v = 0; v < 64; ++v) {
            unsigned e = kRunPairLut[z][v];
            int run1 = e & 15, run2 = (e >> 4) & 15, bits = ((e >> 8) & 7) + ((e >> 11) & 7);
            lut[z][v] = {static_cast<unsigned char>(bits), static_cast<signed char>(-1 - run1),
                         static_cast<signed char>(-2 - run1 - run2), static_cast<unsigned char>(z - run1 - run2)};
        }
    }
    return lut;
}
inline constexpr auto kRunStepLut = makeRunStepLut();

// total_zeros and the first two run_before codes of a 4x4 block in one
// look-up on the next kTzRunBits bits; row TotalCoeff - 3 for TotalCoeff
// 3..15 (fewer coefficients read at most one run_before). An entry holds the
// length of all three codes, total_zeros and the steps of kRunStepLut for
// the first pair; its zeros left are total_zeros + step + 2. Length 0 when
// total_zeros is 7 or more or the codes do not all lie in those bits; after
// a total_zeros of 0 no run_before follows and the length is its code's.
inline constexpr int kTzRunBits = 8;
struct TzRunEntry {
    unsigned char len;
    unsigned char totalZeros;
    signed char second;
    signed char step;
};
constexpr std::array<std::array<TzRunEntry, 1 << kTzRunBits>, 13> makeTzRunLut() {
    static_assert(kTzRunBits <= kTotalZerosW + 6);
    std::array<std::array<TzRunEntry, 1 << kTzRunBits>, 13> lut{};
    for (int tc = 3; tc < 16; ++tc) {
        for (unsigned v = 0; v < (1u << kTzRunBits); ++v) {
            // Zeros after the looked-at bits: a code that ends within them reads none.
            unsigned bits = v << (32 - kTzRunBits);
            unsigned e = kTotalZerosLut[tc][bits >> (32 - kTotalZerosW)];
            int len = static_cast<int>(e >> 4), z = static_cast<int>(e & 15);
            if (!len || z >= 7) continue;
            TzRunEntry j = {static_cast<unsigned char>(len), static_cast<unsigned char>(z), 0, 0};
            if (z) {
                const RunStepEntry& r = kRunStepLut[z][bits << len >> 26];
                if (r.zerosLeft != z + r.step + 2) throw "run pair steps disagree with the zeros left";
                j.len = static_cast<unsigned char>(len + r.len);
                j.second = r.second;
                j.step = r.step;
            }
            if (j.len <= kTzRunBits) lut[tc - 3][v] = j;
        }
    }
    return lut;
}
inline constexpr auto kTzRunLut = makeTzRunLut();

// The tables handed out by moxiGetCAVLCTables_H264; decoders recognise them
// and use the look-ups above instead of walking the packed form.
extern const MoxCAVLCTables_H264 kCavlcTables;

}  // namespace mox::h264
