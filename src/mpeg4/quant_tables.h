// MPEG-4 Part 2 and H.263 quantisation constants: the per-bit-depth limits
// (ISO/IEC 14496-2 clause 7.4.4: quantiser_scale up to 2^(b-3) - 1 and the
// saturation of reconstructed coefficients to -2^(b+3) .. 2^(b+3) - 1), the
// intra DC scaler (Table 7-1), the layouts of the state records kept in
// caller memory, and exact reciprocals for the forward quantisers.
#pragma once

#include <array>
#include <cstdint>

#include "moxvc.h"

namespace mox::mpeg4 {

// Sample bit depths the state records accept (not_8_bit: 4..12).
inline constexpr int kMinBitDepth = 4;
inline constexpr int kMaxBitDepth = 12;

// Largest quantiser for bit depth b: 2^(b-3) - 1 (31 at 8 bits).
constexpr int maxQP(int b) { return (1 << (b - 3)) - 1; }
// Reconstructed coefficients saturate to -range(b) .. range(b) - 1.
constexpr int coefRange(int b) { return 1 << (b + 3); }

// H.263 (clause 6.2.1): QUANT 1..31, reconstruction clipped to -2048..2047.
inline constexpr int kH263MaxQP = 31;
inline constexpr int kH263Range = 2048;
// H.263 levels outside Annex T fit -127..127.
inline constexpr int kH263MaxLevel = 127;

// The odd reconstruction offset of the H.263 method: QP when odd, QP - 1 when even.
constexpr int oddAdjust(int qp) { return (qp & 1) ? qp : qp - 1; }

// Intra DC scaler, ISO/IEC 14496-2 Table 7-1 (continued linearly past QP 31).
constexpr int dcScaler(int qp, bool luma) {
    if (qp <= 4) return 8;
    if (luma) return qp <= 8 ? 2 * qp : (qp <= 24 ? qp + 8 : 2 * qp - 16);
    return qp <= 24 ? (qp + 13) >> 1 : qp - 6;
}

// ---------------------------------------------------------------- state records
// Records start at the caller's pointer rounded up to 16 bytes; GetSize
// reports the record plus 16 bytes of slack for that rounding.
inline constexpr Mox32u kMarkInvIntra = 0x434D4152;  // "RAMC" in memory order
inline constexpr Mox32u kMarkInvInter = 0x434D4153;  // "SAMC"
inline constexpr Mox32u kMarkFwdIntra = 0x434D4154;  // "TAMC"
inline constexpr Mox32u kMarkFwdInter = 0x434D4155;  // "UAMC"

// The fields shared by both kinds, after the matrix data.
struct RecordTail {
    int bitDepth;    // 4..12
    int matrixFlag;  // 1: weighting matrix (first inverse quantisation method); 0: H.263 method
    Mox32u marker;   // kMark*, written last by a successful Init
};

// Inverse quantisation: the weighting matrix in raster order.
struct InvRecord {
    Mox16s matrix[64];
    RecordTail tail;
};

// Forward quantisation: the matrix and, for the division by 2 * QP * W, the
// weights as floats (every quotient the kernels form is then exact, see
// quant_sse41.cpp).
struct FwdRecord {
    Mox16s matrix[64];
    Mox32f weight[64];
    RecordTail tail;
};

static_assert(sizeof(InvRecord) == 140 && sizeof(FwdRecord) == 396, "record layouts");
inline constexpr int kInvRecordBytes = static_cast<int>(sizeof(InvRecord)) + 16;  // 156
inline constexpr int kFwdRecordBytes = static_cast<int>(sizeof(FwdRecord)) + 16;  // 412

// ---------------------------------------------------------------- exact reciprocals
// floor(a / d) for a in 0..32800 (every numerator the forward quantisers form)
// and d = 2 * QP, QP 1..511, as (a * mul) >> (16 + shift): the high half of a
// 16x16 unsigned product, then a shift. With shift = ceil(log2 d) - 1 and
// mul = ceil(2^(16 + shift) / d) < 2^16, the error a * (mul * d - 2^(16 + shift))
// stays below 2^(16 + shift) for a < 2^(16 + shift) / (d - 1), which is above
// 32800 for every such d (Granlund-Montgomery); the tests check every a.
struct Reciprocal {
    uint16_t mul;
    uint16_t shift;
};

constexpr Reciprocal reciprocalOf(int d) {
    int shift = 0;
    while ((2 << shift) < d) ++shift;  // 2^(shift + 1) >= d > 2^shift
    const int64_t p = int64_t{1} << (16 + shift);
    return {static_cast<uint16_t>((p + d - 1) / d), static_cast<uint16_t>(shift)};
}

// Indexed by QP (entry 0 unused).
inline constexpr std::array<Reciprocal, 512> kHalfStepRecip = [] {
    std::array<Reciprocal, 512> t{};
    for (int qp = 1; qp < 512; ++qp) t[qp] = reciprocalOf(2 * qp);
    return t;
}();

}  // namespace mox::mpeg4
