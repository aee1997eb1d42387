// Coefficient decoding of one 8x8 block for MPEG-4 Visual (TCOEF with three
// escapes, reversible VLC forward and backward, intra DC), H.263 (Table 16,
// Annex I intra table, Annex T extended escape) and H.261 (Table 5), with the
// one-pass inverse quantisation of the Reconstruct functions.
//
// Codes are found by one look-up on the next 10 bits, which gives run, signed
// level, last and length of every code that fits there with its sign; longer
// codes and escapes continue out of the hot loop on 12 (TCOEF), 14 (H.261) or
// 15 (reversible) bits. The shortest code of every table but H.261's has 3
// bits with its sign (H.261: end of block, 2), so the next 10 bits never reach
// more than one byte past the byte that holds a block's last bit; the longer
// peeks are made only when the bits seen so far prove the code that long.
#include <smmintrin.h>

#include <algorithm>

#include "mpeg4/coeff_common.h"
#include "core/bitstream.h"
#include "mpeg4/vlc_tables.h"

using mox::BufferedByteReader;
using mox::ByteBackReader;
using mox::ByteReader;
using mox::mpeg4::FastCode;
using mox::mpeg4::kFastBits;
using mox::mpeg4::interScan;
using mox::mpeg4::intraScan;
using mox::mpeg4::kEscapeLevel;
using mox::mpeg4::kSubTableLevel;
using mox::mpeg4::RvlcTable;
using mox::mpeg4::TcoefDecodeTable;
using mox::mpeg4::TcoefEncodeTable;
using mox::mpeg4::TcoefEntry;

namespace {

int clampCoef(int v) { return std::min(2047, std::max(-2048, v)); }

// One decoded event: step = run + 1, plus kLastStep when last = 1.
struct Event {
    int step, level;
};
// The step of a table entry; that of an escape's LAST and RUN fields, which
// the streams place side by side (LAST above the 6 RUN bits) is those 7 bits + 1.
constexpr int stepOf(const TcoefEntry& e) { return e.run + 1 + (e.last ? mox::mpeg4::kLastStep : 0); }
constexpr int stepOf(uint32_t lastAndRun) { return static_cast<int>(lastAndRun & 127) + 1; }

// ------------------------------------------------------------ code look-ups
inline bool lookupTcoef(BufferedByteReader& acc, const TcoefDecodeTable& t, TcoefEntry& e) {
    acc.fill(8);
    uint32_t v8 = acc.peek(8);
    if (v8 >= 32) {  // codes of up to 7 bits
        e = t.t512_5[(v8 >> 1) - 16];
        return true;
    }
    acc.fill(12);
    uint32_t v = acc.peek(12);
    if (v >= 128) {
        e = t.t128_2[(v - 128) >> 2];
    } else if (v >= 8) {
        e = t.t8[v - 8];
    } else {
        return false;
    }
    return true;
}

inline bool lookupRvlc(BufferedByteReader& acc, const RvlcTable& t, TcoefEntry& e) {
    acc.fill(8);
    e = t.first[acc.peek(8)];
    if (e.level == kSubTableLevel) {  // codes of 9 to 15 bits
        acc.fill(15);
        e = t.sub[e.run][acc.peek(15) & 0x7F];
    }
    return e.len != 0;
}

// A table code followed by its sign bit (1: negative).
inline Event takeCode(BufferedByteReader& acc, const TcoefEntry& e) {
    acc.fill(e.len + 1);
    int negative = static_cast<int>(acc.bit(e.len));
    acc.skip(e.len + 1);
    return Event{stepOf(e), negative ? -e.level : e.level};
}

// ------------------------------------------------------------ escapes
// ISO/IEC 14496-2 7.4.1.3: escape (7 bits) then 0: level + LMAX; 10: run +
// RMAX + 1; 11: fixed length last, run, marker, 12-bit level, marker.
struct Mpeg4Escape {
    const TcoefDecodeTable& table;
    const TcoefEncodeTable& limits;

    __attribute__((always_inline)) bool operator()(BufferedByteReader& acc, Event& ev) const {
        acc.skip(7);
        acc.fill(2);
        uint32_t mode = acc.peek(2);
        if (mode < 3) {
            acc.skip(mode >> 1 ? 2 : 1);
            TcoefEntry e;
            if (!lookupTcoef(acc, table, e) || e.level == kEscapeLevel) return false;
            ev = takeCode(acc, e);
            int sign = ev.level < 0 ? -1 : 1;
            if (mode >> 1)
                ev.step += limits.maxRunPlus1[e.last][e.level];
            else
                ev.level += sign * limits.maxLevel[e.last][e.run];
            return true;
        }
        // A valid escape holds the 21 field bits: three bytes at once stay
        // within the byte of look-ahead (at most 8 bits are held here).
        acc.skip(2);
        acc.loadBytes<3>();
        uint32_t v = acc.peek(21);
        acc.skip(21);
        int level = static_cast<int>((v >> 1) & 0xFFF);
        if (!(v >> 13 & 1) || !(v & 1) || level == 0x800) return false;
        ev = Event{stepOf(v >> 14), level >= 0x800 ? level - 0x1000 : level};
        return true;
    }
};

// H.263 5.4.2: escape, LAST, RUN (6), LEVEL (8, two's complement, 0 and -128
// forbidden); Annex T (ModQ): LEVEL -128 announces an 11-bit EXTENDED-LEVEL
// whose first 5 bits are the low part and the next 6 the signed high part.
template <bool ModQ>
struct H263Escape {
    __attribute__((always_inline)) bool operator()(BufferedByteReader& acc, Event& ev) const {
        // A valid escape holds the 15 field bits: two bytes at once stay
        // within the byte of look-ahead (at most 10 bits are held here).
        acc.skip(7);
        acc.loadBytes<2>();
        uint32_t v = acc.peek(15);
        int level = static_cast<int8_t>(v & 0xFF);
        if (level == -128) {
            if constexpr (!ModQ) return false;
            // The 26 bits with EXTENDED-LEVEL: 19 to 26 are held, so the byte
            // after them is at most the one after the field's last bit.
            acc.loadBytes<1>();
            uint32_t x = acc.peek(26) & 0x7FF;
            level = (static_cast<int>(x & 63) ^ 32) - 32;
            level = level * 32 + static_cast<int>(x >> 6);
            acc.skip(26);
        } else {
            acc.skip(15);
        }
        if (level == 0) return false;
        ev = Event{stepOf(v >> 8), level};
        return true;
    }
};

// ISO/IEC 14496-2 Table B-23 escape: 0000 (looked up), 1, LAST, RUN (6),
// marker, LEVEL (11, magnitude, not 0), marker, 0000, sign.
inline __attribute__((always_inline)) bool rvlcEscapeFields(uint32_t v, Event& ev) {
    int level = static_cast<int>(v >> 6 & 0x7FF);
    if (!(v >> 25 & 1) || !(v >> 17 & 1) || !(v >> 5 & 1) || (v >> 1 & 15) || level == 0) return false;
    ev = Event{stepOf(v >> 18), v & 1 ? -level : level};
    return true;
}

struct RvlcEscape {
    __attribute__((always_inline)) bool operator()(BufferedByteReader& acc, Event& ev) const {
        // A valid escape holds the 26 field bits: three bytes at once stay
        // within the byte of look-ahead (at most 13 bits are held here).
        acc.skip(4);
        acc.loadBytes<3>();
        uint32_t v = acc.peek(26);
        acc.skip(26);
        return rvlcEscapeFields(v, ev);
    }
};

// ------------------------------------------------------------ block kernel
// Decodes events until one with last = 1, from scan position `pos`; `store`
// maps a level and its raster position to the stored value. The fast table
// resolves the common codes; `lookup` and `escape` the rest, on the branch the
// fast path expects not to take (the fast table names the escape code, so an
// escape skips the full tables). The reader goes in and comes back by value,
// so that the hot loop keeps it in registers.
struct SlowResult {
    BufferedByteReader acc;
    Event ev;
    bool ok;
};

template <class Lookup, class Escape>
inline __attribute__((always_inline)) SlowResult slowEvent(BufferedByteReader acc, Lookup lookup, Escape escape,
                                                           bool isEscape) {
    SlowResult r{acc, {}, false};
    if (isEscape) {
        r.ok = escape(r.acc, r.ev);
        return r;
    }
    TcoefEntry e;
    if (!lookup(r.acc, e)) return r;
    if (e.level == kEscapeLevel) {
        r.ok = escape(r.acc, r.ev);
    } else {
        r.ev = takeCode(r.acc, e);
        r.ok = true;
    }
    return r;
}

template <class Lookup, class Escape, class Store>
MoxStatus decodeBlock(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int pos,
                      const uint8_t* scan, const FastCode* fast, Lookup lookup, Escape escape, Store store) {
    using mox::mpeg4::kLastStep;
    BufferedByteReader acc(*ppBitStream, *pBitOffset);
    int level, step;
    for (;;) {
        acc.fillShort(kFastBits);
        const FastCode f = fast[acc.peek(kFastBits)];
        level = f.level;
        step = f.step;
        if (__builtin_expect(f.len != 0, 1)) {
            acc.skip(f.len);
        } else {
            SlowResult r = slowEvent(acc, lookup, escape, f.step == mox::mpeg4::kEscapeStep);
            if (!r.ok) break;
            acc = r.acc;
            level = r.ev.level;
            step = r.ev.step;
        }
        pos += step;
        if (pos > 63) {  // the last code, or a run past coefficient 63
            pos -= step;
            if (step < kLastStep || pos + step - kLastStep > 63) break;
            pos += step - kLastStep;
            int raster = scan[pos];
            pCoef[raster] = static_cast<Mox16s>(store(level, raster));
            *pIndxLastNonZero = pos;
            acc.commit(ppBitStream, pBitOffset);
            return moxStsNoErr;
        }
        int raster = scan[pos];
        pCoef[raster] = static_cast<Mox16s>(store(level, raster));
    }
    *pIndxLastNonZero = pos;
    return moxStsVLCErr;
}

struct AsDecoded {
    int operator()(int level, int) const { return level; }
};

// H.263 6.2.1 (also ISO/IEC 14496-2 7.4.4.2, second method):
// |REC| = QP (2 |L| + 1) - (1 when QP is even).
struct DequantH263 {
    int qp;
    int operator()(int level, int) const {
        int v = qp * (2 * std::abs(level) + 1) - (1 - (qp & 1));
        return clampCoef(level < 0 ? -v : v);
    }
};

// H.263 Annex I.3: |REC| = 2 QP |L| for every coefficient of the block.
struct DequantAdvIntra {
    int qp;
    int operator()(int level, int) const { return clampCoef(2 * qp * level); }
};

// ISO/IEC 14496-2 7.4.4.1, first method, inter: ((2 L + sign(L)) W QP) / 16,
// truncated toward zero.
struct DequantMatrix {
    int qp;
    const Mox8u* w;
    int operator()(int level, int raster) const {
        int sign = level < 0 ? -1 : 1;
        return clampCoef((2 * level + sign) * w[raster] * qp / 16);
    }
};

struct TcoefLookup {
    const TcoefDecodeTable& table;
    bool operator()(BufferedByteReader& acc, TcoefEntry& e) const { return lookupTcoef(acc, table, e); }
};
struct RvlcLookup {
    const RvlcTable& table;
    bool operator()(BufferedByteReader& acc, TcoefEntry& e) const { return lookupRvlc(acc, table, e); }
};

// Clears the block, keeping coefficient 0 when asked (eight full-row stores:
// a string store costs more to start than the whole block).
void clearBlock(Mox16s* pCoef, bool keepDc) {
    const __m128i zero = _mm_setzero_si128();
    __m128i* row = reinterpret_cast<__m128i*>(pCoef);
    _mm_storeu_si128(row, _mm_cvtsi32_si128(keepDc ? static_cast<uint16_t>(pCoef[0]) : 0));
    _mm_storeu_si128(row + 1, zero);  // written out: a loop would become a string store
    _mm_storeu_si128(row + 2, zero);
    _mm_storeu_si128(row + 3, zero);
    _mm_storeu_si128(row + 4, zero);
    _mm_storeu_si128(row + 5, zero);
    _mm_storeu_si128(row + 6, zero);
    _mm_storeu_si128(row + 7, zero);
}

template <class Store>
MoxStatus decodeMpeg4(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, bool intra,
                      bool rvlc, int start, const uint8_t* scan, Store store) {
    if (rvlc)
        return decodeBlock(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, start, scan,
                           intra ? mox::mpeg4::fastB23Intra : mox::mpeg4::fastB23Inter,
                           RvlcLookup{intra ? mox::mpeg4::tableB23_Forw_Intra : mox::mpeg4::tableB23_Forw_Inter},
                           RvlcEscape{}, store);
    const TcoefDecodeTable& t = intra ? mox::mpeg4::tableB16 : mox::mpeg4::tableB17;
    const TcoefEncodeTable& limits = intra ? mox::mpeg4::encB16 : mox::mpeg4::encB17;
    return decodeBlock(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, start, scan,
                       intra ? mox::mpeg4::fastB16 : mox::mpeg4::fastB17, TcoefLookup{t}, Mpeg4Escape{t, limits}, store);
}

template <bool ModQ, class Store>
MoxStatus decodeH263(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, bool advIntra,
                     int start, const uint8_t* scan, Store store) {
    return decodeBlock(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, start, scan,
                       advIntra ? mox::mpeg4::fastI2 : mox::mpeg4::fastB17,
                       TcoefLookup{advIntra ? mox::mpeg4::tableI2 : mox::mpeg4::tableB17}, H263Escape<ModQ>{}, store);
}

// The H.263 kernels: ordinary or Annex T escape, levels as decoded or
// inverse-quantised (6.2.1, or Annex I.3 for advanced intra coding).
MoxStatus ownDecodeCoeffs_H263(Mox8u** pp, int* off, Mox16s* c, int* last, bool advIntra, int start, const uint8_t* scan) {
    return decodeH263<false>(pp, off, c, last, advIntra, start, scan, AsDecoded{});
}
MoxStatus ownDecodeCoeffs_ModQ_H263(Mox8u** pp, int* off, Mox16s* c, int* last, bool advIntra, int start,
                                    const uint8_t* scan) {
    return decodeH263<true>(pp, off, c, last, advIntra, start, scan, AsDecoded{});
}
MoxStatus ownReconCoeffs_H263(Mox8u** pp, int* off, Mox16s* c, int* last, int qp, int start) {
    return decodeH263<false>(pp, off, c, last, false, start, mox::mpeg4::ownvc_Zigzag, DequantH263{qp});
}
MoxStatus ownReconCoeffs_ModQ_H263(Mox8u** pp, int* off, Mox16s* c, int* last, int qp, int start) {
    return decodeH263<true>(pp, off, c, last, false, start, mox::mpeg4::ownvc_Zigzag, DequantH263{qp});
}
MoxStatus ownReconCoeffs_AdvIntra_H263(Mox8u** pp, int* off, Mox16s* c, int* last, int qp, const uint8_t* scan) {
    return decodeH263<false>(pp, off, c, last, true, -1, scan, DequantAdvIntra{qp});
}
MoxStatus ownReconCoeffs_AdvIntra_ModQ_H263(Mox8u** pp, int* off, Mox16s* c, int* last, int qp, const uint8_t* scan) {
    return decodeH263<true>(pp, off, c, last, true, -1, scan, DequantAdvIntra{qp});
}

// ------------------------------------------------------------ reversible VLC, backward
// One code read backward off the fast table's path: the escape (named by the
// fast table) or a code of 10 to 15 bits and its sign. Gives the step (run +
// 1, plus kLastStep when last = 1) and the signed level; false: no code.
//
// At least kFastBits bits are held. A code longer than 9 bits proves 11 bits,
// so the sub-table's 16 stay within the byte allowed before the stream's
// bits; an escape proves its 30 bits, so three more bytes after its last 5 do.
inline __attribute__((always_inline)) bool slowBackward(ByteBackReader& rd, const RvlcTable& t, bool escape,
                                                        int& step, int& level) {
    const bool negative = rd.bits(1);
    if (escape) {
        // ISO/IEC 14496-2 Table B-23 escape: 0000 (looked up), 1, LAST, RUN
        // (6), marker, LEVEL (11, magnitude, not 0), marker, 0000, sign. Read
        // backward in one number after the sign and 0000: 00001, LAST, RUN,
        // marker, LEVEL, marker, the last one lowest.
        rd.skip(5);
        rd.loadBytes3();
        const uint32_t f = rd.bits(25);
        rd.skip(25);
        const int magnitude = static_cast<int>(f >> 1 & 0x7FF);
        if ((f & 0x1F01001u) != 0x0101001u || magnitude == 0) return false;
        step = stepOf(f >> 13);
        level = negative ? -magnitude : magnitude;
        return true;
    }
    TcoefEntry e = t.first[rd.bits(9) >> 1];
    if (e.level == kSubTableLevel) {
        rd.fillShort(16);
        e = t.sub[e.run][rd.bits(16) >> 9];
    }
    if (!e.len) return false;
    rd.skip(e.len + 1);
    step = stepOf(e);
    level = negative ? -e.level : e.level;
    return true;
}

// Reads the block's codes from its end: the first code met must have last = 1;
// reading stops before the next code with last = 1 (the preceding block's last
// code), leaving the cursor at the block's first bit.
//
// Every code is at least 4 bits with its sign and the preceding block's last
// code at least 5, so the fast table's 10 bits never reach further than one
// byte before that code. Each level is kept with its slot, counted down from
// 63 by the runs; once the first code is known the slots less the shift that
// puts it after `start` are the positions.
MoxStatus decodeRvlcBackward(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, int start,
                             const FastCode* fast, const RvlcTable& t) {
    using mox::mpeg4::kLastStep;
    ByteBackReader rd(*ppBitStream, *pBitOffset);
    // The code before the cursor as step and level. 1: read; 2: a code with
    // last = 1 left unread (after the first); 0: no code.
    auto next = [&rd, fast, &t](bool first, int& step, int& level) __attribute__((always_inline)) {
        rd.fillShort(mox::mpeg4::kFastBits);
        const FastCode f = fast[rd.bits(mox::mpeg4::kFastBits)];
        if (__builtin_expect(f.len != 0, 1)) {
            step = f.step;
            level = f.level;
            if (!first && step > kLastStep) return 2;
            rd.skip(f.len);
            return 1;
        }
        const ByteBackReader mark = rd;
        if (!slowBackward(rd, t, f.step == mox::mpeg4::kEscapeStep, step, level)) return 0;
        if (!first && step > kLastStep) {
            rd = mark;
            return 2;
        }
        return 1;
    };
    struct Placed {
        int16_t level, slot;
    } placed[64];
    int step, level;
    if (next(true, step, level) != 1 || step <= kLastStep || 63 + kLastStep - step < start) goto fail;
    {
        placed[0] = Placed{static_cast<int16_t>(level), 63};
        // The next level's slot; it may not step below `start` (a run past
        // coefficient 63), so at most 64 levels are kept.
        int slot = 63 + kLastStep - step;
        int count = 1;
        for (;;) {
            const int got = next(false, step, level);
            if (got != 1) {
                if (!got) goto fail;
                break;
            }
            if (slot - step < start) goto fail;
            placed[count++] = Placed{static_cast<int16_t>(level), static_cast<int16_t>(slot)};
            slot -= step;
        }
        const int shift = slot - start;  // slot s holds coefficient s - shift
        clearBlock(pCoef, start == 0);
        for (int i = 0; i < count; ++i) pCoef[placed[i].slot - shift] = placed[i].level;
        *pIndxLastNonZero = 63 - shift;
        rd.commit(ppBitStream, pBitOffset);
        return moxStsNoErr;
    }
fail:
    clearBlock(pCoef, start == 0);
    *pIndxLastNonZero = start;
    return moxStsVLCErr;
}

// ------------------------------------------------------------ H.261
// H.261 4.2.4: Table 5 codes in zigzag order up to EOB; escape 000001, RUN (6),
// LEVEL (8, 0 and -128 forbidden); an inter block may open with 1s (run 0,
// level 1); an intra block opens with the 8-bit DC.
template <class Store, class StoreDc>
MoxStatus ownDecodeCoeffs_H261(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero, bool intra,
                     Store store, StoreDc storeDc) {
    using mox::mpeg4::h261_coefTab1;
    using mox::mpeg4::h261_coefTab2;
    const uint8_t* zigzag = mox::mpeg4::ownvc_Zigzag;
    BufferedByteReader acc(*ppBitStream, *pBitOffset);
    int pos = -1;
    if (intra) {
        int dc = static_cast<int>(acc.read(8));
        if ((dc & 0x7F) == 0) {
            *pIndxLastNonZero = pos;
            return moxStsVLCErr;
        }
        pCoef[0] = static_cast<Mox16s>(storeDc(dc));
        pos = 0;
    } else {
        acc.fill(1);
        if (acc.peek(1)) {
            acc.fill(2);
            pCoef[0] = static_cast<Mox16s>(store(acc.bit(1) ? -1 : 1));
            acc.skip(2);
            pos = 0;
        }
    }
    for (;;) {
        acc.fillShort(kFastBits);
        const FastCode f = mox::mpeg4::fastH261[acc.peek(kFastBits)];
        int level = f.level, runInc = f.step;
        if (__builtin_expect(f.len != 0, 1)) {
            if (f.step == mox::mpeg4::kLastStep) {
                if (pos < 0) break;  // an inter block holds at least one coefficient
                acc.skip(2);
                *pIndxLastNonZero = pos;
                acc.commit(ppBitStream, pBitOffset);
                return moxStsNoErr;
            }
            acc.skip(f.len);
        } else {
            // The escape, or codes of 10 to 13 bits and their sign.
            if (f.step == mox::mpeg4::kEscapeStep) {
                acc.fill(20);
                uint32_t x = acc.peek(20) & 0x3FFF;
                acc.skip(20);
                level = static_cast<int8_t>(x & 0xFF);
                runInc = static_cast<int>(x >> 8) + 1;
                if ((level & 0x7F) == 0) break;
            } else {
                acc.fill(14);
                uint32_t b = acc.peek(14);
                if (b < 0x20) break;
                const mox::mpeg4::H261Entry e = b >= 0x200 ? h261_coefTab1[(b >> 6) - 8] : h261_coefTab2[(b >> 1) - 16];
                if (!e.len) break;
                level = acc.bit(e.len - 1) ? -e.level : e.level;
                runInc = e.runInc;
                acc.skip(e.len);
            }
        }
        if (pos + runInc > 63) break;
        pos += runInc;
        pCoef[zigzag[pos]] = static_cast<Mox16s>(store(level));
    }
    *pIndxLastNonZero = pos;
    return moxStsVLCErr;
}

struct DequantH261 {
    int qp;
    int operator()(int level) const {
        int adj = qp & 1 ? qp : qp - 1;
        return clampCoef(level * 2 * qp + (level > 0 ? adj : -adj));
    }
};

}  // namespace

// ---------------------------------------------------------------- MPEG-4
MOX_FN moxiDecodeCoeffsIntra_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero,
                                         int rvlcFlag, int dcPresent, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, dcPresent != 0);
    return decodeMpeg4(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, rvlcFlag != 0, dcPresent ? 0 : -1,
                       intraScan(scan), AsDecoded{});
}

MOX_FN moxiDecodeCoeffsInter_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero,
                                         int rvlcFlag, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, false);
    return decodeMpeg4(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, rvlcFlag != 0, -1, interScan(scan),
                       AsDecoded{});
}

MOX_FN moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                                 int* pIndxLastNonZero, int dcPresent) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return decodeRvlcBackward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, dcPresent ? 0 : -1,
                              mox::mpeg4::fastB23BackIntra, mox::mpeg4::tableB23_Back_Intra);
}

MOX_FN moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                                 int* pIndxLastNonZero) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    return decodeRvlcBackward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, -1, mox::mpeg4::fastB23BackInter,
                              mox::mpeg4::tableB23_Back_Inter);
}

// ISO/IEC 14496-2 6.3.8: dct_dc_size (Table B-13 or B-14), dct_dc_differential,
// and a marker bit after a differential longer than 8 bits.
MOX_FN moxiDecodeDCIntra_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pDC, int blockType) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pDC);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    BufferedByteReader acc(*ppBitStream, *pBitOffset);
    int size;
    if (acc.read(1)) {
        int b = static_cast<int>(acc.read(1));
        size = blockType ? 1 - b : 2 - b;  // luminance 11: 1, 10: 2; chrominance 11: 0, 10: 1
    } else if (!blockType && acc.read(1)) {
        size = acc.read(1) ? 0 : 3;  // 011, 010
    } else {
        int zeros = blockType ? 1 : 2;  // zeros read so far
        while (!acc.read(1))
            if (++zeros > (blockType ? 11 : 10)) return moxStsVLCErr;
        size = blockType ? zeros + 1 : zeros + 2;
    }
    int diff = 0;
    if (size) {
        diff = static_cast<int>(acc.read(size));
        if (!(diff >> (size - 1))) diff -= (1 << size) - 1;
        if (size > 8 && !acc.read(1)) return moxStsVLCErr;
    }
    *pDC = static_cast<Mox16s>(diff);
    acc.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

MOX_FN moxiReconstructCoeffsInter_MPEG4_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                              int* pIndxLastNonZero, int rvlcFlag, int scan, int QP,
                                              const Mox8u* pQMatrix) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MPEG4_CHECK_QP(QP);
    clearBlock(pCoef, false);
    if (!pQMatrix)
        return decodeMpeg4(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, rvlcFlag != 0, -1,
                           interScan(scan), DequantH263{QP});
    MoxStatus st = decodeMpeg4(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, rvlcFlag != 0, -1,
                               interScan(scan), DequantMatrix{QP, pQMatrix});
    if (st == moxStsNoErr) {
        // Mismatch control (7.4.4.3): an even sum toggles the last bit of F[7][7].
        int sum = 0;
        for (int i = 0; i < 64; ++i) sum += pCoef[i];
        if (!(sum & 1)) pCoef[63] = static_cast<Mox16s>(pCoef[63] ^ 1);
    }
    return st;
}

// ---------------------------------------------------------------- H.263
MOX_FN moxiDecodeCoeffsInter_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero,
                                        int modQFlag, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, false);
    return (modQFlag ? ownDecodeCoeffs_ModQ_H263 : ownDecodeCoeffs_H263)(ppBitStream, pBitOffset, pCoef,
                                                                         pIndxLastNonZero, false, -1, interScan(scan));
}

MOX_FN moxiDecodeCoeffsIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero,
                                        int advIntraFlag, int modQFlag, int scan) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, !advIntraFlag);
    return (modQFlag ? ownDecodeCoeffs_ModQ_H263 : ownDecodeCoeffs_H263)(
        ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, advIntraFlag != 0, advIntraFlag ? -1 : 0, intraScan(scan));
}

// H.263 5.4.1: INTRADC, 8 bits; 0000 0000 and 1000 0000 are not used and
// 1111 1111 stands for the level 128 (reconstruction 1024).
MOX_FN moxiDecodeDCIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pDC) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pDC);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    ByteReader rd(*ppBitStream, *pBitOffset);
    int dc = static_cast<int>(rd.peek8());
    if ((dc & 0x7F) == 0) return moxStsVLCErr;
    *pDC = static_cast<Mox16s>(dc == 255 ? 128 : dc);
    rd.skip(8);
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}

MOX_FN moxiReconstructCoeffsInter_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                             int* pIndxLastNonZero, int QP, int modQFlag) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MPEG4_CHECK_QP(QP);
    clearBlock(pCoef, false);
    return (modQFlag ? ownReconCoeffs_ModQ_H263 : ownReconCoeffs_H263)(ppBitStream, pBitOffset, pCoef,
                                                                       pIndxLastNonZero, QP, -1);
}

MOX_FN moxiReconstructCoeffsIntra_H263_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                             int* pIndxLastNonZero, int QP, int advIntraFlag, int modQFlag) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MPEG4_CHECK_QP(QP);
    clearBlock(pCoef, !advIntraFlag);
    if (!advIntraFlag)
        return (modQFlag ? ownReconCoeffs_ModQ_H263 : ownReconCoeffs_H263)(ppBitStream, pBitOffset, pCoef,
                                                                           pIndxLastNonZero, QP, 0);
    // Annex I: the flag less one is the scan: 1 zigzag (INTRA_MODE 0, DC only),
    // 2 alternate vertical (INTRA_MODE 2, horizontal prediction), 3 alternate
    // horizontal (INTRA_MODE 1, vertical prediction).
    const uint8_t* scan = advIntraFlag == 2 ? mox::mpeg4::ownvc_AltScanV
                          : advIntraFlag == 3 ? mox::mpeg4::ownvc_AltScanH
                                              : mox::mpeg4::ownvc_Zigzag;
    return (modQFlag ? ownReconCoeffs_AdvIntra_ModQ_H263 : ownReconCoeffs_AdvIntra_H263)(
        ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, QP, scan);
}

// ---------------------------------------------------------------- H.261
MOX_FN moxiDecodeCoeffsIntra_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, false);
    return ownDecodeCoeffs_H261(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, [](int level) { return level; },
                      [](int dc) { return dc == 255 ? 128 : dc; });
}

MOX_FN moxiDecodeCoeffsInter_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef, int* pIndxLastNonZero) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    clearBlock(pCoef, false);
    return ownDecodeCoeffs_H261(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, [](int level) { return level; },
                      [](int dc) { return dc; });
}

MOX_FN moxiReconstructCoeffsIntra_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                             int* pIndxLastNonZero, int QP) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MPEG4_CHECK_QP(QP);
    clearBlock(pCoef, false);
    return ownDecodeCoeffs_H261(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, DequantH261{QP},
                      [](int dc) { return dc == 255 ? 1024 : dc * 8; });
}

MOX_FN moxiReconstructCoeffsInter_H261_1u16s(Mox8u** ppBitStream, int* pBitOffset, Mox16s* pCoef,
                                             int* pIndxLastNonZero, int QP) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero);
    MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset);
    MPEG4_CHECK_QP(QP);
    clearBlock(pCoef, false);
    return ownDecodeCoeffs_H261(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, DequantH261{QP},
                      [](int dc) { return dc; });
}
