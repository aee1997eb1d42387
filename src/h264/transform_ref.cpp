#include "h264/transform_ref.h"

#include <cstdint>
#include <cstdlib>

#include "core/pixel.h"
#include "h264/quant_tables.h"

namespace mox::ref {
namespace {

// How a stored intermediate fits its type.
struct Wrap16 {
    static int64_t st(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(v)); }
};
struct Sat16 {
    static int64_t st(int64_t v) { return v < INT16_MIN ? INT16_MIN : (v > INT16_MAX ? INT16_MAX : v); }
};
struct Wrap32 {
    static int64_t st(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
};

template <class C>
struct WrapOf;
template <>
struct WrapOf<Mox16s> {
    using type = Wrap16;
};
template <>
struct WrapOf<Mox32s> {
    using type = Wrap32;
};

int64_t w32(int64_t v) { return Wrap32::st(v); }
int64_t shl(int64_t v, int n) { return static_cast<int64_t>(static_cast<uint64_t>(v) << n); }

// normAdjust4x4(m, i, j) and normAdjust8x8(m, i, j), clause 8.5.9.
int normAdjust4x4(int m, int i, int j) {
    if (i % 2 == 0 && j % 2 == 0) return h264::kNormAdjust4x4[m][0];
    if (i % 2 == 1 && j % 2 == 1) return h264::kNormAdjust4x4[m][1];
    return h264::kNormAdjust4x4[m][2];
}

int normAdjust8x8(int m, int i, int j) {
    const Mox16s* v = h264::kNormAdjust8x8[m];
    if (i % 4 == 0 && j % 4 == 0) return v[0];
    if (i % 2 == 1 && j % 2 == 1) return v[1];
    if (i % 4 == 2 && j % 4 == 2) return v[2];
    if ((i % 4 == 0 && j % 2 == 1) || (i % 2 == 1 && j % 4 == 0)) return v[3];
    if ((i % 4 == 0 && j % 4 == 2) || (i % 4 == 2 && j % 4 == 0)) return v[4];
    return v[5];
}

// The flat per-QP level scale of position (i, j).
int flatScale(int qp, int i, int j) { return normAdjust4x4(qp % 6, i, j) << (qp / 6); }

// A level scaled by LevelScale ls: 32-bit arithmetic, result stored in C.
// base is 4 for 4x4 blocks, 6 for 8x8 blocks and the DC transforms.
template <class C>
int64_t scaleLevel(int64_t c, int ls, int qp, int base) {
    int q = qp / 6;
    int64_t p = w32(c * ls);
    int64_t v = q >= base ? w32(shl(p, q - base)) : w32(p + (int64_t{1} << (base - 1 - q))) >> (base - q);
    return WrapOf<C>::type::st(v);
}

// Inverse 4x4 transform (clause 8.5.12.2): rows, then columns, then (h + 32) >> 6.
template <class S>
void inverse4x4(const int64_t d[4][4], int64_t r[4][4]) {
    int64_t f[4][4], h[4][4];
    for (int i = 0; i < 4; ++i) {
        int64_t e0 = S::st(d[i][0] + d[i][2]), e1 = S::st(d[i][0] - d[i][2]);
        int64_t e2 = S::st((d[i][1] >> 1) - d[i][3]), e3 = S::st(d[i][1] + (d[i][3] >> 1));
        f[i][0] = S::st(e0 + e3);
        f[i][1] = S::st(e1 + e2);
        f[i][2] = S::st(e1 - e2);
        f[i][3] = S::st(e0 - e3);
    }
    for (int j = 0; j < 4; ++j) {
        int64_t g0 = S::st(f[0][j] + f[2][j]), g1 = S::st(f[0][j] - f[2][j]);
        int64_t g2 = S::st((f[1][j] >> 1) - f[3][j]), g3 = S::st(f[1][j] + (f[3][j] >> 1));
        h[0][j] = S::st(g0 + g3);
        h[1][j] = S::st(g1 + g2);
        h[2][j] = S::st(g1 - g2);
        h[3][j] = S::st(g0 - g3);
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r[i][j] = S::st(h[i][j] + 32) >> 6;
}

// Inverse 8x8 transform (clause 8.5.13.2), one row or column.
template <class S>
void inverse8(int64_t* x, int stride) {
    auto d = [&](int k) { return x[k * stride]; };
    int64_t e0 = S::st(d(0) + d(4));
    int64_t e1 = S::st(S::st(S::st(-d(3) + d(5)) - d(7)) - (d(7) >> 1));
    int64_t e2 = S::st(d(0) - d(4));
    int64_t e3 = S::st(S::st(S::st(d(1) + d(7)) - d(3)) - (d(3) >> 1));
    int64_t e4 = S::st((d(2) >> 1) - d(6));
    int64_t e5 = S::st(S::st(S::st(-d(1) + d(7)) + d(5)) + (d(5) >> 1));
    int64_t e6 = S::st(d(2) + (d(6) >> 1));
    int64_t e7 = S::st(S::st(S::st(d(3) + d(5)) + d(1)) + (d(1) >> 1));
    int64_t f0 = S::st(e0 + e6), f1 = S::st(e1 + (e7 >> 2)), f2 = S::st(e2 + e4), f3 = S::st(e3 + (e5 >> 2));
    int64_t f4 = S::st(e2 - e4), f5 = S::st((e3 >> 2) - e5), f6 = S::st(e0 - e6), f7 = S::st(e7 - (e1 >> 2));
    int64_t g[8] = {f0 + f7, f2 + f5, f4 + f3, f6 + f1, f6 - f1, f4 - f3, f2 - f5, f0 - f7};
    for (int k = 0; k < 8; ++k) x[k * stride] = S::st(g[k]);
}

// 4x4 Hadamard f = H c H (clause 8.5.10), rows then columns, sums stored by S.
template <class S>
void hadamard4x4(const int64_t c[4][4], int64_t f[4][4]) {
    static constexpr int H[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
    int64_t g[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int64_t s = 0;
            for (int k = 0; k < 4; ++k) s += c[i][k] * H[j][k];
            g[i][j] = S::st(s);
        }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int64_t s = 0;
            for (int k = 0; k < 4; ++k) s += H[i][k] * g[k][j];
            f[i][j] = S::st(s);
        }
}

// 2x2 chroma DC transform f = [1 1; 1 -1] c [1 1; 1 -1] (clause 8.5.11.1), c in raster order.
template <class S>
void transform2x2(const int64_t c[4], int64_t f[4]) {
    f[0] = S::st(c[0] + c[1] + c[2] + c[3]);
    f[1] = S::st(c[0] - c[1] + c[2] - c[3]);
    f[2] = S::st(c[0] + c[1] - c[2] - c[3]);
    f[3] = S::st(c[0] - c[1] - c[2] + c[3]);
}

// Sample plus residual, clamped to the bit depth (the sum wraps at 32 bits).
template <class P>
P addSample(P pred, int64_t r, int bitDepth) {
    return static_cast<P>(clamp<int64_t>(w32(pred + r), 0, (int64_t{1} << bitDepth) - 1));
}

// SP/SI requantisation of x with qs (clause 8.6): shift 15 + qs/6 for 4x4
// coefficients, 16 + qs/6 for chroma DC.
int64_t requant(int64_t x, int i, int j, int qs, int shift) {
    int m = qs % 6;
    int ls2 = (i % 2 == 0 && j % 2 == 0) ? h264::kRequant4x4[m][0]
              : (i % 2 == 1 && j % 2 == 1) ? h264::kRequant4x4[m][1]
                                           : h264::kRequant4x4[m][2];
    int s = shift + qs / 6;
    int64_t mag = (std::llabs(x) * ls2 + (int64_t{1} << (s - 1))) >> s;
    return x < 0 ? -mag : mag;
}

int64_t spWeight(int i, int j) { return (i % 2 == 0 && j % 2 == 0) ? 16 : (i % 2 == 1 && j % 2 == 1) ? 25 : 20; }

}  // namespace

int flatLevelScale(int qpRem, int k, int is8x8) {
    return 16 * (is8x8 ? normAdjust8x8(qpRem, k / 8, k % 8) : normAdjust4x4(qpRem, k / 4, k % 4));
}

// ------------------------------------------------------------------ flat-table members

void dequantTransformResidual(Mox16s* pSrcDst, int step, const Mox16s* pDC, int ac, int qp) {
    const int se = step / 2;
    int64_t d[4][4], r[4][4];
    int64_t dc = pDC ? *pDC : Wrap16::st(pSrcDst[0] * flatScale(qp, 0, 0));
    if (!ac) {
        for (auto& row : r)
            for (auto& v : row) v = Wrap16::st(dc + 32) >> 6;
    } else {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) d[i][j] = Wrap16::st(pSrcDst[i * se + j] * flatScale(qp, i, j));
        d[0][0] = dc;
        inverse4x4<Wrap16>(d, r);
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) pSrcDst[i * se + j] = static_cast<Mox16s>(r[i][j]);
}

void dequantTransformResidualAndAdd(const Mox8u* pPred, Mox16s* pSrcDst, const Mox16s* pDC, Mox8u* pDst, int predStep,
                                    int dstStep, int qp, int ac) {
    int64_t d[4][4], r[4][4];
    int64_t dc = pDC ? *pDC : Wrap16::st(pSrcDst[0] * flatScale(qp, 0, 0));
    if (!ac) {
        for (auto& row : r)
            for (auto& v : row) v = Sat16::st(dc + 32) >> 6;
    } else {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) d[i][j] = Wrap16::st(pSrcDst[4 * i + j] * flatScale(qp, i, j));
        d[0][0] = dc;
        inverse4x4<Sat16>(d, r);
        for (int k = 0; k < 16; ++k) pSrcDst[k] = static_cast<Mox16s>(r[k / 4][k % 4]);
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) row(pDst, dstStep, i)[j] = addSample(row(pPred, predStep, i)[j], r[i][j], 8);
}

void transformDequantLumaDC(Mox16s* pSrcDst, int qp) {
    int64_t c[4][4], f[4][4];
    for (int k = 0; k < 16; ++k) c[k / 4][k % 4] = pSrcDst[k];
    hadamard4x4<Wrap16>(c, f);
    int scale = normAdjust4x4(qp % 6, 0, 0) << (qp >= 18 ? qp / 6 - 2 : 0);
    int shift = qp < 6 ? 2 : (qp < 12 ? 1 : 0);
    int round = shift ? 1 << (shift - 1) : 0;
    for (int k = 0; k < 16; ++k)
        pSrcDst[k] = static_cast<Mox16s>(Wrap16::st(Wrap16::st(f[k / 4][k % 4] * scale) + round) >> shift);
}

void transformDequantChromaDC(Mox16s* pSrcDst, int qp) {
    int64_t c[4] = {pSrcDst[0], pSrcDst[1], pSrcDst[2], pSrcDst[3]}, f[4];
    transform2x2<Wrap16>(c, f);
    for (int k = 0; k < 4; ++k) pSrcDst[k] = static_cast<Mox16s>(Wrap16::st(f[k] * flatScale(qp, 0, 0)) >> 1);
}

void transformPrediction(const Mox8u* pSrc, int srcStep, Mox16s* pDst) {
    static constexpr int C[4][4] = {{1, 1, 1, 1}, {2, 1, -1, -2}, {1, -1, -1, 1}, {1, -2, 2, -1}};
    int64_t g[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int64_t s = 0;
            for (int k = 0; k < 4; ++k) s += C[j][k] * row(pSrc, srcStep, i)[k];
            g[i][j] = Wrap16::st(s);
        }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int64_t s = 0;
            for (int k = 0; k < 4; ++k) s += C[i][k] * g[k][j];
            pDst[4 * i + j] = static_cast<Mox16s>(Wrap16::st(s));
        }
}

// ------------------------------------------------------------------ LevelScale members

template <class C>
void transformResidual4x4Inv(const C* pSrc, C* pDst, int dstStep) {
    int64_t d[4][4], r[4][4];
    for (int k = 0; k < 16; ++k) d[k / 4][k % 4] = pSrc[k];
    inverse4x4<typename WrapOf<C>::type>(d, r);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) row(pDst, dstStep, i)[j] = static_cast<C>(r[i][j]);
}

template <class C, class P>
void transformQuantInvAddPred4x4(const P* pPred, int predStep, C* pSrcDst, const C* pDC, P* pDst, int dstStep, int qp,
                                 int ac, const Mox16s* pQuantTable, int bitDepth) {
    using S = typename WrapOf<C>::type;
    int64_t d[4][4], r[4][4];
    int64_t dc = pDC ? *pDC : scaleLevel<C>(pSrcDst[0], pQuantTable[0], qp, 4);
    if (!ac) {
        for (auto& rw : r)
            for (auto& v : rw) v = S::st(dc + 32) >> 6;
    } else {
        for (int k = 0; k < 16; ++k) d[k / 4][k % 4] = scaleLevel<C>(pSrcDst[k], pQuantTable[k], qp, 4);
        d[0][0] = dc;
        inverse4x4<S>(d, r);
        for (int k = 0; k < 16; ++k) pSrcDst[k] = static_cast<C>(r[k / 4][k % 4]);
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) row(pDst, dstStep, i)[j] = addSample(row(pPred, predStep, i)[j], r[i][j], bitDepth);
}

template <class C>
void transformQuantInvLumaDC4x4(C* pSrcDst, int qp, const Mox16s* pQuantTable) {
    int64_t c[4][4], f[4][4];
    for (int k = 0; k < 16; ++k) c[k / 4][k % 4] = pSrcDst[k];
    hadamard4x4<typename WrapOf<C>::type>(c, f);
    for (int k = 0; k < 16; ++k) pSrcDst[k] = static_cast<C>(scaleLevel<C>(f[k / 4][k % 4], pQuantTable[0], qp, 6));
}

template <class C>
void transformQuantInvChromaDC2x2(C* pSrcDst, int qp, const Mox16s* pQuantTable) {
    using S = typename WrapOf<C>::type;
    int64_t c[4] = {pSrcDst[0], pSrcDst[1], pSrcDst[2], pSrcDst[3]}, f[4];
    transform2x2<S>(c, f);
    for (int k = 0; k < 4; ++k)
        pSrcDst[k] = static_cast<C>(S::st(w32(shl(w32(f[k] * pQuantTable[0]), qp / 6)) >> 5));
}

template <class C>
void transformQuantInvChromaDC2x4(C* pSrcDst, int qp, const Mox16s* pQuantTable) {
    using S = typename WrapOf<C>::type;
    // Coded order to the 4-row, 2-column matrix (clause 8.5.11.1).
    static constexpr int kFromCoded[4][2] = {{0, 2}, {1, 5}, {3, 6}, {4, 7}};
    static constexpr int A4[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
    int64_t c[4][2], f[4][2];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 2; ++j) c[i][j] = pSrcDst[kFromCoded[i][j]];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 2; ++j) {
            int64_t s = 0;
            for (int k = 0; k < 4; ++k) s += A4[i][k] * (j == 0 ? c[k][0] + c[k][1] : c[k][0] - c[k][1]);
            f[i][j] = S::st(s);
        }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 2; ++j) pSrcDst[2 * i + j] = static_cast<C>(scaleLevel<C>(f[i][j], pQuantTable[0], qp + 3, 6));
}

template <class C>
void quantInvLuma8x8(C* pSrcDst, int qp, const Mox16s* pQuantTable) {
    for (int k = 0; k < 64; ++k) pSrcDst[k] = static_cast<C>(scaleLevel<C>(pSrcDst[k], pQuantTable[k], qp, 6));
}

template <class C, class P>
void transformInvAddPred8x8(const P* pPred, int predStep, const C* pSrc, P* pDst, int dstStep, int bitDepth) {
    using S = typename WrapOf<C>::type;
    int64_t x[64];
    for (int k = 0; k < 64; ++k) x[k] = pSrc[k];
    for (int i = 0; i < 8; ++i) inverse8<S>(x + 8 * i, 1);
    for (int j = 0; j < 8; ++j) inverse8<S>(x + j, 8);
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            row(pDst, dstStep, i)[j] = addSample(row(pPred, predStep, i)[j], S::st(x[8 * i + j] + 32) >> 6, bitDepth);
}

// ------------------------------------------------------------------ switching slices

void dequantTransformResidualSISP(Mox16s* pSrcDst, const Mox16s* pPredictBlock, const Mox16s* pDC, int ac, int qp,
                                  int qs, int switching) {
    int64_t d[4][4], r[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int k = 4 * i + j;
            int64_t c = (ac || k == 0) ? pSrcDst[k] : 0, p = pPredictBlock[k], level;
            if (switching) {
                level = Wrap16::st(c + requant(p, i, j, qs, 15));
            } else {
                int64_t t = (c * normAdjust4x4(qp % 6, i, j) * spWeight(i, j) * (int64_t{1} << (qp / 6))) >> 6;
                level = requant(Wrap16::st(p + Wrap16::st(t)), i, j, qs, 15);
            }
            d[i][j] = Wrap16::st(level * flatScale(qs, i, j));
        }
    if (pDC) d[0][0] = *pDC;
    inverse4x4<Wrap16>(d, r);
    for (int k = 0; k < 16; ++k) pSrcDst[k] = static_cast<Mox16s>(r[k / 4][k % 4]);
}

void transformDequantChromaDCSISP(Mox16s* pSrcDst, const Mox16s* pDCPredict, int qp, int qs, int switching) {
    int64_t p[4] = {pDCPredict[0], pDCPredict[1], pDCPredict[2], pDCPredict[3]}, dcp[4], level[4];
    transform2x2<Wrap16>(p, dcp);
    for (int k = 0; k < 4; ++k) {
        int64_t c = pSrcDst[k];
        if (switching) {
            level[k] = Wrap16::st(c + requant(dcp[k], 0, 0, qs, 16));
        } else {
            int64_t t = (c * normAdjust4x4(qp % 6, 0, 0) * spWeight(0, 0) * (int64_t{1} << (qp / 6))) >> 5;
            level[k] = requant(Wrap16::st(dcp[k] + Wrap16::st(t)), 0, 0, qs, 16);
        }
    }
    for (int k = 0; k < 4; ++k) pSrcDst[k] = static_cast<Mox16s>(Wrap16::st(level[k]));
    transformDequantChromaDC(pSrcDst, qs);
}

// ------------------------------------------------------------------ instantiations

template void transformResidual4x4Inv<Mox16s>(const Mox16s*, Mox16s*, int);
template void transformResidual4x4Inv<Mox32s>(const Mox32s*, Mox32s*, int);
template void transformQuantInvAddPred4x4<Mox16s, Mox8u>(const Mox8u*, int, Mox16s*, const Mox16s*, Mox8u*, int, int,
                                                         int, const Mox16s*, int);
template void transformQuantInvAddPred4x4<Mox32s, Mox16u>(const Mox16u*, int, Mox32s*, const Mox32s*, Mox16u*, int, int,
                                                          int, const Mox16s*, int);
template void transformQuantInvLumaDC4x4<Mox16s>(Mox16s*, int, const Mox16s*);
template void transformQuantInvLumaDC4x4<Mox32s>(Mox32s*, int, const Mox16s*);
template void transformQuantInvChromaDC2x2<Mox16s>(Mox16s*, int, const Mox16s*);
template void transformQuantInvChromaDC2x2<Mox32s>(Mox32s*, int, const Mox16s*);
template void transformQuantInvChromaDC2x4<Mox16s>(Mox16s*, int, const Mox16s*);
template void transformQuantInvChromaDC2x4<Mox32s>(Mox32s*, int, const Mox16s*);
template void quantInvLuma8x8<Mox16s>(Mox16s*, int, const Mox16s*);
template void quantInvLuma8x8<Mox32s>(Mox32s*, int, const Mox16s*);
template void transformInvAddPred8x8<Mox16s, Mox8u>(const Mox8u*, int, const Mox16s*, Mox8u*, int, int);
template void transformInvAddPred8x8<Mox32s, Mox16u>(const Mox16u*, int, const Mox32s*, Mox16u*, int, int);

}  // namespace mox::ref
