// H.264 Exp-Golomb and CAVLC residual block decoding (clause 9.2) through the
// word cursor. The cursor is copied on entry and handed back only on success,
// so every failure leaves it where it was.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/bitstream.h"
#include "core/check.h"
#include "h264/cavlc_tables.h"

namespace {

using mox::WordReader;
using mox::h264::kNoCode;

// The decoding steps are inlined into each entry point so that the cursor
// stays in registers instead of being stored and reloaded around calls.

constexpr int kInvalid = -1;
constexpr int kMaxChain = 4;  // sub-table depth accepted from a caller's table
// level_prefix beyond 11 + 14 (the deepest bit depth) cannot occur in a conforming stream.
constexpr int kMaxLevelPrefix = 25;

// Follows the sub-tables of a code longer than the first level; the first
// level's k bits are already consumed.
int decodeVlcChain(WordReader& rd, const Mox32s* t, Mox32s e) {
    for (int depth = 0; e & 0x80; ++depth) {
        t += e >> 8;
        int k = t[0];
        if (k < 1 || k > 16 || depth >= kMaxChain) return kInvalid;
        e = t[1 + rd.peek(k)];
        rd.skip(k);
    }
    rd.giveBack(e & 0x7F);
    int v = e >> 8;
    return v == kNoCode ? kInvalid : v;
}

// One code from a packed table, or kInvalid for a pattern that is no code
// (or a table that cannot be followed). A first-level entry says how many of
// the k peeked bits are not part of the code, so a short code costs one
// look-up and one move.
MOX_INLINE int decodeVlc(WordReader& rd, const Mox32s* t) {
    int k = t[0];
    if (static_cast<unsigned>(k - 1) > 15) return kInvalid;
    Mox32s e = t[1 + rd.peek(k)];
    if (__builtin_expect(e & 0x80, 0)) {
        rd.skip(k);
        return decodeVlcChain(rd, t, e);
    }
    int len = k - (e & 0x7F);
    if (len < 0) return kInvalid;
    rd.skip(len);
    int v = e >> 8;
    return v == kNoCode ? kInvalid : v;
}

enum class Result { Ok, Corrupt, NullTable };

// level_prefix 14 and above: the escapes of clause 9.2.2.1.
MOX_INLINE bool decodeEscapedLevel(WordReader& rd, int prefix, int suffixLength, int& levelCode) {
    if (prefix > kMaxLevelPrefix) return false;
    rd.skip(prefix + 1);
    int suffixSize = prefix >= 15 ? prefix - 3 : (suffixLength == 0 ? 4 : suffixLength);
    levelCode = (std::min(15, prefix) << suffixLength) + static_cast<int>(rd.read(suffixSize));
    if (prefix >= 15 && suffixLength == 0) levelCode += 15;
    if (prefix >= 16) levelCode += (1 << (prefix - 3)) - 4096;
    return true;
}

// Trailing ones and levels (clause 9.2.2).
MOX_INLINE bool decodeLevels(WordReader& rd, int tc, int t1, int* level) {
    // Up to three sign bits, 1 for -1: look at three, keep t1 of them.
    uint32_t signs = rd.peek(3);
    rd.skip(t1);
    level[0] = 1 - static_cast<int>((signs >> 1) & 2);
    level[1] = 1 - static_cast<int>(signs & 2);
    level[2] = 1 - static_cast<int>((signs << 1) & 2);
    int suffixLength = tc > 10 && t1 < 3 ? 1 : 0;
    // The first level after fewer than three trailing ones cannot be +-1.
    int bump = t1 < 3 ? 2 : 0;
    for (int i = t1; i < tc; ++i) {
        uint32_t w = rd.peek(32);
        int prefix = w ? __builtin_clz(w) : 32;
        int levelCode;
        if (__builtin_expect(prefix < 14, 1)) {
            // prefix, stop bit and at most 6 suffix bits all lie in w.
            uint32_t rest = w << prefix << 1;
            levelCode = (prefix << suffixLength) + static_cast<int>(static_cast<uint64_t>(rest) >> (32 - suffixLength));
            rd.skip(prefix + 1 + suffixLength);
        } else if (!decodeEscapedLevel(rd, prefix, suffixLength, levelCode)) {
            return false;
        }
        levelCode += bump;
        bump = 0;
        int mag = (levelCode >> 1) + 1;
        int neg = -(levelCode & 1);
        level[i] = (mag ^ neg) - neg;
        suffixLength += suffixLength == 0;
        suffixLength += (mag > (3 << (suffixLength - 1))) & (suffixLength < 6);
    }
    return true;
}

constexpr int kNullTable = -2;

// run_before through the caller's packed tables.
struct CallerRuns {
    const Mox32s* const* tables;
    MOX_INLINE int operator()(WordReader& rd, int z) const {
        const Mox32s* t = tables[z < 7 ? z : 7];
        if (!t) return kNullTable;
        int run = decodeVlc(rd, t);
        return run < 0 ? kInvalid : std::min(run, z);
    }
};

// run_before of the standard's tables: a 3-bit look-up while fewer than seven
// zeros are left, else 111..001 for runs 0..6 and a unary tail for 7..14.
struct BuiltinRuns {
    MOX_INLINE int operator()(WordReader& rd, int z) const {
        uint32_t b3 = rd.peek(3);
        if (z < 7) {
            unsigned e = mox::h264::kRunLut[z][b3];
            rd.skip(e >> 4);
            return e & 15;
        }
        if (b3) {
            rd.skip(3);
            return 7 - static_cast<int>(b3);
        }
        int zeros = rd.leadingZeros(11);
        if (zeros == 11) return kInvalid;
        rd.skip(zeros + 1);
        return std::min(zeros + 4, z);
    }
};

// ---- The library's own tables: one look-up per code ----

namespace tbl = mox::h264;

// A table row's address, computed while the window is still being shifted
// and kept in a register, so that the look-up on the window is a single
// indexed load instead of an index computation added to the table's address.
template <class E>
MOX_INLINE const E* rowOf(const E* row) {
    __asm__("" : "+r"(row));
    return row;
}

// A look-up entry of four one-byte fields in one load, its first byte a code
// length for WordReader::skipLowByte; the other fields are taken from the
// word off the cursor's path.
template <class E>
MOX_INLINE uint32_t entryWord(const E* row, uint32_t index) {
    static_assert(sizeof(E) == 4 && offsetof(E, len) == 0, "a length byte and three more");
    uint32_t w;
    std::memcpy(&w, row + index, sizeof(w));
    return w;
}
MOX_INLINE int fieldOf(uint32_t w, int byte) { return static_cast<int>((w >> (8 * byte)) & 0xFF); }
MOX_INLINE int signedFieldOf(uint32_t w, int byte) { return static_cast<signed char>(w >> (8 * byte)); }

// coeff_token through a leading-zero bucket table; 0 for no code.
template <int Zcap, int W>
MOX_INLINE unsigned lookUpToken(const WordReader& rd, const unsigned short* lut) {
    int z = rd.leadingZerosUpTo(Zcap);
    return lut[(z << W) | rd.peekAfter(z + 1, W)];
}

// The slow paths below take the cursor by value and hand it back, so that
// the caller's cursor never has its address taken and stays in registers.
struct CodeAndCursor {
    WordReader rd;
    int value;  // kInvalid for no code
};

// A level whose code is longer than the look-up's bits: the arithmetic form
// with the escapes; the value is levelCode before the first-level adjustment.
MOX_INLINE CodeAndCursor decodeLongLevel(WordReader rd, int suffixLength) {
    uint32_t w = rd.peek(32);
    int prefix = w ? __builtin_clz(w) : 32;
    int levelCode;
    if (prefix < 14) {
        uint32_t rest = w << prefix << 1;
        levelCode = (prefix << suffixLength) + static_cast<int>(static_cast<uint64_t>(rest) >> (32 - suffixLength));
        rd.skip(prefix + 1 + suffixLength);
    } else if (!decodeEscapedLevel(rd, prefix, suffixLength, levelCode)) {
        levelCode = kInvalid;
    }
    return {rd, levelCode};
}

// A code of a packed table (the library's own, for the codes its look-ups leave out).
__attribute__((noinline)) CodeAndCursor decodeVlcOutOfLine(WordReader rd, const Mox32s* t) {
    int v = decodeVlc(rd, t);
    return {rd, v};
}

// The trailing ones for the three sign bits that follow coeff_token (1 for -1),
// the fourth level left for the level loop to overwrite.
template <class T>
struct Ones {
    T v[4];
};
template <class T>
constexpr std::array<Ones<T>, 8> makeOnes() {
    std::array<Ones<T>, 8> t{};
    for (int b = 0; b < 8; ++b) t[b] = {{T(b & 4 ? -1 : 1), T(b & 2 ? -1 : 1), T(b & 1 ? -1 : 1), 0}};
    return t;
}
template <class T>
alignas(16) constexpr std::array<Ones<T>, 8> kOnes = makeOnes<T>();

// Trailing ones (signs already peeked, their bits already skipped) and levels
// through kLevelLut, kept in the output type: a 16-bit output wraps the same
// whether the level is narrowed here or when it is placed.
template <class T>
MOX_INLINE bool decodeLevelsFast(WordReader& rd, int tc, int t1, uint32_t signs, T* level) {
    std::memcpy(level, &kOnes<T>[signs], sizeof(Ones<T>));
    int first = t1 < 3 ? 7 + (tc > 10) : 0;
    const tbl::LevelEntry* row = tbl::kLevelLut[first].data();
    const char* const levelBase = reinterpret_cast<const char*>(tbl::kLevelLut[0].data());
    T* lv = level + t1;
    T* const end = level + tc;
    // The first two levels in one look-up when both codes are short.
    if (first < 8 && end - lv >= 2) {
        uint32_t e = entryWord(rowOf(tbl::kLevelPairLut[first != 0].data()), rd.peek(tbl::kLevelPairBits));
        if (e & 0xFF) {
            lv[0] = static_cast<T>(signedFieldOf(e, 2));
            lv[1] = static_cast<T>(signedFieldOf(e, 3));
            lv += 2;
            rd.skipLowByte(e);
            row = tbl::kLevelLut[fieldOf(e, 1)].data();
        }
    }
    for (; lv < end; ++lv) {
        const tbl::LevelEntry& e = row[rd.peek(tbl::kLevelBits)];
        if (__builtin_expect(e.len != 0, 1)) {
            *lv = static_cast<T>(e.level);
            rd.skip(e.len);
            row = reinterpret_cast<const tbl::LevelEntry*>(levelBase + e.nextRow);
            continue;
        }
        unsigned state = static_cast<unsigned>((row - tbl::kLevelLut[0].data()) >> tbl::kLevelBits);
        int suffixLength = state < 7 ? static_cast<int>(state) : static_cast<int>(state) - 7;
        CodeAndCursor c = decodeLongLevel(rd, suffixLength);
        if (c.value == kInvalid) return false;
        rd = c.rd;
        int levelCode = c.value + (state < 7 ? 0 : 2);
        int mag = (levelCode >> 1) + 1;
        int neg = -(levelCode & 1);
        *lv = static_cast<T>((mag ^ neg) - neg);
        suffixLength += suffixLength == 0;
        suffixLength += (mag > (3 << (suffixLength - 1))) & (suffixLength < 6);
        row = tbl::kLevelLut[suffixLength].data();
    }
    return true;
}

// total_zeros of 4x4 blocks: codes of up to kTotalZerosW bits in one look-up,
// the longer ones through the packed table, or kInvalid when Lean (the caller
// then decodes the block again without Lean).
template <bool Lean>
struct TotalZeros4x4 {
    static constexpr bool kWithRuns = true;
    MOX_INLINE int operator()(WordReader& rd, int tc) const {
        unsigned e = tbl::kTotalZerosLut[tc][rd.peek(tbl::kTotalZerosW)];
        if (__builtin_expect(e != 0, 1)) {
            rd.skip(e >> 4);
            return e & 15;
        }
        if (Lean) return kInvalid;
        CodeAndCursor c = decodeVlcOutOfLine(rd, tbl::kCavlcTables.totalZeros[tc]);
        rd = c.rd;
        return c.value;
    }
};
// total_zeros of chroma DC: complete tables, 0 only for no code.
template <int W, size_t Rows>
struct TotalZerosDc {
    static constexpr bool kWithRuns = false;
    const std::array<std::array<unsigned char, 1 << W>, Rows>& lut;
    MOX_INLINE int operator()(WordReader& rd, int tc) const {
        unsigned e = lut[tc][rd.peek(W)];
        rd.skip(e >> 4);
        return e ? static_cast<int>(e & 15) : kInvalid;
    }
};

// Levels, total_zeros and run_before with the library's own tables; as
// decodeResidual below otherwise.
template <int N, class T, class Tz, class Place>
MOX_INLINE Result decodeResidualFast(WordReader& rd, int tc, int t1, uint32_t signs, int maxCoeff, Tz tz, T* out,
                                     Place place) {
    if (tc > maxCoeff) return Result::Corrupt;
    T level[16];
    if (!decodeLevelsFast(rd, tc, t1, signs, level)) return Result::Corrupt;
    int z = 0;
    // total_zeros with the first pair of runs when they are short (4x4 blocks).
    uint32_t joint = 0;  // a TzRunEntry
    if (tc < maxCoeff) {
        if (Tz::kWithRuns && tc >= 3) joint = entryWord(rowOf(tbl::kTzRunLut[tc - 3].data()), rd.peek(tbl::kTzRunBits));
        if (joint & 0xFF) {
            z = fieldOf(joint, 1);
            rd.skipLowByte(joint);
        } else {
            z = tz(rd, tc);
        }
        if (z == kInvalid || tc + z > maxCoeff) return Result::Corrupt;
    }
    std::memset(out, 0, sizeof(T) * N);
    // Scan index of the next coefficient: the coefficients after it and the
    // zeros left lie below it.
    ptrdiff_t pos = tc - 1 + z;
    const T* lv = level;
    const T* const end = level + tc;
    if ((joint & 0xFF) && z) {  // the pair of runs read with total_zeros
        int step = signedFieldOf(joint, 3);
        out[place(pos)] = lv[0];
        out[place(pos + signedFieldOf(joint, 2))] = lv[1];
        lv += 2;
        pos += step;
        z += step + 2;
    }
    // Seven or more zeros left: one run at a time, down to at most six. The
    // last coefficient reads no run_before.
    while (__builtin_expect(z >= 7, 0) && end - lv > 1) {
        int run = BuiltinRuns{}(rd, z);
        if (run < 0) return Result::Corrupt;
        out[place(pos)] = *lv++;
        pos -= run + 1;
        z -= run;
    }
    // Then two coefficients per look-up while both read a run_before...
    if (z > 0) {
        while (end - lv > 2) {
            uint32_t e = entryWord(rowOf(tbl::kRunStepLut[z].data()), rd.peek(6));
            out[place(pos)] = lv[0];
            out[place(pos + signedFieldOf(e, 1))] = lv[1];
            lv += 2;
            pos += signedFieldOf(e, 2);
            rd.skipLowByte(e);
            z = fieldOf(e, 3);
            if (!z) break;
        }
    }
    // ...and one when a single one is left.
    if (end - lv == 2 && z > 0) {
        unsigned e = tbl::kRunLut[z][rd.peek(3)];
        out[place(pos)] = *lv++;
        pos -= (e & 15) + 1;
        rd.skip(e >> 4);
    }
    // No zeros left: the rest are consecutive.
    for (; lv < end; ++lv) out[place(pos--)] = *lv;
    return Result::Ok;
}

// Levels, total_zeros and run_before of a block with TotalCoeff tc of at
// most maxCoeff coefficients; the N outputs are cleared once the counts are
// known to be consistent and scan index i (0..maxCoeff-1) lands in
// out[place(i)]. A run that is no code fails after that.
template <int N, class Runs, class T, class Place>
MOX_INLINE Result decodeResidual(WordReader& rd, int tc, int t1, int maxCoeff, const Mox32s* const* tzTables, Runs runs,
                                 T* out, Place place) {
    if (t1 > tc || tc > maxCoeff) return Result::Corrupt;
    int level[16];
    if (!decodeLevels(rd, tc, t1, level)) return Result::Corrupt;
    int z = 0;
    if (tc < maxCoeff) {
        const Mox32s* t = tzTables[tc];
        if (!t) return Result::NullTable;
        z = decodeVlc(rd, t);
        if (z == kInvalid || tc + z > maxCoeff) return Result::Corrupt;
    }
    std::memset(out, 0, sizeof(T) * N);
    // Coefficient i of the coded order sits at (tc - 1 - i) + zerosLeft; once
    // no zeros are left the rest are consecutive.
    int pos = tc - 1 + z;
    int i = 0;
    const int last = tc - 1;
    for (; i < last && z > 0; ++i) {
        int run = runs(rd, z);
        if (run < 0) return run == kNullTable ? Result::NullTable : Result::Corrupt;
        out[place(pos)] = static_cast<T>(level[i]);
        pos -= run + 1;
        z -= run;
    }
    for (; i < tc; ++i) out[place(pos--)] = static_cast<T>(level[i]);
    return Result::Ok;
}

// The standard's own run_before tables take the look-up path.
template <int N, class T, class Place>
MOX_INLINE Result decodeResidual(WordReader& rd, int tc, int t1, int maxCoeff, const Mox32s* const* tzTables,
                                 const Mox32s* const* runTables, T* out, Place place) {
    if (runTables == mox::h264::kCavlcTables.runBefore)
        return decodeResidual<N>(rd, tc, t1, maxCoeff, tzTables, BuiltinRuns{}, out, place);
    return decodeResidual<N>(rd, tc, t1, maxCoeff, tzTables, CallerRuns{runTables}, out, place);
}

MoxStatus statusOf(Result r) { return r == Result::NullTable ? moxStsNullPtrErr : moxStsBitstreamErr; }

template <class T>
MoxStatus decodeExpGolomb(Mox32u** ppBitStream, int* pBitOffset, T* pDst, int isSigned) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pDst);
    MOX_CHECK_PTRS(*ppBitStream);
    MOX_CHECK((*pBitOffset & ~31) == 0, moxStsBadArgErr);
    WordReader rd(*ppBitStream, *pBitOffset);
    auto store = [&](uint64_t codeNum) {
        uint64_t v = codeNum;
        if (isSigned & 0xFF) {
            uint64_t m = (codeNum + 1) >> 1;
            v = codeNum & 1 ? m : 0 - m;
        }
        *pDst = static_cast<T>(v);
    };
    int z = rd.leadingZeros(32);
    // The usual case: the whole code, z zeros and z + 1 bits from the first 1,
    // lies in the window; those z + 1 bits read as a number are codeNum + 1.
    if (2 * z + 1 <= rd.windowBits()) {
        store(rd.peekWindow(2 * z + 1) - 1);
        rd.commitAfter(2 * z + 1, ppBitStream, pBitOffset);
        return moxStsNoErr;
    }
    if (z == 32) {
        rd.skip(32);
        if (rd.read(1) == 0) return moxStsBitstreamErr;
    } else {
        rd.skip(z + 1);
    }
    uint64_t x = z ? rd.read(z) : 0;
    store((uint64_t{1} << z) - 1 + x);
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

// One 4x4 block after the argument checks; each run_before policy gets its
// own copy so that the look-up path keeps the cursor in registers.
template <class T, class Runs>
__attribute__((noinline)) MoxStatus decodeBlock(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, T** ppCoeffs,
                                                int vlcSelect, int maxNumCoeff, const Mox32s* const* ppTblCoeffToken,
                                                const Mox32s* const* ppTblTotalZeros, Runs runs,
                                                const Mox32s* pScanMatrix) {
    WordReader rd(*ppBitStream, *pBitOffset);
    int tc, t1;
    if (vlcSelect >= 8) {
        uint32_t flc = rd.read(6);
        t1 = flc & 3;
        tc = (flc >> 2) + 1;
        if (flc == 3) tc = t1 = 0;
    } else {
        const Mox32s* t = ppTblCoeffToken[vlcSelect < 2 ? 0 : (vlcSelect < 4 ? 1 : 2)];
        if (!t) return moxStsNullPtrErr;
        int token = decodeVlc(rd, t);
        if (token == kInvalid) return moxStsBitstreamErr;
        tc = token >> 8;
        t1 = token & 0xFF;
    }
    *pNumCoeff = static_cast<Mox16s>(tc);
    if (tc == 0) {
        rd.commit(ppBitStream, pBitOffset);
        return moxStsNoErr;
    }
    const Mox32s* scan = pScanMatrix + (16 - maxNumCoeff);
    Result r = decodeResidual<16>(rd, tc, t1, maxNumCoeff, ppTblTotalZeros, runs, *ppCoeffs,
                                  [scan](int pos) { return scan[pos] & 15; });
    if (r != Result::Ok) return statusOf(r);
    *ppCoeffs += 16;
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

template <class T>
__attribute__((noinline)) MoxStatus decodeBlockFull(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,
                                                    T** ppCoeffs, int vlcSelect, int maxNumCoeff,
                                                    const Mox32s* pScanMatrix);

// One 4x4 block with the library's own tables. The Lean form calls nothing
// and is inlined into the entry point, so that its state stays in registers;
// a block that it cannot finish (a total_zeros code longer than the look-up,
// or corrupt bits) is decoded again by the full form, which gives the exact
// result and status.
template <class T, bool Lean>
MOX_INLINE MoxStatus decodeBlockFast(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, T** ppCoeffs,
                                     int vlcSelect, int maxNumCoeff, const Mox32s* pScanMatrix) {
    auto full = [&] {
        return decodeBlockFull<T>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff, pScanMatrix);
    };
    WordReader rd(*ppBitStream, *pBitOffset);
    // The token as a TokenEntry word: its length counts the sign bits of the
    // trailing ones too.
    uint32_t token;
    if (vlcSelect >= 8) {
        uint32_t flc = rd.peek(6);
        uint32_t ones = flc & 3, count = (flc >> 2) + 1;
        if (flc == 3) count = ones = 0;
        if (ones > count) {  // the count is reported as for any corrupt block
            if (Lean) return full();
            *pNumCoeff = static_cast<Mox16s>(count);
            return moxStsBitstreamErr;
        }
        token = (6 + ones) | ones << 8 | count << 16;
    } else {
        token = entryWord(tbl::kTokenShortRow[vlcSelect], rd.peek(tbl::kTokenShortBits));
        if (__builtin_expect((token & 0xFF) == 0, 0)) {
            // Table 0 for nC 0..1, 1 for 2..3, 2 for 4..7: two bits per nC.
            unsigned cls = (0xAA50u >> (2 * vlcSelect)) & 3;
            unsigned b = lookUpToken<tbl::kTokenZcap, tbl::kTokenW>(rd, tbl::kTokenLut[cls].data());
            if (!b) return moxStsBitstreamErr;
            uint32_t ones = (b >> 5) & 3;
            token = ((b & 31) + ones) | ones << 8 | (b >> 8) << 16;
        }
    }
    const int t1 = fieldOf(token, 1), tc = fieldOf(token, 2);
    // Up to three sign bits after the token, 1 for -1; t1 of them are used.
    uint32_t signs = rd.peekAfter(static_cast<int>(token & 0xFF) - t1, 3);
    rd.skipLowByte(token);
    if (tc) {
        const Mox32s* scan = pScanMatrix + (16 - maxNumCoeff);
        Result r = decodeResidualFast<16>(rd, tc, t1, signs, maxNumCoeff, TotalZeros4x4<Lean>{}, *ppCoeffs,
                                          [scan](ptrdiff_t pos) { return scan[pos] & 15; });
        if (r != Result::Ok) {
            if (Lean) return full();
            *pNumCoeff = static_cast<Mox16s>(tc);
            return moxStsBitstreamErr;
        }
        *ppCoeffs += 16;
    }
    *pNumCoeff = static_cast<Mox16s>(tc);
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

template <class T>
__attribute__((noinline)) MoxStatus decodeBlockFull(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,
                                                    T** ppCoeffs, int vlcSelect, int maxNumCoeff,
                                                    const Mox32s* pScanMatrix) {
    return decodeBlockFast<T, false>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff,
                                     pScanMatrix);
}

// True when the three arrays are the library's own, in one branch.
MOX_INLINE bool ownTables(const Mox32s* const* token, const Mox32s* const* totalZeros,
                          const Mox32s* const* runBefore) {
    const MoxCAVLCTables_H264& own = mox::h264::kCavlcTables;
    auto differs = [](const void* a, const void* b) {
        return reinterpret_cast<uintptr_t>(a) ^ reinterpret_cast<uintptr_t>(b);
    };
    return (differs(token, own.coeffToken) | differs(totalZeros, own.totalZeros) |
            differs(runBefore, own.runBefore)) == 0;
}

template <class T>
MOX_INLINE MoxStatus decodeCoeffs(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, T** ppCoeffs,
                                  int vlcSelect, Mox16s maxNumCoeff, const Mox32s* const* ppTblCoeffToken,
                                  const Mox32s* const* ppTblTotalZeros, const Mox32s* const* ppTblRunBefore,
                                  const Mox32s* pScanMatrix) {
    const bool range = (maxNumCoeff == 16 || maxNumCoeff == 15) && vlcSelect >= 0;
    // The library's own arrays are not null: the checks left give the same
    // statuses in the same order.
    if (ownTables(ppTblCoeffToken, ppTblTotalZeros, ppTblRunBefore)) {
        MOX_CHECK_PTRS(ppBitStream, pBitOffset, ppCoeffs, pNumCoeff, pScanMatrix);
        MOX_CHECK_PTRS(*ppBitStream, *ppCoeffs);
        MOX_CHECK(range, moxStsOutOfRangeErr);
        return decodeBlockFast<T, true>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff,
                                        pScanMatrix);
    }
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, ppCoeffs, pNumCoeff, ppTblCoeffToken, ppTblTotalZeros, ppTblRunBefore,
                   pScanMatrix);
    MOX_CHECK_PTRS(*ppBitStream, *ppCoeffs);
    MOX_CHECK(range, moxStsOutOfRangeErr);
    if (ppTblRunBefore == mox::h264::kCavlcTables.runBefore)
        return decodeBlock(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff, ppTblCoeffToken,
                           ppTblTotalZeros, BuiltinRuns{}, pScanMatrix);
    return decodeBlock(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff, ppTblCoeffToken,
                       ppTblTotalZeros, CallerRuns{ppTblRunBefore}, pScanMatrix);
}

// The checks after a chroma DC token, in their order: more coefficients
// than the block holds fail; an empty block is done (count 0, cursor handed
// back); otherwise the output's pointers are checked and the count stored.
// Gives the status to return at once, or kCoefficientsFollow.
constexpr int kCoefficientsFollow = 1;  // no status has this value
template <class T, int N>
MOX_INLINE int chromaDcCount(const WordReader& rd, int tc, Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,
                             T** ppCoeffs) {
    if (tc > N) return moxStsBitstreamErr;
    if (tc == 0) {
        *pNumCoeff = 0;
        rd.commit(ppBitStream, pBitOffset);
        return moxStsNoErr;
    }
    if (!ppCoeffs || !*ppCoeffs) return moxStsNullPtrErr;
    *pNumCoeff = static_cast<Mox16s>(tc);
    return kCoefficientsFollow;
}

// Chroma DC through a caller's tables, after the table pointer checks: the
// packed tables walked code by code. Out of line, so that the look-up path's
// cursor never has its address taken.
template <class T, int N>
__attribute__((noinline)) MoxStatus decodeChromaDcTables(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,
                                                         T** ppCoeffs, const Mox32s* pTblCoeffToken,
                                                         const Mox32s* const* ppTblTotalZeros,
                                                         const Mox32s* const* ppTblRunBefore) {
    WordReader rd(*ppBitStream, *pBitOffset);
    int token = decodeVlc(rd, pTblCoeffToken);
    if (token == kInvalid) return moxStsBitstreamErr;
    int tc = token >> 8;
    int t1 = token & 0xFF;
    const int count = chromaDcCount<T, N>(rd, tc, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs);
    if (count != kCoefficientsFollow) return static_cast<MoxStatus>(count);
    Result r = decodeResidual<N>(rd, tc, t1, N, ppTblTotalZeros, ppTblRunBefore, *ppCoeffs,
                                 [](ptrdiff_t p) { return p; });
    if (r != Result::Ok) return statusOf(r);
    *ppCoeffs += N;
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

// Chroma DC with the library's own tables, after the table checks, on a
// cursor of its own that stays in registers.
template <class T, int N>
MOX_INLINE MoxStatus decodeChromaDcFast(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, T** ppCoeffs) {
    WordReader rd(*ppBitStream, *pBitOffset);
    unsigned e = N == 4 ? lookUpToken<tbl::kTokenChromaDcZcap, tbl::kTokenChromaDcW>(rd, tbl::kTokenChromaDcLut.data())
                        : lookUpToken<tbl::kTokenChroma422DcZcap, tbl::kTokenChroma422DcW>(
                              rd, tbl::kTokenChroma422DcLut.data());
    if (!e) return moxStsBitstreamErr;
    int len = e & 31;
    int t1 = (e >> 5) & 3;
    int tc = static_cast<int>(e >> 8);
    uint32_t signs = rd.peekAfter(len, 3);
    rd.skip(len);
    const int count = chromaDcCount<T, N>(rd, tc, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs);
    if (count != kCoefficientsFollow) return static_cast<MoxStatus>(count);
    auto raster = [](ptrdiff_t p) { return p; };
    rd.skip(t1);
    Result r;
    if constexpr (N == 4)
        r = decodeResidualFast<N>(rd, tc, t1, signs, N,
                                  TotalZerosDc<tbl::kTotalZerosChromaDcW, 4>{tbl::kTotalZerosChromaDcLut}, *ppCoeffs,
                                  raster);
    else
        r = decodeResidualFast<N>(rd, tc, t1, signs, N,
                                  TotalZerosDc<tbl::kTotalZerosChroma422DcW, 8>{tbl::kTotalZerosChroma422DcLut},
                                  *ppCoeffs, raster);
    if (r != Result::Ok) return statusOf(r);
    *ppCoeffs += N;
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

// Chroma DC: 4 coefficients (4:2:0) or 8 (4:2:2), in coded order.
template <class T, int N>
MOX_INLINE MoxStatus decodeChromaDc(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff, T** ppCoeffs,
                                    const Mox32s* pTblCoeffToken, const Mox32s* const* ppTblTotalZeros,
                                    const Mox32s* const* ppTblRunBefore) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pNumCoeff);
    MOX_CHECK_PTRS(*ppBitStream);
    WordReader rd(*ppBitStream, *pBitOffset);
    if constexpr (N == 4) {
        // The two shortest codes of 4:2:0 chroma DC, without tables: "1" is one
        // trailing one (sign, then its total_zeros code), "01" an empty block.
        uint32_t bits = rd.peek(5);
        if (bits & 0x10) {
            MOX_CHECK_PTRS(ppCoeffs);
            MOX_CHECK_PTRS(*ppCoeffs);
            int pos = bits & 4 ? 0 : (bits & 2 ? 1 : (bits & 1 ? 2 : 3));
            rd.skip(pos == 0 ? 3 : (pos == 1 ? 4 : 5));
            T* out = *ppCoeffs;
            std::memset(out, 0, sizeof(T) * N);
            out[pos] = static_cast<T>(bits & 8 ? -1 : 1);
            *ppCoeffs = out + N;
            *pNumCoeff = 1;
            rd.commit(ppBitStream, pBitOffset);
            return moxStsNoErr;
        }
        if ((bits >> 3) == 1) {
            rd.skip(2);
            *pNumCoeff = 0;
            rd.commit(ppBitStream, pBitOffset);
            return moxStsNoErr;
        }
    }
    MOX_CHECK_PTRS(pTblCoeffToken, ppTblTotalZeros, ppTblRunBefore);
    const MoxCAVLCTables_H264& own = mox::h264::kCavlcTables;
    const bool fast = ppTblRunBefore == own.runBefore &&
                      (N == 4 ? pTblCoeffToken == own.coeffTokenChromaDc && ppTblTotalZeros == own.totalZerosChromaDc
                              : pTblCoeffToken == own.coeffTokenChroma422Dc &&
                                    ppTblTotalZeros == own.totalZerosChroma422Dc);
    if (!fast)
        return decodeChromaDcTables<T, N>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pTblCoeffToken,
                                          ppTblTotalZeros, ppTblRunBefore);
    return decodeChromaDcFast<T, N>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs);
}

}  // namespace

#define MOX_EXPGOLOMB(T)                                                                                        \
    MOX_FN moxiDecodeExpGolombOne_H264_1u##T(Mox32u** ppBitStream, int* pBitOffset, Mox##T* pDst, int isSigned) { \
        return decodeExpGolomb(ppBitStream, pBitOffset, pDst, isSigned);                                        \
    }
MOX_EXPGOLOMB(16s)
MOX_EXPGOLOMB(32s)

#define MOX_CAVLC(T)                                                                                              \
    MOX_FN moxiDecodeCAVLCCoeffs_H264_1u##T(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,             \
                                            Mox##T** ppCoeffs, int vlcSelect, Mox16s maxNumCoeff,                 \
                                            const Mox32s* const* ppTblCoeffToken,                                 \
                                            const Mox32s* const* ppTblTotalZeros,                                 \
                                            const Mox32s* const* ppTblRunBefore, const Mox32s* pScanMatrix) {     \
        return decodeCoeffs(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, vlcSelect, maxNumCoeff, ppTblCoeffToken, \
                            ppTblTotalZeros, ppTblRunBefore, pScanMatrix);                                        \
    }                                                                                                             \
    MOX_FN moxiDecodeCAVLCChromaDcCoeffs_H264_1u##T(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,     \
                                                    Mox##T** ppCoeffs, const Mox32s* pTblCoeffToken,              \
                                                    const Mox32s* const* ppTblTotalZeros,                         \
                                                    const Mox32s* const* ppTblRunBefore) {                        \
        return decodeChromaDc<Mox##T, 4>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pTblCoeffToken,            \
                                         ppTblTotalZeros, ppTblRunBefore);                                        \
    }                                                                                                             \
    MOX_FN moxiDecodeCAVLCChroma422DcCoeffs_H264_1u##T(Mox32u** ppBitStream, int* pBitOffset, Mox16s* pNumCoeff,  \
                                                       Mox##T** ppCoeffs, const Mox32s* pTblCoeffToken,           \
                                                       const Mox32s* const* ppTblTotalZeros,                      \
                                                       const Mox32s* const* ppTblRunBefore) {                     \
        return decodeChromaDc<Mox##T, 8>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pTblCoeffToken,            \
                                         ppTblTotalZeros, ppTblRunBefore);                                        \
    }
MOX_CAVLC(16s)
MOX_CAVLC(32s)
