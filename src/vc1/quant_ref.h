// Scalar reference models of VC-1 quantisation and inverse quantisation
// (SMPTE 421M clause 8.1.3.8), written per coefficient from the formulas.
// Blocks are 16-bit coefficients in raster order; steps are signed bytes.
#pragma once

#include "moxvc.h"

namespace mox::ref::vc1 {

// Inverse quantisation of a width x height block (16-bit wrap-around):
// uniform c * quant, non-uniform c * quant + sign(c) * (quant >> 1). Intra
// blocks keep their DC. Returns the extent of the non-zero scaled values
// (intra: the scaled DC counts, and the height is at least 1).
MoxiSize quantInv(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant, int width, int height,
                  bool intra, bool nonuniform);

// The forward division of one value by quant 2..62 through its reciprocal row.
int divideByQuant(int v, int quant);

// Forward quantisation in place: non-uniform blocks first move every value
// towards zero by quant >> 1; intra blocks keep their DC.
void quantFwd(Mox16s* pSrcDst, int step, int quant, int width, int height, bool intra, bool nonuniform);

}  // namespace mox::ref::vc1
