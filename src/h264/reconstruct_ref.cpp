#include "h264/reconstruct_ref.h"

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "core/pixel.h"
#include "h264/intra_pred_ref.h"
#include "h264/transform_ref.h"

namespace mox::ref {
namespace {

// Luma 4x4 block index of the block that holds sample (x, y) of the macroblock.
int blockIndex4x4(int x, int y) {
    return (y / 8) * 8 + (x / 8) * 4 + ((y / 4) % 2) * 2 + (x / 4) % 2;
}

// Whether sample (x, y), relative to the macroblock, may be used for
// prediction: outside the macroblock by the edge word, inside it when
// `decoded` says its block comes earlier in decoding order.
template <class D>
bool usable(int x, int y, int edge, bool halves, D decoded) {
    if (y < 0) return !(edge & (x < 0 ? 0x10 : x < 16 ? 0x04 : 0x20));
    if (x < 0) return !(edge & (halves && y >= 8 ? 0x02 : 0x01));
    if (x >= 16) return false;  // the macroblock to the right is not decoded yet
    return decoded(x, y);
}

// Availability of the n x n block at (x0, y0) whose predecessors `decoded` says.
template <class D>
int blockAvailability(int x0, int y0, int n, int edge, bool halves, D decoded) {
    int a = 0;
    if (usable(x0, y0 - 1, edge, halves, decoded)) a |= kAvailUp;
    if (usable(x0 - 1, y0, edge, halves, decoded)) a |= kAvailLeft;
    if (usable(x0 - 1, y0 - 1, edge, halves, decoded)) a |= kAvailUpLeft;
    if (usable(x0 + n, y0 - 1, edge, halves, decoded)) a |= kAvailUpRight;
    return a;
}

template <class C>
C wrapC(int64_t v) {
    return static_cast<C>(static_cast<std::make_unsigned_t<C>>(static_cast<uint64_t>(v)));
}

// Residual r (w x h, raster) added untransformed (clause 8.5.15): accumulated
// down the columns (dpcm 1) or along the rows (dpcm 2) in the coefficient
// type, then added with clamping (the sum wrapping at 32 bits).
template <class C, class P>
void addUntransformed(P* p, int step, const C* r, int w, int h, int dpcm, int bitDepth) {
    std::vector<C> acc(r, r + w * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (dpcm == 1 && y > 0) acc[y * w + x] = wrapC<C>(int64_t{acc[(y - 1) * w + x]} + r[y * w + x]);
            if (dpcm == 2 && x > 0) acc[y * w + x] = wrapC<C>(int64_t{acc[y * w + x - 1]} + r[y * w + x]);
        }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            P& s = row(p, step, y)[x];
            int64_t v = static_cast<int32_t>(static_cast<uint32_t>(int64_t{s} + acc[y * w + x]));
            s = static_cast<P>(clamp<int64_t>(v, 0, (int64_t{1} << bitDepth) - 1));
        }
}

// One 4x4 block dequantised, transformed and added; dc (may be null) replaces
// the scaled DC, ac false means the block is its DC alone.
template <class C, class P>
void add4x4(P* blk, int step, const C* c, const C* dc, bool ac, int qp, const Mox16s* table, int bitDepth) {
    C tmp[16] = {};
    if (c) std::memcpy(tmp, c, sizeof(tmp));  // the reference transforms work in place
    if (table) {
        transformQuantInvAddPred4x4<C, P>(blk, step, tmp, dc, blk, step, qp, ac, table, bitDepth);
    } else if constexpr (std::is_same_v<C, Mox16s> && std::is_same_v<P, Mox8u>) {
        dequantTransformResidualAndAdd(blk, tmp, dc, blk, step, step, qp, ac);
    }
}

template <class C, class P>
void add8x8(P* blk, int step, const C* c, int qp, const Mox16s* table, int bitDepth) {
    C tmp[64];
    std::memcpy(tmp, c, sizeof(tmp));
    quantInvLuma8x8<C>(tmp, qp, table);
    transformInvAddPred8x8<C, P>(blk, step, tmp, blk, step, bitDepth);
}

// Accumulation direction of a lossless intra residual: vertical prediction
// accumulates down the columns, horizontal along the rows.
int dpcmOf(int verticalMode, int horizontalMode, int mode) {
    return mode == verticalMode ? 1 : mode == horizontalMode ? 2 : 0;
}

constexpr int kX4[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
constexpr int kY4[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};

}  // namespace

int chromaAvailability(int edge, bool halves) {
    int a = 0;
    if (!(edge & 0x04)) a |= kAvailUp;
    if (!(edge & 0x01)) a |= kAvailLeft;
    if (!(edge & (halves ? 0x02 : 0x01))) a |= kAvailLeftLower;
    if (!(edge & 0x10)) a |= kAvailUpLeft;
    return a;
}

int luma16x16Availability(int edge) {
    return (edge & 0x04 ? 0 : kAvailUp) | (edge & 0x01 ? 0 : kAvailLeft) | (edge & 0x10 ? 0 : kAvailUpLeft);
}

template <class C, class P>
MoxStatus lumaIntra4x4(const LumaMB<C, P>& mb, const C*& coeffs) {
    bool warn = false, lossless = mb.bypass && mb.qp == 0;
    for (int k = 0; k < 16; ++k) {
        int x0 = kX4[k], y0 = kY4[k];
        auto decoded = [k](int x, int y) { return blockIndex4x4(x, y) < k; };
        int avail = blockAvailability(x0, y0, 4, mb.edge, mb.halves, decoded);
        // A block on the top row also needs the top macroblock for its upper-right samples.
        if (y0 == 0 && (mb.edge & 0x04)) avail &= ~kAvailUpRight;
        P* blk = row(mb.p, mb.step, y0) + x0;
        int mode = static_cast<int>(mb.modes[k]);
        warn |= predict4x4(blk, mb.step, mode, avail, mb.bitDepth);
        if (mb.cbp >> (1 + k) & 1) {
            if (lossless)
                addUntransformed(blk, mb.step, coeffs, 4, 4, dpcmOf(0, 1, mode), mb.bitDepth);
            else
                add4x4<C, P>(blk, mb.step, coeffs, nullptr, true, mb.qp, mb.table, mb.bitDepth);
            coeffs += 16;
        }
    }
    return warn ? moxStsIntraNeighbourWrn : moxStsNoErr;
}

template <class C, class P>
MoxStatus lumaIntra8x8(const LumaMB<C, P>& mb, const C*& coeffs) {
    const C* c = coeffs;
    bool lossless = mb.bypass && mb.qp == 0;
    for (int b = 0; b < 4; ++b) {
        int mode = static_cast<int>(mb.modes[b]);
        if (mb.modes[b] > 8) return moxStsOutOfRangeErr;
        int x0 = 8 * (b % 2), y0 = 8 * (b / 2);
        auto decoded = [b](int x, int y) { return (y / 8) * 2 + x / 8 < b; };
        P* blk = row(mb.p, mb.step, y0) + x0;
        predict8x8(blk, mb.step, mode, blockAvailability(x0, y0, 8, mb.edge, mb.halves, decoded), mb.bitDepth);
        if (mb.cbp >> b & 1) {
            if (lossless)
                addUntransformed(blk, mb.step, c, 8, 8, dpcmOf(0, 1, mode), mb.bitDepth);
            else
                add8x8<C, P>(blk, mb.step, c, mb.qp, mb.table, mb.bitDepth);
            c += 64;
        }
    }
    coeffs = c;
    return moxStsNoErr;
}

template <class C, class P>
void lumaIntra16x16(const LumaMB<C, P>& mb, const C*& coeffs) {
    predict16x16(mb.p, mb.step, mb.mode, luma16x16Availability(mb.edge), mb.bitDepth);
    if (!(mb.cbp & 0x1FFFF)) return;
    bool lossless = mb.bypass && mb.qp == 0;
    C dc[16] = {};
    if (mb.cbp & 1) {
        std::memcpy(dc, coeffs, sizeof(dc));
        coeffs += 16;
        if (!lossless) {
            if (mb.table)
                transformQuantInvLumaDC4x4<C>(dc, mb.qp, mb.table);
            else if constexpr (std::is_same_v<C, Mox16s>)
                transformDequantLumaDC(dc, mb.qp);
        }
    }
    // The DCs are in raster order of the 4x4 blocks.
    C res[256] = {};
    for (int k = 0; k < 16; ++k) {
        int x0 = kX4[k], y0 = kY4[k];
        const C* d = &dc[(y0 / 4) * 4 + x0 / 4];
        bool present = mb.cbp >> (1 + k) & 1;
        P* blk = row(mb.p, mb.step, y0) + x0;
        if (lossless) {
            for (int i = 0; i < 16; ++i) res[(y0 + i / 4) * 16 + x0 + i % 4] = i == 0 ? *d : present ? coeffs[i] : C{0};
        } else {
            add4x4<C, P>(blk, mb.step, present ? coeffs : nullptr, d, present, mb.qp, mb.table, mb.bitDepth);
        }
        if (present) coeffs += 16;
    }
    if (lossless) addUntransformed(mb.p, mb.step, res, 16, 16, dpcmOf(0, 1, mb.mode), mb.bitDepth);
}

template <class C, class P>
void lumaInter4x4(const LumaMB<C, P>& mb, const C*& coeffs) {
    bool lossless = mb.bypass && mb.qp <= 0;
    for (int k = 0; k < 16; ++k) {
        if (!(mb.cbp >> (1 + k) & 1)) continue;
        P* blk = row(mb.p, mb.step, kY4[k]) + kX4[k];
        if (lossless)
            addUntransformed(blk, mb.step, coeffs, 4, 4, 0, mb.bitDepth);
        else
            add4x4<C, P>(blk, mb.step, coeffs, nullptr, true, mb.qp, mb.table, mb.bitDepth);
        coeffs += 16;
    }
}

template <class C, class P>
void lumaInter8x8(const LumaMB<C, P>& mb, const C*& coeffs) {
    bool lossless = mb.bypass && mb.qp <= 0;
    for (int b = 0; b < 4; ++b) {
        if (!(mb.cbp >> b & 1)) continue;
        P* blk = row(mb.p, mb.step, 8 * (b / 2)) + 8 * (b % 2);
        if (lossless)
            addUntransformed(blk, mb.step, coeffs, 8, 8, 0, mb.bitDepth);
        else
            add8x8<C, P>(blk, mb.step, coeffs, mb.qp, mb.table, mb.bitDepth);
        coeffs += 64;
    }
}

namespace {

// The chroma residual of both planes, after the prediction.
template <class C, class P>
void chromaResidual(const ChromaMB<C, P>& mb, const C*& coeffs, int dpcm) {
    const bool is422 = mb.height == 16;
    const int nb = is422 ? 8 : 4;
    auto dcBit = [&](int pl) { return is422 ? pl : 17 + pl; };
    auto acBit = [&](int pl, int b) { return is422 ? 2 + 8 * pl + b : 19 + 4 * pl + b; };
    P* planes[2] = {mb.u, mb.v};
    const int qps[2] = {mb.qpU, mb.qpV};
    const Mox16s* tables[2] = {mb.tableU, mb.tableV};
    const Mox16s* tablesDC[2] = {mb.tableDCU, mb.tableDCV};
    C dc[2][8] = {};
    for (int pl = 0; pl < 2; ++pl) {
        if (!(mb.cbp >> dcBit(pl) & 1)) continue;
        C c[8];
        std::memcpy(c, coeffs, nb * sizeof(C));
        coeffs += nb;
        if (mb.bypass && qps[pl] == 0) {
            // Untransformed DCs: the 4:2:2 ones come in the order of the 2x4 scan.
            static constexpr int kCoded422[8] = {0, 2, 1, 5, 3, 6, 4, 7};
            for (int b = 0; b < nb; ++b) dc[pl][b] = c[is422 ? kCoded422[b] : b];
        } else {
            if (is422)
                transformQuantInvChromaDC2x4<C>(c, qps[pl], tablesDC[pl]);
            else if (tables[pl])
                transformQuantInvChromaDC2x2<C>(c, qps[pl], tables[pl]);
            else if constexpr (std::is_same_v<C, Mox16s>)
                transformDequantChromaDC(c, qps[pl]);
            std::memcpy(dc[pl], c, nb * sizeof(C));
        }
    }
    for (int pl = 0; pl < 2; ++pl) {
        bool lossless = mb.bypass && qps[pl] == 0;
        C res[128] = {};
        for (int b = 0; b < nb; ++b) {
            int x0 = 4 * (b % 2), y0 = 4 * (b / 2);
            bool present = mb.cbp >> acBit(pl, b) & 1;
            if (lossless) {
                for (int i = 0; i < 16; ++i)
                    res[(y0 + i / 4) * 8 + x0 + i % 4] = i == 0 ? dc[pl][b] : present ? coeffs[i] : C{0};
            } else {
                P* blk = row(planes[pl], mb.step, y0) + x0;
                add4x4<C, P>(blk, mb.step, present ? coeffs : nullptr, &dc[pl][b], present, qps[pl], tables[pl],
                             mb.bitDepth);
            }
            if (present) coeffs += 16;
        }
        if (lossless) addUntransformed(planes[pl], mb.step, res, 8, mb.height, dpcm, mb.bitDepth);
    }
}

}  // namespace

template <class C, class P>
void chromaIntra(const ChromaMB<C, P>& mb, const C*& coeffs) {
    int avail = chromaAvailability(mb.edge, mb.halves);
    predictChroma(mb.u, mb.step, mb.mode, avail, mb.height, mb.bitDepth);
    predictChroma(mb.v, mb.step, mb.mode, avail, mb.height, mb.bitDepth);
    chromaResidual(mb, coeffs, dpcmOf(2, 1, mb.mode));
}

template <class C, class P>
void chromaInter(const ChromaMB<C, P>& mb, const C*& coeffs) {
    chromaResidual(mb, coeffs, 0);
}

#define MOX_REF_MB(C, P)                                                   \
    template MoxStatus lumaIntra4x4<C, P>(const LumaMB<C, P>&, const C*&); \
    template MoxStatus lumaIntra8x8<C, P>(const LumaMB<C, P>&, const C*&); \
    template void lumaIntra16x16<C, P>(const LumaMB<C, P>&, const C*&);    \
    template void lumaInter4x4<C, P>(const LumaMB<C, P>&, const C*&);      \
    template void lumaInter8x8<C, P>(const LumaMB<C, P>&, const C*&);      \
    template void chromaIntra<C, P>(const ChromaMB<C, P>&, const C*&);     \
    template void chromaInter<C, P>(const ChromaMB<C, P>&, const C*&);

MOX_REF_MB(Mox16s, Mox8u)
MOX_REF_MB(Mox32s, Mox16u)

}  // namespace mox::ref
