// Scalar reference models of the MPEG-4 Part 2 and H.263 quantisers and
// inverse quantisers, one per exported member, written from the per-
// coefficient formulas in 64-bit arithmetic with true divisions. The MPEG-4
// models take the weighting matrix (raster order; null: the H.263 method) and
// the bit depth instead of a state record. No argument checks.
#pragma once

#include "moxvc.h"

namespace mox::ref {

// H.263 forward quantisation in place; *pCount receives the non-zero levels.
void quantInterH263(Mox16s* pBlock, int qp, int* pCount, int modQuant);
void quantIntraH263(Mox16s* pBlock, int qp, int* pCount, int advIntra, int modQuant);

// H.263 inverse quantisation of raster rows 0 .. last / 8.
void quantInvInterH263(Mox16s* pBlock, int last, int qp, int modQuant);
void quantInvIntraH263(Mox16s* pBlock, int last, int qp, int advIntra, int modQuant);

// MPEG-4 inverse quantisation (ISO/IEC 14496-2 clause 7.4.4).
void quantInvIntraMpeg4(Mox16s* pBlock, int last, const Mox8u* pMatrix, int bitDepth, int qp, int blockType);
void quantInvInterMpeg4(Mox16s* pBlock, int last, const Mox8u* pMatrix, int bitDepth, int qp);

// MPEG-4 forward quantisation.
void quantIntraMpeg4(Mox16s* pBlock, const Mox8u* pMatrix, int bitDepth, int qp, int* pCount, int blockType);
void quantInterMpeg4(Mox16s* pBlock, const Mox8u* pMatrix, int bitDepth, int qp, int* pCount);

}  // namespace mox::ref
