// Scalar reference model of the H.264 macroblock reconstruction, built from
// the reference predictors (intra_pred_ref.h) and the reference
// dequantisation and inverse transforms (transform_ref.h). C is the
// coefficient type (Mox16s or Mox32s), P the sample type (Mox8u or Mox16u).
//
// Neighbour availability is derived sample by sample from the macroblock's
// edge word and the decoding order of the blocks inside it. No argument is
// checked; the caller passes modes the predictors accept.
#pragma once

#include "moxvc.h"

namespace mox::ref {

template <class C, class P>
struct LumaMB {
    P* p = nullptr;                 // top-left sample of the macroblock
    int step = 0;                   // bytes
    const Mox32u* modes = nullptr;  // 4x4: 16 modes in block index order, 8x8: 4 modes
    int mode = 0;                   // 16x16 mode
    Mox32u cbp = 0;                 // bit 0 DC, bit 1 + k block k (4x4, 16x16); bit b block b (8x8)
    int qp = 0;
    int edge = 0;                   // edgeType
    const Mox16s* table = nullptr;  // LevelScale of qp % 6; null: the flat per-QP tables
    bool bypass = false;            // lossless when set and qp is 0
    bool halves = false;            // edge 0x01 / 0x02: upper / lower half of the left column
    int bitDepth = 8;
};

template <class C, class P>
struct ChromaMB {
    P* u = nullptr;
    P* v = nullptr;
    int step = 0;
    int mode = 0;    // DC, horizontal, vertical, plane
    Mox32u cbp = 0;  // 4:2:0: bits 17..26 of cbp4x4; 4:2:2: bits 0, 1 DC, 2..9 U, 10..17 V
    int qpU = 0, qpV = 0;
    int edge = 0;
    const Mox16s* tableU = nullptr;  // null: the flat per-QP tables
    const Mox16s* tableV = nullptr;
    const Mox16s* tableDCU = nullptr;  // 4:2:2 DC: LevelScale of (qp + 3) % 6
    const Mox16s* tableDCV = nullptr;
    bool bypass = false;
    bool halves = false;
    int height = 8;  // 8 (4:2:0) or 16 (4:2:2)
    int bitDepth = 8;
};

// Each consumes the coded blocks at `coeffs` and leaves it after the last one.
// Intra 4x4: moxStsIntraNeighbourWrn when a block's mode needed a missing neighbour.
template <class C, class P>
MoxStatus lumaIntra4x4(const LumaMB<C, P>& mb, const C*& coeffs);
// Intra 8x8: moxStsOutOfRangeErr at the first block whose mode is above 8
// (the blocks before it are rebuilt, `coeffs` is left as it was).
template <class C, class P>
MoxStatus lumaIntra8x8(const LumaMB<C, P>& mb, const C*& coeffs);
template <class C, class P>
void lumaIntra16x16(const LumaMB<C, P>& mb, const C*& coeffs);
template <class C, class P>
void lumaInter4x4(const LumaMB<C, P>& mb, const C*& coeffs);
template <class C, class P>
void lumaInter8x8(const LumaMB<C, P>& mb, const C*& coeffs);
template <class C, class P>
void chromaIntra(const ChromaMB<C, P>& mb, const C*& coeffs);
template <class C, class P>
void chromaInter(const ChromaMB<C, P>& mb, const C*& coeffs);

// The availability word the chroma and 16x16 predictors see for an edge word.
int chromaAvailability(int edge, bool halves);
int luma16x16Availability(int edge);

}  // namespace mox::ref
