// H.264 intra prediction and macroblock reconstruction: one call predicts one
// block or rebuilds one macroblock inside a picture whose neighbours are all
// there. Coefficient streams hold small, mostly zero levels, as decoders see
// them; every macroblock member runs with all its blocks coded and with none.
#include <cstring>
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

constexpr int kStride = 96;  // a picture of 96 x 64 samples, the macroblock at (32, 16)

struct Picture {
    std::vector<Mox8u> pix = mox::bench::randomBuffer<Mox8u>(kStride * 64, 255, 3);
    std::vector<Mox16u> pix16 = mox::bench::randomBuffer<Mox16u>(kStride * 64, 1023, 3);  // 10-bit
    Mox8u* mb() { return pix.data() + 16 * kStride + 32; }
    Mox16u* mb16() { return pix16.data() + 16 * kStride + 32; }
};

constexpr int kAll = 0x63;  // every neighbour of the stand-alone predictors

// Levels of every block a macroblock can hold, small and mostly zero.
struct Levels {
    std::vector<Mox16s> v = std::vector<Mox16s>(16 * 17 + 64 * 4 + 32);
    std::vector<Mox32s> v32 = std::vector<Mox32s>(v.size());
    Levels() {
        auto r = mox::bench::randomBuffer<uint8_t>(v.size() * 2, 255, 5);
        for (size_t k = 0; k < v.size(); ++k) {
            v[k] = static_cast<Mox16s>(r[2 * k] % 5 == 0 ? static_cast<int>(r[2 * k + 1] % 31) - 15 : 0);
            v32[k] = v[k];
        }
    }
};

// Intra4x4 modes of every kind, and 8x8 ones.
constexpr Mox32u kModes4x4[16] = {2, 0, 1, 4, 5, 6, 3, 7, 8, 2, 0, 1, 4, 6, 5, 8};
constexpr Mox32u kModes8x8[4] = {2, 4, 3, 8};

// `call` sees the picture p (macroblock at p.mb(), rows kStride apart; chroma
// planes at p.mb() and p.mb() + 16), the levels L (16-bit) and L32, a stream
// pointer s reset to them on every call, and the flat LevelScale tables t4, t8.
#define MOX_BENCH(name, call)                            \
    void BM_##name(benchmark::State& st) {               \
        Picture p;                                       \
        Levels lv;                                       \
        Mox16s* L = lv.v.data();                         \
        Mox32s* L32 = lv.v32.data();                     \
        const Mox16s* t4 = moxiGetLevelScale_H264(2, 0); \
        const Mox16s* t8 = moxiGetLevelScale_H264(2, 1); \
        (void)L, (void)L32, (void)t4, (void)t8;          \
        mox::bench::measure(st, [&] {                    \
            Mox16s* s = L;                               \
            Mox32s* s32 = L32;                           \
            (void)s, (void)s32;                          \
            call;                                        \
        });                                              \
    }                                                    \
    BENCHMARK(BM_##name)->Name(#name);

// ---------------------------------------------------------------- stand-alone predictors

MOX_BENCH(PredictIntra4x4_V, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 0, kAll))
MOX_BENCH(PredictIntra4x4_H, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 1, kAll))
MOX_BENCH(PredictIntra4x4_DC, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 2, kAll))
MOX_BENCH(PredictIntra4x4_DDL, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 3, kAll))
MOX_BENCH(PredictIntra4x4_DDR, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 4, kAll))
MOX_BENCH(PredictIntra4x4_VR, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 5, kAll))
MOX_BENCH(PredictIntra4x4_HD, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 6, kAll))
MOX_BENCH(PredictIntra4x4_VL, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 7, kAll))
MOX_BENCH(PredictIntra4x4_HU, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 8, kAll))
MOX_BENCH(PredictIntra4x4_DDL_NoUpperRight, moxiPredictIntra_4x4_H264_8u_C1IR(p.mb(), kStride, 3, 0x23))

MOX_BENCH(PredictIntra16x16_V, moxiPredictIntra_16x16_H264_8u_C1IR(p.mb(), kStride, 0, kAll))
MOX_BENCH(PredictIntra16x16_H, moxiPredictIntra_16x16_H264_8u_C1IR(p.mb(), kStride, 1, kAll))
MOX_BENCH(PredictIntra16x16_DC, moxiPredictIntra_16x16_H264_8u_C1IR(p.mb(), kStride, 2, kAll))
MOX_BENCH(PredictIntra16x16_DC_NoNeighbours, moxiPredictIntra_16x16_H264_8u_C1IR(p.mb(), kStride, 2, 0))
MOX_BENCH(PredictIntra16x16_Plane, moxiPredictIntra_16x16_H264_8u_C1IR(p.mb(), kStride, 3, kAll))

MOX_BENCH(PredictIntraChroma8x8_DC, moxiPredictIntraChroma8x8_H264_8u_C1IR(p.mb(), kStride, 0, kAll))
MOX_BENCH(PredictIntraChroma8x8_H, moxiPredictIntraChroma8x8_H264_8u_C1IR(p.mb(), kStride, 1, kAll))
MOX_BENCH(PredictIntraChroma8x8_V, moxiPredictIntraChroma8x8_H264_8u_C1IR(p.mb(), kStride, 2, kAll))
MOX_BENCH(PredictIntraChroma8x8_Plane, moxiPredictIntraChroma8x8_H264_8u_C1IR(p.mb(), kStride, 3, kAll))

// ---------------------------------------------------------------- 8-bit macroblocks, every block coded / none

MOX_BENCH(ReconstructLumaIntraMB_All,
          moxiReconstructLumaIntraMB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0x1FFFE, 28, 0))
MOX_BENCH(ReconstructLumaIntraMB_None,
          moxiReconstructLumaIntraMB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0, 28, 0))
MOX_BENCH(ReconstructLumaIntra4x4MB_All,
          moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0x1FFFE, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaIntra4x4MB_None,
          moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaIntra8x8MB_All,
          moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes8x8, 0xF, 28, 0, t8, 0))
MOX_BENCH(ReconstructLumaIntra8x8MB_None,
          moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes8x8, 0, 28, 0, t8, 0))
MOX_BENCH(ReconstructLumaIntra16x16MB_All_Plane,
          moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 3, 0x1FFFF, 28, 0))
MOX_BENCH(ReconstructLumaIntra16x16MB_All_DC,
          moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 2, 0x1FFFF, 28, 0))
MOX_BENCH(ReconstructLumaIntra16x16MB_None,
          moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 3, 0, 28, 0))
MOX_BENCH(ReconstructLumaIntra_16x16MB_All,
          moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 3, 0x1FFFF, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaIntra_16x16MB_None,
          moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 3, 0, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaInter4x4MB_All,
          moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, 0x1FFFE, 28, t4, 0))
MOX_BENCH(ReconstructLumaInter4x4MB_None,
          moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, 0, 28, t4, 0))
MOX_BENCH(ReconstructLumaInter8x8MB_All,
          moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, 0xF, 28, t8, 0))
MOX_BENCH(ReconstructLumaInter8x8MB_None,
          moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, 0, 28, t8, 0))
MOX_BENCH(ReconstructChromaIntraMB_All,
          moxiReconstructChromaIntraMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 0))
MOX_BENCH(ReconstructChromaIntraMB_None,
          moxiReconstructChromaIntraMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 0))
MOX_BENCH(ReconstructChromaInterMB_All,
          moxiReconstructChromaInterMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 0x7FE0000, 28))
MOX_BENCH(ReconstructChromaInterMB_None,
          moxiReconstructChromaInterMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 0, 28))
MOX_BENCH(ReconstructChromaIntra4x4MB_All,
          moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 28, 0, t4,
                                                         t4, 0))
MOX_BENCH(ReconstructChromaIntra4x4MB_None,
          moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 28, 0, t4, t4, 0))
MOX_BENCH(ReconstructChromaInter4x4MB_All,
          moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 0x7FE0000, 28, 28, t4, t4,
                                                         0))
MOX_BENCH(ReconstructChromaInter4x4MB_None,
          moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 0, 28, 28, t4, t4, 0))
// Lossless.
MOX_BENCH(ReconstructLumaIntra4x4MB_All_Lossless,
          moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0x1FFFE, 0, 0, t4, 1))
MOX_BENCH(ReconstructLumaIntra_16x16MB_All_Lossless,
          moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(&s, p.mb(), kStride, 1, 0x1FFFF, 0, 0, t4, 1))

// ---------------------------------------------------------------- High profiles (10-bit samples, QP' 40)

MoxReconstructLuma_H264High luma16(Picture& p, const Mox32u* modes, Mox32u mode, Mox32u cbp, const Mox16s* table) {
    return {p.mb16(), 2 * kStride, modes, mode, cbp, 40, 0, 0, table, 10};
}

MoxReconstructChroma_H264High chroma16(Picture& p, Mox32u cbp, const Mox16s* table) {
    return {p.mb16(), p.mb16() + 16, 2 * kStride, 3, cbp, 40, 40, 0, 0, table, table, table, table, 10};
}

MoxReconstructChroma8u_H264High chroma8(Picture& p, Mox32u cbp, const Mox16s* table) {
    return {p.mb(), p.mb() + 16, kStride, 3, cbp, 28, 28, 0, 0, table, table, table, table};
}

#define MOX_BENCH_LUMA16(name, fn, modes, mode, cbp, table)                 \
    MOX_BENCH(name, {                                                       \
        MoxReconstructLuma_H264High m = luma16(p, modes, mode, cbp, table); \
        fn(&s32, &m);                                                       \
    })

MOX_BENCH_LUMA16(ReconstructLumaIntra4x4_High_All, moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R, kModes4x4, 0,
                 0x1FFFE, t4)
MOX_BENCH_LUMA16(ReconstructLumaIntra4x4_High_None, moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R, kModes4x4, 0, 0,
                 t4)
MOX_BENCH_LUMA16(ReconstructLumaIntra8x8_High_All, moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R, kModes8x8, 0, 0xF,
                 t8)
MOX_BENCH_LUMA16(ReconstructLumaIntra8x8_High_None, moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R, kModes8x8, 0, 0,
                 t8)
MOX_BENCH_LUMA16(ReconstructLumaIntra16x16_High_All, moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R, nullptr, 3,
                 0x1FFFF, t4)
MOX_BENCH_LUMA16(ReconstructLumaIntra16x16_High_None, moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R, nullptr, 3, 0,
                 t4)
MOX_BENCH_LUMA16(ReconstructLumaInter4x4_High_All, moxiReconstructLumaInter4x4_H264High_32s16u_IP1R, nullptr, 0,
                 0x1FFFE, t4)
MOX_BENCH_LUMA16(ReconstructLumaInter4x4_High_None, moxiReconstructLumaInter4x4_H264High_32s16u_IP1R, nullptr, 0, 0, t4)
MOX_BENCH_LUMA16(ReconstructLumaInter8x8_High_All, moxiReconstructLumaInter8x8_H264High_32s16u_IP1R, nullptr, 0, 0xF,
                 t8)
MOX_BENCH_LUMA16(ReconstructLumaInter8x8_High_None, moxiReconstructLumaInter8x8_H264High_32s16u_IP1R, nullptr, 0, 0, t8)

#define MOX_BENCH_CHROMA(name, fn, record, stream, cbp) \
    MOX_BENCH(name, {                                   \
        auto m = record(p, cbp, t4);                    \
        fn(&stream, &m);                                \
    })

MOX_BENCH_CHROMA(ReconstructChromaIntra4x4_High_All, moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R, chroma16, s32,
                 0x7FE0000)
MOX_BENCH_CHROMA(ReconstructChromaIntra4x4_High_None, moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R, chroma16, s32,
                 0)
MOX_BENCH_CHROMA(ReconstructChromaInter4x4_High_All, moxiReconstructChromaInter4x4_H264High_32s16u_IP2R, chroma16, s32,
                 0x7FE0000)
MOX_BENCH_CHROMA(ReconstructChromaInter4x4_High_None, moxiReconstructChromaInter4x4_H264High_32s16u_IP2R, chroma16, s32,
                 0)
MOX_BENCH_CHROMA(ReconstructChroma422Intra4x4_High_All, moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R, chroma16,
                 s32, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422Intra4x4_High_None, moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0)
MOX_BENCH_CHROMA(ReconstructChroma422Inter4x4_High_All, moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R, chroma16,
                 s32, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422Inter4x4_High_None, moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0)
MOX_BENCH_CHROMA(ReconstructChroma422Intra4x4_High8_All, moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R, chroma8,
                 s, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422Intra4x4_High8_None, moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R, chroma8,
                 s, 0)
MOX_BENCH_CHROMA(ReconstructChroma422Inter4x4_High8_All, moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R, chroma8,
                 s, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422Inter4x4_High8_None, moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R, chroma8,
                 s, 0)

// ---------------------------------------------------------------- Half forms (left column split, both halves usable)

MOX_BENCH(ReconstructLumaIntraHalfMB_All,
          moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0x1FFFE, 28, 0))
MOX_BENCH(ReconstructLumaIntraHalfMB_None,
          moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0, 28, 0))
MOX_BENCH(ReconstructLumaIntraHalf4x4MB_All,
          moxiReconstructLumaIntraHalf4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0x1FFFE, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaIntraHalf4x4MB_None,
          moxiReconstructLumaIntraHalf4x4MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes4x4, 0, 28, 0, t4, 0))
MOX_BENCH(ReconstructLumaIntraHalf8x8MB_All,
          moxiReconstructLumaIntraHalf8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes8x8, 0xF, 28, 0, t8, 0))
MOX_BENCH(ReconstructLumaIntraHalf8x8MB_None,
          moxiReconstructLumaIntraHalf8x8MB_H264_16s8u_C1R(&s, p.mb(), kStride, kModes8x8, 0, 28, 0, t8, 0))
MOX_BENCH(ReconstructChromaIntraHalfsMB_All,
          moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 0))
MOX_BENCH(ReconstructChromaIntraHalfsMB_None,
          moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 0))
MOX_BENCH(ReconstructChromaIntraHalvesMB_All,
          moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 0))
MOX_BENCH(ReconstructChromaIntraHalvesMB_None,
          moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 0))
MOX_BENCH(ReconstructChromaIntraHalfs4x4MB_All,
          moxiReconstructChromaIntraHalfs4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 28, 0,
                                                              t4, t4, 0))
MOX_BENCH(ReconstructChromaIntraHalfs4x4MB_None,
          moxiReconstructChromaIntraHalfs4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 28, 0, t4, t4,
                                                              0))
MOX_BENCH(ReconstructChromaIntraHalves4x4MB_All,
          moxiReconstructChromaIntraHalves4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0x7FE0000, 28, 28,
                                                               0, t4, t4, 0))
MOX_BENCH(ReconstructChromaIntraHalves4x4MB_None,
          moxiReconstructChromaIntraHalves4x4MB_H264_16s8u_P2R(&s, p.mb(), p.mb() + 16, kStride, 3, 0, 28, 28, 0, t4,
                                                               t4, 0))
MOX_BENCH_LUMA16(ReconstructLumaIntraHalf4x4_High_All, moxiReconstructLumaIntraHalf4x4_H264High_32s16u_IP1R, kModes4x4,
                 0, 0x1FFFE, t4)
MOX_BENCH_LUMA16(ReconstructLumaIntraHalf4x4_High_None, moxiReconstructLumaIntraHalf4x4_H264High_32s16u_IP1R, kModes4x4,
                 0, 0, t4)
MOX_BENCH_LUMA16(ReconstructLumaIntraHalf8x8_High_All, moxiReconstructLumaIntraHalf8x8_H264High_32s16u_IP1R, kModes8x8,
                 0, 0xF, t8)
MOX_BENCH_LUMA16(ReconstructLumaIntraHalf8x8_High_None, moxiReconstructLumaIntraHalf8x8_H264High_32s16u_IP1R, kModes8x8,
                 0, 0, t8)
MOX_BENCH_CHROMA(ReconstructChromaIntraHalf4x4_High_All, moxiReconstructChromaIntraHalf4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0x7FE0000)
MOX_BENCH_CHROMA(ReconstructChromaIntraHalf4x4_High_None, moxiReconstructChromaIntraHalf4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0)
MOX_BENCH_CHROMA(ReconstructChroma422IntraHalf4x4_High_All, moxiReconstructChroma422IntraHalf4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422IntraHalf4x4_High_None, moxiReconstructChroma422IntraHalf4x4_H264High_32s16u_IP2R,
                 chroma16, s32, 0)
MOX_BENCH_CHROMA(ReconstructChroma422IntraHalf4x4_High8_All, moxiReconstructChroma422IntraHalf4x4_H264High_16s8u_IP2R,
                 chroma8, s, 0x3FFFF)
MOX_BENCH_CHROMA(ReconstructChroma422IntraHalf4x4_High8_None, moxiReconstructChroma422IntraHalf4x4_H264High_16s8u_IP2R,
                 chroma8, s, 0)

}  // namespace
