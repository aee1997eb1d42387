// Coefficient encoding of one 8x8 block for MPEG-4 Part 2 (TCOEF with the
// three escapes in the standard's order of preference, reversible VLC, intra
// DC) and H.263 (Table 16, Annex I intra table, Annex T extended escape),
// through the byte-cursor writer. Levels are checked before anything is
// written, so a rejected block leaves the stream and the cursor as they were.
#include <cstdlib>

#include "core/bitstream.h"
#include "mpeg4/coeff_common.h"

using mox::ByteWriter;
using mox::mpeg4::EncCode;
using mox::mpeg4::interScan;
using mox::mpeg4::intraScan;
using mox::mpeg4::kMaxTableLevel;
using mox::mpeg4::TcoefEncodeTable;

namespace {

constexpr uint32_t kEscape = 3;  // 0000011, 7 bits

const EncCode* tableCode(const TcoefEncodeTable& t, int last, int run, int level) {
    if (run < 0 || run > 63 || level < 1 || level > kMaxTableLevel) return nullptr;
    const EncCode& c = t.code[last][run][level];
    return c.len ? &c : nullptr;
}

void writeCode(ByteWriter& w, const EncCode& c, int negative) {
    w.write(static_cast<uint32_t>(c.bits) << 1 | static_cast<uint32_t>(negative), c.len + 1);
}

// Walks the non-zero coefficients after scan position `start`; `emit` gets
// last, run and level of each. Nothing is written when `valid` rejects a level.
template <class Valid, class Emit>
MoxStatus encodeBlock(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int start, const uint8_t* scan,
                      Valid valid, Emit emit) {
    int lastPos = start;
    for (int pos = start + 1; pos < 64; ++pos) {
        int level = pCoef[scan[pos]];
        if (!level) continue;
        if (!valid(level)) return moxStsOutOfRangeErr;
        lastPos = pos;
    }
    ByteWriter w(*ppBitStream, *pBitOffset);
    int run = 0;
    for (int pos = start + 1; pos <= lastPos; ++pos) {
        int level = pCoef[scan[pos]];
        if (!level) {
            ++run;
            continue;
        }
        emit(w, pos == lastPos ? 1 : 0, run, level);
        run = 0;
    }
    w.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

// ISO/IEC 14496-2 7.4.1.3: a table code if there is one, else escape type 1
// (level - LMAX), type 2 (run - (RMAX + 1)), type 3 (fixed length).
struct Mpeg4Emit {
    const TcoefEncodeTable& t;
    void operator()(ByteWriter& w, int last, int run, int level) const {
        int a = std::abs(level), negative = level < 0;
        if (const EncCode* c = tableCode(t, last, run, a)) return writeCode(w, *c, negative);
        int lmax = t.maxLevel[last][run];
        if (const EncCode* c = lmax ? tableCode(t, last, run, a - lmax) : nullptr) {
            w.write(kEscape << 1, 8);
            return writeCode(w, *c, negative);
        }
        int rmax1 = a <= kMaxTableLevel ? t.maxRunPlus1[last][a] : 0;
        if (const EncCode* c = rmax1 ? tableCode(t, last, run - rmax1, a) : nullptr) {
            w.write(kEscape << 2 | 2, 9);
            return writeCode(w, *c, negative);
        }
        w.write(kEscape << 2 | 3, 9);
        w.write(static_cast<uint32_t>(last << 20 | run << 14 | 1 << 13 | (level & 0xFFF) << 1 | 1), 21);
    }
};

// Table B-23, else the escape 00001, LAST, RUN, marker, LEVEL (11), marker, 0000, sign.
struct RvlcEmit {
    const TcoefEncodeTable& t;
    void operator()(ByteWriter& w, int last, int run, int level) const {
        int a = std::abs(level), negative = level < 0;
        if (const EncCode* c = tableCode(t, last, run, a)) return writeCode(w, *c, negative);
        w.write(0, 4);
        w.write(static_cast<uint32_t>(1 << 25 | last << 24 | run << 18 | 1 << 17 | a << 6 | 1 << 5 | negative), 26);
    }
};

// H.263 5.4.2 escape with 8-bit LEVEL; Annex T: LEVEL -128 and EXTENDED-LEVEL
// (low 5 bits, then the high 6 bits).
struct H263Emit {
    const TcoefEncodeTable& t;
    void operator()(ByteWriter& w, int last, int run, int level) const {
        int a = std::abs(level), negative = level < 0;
        if (const EncCode* c = tableCode(t, last, run, a)) return writeCode(w, *c, negative);
        w.write(kEscape, 7);
        if (a <= 127) {
            w.write(static_cast<uint32_t>(last << 14 | run << 8 | (level & 0xFF)), 15);
        } else {
            w.write(static_cast<uint32_t>(last << 14 | run << 8 | 0x80), 15);
            w.write(static_cast<uint32_t>((level & 31) << 6 | (level >> 5 & 63)), 11);
        }
    }
};

bool mpeg4Level(int level) { return level >= -2047 && level <= 2047; }

MoxStatus encodeMpeg4(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, bool intra, bool rvlc, int start,
                      const uint8_t* scan) {
    if (rvlc)
        return encodeBlock(ppBitStream, pBitOffset, pCoef, start, scan, mpeg4Level,
                           RvlcEmit{intra ? mox::mpeg4::encB23Intra : mox::mpeg4::encB23Inter});
    return encodeBlock(ppBitStream, pBitOffset, pCoef, start, scan, mpeg4Level,
                       Mpeg4Emit{intra ? mox::mpeg4::encB16 : mox::mpeg4::encB17});
}

MoxStatus encodeH263(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, bool advIntra, bool modQ, int start,
                     const uint8_t* scan) {
    auto valid = [modQ](int level) { return modQ ? level >= -1024 && level <= 1023 : level >= -127 && level <= 127; };
    return encodeBlock(ppBitStream, pBitOffset, pCoef, start, scan, valid,
                       H263Emit{advIntra ? mox::mpeg4::encI2 : mox::mpeg4::encB17});
}

}  // namespace

MOX_FN moxiEncodeCoeffsIntra_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int rvlcFlag,
                                         int dcPresent, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return encodeMpeg4(ppBitStream, pBitOffset, pCoef, true, rvlcFlag != 0, dcPresent ? 0 : -1, intraScan(scan));
}

MOX_FN moxiEncodeCoeffsInter_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int rvlcFlag,
                                         int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return encodeMpeg4(ppBitStream, pBitOffset, pCoef, false, rvlcFlag != 0, -1, interScan(scan));
}

// ISO/IEC 14496-2 6.3.8: dct_dc_size, dct_dc_differential (negative values as
// dc + 2^size - 1) and a marker bit after more than 8 bits.
MOX_FN moxiEncodeDCIntra_MPEG4_16s1u(Mox8u** ppBitStream, int* pBitOffset, Mox16s dc, int blockType) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MOX_CHECK(dc >= -4095 && dc <= 4095, moxStsOutOfRangeErr);
    int size = 0;
    while (std::abs(dc) >> size) ++size;
    const EncCode& c = mox::mpeg4::encDcSize[blockType ? 1 : 0][size];
    ByteWriter w(*ppBitStream, *pBitOffset);
    w.write(c.bits, c.len);
    if (size) {
        w.write(static_cast<uint32_t>(dc > 0 ? dc : dc + (1 << size) - 1), size);
        if (size > 8) w.write(1, 1);
    }
    w.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

MOX_FN moxiEncodeCoeffsIntra_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int advIntraFlag,
                                        int modQFlag, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return encodeH263(ppBitStream, pBitOffset, pCoef, advIntraFlag != 0, modQFlag != 0, advIntraFlag ? -1 : 0,
                      intraScan(scan));
}

MOX_FN moxiEncodeCoeffsInter_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, const Mox16s* pCoef, int modQFlag,
                                        int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return encodeH263(ppBitStream, pBitOffset, pCoef, false, modQFlag != 0, -1, interScan(scan));
}

MOX_FN moxiEncodeDCIntra_H263_16s1u(Mox8u** ppBitStream, int* pBitOffset, Mox16s dc) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MOX_CHECK(dc >= 1 && dc <= 254, moxStsOutOfRangeErr);
    ByteWriter w(*ppBitStream, *pBitOffset);
    w.write(dc == 128 ? 255u : static_cast<uint32_t>(dc), 8);
    w.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}
