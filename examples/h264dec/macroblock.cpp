// Slice data and macroblock layer (clauses 7.3.4, 7.3.5), CAVLC residual
// parsing, intra mode and motion vector prediction (clauses 8.3.1.1 and
// 8.4.1), and the reconstruction calls into the library.
#include <algorithm>
#include <cstring>

#include "internal.h"

namespace h264dec {

namespace {

// Position of each coefficient of the 4x4 zig-zag scan in the raster block.
const Mox32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

// coded_block_pattern from its me(v) code number, Table 9-4.
const uint8_t kCbpIntra[48] = {47, 31, 15, 0,  23, 27, 29, 30, 7,  11, 13, 14, 39, 43, 45, 46,
                               16, 3,  5,  10, 12, 19, 21, 26, 28, 35, 37, 42, 44, 1,  2,  4,
                               8,  17, 18, 20, 24, 6,  9,  22, 25, 32, 33, 34, 36, 40, 38, 41};
const uint8_t kCbpInter[48] = {0,  16, 1,  2,  4,  8,  32, 3,  5,  10, 12, 15, 47, 7,  11, 13,
                               14, 6,  9,  31, 35, 37, 42, 44, 33, 34, 36, 40, 39, 43, 45, 46,
                               17, 18, 20, 24, 19, 21, 26, 28, 23, 27, 29, 30, 22, 25, 38, 41};

// Luma 4x4 block index -> column and row (in 4x4 blocks) inside the macroblock.
const uint8_t kBlkX[16] = {0, 1, 0, 1, 2, 3, 2, 3, 0, 1, 0, 1, 2, 3, 2, 3};
const uint8_t kBlkY[16] = {0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3};

// Macroblock edge bits of the reconstruction functions: set = do not use.
constexpr Mox8u kEdgeLeft = 0x01, kEdgeTop = 0x04, kEdgeTopLeft = 0x10, kEdgeTopRight = 0x20;

enum class MbKind { Intra4x4, Intra16x16, Pcm, Inter };

int median(int a, int b, int c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// Neighbouring motion of a partition (clause 8.4.1.3.2).
struct Neighbour {
    bool available = false;
    int ref = -1;
    Mv mv;
};

// Everything about the macroblock being decoded.
struct Mb {
    int addr = 0, x = 0, y = 0;  // address, column, row
    int gx = 0, gy = 0;          // top-left luma 4x4 block in the picture grids
    MbKind kind = MbKind::Inter;
    bool done[16] = {};          // luma 4x4 blocks whose motion is known (raster order)
    Mox32u cbp4x4 = 0;
    Mox16s coeffs[16 + 16 * 16 + 2 * 4 + 8 * 16];
    Mox16s* end = nullptr;
};

const MoxCAVLCTables_H264& tables() {
    static const MoxCAVLCTables_H264* t = moxiGetCAVLCTables_H264();
    return *t;
}

}  // namespace

// ------------------------------------------------------------------ helpers of the impl

namespace {

struct Ctx {
    Decoder::Impl& d;
    Mb& mb;
    int w4;  // luma 4x4 blocks per picture row

    bool sameSlice(int mbX, int mbY) const {
        if (mbX < 0 || mbY < 0 || mbX >= d.mbW || mbY >= d.mbH) return false;
        return d.mbs[size_t(mbY * d.mbW + mbX)].slice == d.sliceNum;
    }
    // Usable for intra prediction: same slice, and intra when constrained.
    bool intraUsable(int mbX, int mbY) const {
        if (!sameSlice(mbX, mbY)) return false;
        return !d.pps.constrainedIntraPred || d.mbs[size_t(mbY * d.mbW + mbX)].intra;
    }
    Mox8u edgeType() const {
        Mox8u e = 0;
        if (!intraUsable(mb.x - 1, mb.y)) e |= kEdgeLeft;
        if (!intraUsable(mb.x, mb.y - 1)) e |= kEdgeTop;
        if (!intraUsable(mb.x - 1, mb.y - 1)) e |= kEdgeTopLeft;
        if (!intraUsable(mb.x + 1, mb.y - 1)) e |= kEdgeTopRight;
        return e;
    }

    // nC of a luma block at grid position (gx, gy), clause 9.2.1.
    int lumaNc(int gx, int gy) const {
        bool a = gx > 0 && sameSlice((gx - 1) >> 2, gy >> 2);
        bool b = gy > 0 && sameSlice(gx >> 2, (gy - 1) >> 2);
        int nA = a ? d.nzY[size_t(gy * w4 + gx - 1)] : 0;
        int nB = b ? d.nzY[size_t((gy - 1) * w4 + gx)] : 0;
        if (a && b) return (nA + nB + 1) >> 1;
        return nA + nB;
    }
    int chromaNc(int c, int cx, int cy) const {
        const int w2 = d.mbW * 2;
        bool a = cx > 0 && sameSlice((cx - 1) >> 1, cy >> 1);
        bool b = cy > 0 && sameSlice(cx >> 1, (cy - 1) >> 1);
        int nA = a ? d.nzC[c][size_t(cy * w2 + cx - 1)] : 0;
        int nB = b ? d.nzC[c][size_t((cy - 1) * w2 + cx)] : 0;
        if (a && b) return (nA + nB + 1) >> 1;
        return nA + nB;
    }

    // One 4x4 block of up to maxCoeff coefficients appended to the
    // macroblock's coefficient stream; returns TotalCoeff.
    int residualBlock(int nC, int maxCoeff) {
        Mox16s n = 0;
        const MoxCAVLCTables_H264& t = tables();
        if (moxiDecodeCAVLCCoeffs_H264_1u16s(d.br.wordPtr(), d.br.bitOffset(), &n, &mb.end, nC, Mox16s(maxCoeff),
                                             t.coeffToken, t.totalZeros, t.runBefore, kZigzag) != moxStsNoErr)
            throw DecodeError("bad CAVLC residual block");
        d.br.check();
        return n;
    }
    int chromaDcBlock() {
        Mox16s n = 0;
        const MoxCAVLCTables_H264& t = tables();
        if (moxiDecodeCAVLCChromaDcCoeffs_H264_1u16s(d.br.wordPtr(), d.br.bitOffset(), &n, &mb.end,
                                                     t.coeffTokenChromaDc, t.totalZerosChromaDc,
                                                     t.runBefore) != moxStsNoErr)
            throw DecodeError("bad CAVLC chroma DC block");
        d.br.check();
        return n;
    }

    // residual() of clause 7.3.5.3 for CAVLC: fills the coefficient stream
    // in the order the reconstruction functions consume it.
    void residual(int cbpLuma, int cbpChroma) {
        if (mb.kind == MbKind::Intra16x16) {
            if (residualBlock(lumaNc(mb.gx, mb.gy), 16)) mb.cbp4x4 |= 1;
        }
        for (int k = 0; k < 16; ++k) {
            const int gx = mb.gx + kBlkX[k], gy = mb.gy + kBlkY[k];
            int n = 0;
            if (cbpLuma & (1 << (k >> 2))) {
                n = residualBlock(lumaNc(gx, gy), mb.kind == MbKind::Intra16x16 ? 15 : 16);
                if (n) {
                    mb.cbp4x4 |= 1u << (1 + k);
                    d.mbs[size_t(mb.addr)].nzMask |= uint16_t(1u << (kBlkY[k] * 4 + kBlkX[k]));
                }
            }
            d.nzY[size_t(gy * w4 + gx)] = uint8_t(n);
        }
        const int w2 = d.mbW * 2;
        if (cbpChroma) {
            for (int c = 0; c < 2; ++c)
                if (chromaDcBlock()) mb.cbp4x4 |= 1u << (17 + c);
        }
        for (int c = 0; c < 2; ++c) {
            for (int b = 0; b < 4; ++b) {
                const int cx = mb.x * 2 + (b & 1), cy = mb.y * 2 + (b >> 1);
                int n = 0;
                if (cbpChroma == 2) {
                    n = residualBlock(chromaNc(c, cx, cy), 15);
                    if (n) mb.cbp4x4 |= 1u << (19 + 4 * c + b);
                }
                d.nzC[c][size_t(cy * w2 + cx)] = uint8_t(n);
            }
        }
    }

    // ---------------------------------------------------------------- motion
    // Motion of the luma 4x4 block at (bx, by) relative to the macroblock
    // (-1..4); blocks of the current macroblock count only once known.
    Neighbour neighbour(int bx, int by) const {
        Neighbour n;
        if (bx >= 0 && bx < 4 && by >= 0 && by < 4) {
            if (!mb.done[by * 4 + bx]) return n;
        } else if (bx >= 4 && by >= 0) {
            return n;  // right of the macroblock: not decoded yet
        } else {
            int mx = mb.x + (bx < 0 ? -1 : bx >= 4 ? 1 : 0);
            int my = mb.y + (by < 0 ? -1 : 0);
            if (!sameSlice(mx, my)) return n;
        }
        const size_t i = size_t((mb.gy + by) * w4 + mb.gx + bx);
        n.available = true;
        n.ref = d.refIdx[i];
        if (n.ref >= 0) n.mv = d.mvs[i];
        return n;
    }

    // Motion vector predictor of a partition at (bx, by), bw x bh 4x4 blocks
    // (clause 8.4.1.3).
    Mv predictMv(int bx, int by, int bw, int bh, int ref) const {
        Neighbour a = neighbour(bx - 1, by);
        Neighbour b = neighbour(bx, by - 1);
        Neighbour c = neighbour(bx + bw, by - 1);
        if (!c.available) c = neighbour(bx - 1, by - 1);
        if (bw == 4 && bh == 2) {  // 16x8
            if (by == 0 && b.ref == ref) return b.mv;
            if (by == 2 && a.ref == ref) return a.mv;
        } else if (bw == 2 && bh == 4) {  // 8x16
            if (bx == 0 && a.ref == ref) return a.mv;
            if (bx == 2 && c.ref == ref) return c.mv;
        }
        if (!b.available && !c.available && a.available) return a.mv;
        int matches = (a.ref == ref) + (b.ref == ref) + (c.ref == ref);
        if (matches == 1) return a.ref == ref ? a.mv : b.ref == ref ? b.mv : c.mv;
        Mv m;
        m.x = int16_t(median(a.mv.x, b.mv.x, c.mv.x));
        m.y = int16_t(median(a.mv.y, b.mv.y, c.mv.y));
        return m;
    }

    // Records a partition's motion and forms its prediction in the picture.
    void setMotion(int bx, int by, int bw, int bh, int ref, Mv mv) {
        Picture* refPicture = ref < int(d.refList.size()) ? d.refList[size_t(ref)] : nullptr;
        if (!refPicture) throw DecodeError("reference to a missing picture");
        const int32_t id = refPicture->id;
        const size_t first = size_t((mb.gy + by) * w4 + mb.gx + bx);
        int8_t* refRow = d.refIdx.data() + first;
        int32_t* picRow = d.refPic.data() + first;
        Mv* mvRow = d.mvs.data() + first;
        for (int y = 0; y < bh; ++y, refRow += w4, picRow += w4, mvRow += w4) {
            for (int x = 0; x < bw; ++x) {
                refRow[x] = int8_t(ref);
                picRow[x] = id;
                mvRow[x] = mv;
                mb.done[(by + y) * 4 + bx + x] = true;
            }
        }
        predictInter(*refPicture, mb.x * 16 + bx * 4, mb.y * 16 + by * 4, bw * 4, bh * 4, mv);
    }

    // Luma and chroma prediction of one partition (clause 8.4.2.2).
    void predictInter(const Picture& ref, int px, int py, int w, int h, Mv mv) {
        Picture& cur = *d.cur;
        MoxVCInterpolateBlock_8u p;
        p.pSrc[0] = ref.y;
        p.pSrc[1] = nullptr;
        p.srcStep = ref.strideY;
        p.pDst[0] = cur.y + py * cur.strideY + px;
        p.pDst[1] = nullptr;
        p.dstStep = cur.strideY;
        p.sizeFrame = {d.mbW * 16, d.mbH * 16};
        p.sizeBlock = {w, h};
        p.pointBlockPos.x = px;
        p.pointBlockPos.y = py;
        p.pointVector.x = mv.x;
        p.pointVector.y = mv.y;
        if (moxiInterpolateLumaBlock_H264_8u_P1R(&p) != moxStsNoErr) throw DecodeError("luma interpolation failed");
        // 4:2:0 chroma: half the size and position; the same vector counts eighth samples.
        p.pSrc[0] = ref.u;
        p.pSrc[1] = ref.v;
        p.srcStep = ref.strideC;
        p.pDst[0] = cur.u + (py / 2) * cur.strideC + px / 2;
        p.pDst[1] = cur.v + (py / 2) * cur.strideC + px / 2;
        p.dstStep = cur.strideC;
        p.sizeFrame = {d.mbW * 8, d.mbH * 8};
        p.sizeBlock = {w / 2, h / 2};
        p.pointBlockPos.x = px / 2;
        p.pointBlockPos.y = py / 2;
        if (moxiInterpolateChromaBlock_H264_8u_P2R(&p) != moxStsNoErr)
            throw DecodeError("chroma interpolation failed");
    }

    // ref_idx_l0, te(v).
    int readRefIdx() {
        const int n = d.sh.numRefIdxActive;
        if (n <= 1) return 0;
        if (n == 2) return 1 - int(d.br.u(1));
        return int(d.br.ue(uint32_t(n - 1), "ref_idx_l0 out of range"));
    }
    Mv readMvd(Mv pred) {
        // Vectors are kept in 16 bits, as the level limits allow.
        int32_t dx = d.br.se(-32768, 32767, "mvd out of range");
        int32_t dy = d.br.se(-32768, 32767, "mvd out of range");
        Mv m;
        m.x = int16_t(pred.x + dx);
        m.y = int16_t(pred.y + dy);
        return m;
    }

    // mb_pred() and sub_mb_pred() of the P macroblock types 0..4.
    void interPrediction(int mbType) {
        if (mbType <= 2) {
            // 16x16, 16x8, 8x16
            const int parts = mbType == 0 ? 1 : 2;
            const int bw = mbType == 2 ? 2 : 4, bh = mbType == 1 ? 2 : 4;
            int ref[2] = {0, 0};
            for (int i = 0; i < parts; ++i) ref[i] = readRefIdx();
            for (int i = 0; i < parts; ++i) {
                const int bx = mbType == 2 ? 2 * i : 0, by = mbType == 1 ? 2 * i : 0;
                Mv mv = readMvd(predictMv(bx, by, bw, bh, ref[i]));
                setMotion(bx, by, bw, bh, ref[i], mv);
            }
            return;
        }
        // P_8x8 and P_8x8ref0: four sub-macroblocks.
        int subType[4], ref[4] = {0, 0, 0, 0};
        for (int i = 0; i < 4; ++i) subType[i] = int(d.br.ue(3, "bad sub_mb_type"));
        if (mbType == 3)
            for (int i = 0; i < 4; ++i) ref[i] = readRefIdx();
        for (int i = 0; i < 4; ++i) {
            const int x0 = (i & 1) * 2, y0 = (i >> 1) * 2;
            const int bw = subType[i] == 0 || subType[i] == 1 ? 2 : 1;
            const int bh = subType[i] == 0 || subType[i] == 2 ? 2 : 1;
            for (int y = y0; y < y0 + 2; y += bh) {
                for (int x = x0; x < x0 + 2; x += bw) {
                    Mv mv = readMvd(predictMv(x, y, bw, bh, ref[i]));
                    setMotion(x, y, bw, bh, ref[i], mv);
                }
            }
        }
    }

    // P_Skip: 16x16 from reference 0 with the predicted or a zero vector (clause 8.4.1.1).
    void skipMotion() {
        Neighbour a = neighbour(-1, 0), b = neighbour(0, -1);
        Mv mv;
        bool zero = !a.available || !b.available || (a.ref == 0 && a.mv.x == 0 && a.mv.y == 0) ||
                    (b.ref == 0 && b.mv.x == 0 && b.mv.y == 0);
        if (!zero) mv = predictMv(0, 0, 4, 4, 0);
        setMotion(0, 0, 4, 4, 0, mv);
    }

    // ---------------------------------------------------------------- intra
    // prev_intra4x4_pred_mode_flag / rem_intra4x4_pred_mode of the 16 blocks
    // with the prediction of clause 8.3.1.1.
    void intra4x4Modes(Mox32u* modes) {
        const bool leftOk = intraUsable(mb.x - 1, mb.y), topOk = intraUsable(mb.x, mb.y - 1);
        for (int k = 0; k < 16; ++k) {
            const int bx = kBlkX[k], by = kBlkY[k];
            const int gx = mb.gx + bx, gy = mb.gy + by;
            const bool a = bx > 0 || leftOk, b = by > 0 || topOk;
            int pred = 2;
            if (a && b)
                pred = std::min(d.intraMode[size_t(gy * w4 + gx - 1)], d.intraMode[size_t((gy - 1) * w4 + gx)]);
            int mode = pred;
            if (!d.br.flag()) {
                int rem = int(d.br.u(3));
                mode = rem < pred ? rem : rem + 1;
            }
            d.intraMode[size_t(gy * w4 + gx)] = int8_t(mode);
            modes[k] = Mox32u(mode);
        }
    }

    // Fills the macroblock's 4x4 entries of a picture grid.
    template <class T>
    void fill(std::vector<T>& grid, T value) {
        T* row = grid.data() + mb.gy * w4 + mb.gx;
        for (int y = 0; y < 4; ++y, row += w4) row[0] = row[1] = row[2] = row[3] = value;
    }
    void fillIntraModes(int8_t mode) { fill(d.intraMode, mode); }
    void clearMotion() {
        fill(d.refIdx, int8_t(-1));
        fill(d.refPic, int32_t(-1));
        fill(d.mvs, Mv());
    }
    void setCounts(uint8_t n) {
        fill(d.nzY, n);
        const int w2 = d.mbW * 2;
        for (int c = 0; c < 2; ++c) {
            uint8_t* row = d.nzC[c].data() + mb.y * 2 * w2 + mb.x * 2;
            row[0] = row[1] = row[w2] = row[w2 + 1] = n;
        }
    }

    // I_PCM: raw samples after byte alignment.
    void pcm() {
        d.br.byteAlign();
        Picture& cur = *d.cur;
        uint8_t* y = cur.y + mb.y * 16 * cur.strideY + mb.x * 16;
        for (int r = 0; r < 16; ++r)
            for (int c = 0; c < 16; ++c) y[r * cur.strideY + c] = uint8_t(d.br.u(8));
        for (uint8_t* plane : {cur.u, cur.v}) {
            uint8_t* p = plane + mb.y * 8 * cur.strideC + mb.x * 8;
            for (int r = 0; r < 8; ++r)
                for (int c = 0; c < 8; ++c) p[r * cur.strideC + c] = uint8_t(d.br.u(8));
        }
        setCounts(16);
    }
};

}  // namespace

// ------------------------------------------------------------------ slice data

void Decoder::Impl::decodeSliceData() {
    qp = sh.qp;
    int mbAddr = sh.firstMb;
    bool more = true;
    while (more) {
        if (sh.type == kSliceP) {
            uint32_t run = br.ue(uint32_t(numMbs), "mb_skip_run too long");
            for (uint32_t i = 0; i < run; ++i) {
                if (mbAddr >= numMbs) throw DecodeError("skipped macroblocks past the picture");
                decodeSkip(mbAddr++);
            }
            if (run > 0) {
                more = br.moreRbspData();
                if (!more) break;
            }
        }
        if (mbAddr >= numMbs) throw DecodeError("macroblocks past the end of the picture");
        decodeMacroblock(mbAddr++);
        more = br.moreRbspData();
    }
}

// A macroblock's address and its position in macroblocks and in 4x4 blocks.
static Mb placeMb(int mbAddr, int mbW) {
    Mb mb;
    mb.addr = mbAddr;
    mb.x = mbAddr % mbW;
    mb.y = mbAddr / mbW;
    mb.gx = mb.x * 4;
    mb.gy = mb.y * 4;
    return mb;
}

void Decoder::Impl::decodeSkip(int mbAddr) {
    Mb mb = placeMb(mbAddr, mbW);
    MbInfo& info = mbs[size_t(mbAddr)];
    info.slice = int16_t(sliceNum);
    info.intra = false;
    info.qp = uint8_t(qp);
    info.oneMotion = true;
    info.nzMask = 0;
    Ctx ctx{*this, mb, mbW * 4};
    ctx.setCounts(0);
    ctx.fillIntraModes(2);
    ctx.skipMotion();
}

void Decoder::Impl::decodeMacroblock(int mbAddr) {
    Mb mb = placeMb(mbAddr, mbW);
    mb.end = mb.coeffs;
    MbInfo& info = mbs[size_t(mbAddr)];
    info.slice = int16_t(sliceNum);
    Ctx ctx{*this, mb, mbW * 4};

    int mbType = int(br.ue(sh.type == kSliceP ? 30 : 25, "bad mb_type"));
    if (sh.type == kSliceP) mbType -= 5;  // intra types follow the five P types
    // Now: negative = P type (+5), 0 = I_NxN, 1..24 = I_16x16, 25 = I_PCM.
    int i16Mode = 0, cbpLuma = 0, cbpChroma = 0;
    if (mbType < 0) {
        mb.kind = MbKind::Inter;
    } else if (mbType == 0) {
        mb.kind = MbKind::Intra4x4;
    } else if (mbType < 25) {
        mb.kind = MbKind::Intra16x16;
        i16Mode = (mbType - 1) % 4;
        cbpChroma = ((mbType - 1) / 4) % 3;
        cbpLuma = mbType >= 13 ? 15 : 0;
    } else {
        mb.kind = MbKind::Pcm;
    }
    info.intra = mb.kind != MbKind::Inter;
    info.oneMotion = mbType == -5;  // P_L0_16x16
    info.nzMask = 0;

    if (mb.kind == MbKind::Pcm) {
        ctx.pcm();
        ctx.fillIntraModes(2);
        ctx.clearMotion();
        info.qp = 0;  // deblocking treats I_PCM as QP 0 (clause 8.7.2.2)
        info.nzMask = 0xFFFF;
        return;
    }

    Mox32u modes[16];
    int chromaMode = 0;
    if (mb.kind == MbKind::Inter) {
        ctx.fillIntraModes(2);
        ctx.interPrediction(mbType + 5);
    } else {
        if (mb.kind == MbKind::Intra4x4)
            ctx.intra4x4Modes(modes);
        else
            ctx.fillIntraModes(2);
        chromaMode = int(br.ue(3, "bad intra_chroma_pred_mode"));
        ctx.clearMotion();
    }

    if (mb.kind != MbKind::Intra16x16) {
        int cbp = (mb.kind == MbKind::Inter ? kCbpInter : kCbpIntra)[br.ue(47, "bad coded_block_pattern")];
        cbpLuma = cbp & 15;
        cbpChroma = cbp >> 4;
    }
    if (cbpLuma || cbpChroma || mb.kind == MbKind::Intra16x16) {
        int delta = br.se(-26, 25, "mb_qp_delta out of range");
        qp = (qp + delta + 52) % 52;
    }
    info.qp = uint8_t(qp);
    ctx.residual(cbpLuma, cbpChroma);

    // Reconstruction.
    Picture& pic = *cur;
    Mox8u* y = pic.y + mb.y * 16 * pic.strideY + mb.x * 16;
    Mox8u* u = pic.u + mb.y * 8 * pic.strideC + mb.x * 8;
    Mox8u* v = pic.v + mb.y * 8 * pic.strideC + mb.x * 8;
    const int qpc = chromaQp(qp, pps.chromaQpOffset);
    Mox16s* stream = mb.coeffs;
    MoxStatus st = moxStsNoErr;
    if (mb.kind == MbKind::Inter) {
        if (mb.cbp4x4 & 0x1FFFE)
            st = moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(&stream, y, pic.strideY, mb.cbp4x4, qp,
                                                             moxiGetLevelScale_H264(qp % 6, 0), 0);
        if (st == moxStsNoErr)
            st = moxiReconstructChromaInterMB_H264_16s8u_P2R(&stream, u, v, Mox32u(pic.strideC), mb.cbp4x4,
                                                             Mox32u(qpc));
    } else {
        const Mox8u edge = ctx.edgeType();
        if (mb.kind == MbKind::Intra4x4)
            st = moxiReconstructLumaIntraMB_H264_16s8u_C1R(&stream, y, pic.strideY, modes, mb.cbp4x4, Mox32u(qp), edge);
        else
            st = moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&stream, y, pic.strideY, Mox32u(i16Mode), mb.cbp4x4,
                                                                Mox32u(qp), edge);
        // A 4x4 mode that needed a missing neighbour still reconstructs; the
        // stream is damaged but decoding goes on.
        if (st == moxStsIntraNeighbourWrn) st = moxStsNoErr;
        if (st == moxStsNoErr)
            st = moxiReconstructChromaIntraMB_H264_16s8u_P2R(&stream, u, v, Mox32u(pic.strideC), Mox32u(chromaMode),
                                                             mb.cbp4x4, Mox32u(qpc), edge);
    }
    if (st != moxStsNoErr) throw DecodeError("macroblock prediction needs a missing neighbour");
}

}  // namespace h264dec
