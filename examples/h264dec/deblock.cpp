// Deblocking (clause 8.7): boundary strengths and thresholds per macroblock,
// the filtering itself in the library.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "internal.h"

namespace h264dec {

namespace {

// Table 8-16: alpha' and beta' by indexA / indexB.
const uint8_t kAlpha[52] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,   0,   0,   0,   4,   4,
                            5,  6,  7,  8,  9,  10, 12, 13, 15, 17, 20, 22, 25,  28,  32,  36,  40,  45,
                            50, 56, 63, 71, 80, 90, 101, 113, 127, 144, 162, 182, 203, 226, 255, 255};
const uint8_t kBeta[52] = {0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,  0,  0,  0,  0,  2,  2,
                           2, 3, 3, 3, 3, 4, 4, 4, 6,  6,  7,  7,  8,  8,  9,  9,  10, 10,
                           11, 11, 12, 12, 13, 13, 14, 14, 15, 15, 16, 16, 17, 17, 18, 18};
// Table 8-17: tC0' by indexA for bS 1, 2, 3.
const uint8_t kTc0[52][3] = {
    {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0},
    {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 1},
    {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 1, 1}, {0, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1},
    {1, 1, 2}, {1, 1, 2}, {1, 1, 2}, {1, 1, 2}, {1, 2, 3}, {1, 2, 3}, {2, 2, 3}, {2, 2, 4}, {2, 3, 4},
    {2, 3, 4}, {3, 3, 5}, {3, 4, 6}, {3, 4, 6}, {4, 5, 7}, {4, 5, 8}, {4, 6, 9}, {5, 7, 10}, {6, 8, 11},
    {6, 8, 13}, {7, 10, 14}, {8, 11, 16}, {9, 12, 18}, {10, 13, 20}, {11, 15, 23}, {13, 17, 25}};

int clip51(int v) { return std::min(51, std::max(0, v)); }

// Thresholds of one edge for the quantiser average qpAv.
struct EdgeThresholds {
    int indexA;
    uint8_t alpha, beta;
};
EdgeThresholds thresholds(int qpAv, const SliceDeblock& s) {
    EdgeThresholds t;
    t.indexA = clip51(qpAv + s.offsetA);
    t.alpha = kAlpha[t.indexA];
    t.beta = kBeta[clip51(qpAv + s.offsetB)];
    return t;
}


// Boundary strengths of one macroblock (clause 8.7.2.1) into bs[dir][4 * edge + i],
// dir 0 the vertical edges, 1 the horizontal ones. `left` and `top` are the
// neighbours across edge 0 when that edge is filtered, else null.
struct StrengthInput {
    const int32_t* refPic;  // reference picture id per luma 4x4 block
    const Mv* mv;           // vector per luma 4x4 block
    int stride;             // blocks per row of the grids
};

void boundaryStrengths(const MbInfo& q, const MbInfo* left, const MbInfo* top, const StrengthInput& in, size_t q0,
                       Mox8u bs[2][16]) {
    const int32_t* ref = in.refPic;
    const Mv* mv = in.mv;
    const unsigned qMask = q.nzMask;
    const bool qIntra = q.intra, qOneMotion = q.oneMotion;
    // A vector component apart by a whole sample or more, or another picture.
    auto motionDiffers = [&](size_t a, size_t b) {
        return ref[a] != ref[b] || std::abs(mv[a].x - mv[b].x) >= 4 || std::abs(mv[a].y - mv[b].y) >= 4;
    };
    for (int dir = 0; dir < 2; ++dir) {
        Mox8u* out = bs[dir];
        const MbInfo* p = dir == 0 ? left : top;
        const size_t across = dir == 0 ? 1 : size_t(in.stride);  // grid step across the edge
        const size_t along = dir == 0 ? size_t(in.stride) : 1;   // grid step along it
        // Macroblock edge: 4 next to an intra macroblock.
        if (!p) {
            std::memset(out, 0, 4);
        } else if (qIntra || p->intra) {
            std::memset(out, 4, 4);
        } else {
            const unsigned pMask = p->nzMask;
            for (int i = 0; i < 4; ++i) {
                // Column (row) 0 of q against column (row) 3 of p.
                const int qBit = dir == 0 ? i * 4 : i, pBit = dir == 0 ? i * 4 + 3 : 12 + i;
                const size_t qi = q0 + size_t(i) * along;
                if (((qMask >> qBit) | (pMask >> pBit)) & 1)
                    out[i] = 2;
                else
                    out[i] = motionDiffers(qi, qi - across) ? 1 : 0;
            }
        }
        // Inner edges: 3 in an intra macroblock, else 2 where either block has
        // coefficients; with a single vector in the macroblock nothing else.
        if (qIntra) {
            std::memset(out + 4, 3, 12);
            continue;
        }
        // Bit 4 * row + column: that block or the one before it across the edge is coded.
        const unsigned coded = dir == 0 ? qMask | ((qMask << 1) & 0xEEEE) : qMask | (qMask << 4);
        for (int e = 1; e < 4; ++e) {
            for (int i = 0; i < 4; ++i) {
                const int bit = dir == 0 ? i * 4 + e : e * 4 + i;
                Mox8u strength = 0;
                if ((coded >> bit) & 1) {
                    strength = 2;
                } else if (!qOneMotion) {
                    const size_t qi = q0 + size_t(e) * across + size_t(i) * along;
                    strength = motionDiffers(qi, qi - across) ? 1 : 0;
                }
                out[4 * e + i] = strength;
            }
        }
    }
}

bool anyNonZero(const Mox8u* b) {
    uint64_t w[2];
    std::memcpy(w, b, 16);
    return (w[0] | w[1]) != 0;
}

}  // namespace

void Decoder::Impl::deblockPicture() {
    const int w4 = mbW * 4;
    Picture& pic = *cur;
    const MbInfo* info = mbs.data();
    const StrengthInput grids{refPic.data(), mvs.data(), w4};
    for (int my = 0; my < mbH; ++my) {
        for (int mx = 0; mx < mbW; ++mx) {
            const MbInfo& q = info[my * mbW + mx];
            if (q.slice < 0) continue;  // never decoded (damaged stream)
            const SliceDeblock& s = sliceDeblock[size_t(q.slice)];
            if (s.disable == 1) continue;
            // Edges to other slices are filtered unless disable_deblocking_filter_idc is 2.
            const MbInfo* left = mx > 0 ? &info[my * mbW + mx - 1] : nullptr;
            const MbInfo* top = my > 0 ? &info[(my - 1) * mbW + mx] : nullptr;
            if (left && (left->slice < 0 || (s.disable == 2 && left->slice != q.slice))) left = nullptr;
            if (top && (top->slice < 0 || (s.disable == 2 && top->slice != q.slice))) top = nullptr;

            Mox8u bs[2][16];
            boundaryStrengths(q, left, top, grids, size_t(my * 4 * w4 + mx * 4), bs);

            const int qpc = chromaQp(q.qp, s.chromaQpOffset);
            Mox8u* y = pic.y + my * 16 * pic.strideY + mx * 16;
            Mox8u* u = pic.u + my * 8 * pic.strideC + mx * 8;
            Mox8u* v = pic.v + my * 8 * pic.strideC + mx * 8;
            for (int dir = 0; dir < 2; ++dir) {
                const Mox8u* b = bs[dir];
                if (!anyNonZero(b)) continue;
                // Edge 0 averages the quantisers of both macroblocks.
                const MbInfo* pn = dir == 0 ? left : top;
                const MbInfo& p = pn ? *pn : q;
                const EdgeThresholds outer = thresholds((p.qp + q.qp + 1) >> 1, s);
                const EdgeThresholds inner = thresholds(q.qp, s);
                const int qpcP = chromaQp(p.qp, s.chromaQpOffset);
                const EdgeThresholds outerC = thresholds((qpcP + qpc + 1) >> 1, s);
                const EdgeThresholds innerC = thresholds(qpc, s);

                Mox8u alpha[2] = {outer.alpha, inner.alpha}, beta[2] = {outer.beta, inner.beta};
                Mox8u tc0[16];
                for (int k = 0; k < 16; ++k) {
                    const int indexA = k < 4 ? outer.indexA : inner.indexA;
                    tc0[k] = b[k] > 0 && b[k] < 4 ? kTc0[indexA][b[k] - 1] : 0;
                }
                Mox8u alphaC[2] = {outerC.alpha, innerC.alpha}, betaC[2] = {outerC.beta, innerC.beta};
                Mox8u tc0C[8];
                for (int c = 0; c < 2; ++c) {
                    const int indexA = c == 0 ? outerC.indexA : innerC.indexA;
                    for (int i = 0; i < 4; ++i) {
                        const Mox8u strength = b[8 * c + i];
                        tc0C[4 * c + i] = strength > 0 && strength < 4 ? kTc0[indexA][strength - 1] : 0;
                    }
                }
                if (dir == 0) {
                    moxiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(y, pic.strideY, alpha, beta, tc0, b);
                    moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(u, pic.strideC, alphaC, betaC, tc0C, b);
                    moxiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(v, pic.strideC, alphaC, betaC, tc0C, b);
                } else {
                    moxiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(y, pic.strideY, alpha, beta, tc0, b);
                    moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(u, pic.strideC, alphaC, betaC, tc0C, b);
                    moxiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(v, pic.strideC, alphaC, betaC, tc0C, b);
                }
            }
        }
    }
}

}  // namespace h264dec
