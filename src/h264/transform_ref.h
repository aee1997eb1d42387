// Scalar reference models of the H.264 dequantisation and inverse transforms,
// one per exported member, with the same arguments and no argument checks.
// C is the coefficient type (Mox16s or Mox32s), P the sample type (Mox8u or
// Mox16u).
#pragma once

#include "moxvc.h"

namespace mox::ref {

// Flat-matrix LevelScale (16 x normAdjust) of position k for qpRem = QP % 6.
int flatLevelScale(int qpRem, int k, int is8x8);

// Flat-table members (16-bit).
void dequantTransformResidual(Mox16s* pSrcDst, int step, const Mox16s* pDC, int ac, int qp);
void dequantTransformResidualAndAdd(const Mox8u* pPred, Mox16s* pSrcDst, const Mox16s* pDC, Mox8u* pDst, int predStep,
                                    int dstStep, int qp, int ac);
void transformDequantLumaDC(Mox16s* pSrcDst, int qp);
void transformDequantChromaDC(Mox16s* pSrcDst, int qp);
void transformPrediction(const Mox8u* pSrc, int srcStep, Mox16s* pDst);

// Inverse 4x4 transform of scaled coefficients.
template <class C>
void transformResidual4x4Inv(const C* pSrc, C* pDst, int dstStep);

// LevelScale members. bitDepth bounds the samples (8 for Mox8u).
template <class C, class P>
void transformQuantInvAddPred4x4(const P* pPred, int predStep, C* pSrcDst, const C* pDC, P* pDst, int dstStep, int qp,
                                 int ac, const Mox16s* pQuantTable, int bitDepth);
template <class C>
void transformQuantInvLumaDC4x4(C* pSrcDst, int qp, const Mox16s* pQuantTable);
template <class C>
void transformQuantInvChromaDC2x2(C* pSrcDst, int qp, const Mox16s* pQuantTable);
template <class C>
void transformQuantInvChromaDC2x4(C* pSrcDst, int qp, const Mox16s* pQuantTable);
template <class C>
void quantInvLuma8x8(C* pSrcDst, int qp, const Mox16s* pQuantTable);
template <class C, class P>
void transformInvAddPred8x8(const P* pPred, int predStep, const C* pSrc, P* pDst, int dstStep, int bitDepth);

// Switching slices.
void dequantTransformResidualSISP(Mox16s* pSrcDst, const Mox16s* pPredictBlock, const Mox16s* pDC, int ac, int qp,
                                  int qs, int switching);
void transformDequantChromaDCSISP(Mox16s* pSrcDst, const Mox16s* pDCPredict, int qp, int qs, int switching);

}  // namespace mox::ref
