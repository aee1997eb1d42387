#include "mpeg4/quant_ref.h"

#include <cstdint>

#include "core/pixel.h"
#include "mpeg4/quant_tables.h"

namespace mox::ref {
namespace {

using namespace mox::mpeg4;

int64_t absOf(int64_t v) { return v < 0 ? -v : v; }
int64_t withSign(int64_t mag, int64_t like) { return like < 0 ? -mag : mag; }

// The last raster position an inverse quantiser touches: whole rows of 8 up to the last index.
int rowEnd(int last) { return (clamp(last, 0, 63) | 7); }

void countNonZero(const Mox16s* pBlock, int* pCount) {
    int n = 0;
    for (int k = 0; k < 64; ++k) n += pBlock[k] != 0;
    *pCount = n;
}

// sign(c) * min(floor(a / (2 QP)), maxLevel) with a = |c| + bias (bias may be negative; a >= 0).
Mox16s level(int64_t c, int qp, int64_t bias, int64_t maxLevel) {
    int64_t a = absOf(c) + bias;
    if (a < 0) a = 0;
    const int64_t l = a / (2 * qp);
    return static_cast<Mox16s>(withSign(l < maxLevel ? l : maxLevel, c));
}

// The H.263 method (and H.263 itself): 0 stays 0, else sign(c) (2 QP |c| + adj), clamped to -range .. range - 1.
Mox16s reconH263(int64_t c, int qp, int adj, int range) {
    if (c == 0) return 0;
    return static_cast<Mox16s>(clamp<int64_t>(withSign(2 * qp * absOf(c) + adj, c), -range, range - 1));
}

// The first (matrix) method, clause 7.4.4.1: (2 c + k) W QP / 16 truncated toward zero, k = 0 intra, sign(c) inter.
Mox16s reconMatrix(int64_t c, int w, int qp, bool inter, int range) {
    const int64_t k = inter ? (c > 0) - (c < 0) : 0;
    const int64_t v = (2 * c + k) * w * qp;
    return static_cast<Mox16s>(clamp<int64_t>(withSign(absOf(v) / 16, v), -range, range - 1));
}

}  // namespace

void quantInterH263(Mox16s* pBlock, int qp, int* pCount, int modQuant) {
    const int maxLevel = qp < 8 && !modQuant ? kH263MaxLevel : 1 << 20;
    for (int k = 0; k < 64; ++k) pBlock[k] = level(pBlock[k], qp, -(qp / 2), maxLevel);
    countNonZero(pBlock, pCount);
}

void quantIntraH263(Mox16s* pBlock, int qp, int* pCount, int advIntra, int modQuant) {
    if (advIntra) {
        const int maxLevel = modQuant ? 1 << 20 : kH263MaxLevel;
        for (int k = 0; k < 64; ++k) pBlock[k] = level(pBlock[k], qp, qp, maxLevel);
    } else {
        const int maxLevel = qp < 8 && !modQuant ? kH263MaxLevel : 1 << 20;
        for (int k = 1; k < 64; ++k) pBlock[k] = level(pBlock[k], qp, 0, maxLevel);
        int dc = (pBlock[0] + 4) >> 3;
        if (dc == 0) dc = 1;
        if (dc == 255) dc = 254;
        pBlock[0] = static_cast<Mox16s>(dc);
    }
    countNonZero(pBlock, pCount);
}

void quantInvInterH263(Mox16s* pBlock, int last, int qp, int /*modQuant*/) {
    for (int k = 0; k <= rowEnd(last); ++k) pBlock[k] = reconH263(pBlock[k], qp, oddAdjust(qp), kH263Range);
}

void quantInvIntraH263(Mox16s* pBlock, int last, int qp, int advIntra, int /*modQuant*/) {
    if (advIntra) {
        for (int k = 0; k <= rowEnd(last); ++k) pBlock[k] = reconH263(pBlock[k], qp, 0, kH263Range);
        return;
    }
    const int dc = pBlock[0];
    if (last > 0)
        for (int k = 1; k <= rowEnd(last); ++k) pBlock[k] = reconH263(pBlock[k], qp, oddAdjust(qp), kH263Range);
    pBlock[0] = static_cast<Mox16s>(dc * 8);
}

void quantInvIntraMpeg4(Mox16s* pBlock, int last, const Mox8u* pMatrix, int bitDepth, int qp, int blockType) {
    const int range = coefRange(bitDepth);
    const int64_t dc = clamp<int64_t>(int64_t{dcScaler(qp, blockType == 0)} * pBlock[0], -range, range - 1);
    if (last < 1) {
        if (pMatrix && dc % 2 == 0) pBlock[63] = 1;
    } else {
        int64_t sum = dc;
        for (int k = 1; k <= rowEnd(last); ++k) {
            pBlock[k] = pMatrix ? reconMatrix(pBlock[k], pMatrix[k], qp, false, range)
                                : reconH263(pBlock[k], qp, oddAdjust(qp), range);
            sum += pBlock[k];
        }
        // Mismatch control, clause 7.4.4.3.
        if (pMatrix && sum % 2 == 0) pBlock[63] = static_cast<Mox16s>(pBlock[63] % 2 != 0 ? pBlock[63] - 1 : pBlock[63] + 1);
    }
    pBlock[0] = static_cast<Mox16s>(dc);
}

void quantInvInterMpeg4(Mox16s* pBlock, int last, const Mox8u* pMatrix, int bitDepth, int qp) {
    if (last < 0) return;
    const int range = coefRange(bitDepth);
    int64_t sum = 0;
    for (int k = 0; k <= rowEnd(last); ++k) {
        pBlock[k] = pMatrix ? reconMatrix(pBlock[k], pMatrix[k], qp, true, range)
                            : reconH263(pBlock[k], qp, oddAdjust(qp), range);
        sum += pBlock[k];
    }
    if (pMatrix && sum % 2 == 0) pBlock[63] = static_cast<Mox16s>(pBlock[63] % 2 != 0 ? pBlock[63] - 1 : pBlock[63] + 1);
}

void quantIntraMpeg4(Mox16s* pBlock, const Mox8u* pMatrix, int bitDepth, int qp, int* pCount, int blockType) {
    const int64_t maxLevel = coefRange(bitDepth) - 1;
    const int64_t s = dcScaler(qp, blockType == 0);
    const int64_t dc = withSign((absOf(pBlock[0]) + s / 2) / s, pBlock[0]);
    pBlock[0] = static_cast<Mox16s>(clamp(dc, -maxLevel, maxLevel));
    const int64_t round = (3 * qp + 2) / 4;  // 3/8 of the step, the verification model's intra rounding
    for (int k = 1; k < 64; ++k) {
        const int64_t c = pBlock[k];
        int64_t l;
        if (pMatrix) {
            const int64_t w = pMatrix[k];
            l = ((16 * absOf(c) + w / 2) / w + round) / (2 * qp);
        } else {
            l = absOf(c) / (2 * qp);
        }
        pBlock[k] = static_cast<Mox16s>(withSign(l < maxLevel ? l : maxLevel, c));
    }
    countNonZero(pBlock, pCount);
}

void quantInterMpeg4(Mox16s* pBlock, const Mox8u* pMatrix, int bitDepth, int qp, int* pCount) {
    const int64_t maxLevel = coefRange(bitDepth) - 1;
    for (int k = 0; k < 64; ++k) {
        if (pMatrix) {
            const int64_t c = pBlock[k], w = pMatrix[k];
            const int64_t l = ((16 * absOf(c) + w / 2) / w) / (2 * qp);
            pBlock[k] = static_cast<Mox16s>(withSign(l < maxLevel ? l : maxLevel, c));
        } else {
            pBlock[k] = level(pBlock[k], qp, -(qp / 2), maxLevel);
        }
    }
    countNonZero(pBlock, pCount);
}

}  // namespace mox::ref
