// H.264 dequantisation and inverse transforms: one call handles one block.
// Levels are small and mostly zero, as streams carry them. Consecutive calls
// take turns over eight blocks, as a decoder's calls work on different
// blocks; in-place members keep working on their own output.
#include <cstring>

#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kBlocks = 8;

struct Inputs {
    alignas(16) Mox16s levels[kBlocks][128];
    alignas(16) Mox32s levels32[kBlocks][128];
    alignas(16) Mox16s predCoeffs[16];
    alignas(16) Mox8u pred[16 * 16], dst[16 * 16];
    alignas(16) Mox16u pred16[16 * 16], dst16[16 * 16];
    Mox16s dc = 100;
    Mox32s dc32 = 100;

    Inputs() {
        auto r = mox::bench::randomBuffer<uint8_t>(1024, 255, 7);
        for (int b = 0; b < kBlocks; ++b)
            for (int k = 0; k < 128; ++k) {
                int v = r[(k + 37 * b) % 512] % 9 == 0 ? static_cast<int>(r[512 + (k + 91 * b) % 512] % 21) - 10 : 0;
                levels[b][k] = static_cast<Mox16s>(v);
                levels32[b][k] = v;
            }
        for (int k = 0; k < 16; ++k) predCoeffs[k] = static_cast<Mox16s>((r[128 + k] - 128) * 8);
        for (int k = 0; k < 256; ++k) {
            pred[k] = r[256 + k];
            pred16[k] = static_cast<Mox16u>(r[256 + k] * 4);
        }
    }
};

// `call` sees the turn's levels L (16-bit) and L32 (32-bit), 128 of them, and
// the flat LevelScale tables t4 and t8.
#define MOX_BENCH(name, call)                                \
    void BM_##name(benchmark::State& st) {                   \
        Inputs in;                                           \
        const Mox16s* t4 = moxiGetLevelScale_H264(2, 0);     \
        const Mox16s* t8 = moxiGetLevelScale_H264(2, 1);     \
        unsigned turn = 0;                                   \
        mox::bench::measure(st, [&] {                        \
            Mox16s* L = in.levels[turn % kBlocks];           \
            Mox32s* L32 = in.levels32[turn++ % kBlocks];     \
            (void)L, (void)L32, (void)t4, (void)t8;          \
            call;                                            \
        });                                                  \
    }                                                        \
    BENCHMARK(BM_##name)->Name(#name);

// Flat tables.
MOX_BENCH(DequantTransformResidual_16s, moxiDequantTransformResidual_H264_16s_C1I(L, 8, nullptr, 1, 28))
MOX_BENCH(DequantTransformResidual_16s_DcOnly, moxiDequantTransformResidual_H264_16s_C1I(L, 8, &in.dc, 0, 28))
MOX_BENCH(DequantTransformResidualAndAdd_16s,
          moxiDequantTransformResidualAndAdd_H264_16s_C1I(in.pred, L, nullptr, in.dst, 16, 16, 28, 1))
MOX_BENCH(DequantTransformResidualAndAdd_16s_DcOnly,
          moxiDequantTransformResidualAndAdd_H264_16s_C1I(in.pred, nullptr, &in.dc, in.dst, 16, 16, 28, 0))
MOX_BENCH(TransformDequantLumaDC_16s, moxiTransformDequantLumaDC_H264_16s_C1I(L, 28))
MOX_BENCH(TransformDequantChromaDC_16s, moxiTransformDequantChromaDC_H264_16s_C1I(L, 28))
MOX_BENCH(TransformPrediction_8u16s, moxiTransformPrediction_H264_8u16s_C1(in.pred, 16, L))

// Scaled coefficients and LevelScale tables (QP 20 shifts right, QP 38 left).
MOX_BENCH(TransformResidual4x4Inv_16s, moxiTransformResidual4x4Inv_H264_16s_C1(L, L + 64, 8))
MOX_BENCH(TransformResidual4x4Inv_32s, moxiTransformResidual4x4Inv_H264_32s_C1(L32, L32 + 64, 16))
MOX_BENCH(TransformQuantInvAddPred4x4_16s_QP20,
          moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(in.pred, 16, L, nullptr, in.dst, 16, 20, 1, t4))
MOX_BENCH(TransformQuantInvAddPred4x4_16s_QP38,
          moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(in.pred, 16, L, nullptr, in.dst, 16, 38, 1, t4))
MOX_BENCH(TransformQuantInvAddPred4x4_16s_DcOnly,
          moxiTransformQuantInvAddPred4x4_H264_16s_C1IR(in.pred, 16, nullptr, &in.dc, in.dst, 16, 20, 0, t4))
MOX_BENCH(TransformQuantInvAddPred4x4_32s,
          moxiTransformQuantInvAddPred4x4_H264_32s_C1IR(in.pred16, 32, L32, nullptr, in.dst16, 32, 32, 1, t4, 10))
MOX_BENCH(TransformQuantInvLumaDC4x4_16s, moxiTransformQuantInvLumaDC4x4_H264_16s_C1I(L, 20, t4))
MOX_BENCH(TransformQuantInvLumaDC4x4_32s, moxiTransformQuantInvLumaDC4x4_H264_32s_C1I(L32, 32, t4))
MOX_BENCH(TransformQuantInvChromaDC2x2_16s, moxiTransformQuantInvChromaDC2x2_H264_16s_C1I(L, 20, t4))
MOX_BENCH(TransformQuantInvChromaDC2x2_32s, moxiTransformQuantInvChromaDC2x2_H264_32s_C1I(L32, 32, t4))
MOX_BENCH(TransformQuantInvChromaDC2x4_16s, moxiTransformQuantInvChromaDC2x4_H264_16s_C1I(L, 20, t4))
MOX_BENCH(TransformQuantInvChromaDC2x4_32s, moxiTransformQuantInvChromaDC2x4_H264_32s_C1I(L32, 32, t4))
MOX_BENCH(QuantLuma8x8Inv_16s_QP20, moxiQuantLuma8x8Inv_H264_16s_C1I(L, 20, t8))
MOX_BENCH(QuantLuma8x8Inv_16s_QP38, moxiQuantLuma8x8Inv_H264_16s_C1I(L, 38, t8))
MOX_BENCH(QuantInvLuma8x8_32s, moxiQuantInvLuma8x8_H264_32s_C1I(L32, 32, t8))
MOX_BENCH(TransformLuma8x8InvAddPred_16s8u,
          moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(in.pred, 16, L, in.dst, 16))
MOX_BENCH(TransformInvAddPredLuma8x8_32s16u,
          moxiTransformInvAddPredLuma8x8_H264_32s16u_C1R(in.pred16, 32, L32, in.dst16, 32, 10))
// Dequantisation and 8x8 transform with prediction as two calls.
MOX_BENCH(QuantThenTransform8x8_16s8u, {
    moxiQuantLuma8x8Inv_H264_16s_C1I(L, 20, t8);
    moxiTransformLuma8x8InvAddPred_H264_16s8u_C1R(in.pred, 16, L, in.dst, 16);
})

// Switching slices.
MOX_BENCH(DequantTransformResidual_SISP_16s,
          moxiDequantTransformResidual_SISP_H264_16s_C1I(L, in.predCoeffs, nullptr, 1, 28, 26, 0))
MOX_BENCH(DequantTransformResidual_SISP_16s_Switching,
          moxiDequantTransformResidual_SISP_H264_16s_C1I(L, in.predCoeffs, nullptr, 1, 28, 26, 1))
MOX_BENCH(TransformDequantChromaDC_SISP_16s,
          moxiTransformDequantChromaDC_SISP_H264_16s_C1I(L, in.predCoeffs, 28, 26, 0))

}  // namespace
