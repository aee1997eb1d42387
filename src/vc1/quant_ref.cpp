// Scalar reference models of VC-1 quantisation and inverse quantisation.
#include "vc1/quant_ref.h"

#include <algorithm>
#include <cstdint>

#include "core/pixel.h"
#include "vc1/quant_tables.h"

namespace mox::ref::vc1 {

MoxiSize quantInv(const Mox16s* pSrc, int srcStep, Mox16s* pDst, int dstStep, int quant, int width, int height,
                  bool intra, bool nonuniform) {
    const uint32_t q = static_cast<uint32_t>(quant), h = static_cast<uint32_t>(quant >> 1);
    MoxiSize nz{0, intra ? 1 : 0};
    Mox16s dc = pSrc[0];
    for (int y = 0; y < height; ++y) {
        const Mox16s* s = row(pSrc, srcStep, y);
        Mox16s* d = row(pDst, dstStep, y);
        for (int x = 0; x < width; ++x) {
            int c = s[x];
            uint32_t v = static_cast<uint32_t>(c) * q;
            if (nonuniform) v = c > 0 ? v + h : (c < 0 ? v - h : 0);
            Mox16s r = static_cast<Mox16s>(static_cast<uint16_t>(v));
            if (r != 0) {
                nz.width = std::max(nz.width, x + 1);
                nz.height = std::max(nz.height, y + 1);
            }
            d[x] = r;
        }
    }
    if (intra) pDst[0] = dc;
    return nz;
}

int divideByQuant(int v, int quant) {
    const mox::vc1::QuantReciprocal& r = mox::vc1::kQuantReciprocal[quant - 2];
    switch (r.kind) {
        case mox::vc1::kPow2: return (v + (v < 0 ? quant - 1 : 0)) >> r.shift;
        case mox::vc1::kMulHigh: return ((v * r.m) >> 16 >> r.shift) + (v < 0);
        default: {
            int t = std::clamp(((v * r.m) >> 16) + v, -32768, 32767);
            return (t >> r.shift) + (v < 0);
        }
    }
}

void quantFwd(Mox16s* pSrcDst, int step, int quant, int width, int height, bool intra, bool nonuniform) {
    const int h = nonuniform ? quant >> 1 : 0;
    for (int y = 0; y < height; ++y) {
        Mox16s* p = row(pSrcDst, step, y);
        for (int x = 0; x < width; ++x) {
            if (intra && x == 0 && y == 0) continue;
            int c = p[x];
            int v = c > 0 ? c - h : (c < 0 ? c + h : 0);
            p[x] = static_cast<Mox16s>(divideByQuant(v, quant));
        }
    }
}

}  // namespace mox::ref::vc1
