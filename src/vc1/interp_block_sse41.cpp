// VC-1 interpolation block forms: the reference area of a block (one sample
// before and two after it in each direction) is taken from the reference
// plane directly when it lies inside and no intensity compensation applies;
// otherwise it is first gathered into a local 19 x 19 area with the plane's
// edge samples repeated (rows keeping their field parity when asked) and
// every sample mapped through its line's table. Nothing outside the
// reference plane is ever read, wherever the block lies.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "me/simd.h"
#include "vc1/interp_kernels.h"
#include "vc1/interp_sizes.h"

namespace {

using namespace mox;

enum class Kind { Bicubic, Bilinear, BilinearPairs };

constexpr int kArea = 19;  // 16 + 3 samples per area row and column

// The reference row that stands for area row `want` (any value).
inline int64_t sourceRow(int64_t want, int64_t height, bool keepParity) {
    int64_t got = want;
    if (want < 0) got = keepParity ? (want & 1) : 0;
    if (want >= height) got = keepParity ? height - 1 - ((height - 1 - want) & 1) : height - 1;
    return std::clamp<int64_t>(got, 0, height - 1);
}

template <Kind K>
MoxStatus interpolateBlock(const MoxVCBlockICParams* pParams) {
    MOX_CHECK_PTRS(pParams);
    MOX_CHECK_PTRS(pParams->pSrc, pParams->pDst);
    const MoxVCBlockICParams& p = *pParams;
    const MoxiSize bs = K == Kind::Bicubic    ? vc1::bicubicSize(p.blockSize)
                        : K == Kind::Bilinear ? vc1::bilinearSize(p.blockSize)
                                              : vc1::bilinearPairsSize(p.blockSize);
    constexpr int P = K == Kind::BilinearPairs ? 2 : 1;  // bytes per sample group
    const bool field = p.isFieldRef != 0;
    const int64_t step = field ? 2 * static_cast<int64_t>(p.srcStep) : p.srcStep;
    const int64_t fw = std::max(p.frameSize.width, 1);
    const int64_t fh = std::max(field ? p.frameSize.height >> 1 : p.frameSize.height, 1);
    const int64_t x = p.blockPos.x, y = p.blockPos.y;
    auto run = [&](const Mox8u* src, int64_t srcStep) {
        if constexpr (K == Kind::Bicubic)
            vc1::bicubic8u(src, static_cast<int>(srcStep), p.pDst, p.dstStep, bs, p.quarterMv.dx, p.quarterMv.dy,
                           static_cast<int>(p.rnd));
        else
            vc1::bilinear8u(src, static_cast<int>(srcStep), p.pDst, p.dstStep, bs, p.quarterMv.dx, p.quarterMv.dy,
                            static_cast<int>(p.rnd), K == Kind::BilinearPairs);
    };
    const bool inside = x >= 1 && x <= fw - bs.width - 2 && y >= 1 && y <= fh - bs.height - 2;
    if (inside && !p.pTopFieldLut && !p.pBottomFieldLut && step >= INT32_MIN && step <= INT32_MAX) {
        run(p.pSrc + y * step + x * P, step);
        return moxStsNoErr;
    }
    alignas(16) Mox8u area[kArea * kArea * P];
    const int cols = bs.width + 3, rows = bs.height + 3;
    // Area columns that fall left of column 0 or right of the last column.
    const int left = static_cast<int>(std::clamp<int64_t>(1 - x, 0, cols));
    const int right = static_cast<int>(std::clamp<int64_t>(x - 1 + cols - fw, 0, cols));
    const int mid = cols - left - right;       // area columns inside the picture
    const int64_t edge = left > 0 ? 0 : fw - 1;  // the one column of an area wholly outside
    const bool keep = p.keepFieldParity != 0 && !field;
    for (int r = 0; r < rows; ++r) {
        const int64_t sr = sourceRow(y - 1 + r, fh, keep);
        const Mox8u* lut = field ? (p.isBottomField ? p.pBottomFieldLut : p.pTopFieldLut)
                                 : ((sr & 1) ? p.pBottomFieldLut : p.pTopFieldLut);
        const Mox8u* s = p.pSrc + sr * step;
        Mox8u* d = area + r * kArea * P;
        if (mid > 0) {
            // The inside run (copied or mapped), then the edge groups repeated outward.
            const Mox8u* si = s + (x - 1 + left) * P;
            Mox8u* di = d + left * P;
            if (lut)
                for (int i = 0; i < mid * P; ++i) di[i] = lut[si[i]];
            else
                simd::copyRow(di, si, mid * P);
            for (int c = 0; c < left; ++c) std::memcpy(d + c * P, di, P);
            for (int c = 0; c < right; ++c) std::memcpy(di + (mid + c) * P, di + (mid - 1) * P, P);
        } else {
            // Wholly left or right of the picture: every column is the same edge column.
            for (int c = 0; c < cols; ++c)
                for (int k = 0; k < P; ++k) d[c * P + k] = lut ? lut[s[edge * P + k]] : s[edge * P + k];
        }
    }
    run(area + (kArea + 1) * P, kArea * P);
    return moxStsNoErr;
}

}  // namespace

MOX_FN moxiInterpolateICBicubicBlock_VC1_8u_C1R(const MoxVCBlockICParams* pParams) {
    return interpolateBlock<Kind::Bicubic>(pParams);
}

MOX_FN moxiInterpolateICBilinearBlock_VC1_8u_C1R(const MoxVCBlockICParams* pParams) {
    return interpolateBlock<Kind::Bilinear>(pParams);
}

MOX_FN moxiInterpolateICBilinearBlock_VC1_8u_C2R(const MoxVCBlockICParams* pParams) {
    return interpolateBlock<Kind::BilinearPairs>(pParams);
}
