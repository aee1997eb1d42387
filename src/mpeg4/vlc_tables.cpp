// Lookup tables derived at compile time from the code rows of vlc_tables.h.
// A code set that is not prefix-free (suffix-free for the backward tables),
// a decode table with a hole, or a code longer than its sub-table's
// resolution fails to compile.
#include "mpeg4/vlc_tables.h"

#include <cstddef>

namespace mox::mpeg4 {
namespace {

struct Bits {
    unsigned value;
    int len;
};

constexpr Bits parse(const char* s) {
    Bits b{0, 0};
    for (; *s; ++s, ++b.len) b.value = b.value << 1 | static_cast<unsigned>(*s - '0');
    return b;
}

// The rows of one table, possibly in two parts.
struct Rows {
    const TcoefCode* first;
    size_t firstCount;
    const TcoefCode* second = nullptr;
    size_t secondCount = 0;

    template <size_t N>
    constexpr Rows(const TcoefCode (&a)[N]) : first(a), firstCount(N) {}
    template <size_t N, size_t M>
    constexpr Rows(const TcoefCode (&a)[N], const TcoefCode (&b)[M]) : first(a), firstCount(N), second(b), secondCount(M) {}

    template <class F>
    constexpr void forEach(F f) const {
        for (size_t i = 0; i < firstCount; ++i) f(first[i]);
        for (size_t i = 0; i < secondCount; ++i) f(second[i]);
    }
};

// Writes `e` into every entry of a `width`-bit table whose index starts with the code.
template <class E, size_t N>
constexpr void putCode(E (&full)[N], int width, Bits b, const E& e) {
    for (unsigned v = 0; v < (1u << (width - b.len)); ++v) {
        E& slot = full[b.value << (width - b.len) | v];
        if (slot.len) throw "overlapping codes";
        slot = e;
    }
}

constexpr bool sameEntry(const TcoefEntry& a, const TcoefEntry& b) {
    return a.last == b.last && a.run == b.run && a.level == b.level && a.len == b.len;
}

// ------------------------------------------------------------ 12-bit TCOEF tables
template <size_t N>
constexpr TcoefDecodeTable buildTcoef(const TcoefCode (&codes)[N]) {
    TcoefEntry full[4096] = {};
    for (const TcoefCode& c : codes) {
        Bits b = parse(c.bits);
        putCode(full, 12, b, TcoefEntry{c.last, c.run, c.level, static_cast<uint8_t>(b.len)});
    }
    putCode(full, 12, parse("0000011"), TcoefEntry{0, 0, kEscapeLevel, 7});
    TcoefDecodeTable t{};
    for (unsigned v = 8; v < 4096; ++v) {
        if (!full[v].len) throw "hole in the table";
        if (v < 128) {
            t.t8[v - 8] = full[v];
        } else if (v < 512) {
            if (!sameEntry(full[v], full[v & ~3u])) throw "code longer than 10 bits";
            t.t128_2[(v - 128) / 4] = full[v];
        } else {
            if (!sameEntry(full[v], full[v & ~31u])) throw "code longer than 7 bits";
            t.t512_5[(v - 512) / 32] = full[v];
        }
    }
    for (unsigned v = 0; v < 8; ++v)
        if (full[v].len) throw "a code in the invalid range";
    return t;
}

constexpr TcoefEncodeTable buildEncode(Rows rows) {
    TcoefEncodeTable t{};
    rows.forEach([&t](const TcoefCode& c) {
        Bits b = parse(c.bits);
        if (c.run > 63 || c.level > kMaxTableLevel) throw "event out of range";
        EncCode& e = t.code[c.last][c.run][c.level];
        if (e.len) throw "duplicate event";
        e = EncCode{static_cast<uint16_t>(b.value), static_cast<uint8_t>(b.len)};
        if (c.level > t.maxLevel[c.last][c.run]) t.maxLevel[c.last][c.run] = c.level;
        if (c.run + 1 > t.maxRunPlus1[c.last][c.level]) t.maxRunPlus1[c.last][c.level] = static_cast<uint8_t>(c.run + 1);
    });
    return t;
}

// ------------------------------------------------------------ reversible tables
constexpr RvlcTable buildRvlc(Rows rows, bool backward) {
    RvlcTable t{};
    unsigned subKey[kRvlcSubTables] = {};
    int subs = 0;
    auto fill = [](TcoefEntry& slot, TcoefEntry e) {
        if (slot.len || slot.level == kSubTableLevel) throw "overlapping codes";
        slot = e;
    };
    auto add = [&](Bits b, TcoefEntry e) {
        if (b.len <= 8) {
            for (unsigned v = 0; v < (1u << (8 - b.len)); ++v)
                fill(t.first[backward ? (v << b.len | b.value) : (b.value << (8 - b.len) | v)], e);
            return;
        }
        int rest = b.len - 8;
        if (rest > 7) throw "code longer than 15 bits";
        unsigned key = backward ? (b.value & 0xFF) : (b.value >> rest);
        unsigned tail = backward ? (b.value >> 8) : (b.value & ((1u << rest) - 1));
        int s = 0;
        while (s < subs && subKey[s] != key) ++s;
        if (s == subs) {
            if (subs == kRvlcSubTables) throw "too many sub-tables";
            if (t.first[key].len) throw "overlapping codes";
            subKey[subs++] = key;
            t.first[key] = TcoefEntry{0, static_cast<uint8_t>(s), kSubTableLevel, 0};
        }
        for (unsigned v = 0; v < (1u << (7 - rest)); ++v)
            fill(t.sub[s][backward ? (v << rest | tail) : (tail << (7 - rest) | v)], e);
    };
    rows.forEach([&add](const TcoefCode& c) {
        Bits b = parse(c.bits);
        add(b, TcoefEntry{c.last, c.run, c.level, static_cast<uint8_t>(b.len)});
    });
    add(parse("0000"), TcoefEntry{0, 0, kEscapeLevel, 4});
    return t;
}

// ------------------------------------------------------------ fast path
// Every row whose code and sign bit fit in kFastBits bits, both signs.
struct Fast {
    FastTable e;
};

// A backward table (reversible codes read from a block's end) is indexed by
// the kFastBits bits before the cursor as a number: the sign bit lowest, the
// code above it, the bits of earlier codes above that; its escape entries
// take the sign bit after the code too.
constexpr Fast buildFast(Rows rows, const char* escape, bool h261 = false, bool backward = false) {
    Fast f{};
    auto put = [&f, backward](Bits b, FastCode c) {
        for (unsigned v = 0; v < (1u << (kFastBits - b.len)); ++v) {
            FastCode& slot = f.e[backward ? (v << b.len | b.value) : (b.value << (kFastBits - b.len) | v)];
            if (slot.len || slot.step) throw "overlapping codes";
            slot = c;
        }
    };
    rows.forEach([&put](const TcoefCode& c) {
        Bits b = parse(c.bits);
        if (b.len + 1 > kFastBits) return;
        for (unsigned sign = 0; sign < 2; ++sign)
            put(Bits{b.value << 1 | sign, b.len + 1},
                FastCode{static_cast<uint8_t>(b.len + 1), static_cast<uint8_t>(c.run + 1 + (c.last ? kLastStep : 0)), 0,
                         static_cast<int8_t>(sign ? -c.level : c.level)});
    });
    if (h261) put(parse("10"), FastCode{2, kLastStep, 0, 0});  // end of block
    if (escape) {
        Bits b = parse(escape);
        if (backward)
            for (unsigned sign = 0; sign < 2; ++sign) put(Bits{b.value << 1 | sign, b.len + 1}, FastCode{0, kEscapeStep, 0, 0});
        else
            put(b, FastCode{0, kEscapeStep, 0, 0});
    }
    return f;
}

// ------------------------------------------------------------ H.261
struct H261Tables {
    H261Entry t0[27], t1[32], t2[240];
};

constexpr H261Tables buildH261() {
    H261Entry full[1 << 14] = {};
    for (const TcoefCode& c : kTableH261) {
        Bits b = parse(c.bits);
        putCode(full, 14, b, H261Entry{static_cast<uint8_t>(c.run + 1), c.level, static_cast<uint8_t>(b.len + 1)});
    }
    putCode(full, 14, parse("10"), H261Entry{kH261EobRunInc, 0, 2});
    auto same = [](const H261Entry& a, const H261Entry& b) {
        return a.runInc == b.runInc && a.level == b.level && a.len == b.len;
    };
    H261Tables t{};
    for (unsigned b = 0x20; b < (1u << 14); ++b) {
        bool escape = (b >> 8) == 1;  // 000001
        if (!full[b].len && !escape) throw "hole in the table";
        if (b >= 0xA00) {
            if (!same(full[b], full[b & ~511u])) throw "code longer than 5 bits";
            t.t0[b / 512 - 5] = full[b];
        } else if (b >= 0x200) {
            if (!same(full[b], full[b & ~63u])) throw "code longer than 8 bits";
            t.t1[b / 64 - 8] = full[b];
        } else {
            if (!same(full[b], full[b & ~1u])) throw "code longer than 13 bits";
            t.t2[b / 2 - 16] = full[b];
        }
    }
    return t;
}

constexpr H261Tables kH261 = buildH261();

constexpr EncCode dcCode(const char* s) {
    Bits b = parse(s);
    return EncCode{static_cast<uint16_t>(b.value), static_cast<uint8_t>(b.len)};
}

}  // namespace

constexpr TcoefDecodeTable kB16 = buildTcoef(kTableB16);
constexpr TcoefDecodeTable kB17 = buildTcoef(kTableB17);
constexpr TcoefDecodeTable kI2 = buildTcoef(kTableI2);
const TcoefDecodeTable tableB16 = kB16;
const TcoefDecodeTable tableB17 = kB17;
const TcoefDecodeTable tableI2 = kI2;

constexpr TcoefEncodeTable kEncB16 = buildEncode(kTableB16);
constexpr TcoefEncodeTable kEncB17 = buildEncode(kTableB17);
const TcoefEncodeTable encB16 = kEncB16;
const TcoefEncodeTable encB17 = kEncB17;
constexpr TcoefEncodeTable kEncI2 = buildEncode(kTableI2);
constexpr TcoefEncodeTable kEncB23Intra = buildEncode(Rows(kTableB23Intra, kTableB23Last));
constexpr TcoefEncodeTable kEncB23Inter = buildEncode(Rows(kTableB23Inter, kTableB23Last));
const TcoefEncodeTable encI2 = kEncI2;
const TcoefEncodeTable encB23Intra = kEncB23Intra;
const TcoefEncodeTable encB23Inter = kEncB23Inter;

constexpr RvlcTable kForwIntra = buildRvlc(Rows(kTableB23Intra, kTableB23Last), false);
constexpr RvlcTable kForwInter = buildRvlc(Rows(kTableB23Inter, kTableB23Last), false);
constexpr RvlcTable kBackIntra = buildRvlc(Rows(kTableB23Intra, kTableB23Last), true);
constexpr RvlcTable kBackInter = buildRvlc(Rows(kTableB23Inter, kTableB23Last), true);
const RvlcTable tableB23_Forw_Intra = kForwIntra;
const RvlcTable tableB23_Forw_Inter = kForwInter;
const RvlcTable tableB23_Back_Intra = kBackIntra;
const RvlcTable tableB23_Back_Inter = kBackInter;

constexpr Fast kFastB16 = buildFast(kTableB16, "0000011"), kFastB17 = buildFast(kTableB17, "0000011");
constexpr Fast kFastI2 = buildFast(kTableI2, "0000011");
constexpr Fast kFastB23Intra = buildFast(Rows(kTableB23Intra, kTableB23Last), "0000");
constexpr Fast kFastB23Inter = buildFast(Rows(kTableB23Inter, kTableB23Last), "0000");
constexpr Fast kFastH261 = buildFast(kTableH261, "000001", true);
const FastTable& fastB16 = kFastB16.e;
const FastTable& fastB17 = kFastB17.e;
const FastTable& fastI2 = kFastI2.e;
const FastTable& fastB23Intra = kFastB23Intra.e;
const FastTable& fastB23Inter = kFastB23Inter.e;
constexpr Fast kFastB23BackIntra = buildFast(Rows(kTableB23Intra, kTableB23Last), "0000", false, true);
constexpr Fast kFastB23BackInter = buildFast(Rows(kTableB23Inter, kTableB23Last), "0000", false, true);
const FastTable& fastB23BackIntra = kFastB23BackIntra.e;
const FastTable& fastB23BackInter = kFastB23BackInter.e;
// Read backward, "1011 0" (1 0 +1) is 10110 before the cursor, "110 1" (0 0 -1) 1101.
static_assert(kFastB23BackInter.e[0x016].step == kLastStep + 1 && kFastB23BackInter.e[0x016].len == 5 &&
              kFastB23BackInter.e[0x3F6].level == 1 && kFastB23BackIntra.e[0x00D].level == -1 &&
              kFastB23BackIntra.e[0x00D].len == 4 && kFastB23BackIntra.e[0x201].step == kEscapeStep);
const FastTable& fastH261 = kFastH261.e;
// B-17: "10s" is 0 0 +-1, "0111s" 1 0 1; "0000 0000 11" is no code that fits.
static_assert(kFastB17.e[0x200].level == 1 && kFastB17.e[0x200].len == 3 && kFastB17.e[0x280].level == -1 &&
              kFastB17.e[0x1C0].step == kLastStep + 1 && kFastB17.e[0x200].step == 1 && kFastB17.e[0x003].len == 0 &&
              kFastB17.e[0x018].step == kEscapeStep && kFastB17.e[0x003].step == 0);
// H.261: "10" ends the block, "11s" is 0 0 +-1 after the first code.
static_assert(kFastH261.e[0x200].step == kLastStep && kFastH261.e[0x200].len == 2 && kFastH261.e[0x3FF].level == -1 &&
              kFastH261.e[0x3FF].len == 3 && kFastH261.e[0x3FF].step == 1);

// Tables B-17 and B-16 as the standard prints them (LMAX, RMAX: B-19..B-22).
static_assert(kB17.t512_5[0].last == 1 && kB17.t512_5[0].run == 8 && kB17.t512_5[0].level == 1 &&
              kB17.t512_5[0].len == 7 && kB17.t512_5[1].run == 7);
static_assert(kEncB17.maxLevel[0][0] == 12 && kEncB17.maxLevel[0][1] == 6 && kEncB17.maxLevel[0][2] == 4 &&
              kEncB17.maxLevel[0][6] == 3 && kEncB17.maxLevel[0][7] == 2 && kEncB17.maxLevel[0][26] == 1 &&
              kEncB17.maxLevel[1][0] == 3 && kEncB17.maxLevel[1][1] == 2 && kEncB17.maxLevel[1][40] == 1);
static_assert(kEncB17.maxRunPlus1[0][1] == 27 && kEncB17.maxRunPlus1[0][2] == 11 &&
              kEncB17.maxRunPlus1[0][12] == 1 && kEncB17.maxRunPlus1[1][1] == 41 && kEncB17.maxRunPlus1[1][3] == 1);
static_assert(kEncB16.maxLevel[0][0] == 27 && kEncB16.maxLevel[0][1] == 10 && kEncB16.maxLevel[1][0] == 8 &&
              kEncB16.maxRunPlus1[0][1] == 15 && kEncB16.maxRunPlus1[1][1] == 21 && kEncB16.maxRunPlus1[0][27] == 1);

const H261Entry (&h261_coefTab1)[32] = kH261.t1;
const H261Entry (&h261_coefTab2)[240] = kH261.t2;
// H.261 Table 5 as laid out: end of block, 11s and 00101s.
static_assert(kH261.t0[11].level == 0 && kH261.t0[11].runInc == kH261EobRunInc && kH261.t0[11].len == 2 &&
              kH261.t0[18].runInc == kH261EobRunInc && kH261.t0[19].level == 1 && kH261.t0[19].runInc == 1 &&
              kH261.t0[19].len == 3 && kH261.t0[0].level == 3 && kH261.t0[0].runInc == 1 && kH261.t0[0].len == 6);

const EncCode encDcSize[2][13] = {
    {dcCode(kDcSizeLuma[0]), dcCode(kDcSizeLuma[1]), dcCode(kDcSizeLuma[2]), dcCode(kDcSizeLuma[3]),
     dcCode(kDcSizeLuma[4]), dcCode(kDcSizeLuma[5]), dcCode(kDcSizeLuma[6]), dcCode(kDcSizeLuma[7]),
     dcCode(kDcSizeLuma[8]), dcCode(kDcSizeLuma[9]), dcCode(kDcSizeLuma[10]), dcCode(kDcSizeLuma[11]),
     dcCode(kDcSizeLuma[12])},
    {dcCode(kDcSizeChroma[0]), dcCode(kDcSizeChroma[1]), dcCode(kDcSizeChroma[2]), dcCode(kDcSizeChroma[3]),
     dcCode(kDcSizeChroma[4]), dcCode(kDcSizeChroma[5]), dcCode(kDcSizeChroma[6]), dcCode(kDcSizeChroma[7]),
     dcCode(kDcSizeChroma[8]), dcCode(kDcSizeChroma[9]), dcCode(kDcSizeChroma[10]), dcCode(kDcSizeChroma[11]),
     dcCode(kDcSizeChroma[12])},
};

// ISO/IEC 14496-2 7.4.4.1 (zigzag, Figure 7-2; alternate scans, Figure 7-3).
const uint8_t ownvc_Zigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                  12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                  35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                  58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
const uint8_t ownvc_AltScanH[64] = {0,  1,  2,  3,  8,  9,  16, 17, 10, 11, 4,  5,  6,  7,  15, 14,
                                    13, 12, 19, 18, 24, 25, 32, 33, 26, 27, 20, 21, 22, 23, 28, 29,
                                    30, 31, 34, 35, 40, 41, 48, 49, 42, 43, 36, 37, 38, 39, 44, 45,
                                    46, 47, 50, 51, 56, 57, 58, 59, 52, 53, 54, 55, 60, 61, 62, 63};
const uint8_t ownvc_AltScanV[64] = {0,  8,  16, 24, 1,  9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49,
                                    41, 33, 26, 18, 3,  11, 4,  12, 19, 27, 34, 42, 50, 58, 35, 43,
                                    51, 59, 20, 28, 5,  13, 6,  14, 21, 29, 36, 44, 52, 60, 37, 45,
                                    53, 61, 22, 30, 7,  15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63};

}  // namespace mox::mpeg4
