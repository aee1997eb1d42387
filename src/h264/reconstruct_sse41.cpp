// H.264 macroblock reconstruction of 8-bit pictures: the exported wrappers of
// the luma Intra4x4, Intra8x8 and Intra16x16 macroblocks, the chroma intra
// macroblocks, and the residual of inter macroblocks, with the flat per-QP
// tables or a LevelScale table, and the lossless (transform bypass) forms.
#include "core/check.h"
#include "h264/reconstruct_kernels.h"

namespace {

using namespace mox::h264;
using namespace mox::h264::mb;

LumaParams luma(Mox32u cbp, int qp, int edge, const Mox16s* ls, bool lossless) {
    return {cbp, qp, edge, false, ls, lossless, 8};
}

ChromaParams<Mox8u> chroma(Mox8u* u, Mox8u* v, Mox32u step, Mox32u cbp, int qpU, int qpV, const Mox16s* lsU,
                           const Mox16s* lsV, bool bypass) {
    return {{u, v}, static_cast<int>(step), cbp, {qpU, qpV}, {lsU, lsV}, {nullptr, nullptr}, bypass, 8};
}

}  // namespace

// ---------------------------------------------------------------- luma intra
// Halves: edgeType 0x01 and 0x02 are the upper and lower half of the left
// column (MBAFF with constrained intra prediction).

namespace {

template <bool Halves>
MoxStatus intra4x4Flat(Mox16s** pp, Mox8u* p, Mox32s step, const Mox32u* modes, Mox32u cbp, Mox32u qp, Mox8u edge) {
    MOX_CHECK_PTRS(pp, p, modes);
    MOX_CHECK_PTRS(*pp);
    MOX_CHECK(qp <= 51, moxStsOutOfRangeErr);
    MOX_CHECK(modesOk(modes, 16), moxStsOutOfRangeErr);
    Stream<Mox16s> s(pp);
    bool warn =
        lumaIntra4x4<Quant::Flat>(s.c, p, step, modes, {cbp, static_cast<int>(qp), edge, Halves, nullptr, false, 8});
    return s.done(warn ? moxStsIntraNeighbourWrn : moxStsNoErr);
}

template <bool Halves>
MoxStatus intra4x4Scaled(Mox16s** pp, Mox8u* p, Mox32s step, const Mox32u* modes, Mox32u cbp, Mox32u qp, Mox8u edge,
                         const Mox16s* table, Mox8u bypass) {
    MOX_CHECK_PTRS(pp, p, modes);
    MOX_CHECK_PTRS(*pp);
    MOX_CHECK_PTRS(table);
    MOX_CHECK(qp <= 51, moxStsOutOfRangeErr);
    MOX_CHECK(modesOk(modes, 16), moxStsOutOfRangeErr);
    Stream<Mox16s> s(pp);
    bool warn = lumaIntra4x4<Quant::Scaled>(s.c, p, step, modes,
                                            {cbp, static_cast<int>(qp), edge, Halves, table, bypass && qp == 0, 8});
    return s.done(warn ? moxStsIntraNeighbourWrn : moxStsNoErr);
}

template <bool Halves>
MoxStatus intra8x8(Mox16s** pp, Mox8u* p, Mox32s step, const Mox32u* modes, Mox32u cbp, Mox32u qp, Mox8u edge,
                   const Mox16s* table, Mox8u bypass) {
    MOX_CHECK_PTRS(pp, p, modes);
    MOX_CHECK_PTRS(*pp);
    MOX_CHECK_PTRS(table);
    MOX_CHECK(qp <= 51, moxStsOutOfRangeErr);
    Stream<Mox16s> s(pp);
    if (!lumaIntra8x8(s.c, p, step, modes, {cbp, static_cast<int>(qp), edge, Halves, table, bypass && qp == 0, 8}))
        return moxStsOutOfRangeErr;
    return s.done();
}

}  // namespace

MOX_FN moxiReconstructLumaIntraMB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                 const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP,
                                                 Mox8u edgeType) {
    return intra4x4Flat<false>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp4x4, QP, edgeType);
}

MOX_FN moxiReconstructLumaIntraHalfMB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                     const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP,
                                                     Mox8u edgeType) {
    return intra4x4Flat<true>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp4x4, QP, edgeType);
}

MOX_FN moxiReconstructLumaIntra4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                    const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP,
                                                    Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag) {
    return intra4x4Scaled<false>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp4x4, QP, edgeType, pQuantTable,
                                 bypassFlag);
}

MOX_FN moxiReconstructLumaIntraHalf4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                        const Mox32u* pMBIntraTypes, Mox32u cbp4x4, Mox32u QP,
                                                        Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag) {
    return intra4x4Scaled<true>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp4x4, QP, edgeType, pQuantTable,
                                bypassFlag);
}

MOX_FN moxiReconstructLumaIntra8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                    const Mox32u* pMBIntraTypes, Mox32u cbp8x8, Mox32u QP,
                                                    Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag) {
    return intra8x8<false>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp8x8, QP, edgeType, pQuantTable,
                           bypassFlag);
}

MOX_FN moxiReconstructLumaIntraHalf8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                        const Mox32u* pMBIntraTypes, Mox32u cbp8x8, Mox32u QP,
                                                        Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag) {
    return intra8x8<true>(ppSrcDstCoeff, pSrcDst, srcdstStep, pMBIntraTypes, cbp8x8, QP, edgeType, pQuantTable,
                          bypassFlag);
}

namespace {

// Intra 16x16, flat or with a LevelScale table (Scaled: table required, lossless when bypass and QP 0).
template <Quant Q>
MoxStatus intra16x16(Mox16s** pp, Mox8u* p, Mox32s step, Mox32u mode, Mox32u cbp, Mox32u qp, Mox8u edge,
                     const Mox16s* table, Mox8u bypass) {
    MOX_CHECK_PTRS(pp, p);
    MOX_CHECK_PTRS(*pp);
    if constexpr (Q == Quant::Scaled) MOX_CHECK_PTRS(table);
    MOX_CHECK(qp <= 51, moxStsOutOfRangeErr);
    MOX_CHECK(!luma16x16Missing(mode, edge), moxStsIntraNeighbourErr);
    MOX_CHECK(mode <= 3, moxStsOutOfRangeErr);
    Stream<Mox16s> s(pp);
    lumaIntra16x16<Q>(s.c, p, step, static_cast<int>(mode),
                      luma(cbp, static_cast<int>(qp), edge, table, bypass && qp == 0));
    return s.done();
}

// Inter residual of 4x4 or 8x8 blocks.
template <bool Is8x8>
MoxStatus inter(Mox16s** pp, Mox8u* p, Mox32s step, Mox32u cbp, Mox32s qp, const Mox16s* table, Mox8u bypass) {
    MOX_CHECK_PTRS(pp, p);
    MOX_CHECK_PTRS(*pp, table);
    MOX_CHECK(static_cast<Mox32u>(qp) <= 51, moxStsOutOfRangeErr);
    Stream<Mox16s> s(pp);
    const LumaParams a = luma(cbp, qp, 0, table, bypass && qp <= 0);
    if constexpr (Is8x8)
        lumaInter8x8(s.c, p, step, a);
    else
        lumaInter4x4<Quant::Scaled>(s.c, p, step, a);
    return s.done();
}

}  // namespace

MOX_FN moxiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                      Mox32u intra16x16PredMode, Mox32u cbp4x4, Mox32u QP,
                                                      Mox8u edgeType) {
    return intra16x16<Quant::Flat>(ppSrcDstCoeff, pSrcDst, srcdstStep, intra16x16PredMode, cbp4x4, QP, edgeType,
                                   nullptr, 0);
}

MOX_FN moxiReconstructLumaIntra_16x16MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                       Mox32u intra16x16PredMode, Mox32u cbp4x4, Mox32u QP,
                                                       Mox8u edgeType, const Mox16s* pQuantTable, Mox8u bypassFlag) {
    return intra16x16<Quant::Scaled>(ppSrcDstCoeff, pSrcDst, srcdstStep, intra16x16PredMode, cbp4x4, QP, edgeType,
                                     pQuantTable, bypassFlag);
}

// ---------------------------------------------------------------- luma inter

MOX_FN moxiReconstructLumaInter4x4MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                    Mox32u cbp4x4, Mox32s QP, const Mox16s* pQuantTable,
                                                    Mox8u bypassFlag) {
    return inter<false>(ppSrcDstCoeff, pSrcDst, srcdstStep, cbp4x4, QP, pQuantTable, bypassFlag);
}

MOX_FN moxiReconstructLumaInter8x8MB_H264_16s8u_C1R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDst, Mox32s srcdstStep,
                                                    Mox32u cbp8x8, Mox32s QP, const Mox16s* pQuantTable,
                                                    Mox8u bypassFlag) {
    return inter<true>(ppSrcDstCoeff, pSrcDst, srcdstStep, cbp8x8, QP, pQuantTable, bypassFlag);
}

// ---------------------------------------------------------------- chroma

MOX_FN moxiReconstructChromaInterMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane,
                                                   Mox32u srcdstUVStep, Mox32u cbp4x4, Mox32u ChromaQP) {
    MOX_CHECK_PTRS(ppSrcDstCoeff, pSrcDstUPlane);
    MOX_CHECK_PTRS(pSrcDstVPlane, *ppSrcDstCoeff);
    MOX_CHECK(ChromaQP < 40, moxStsOutOfRangeErr);
    Stream<Mox16s> s(ppSrcDstCoeff);
    int qp = static_cast<int>(ChromaQP);
    chromaResidual<Quant::Flat, 8>(
        s.c, chroma(pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, cbp4x4, qp, qp, nullptr, nullptr, false), kDpcmNone);
    return s.done();
}

namespace {

template <bool Halves>
MoxStatus chromaIntraFlat(Mox16s** pp, Mox8u* u, Mox8u* v, Mox32u step, Mox32u mode, Mox32u cbp, Mox32u qp,
                          Mox8u edge) {
    MOX_CHECK_PTRS(pp, u, v);
    MOX_CHECK_PTRS(*pp);
    MOX_CHECK(qp <= 39 && mode <= 3, moxStsOutOfRangeErr);
    MOX_CHECK(!chromaMissing(mode, edge, Halves ? 0x03 : 0x01), moxStsIntraNeighbourErr);
    Stream<Mox16s> s(pp);
    int q = static_cast<int>(qp);
    chromaIntra<Quant::Flat, 8>(s.c, chroma(u, v, step, cbp, q, q, nullptr, nullptr, false), static_cast<int>(mode),
                                edge, Halves);
    return s.done();
}

template <bool Halves>
MoxStatus chromaIntraScaled(Mox16s** pp, Mox8u* u, Mox8u* v, Mox32u step, Mox32u mode, Mox32u cbp, Mox32u qpU,
                            Mox32u qpV, Mox8u edge, const Mox16s* tableU, const Mox16s* tableV, Mox8u bypass) {
    MOX_CHECK_PTRS(pp, u, v);
    MOX_CHECK_PTRS(*pp);
    MOX_CHECK_PTRS(tableU, tableV);
    MOX_CHECK(qpU <= 39, moxStsOutOfRangeErr);
    MOX_CHECK(qpV <= 39, moxStsOutOfRangeErr);
    mode &= 3;  // not range-checked: taken modulo 4
    MOX_CHECK(!chromaMissing(mode, edge, Halves ? 0x03 : 0x01), moxStsIntraNeighbourErr);
    Stream<Mox16s> s(pp);
    chromaIntra<Quant::Scaled, 8>(
        s.c, chroma(u, v, step, cbp, static_cast<int>(qpU), static_cast<int>(qpV), tableU, tableV, bypass != 0),
        static_cast<int>(mode), edge, Halves);
    return s.done();
}

}  // namespace

MOX_FN moxiReconstructChromaIntraMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane, Mox8u* pSrcDstVPlane,
                                                   Mox32u srcdstUVStep, Mox32u intraChromaPredMode, Mox32u cbp4x4,
                                                   Mox32u ChromaQP, Mox8u edgeType) {
    return chromaIntraFlat<false>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode,
                                  cbp4x4, ChromaQP, edgeType);
}

// The two names of the Half form are one operation.
MOX_FN moxiReconstructChromaIntraHalfsMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                        Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep,
                                                        Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQP,
                                                        Mox8u edgeType) {
    return chromaIntraFlat<true>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode, cbp4x4,
                                 ChromaQP, edgeType);
}

MOX_FN moxiReconstructChromaIntraHalvesMB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                         Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep,
                                                         Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQP,
                                                         Mox8u edgeType) {
    return chromaIntraFlat<true>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode, cbp4x4,
                                 ChromaQP, edgeType);
}

MOX_FN moxiReconstructChromaInter4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                      Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep, Mox32u cbp4x4,
                                                      Mox32u ChromaQPU, Mox32u ChromaQPV, const Mox16s* pQuantTableU,
                                                      const Mox16s* pQuantTableV, Mox8u bypassFlag) {
    MOX_CHECK_PTRS(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane);
    MOX_CHECK_PTRS(*ppSrcDstCoeff);
    MOX_CHECK_PTRS(pQuantTableU, pQuantTableV);
    MOX_CHECK(ChromaQPU <= 39, moxStsOutOfRangeErr);
    MOX_CHECK(ChromaQPV <= 39, moxStsOutOfRangeErr);
    Stream<Mox16s> s(ppSrcDstCoeff);
    chromaResidual<Quant::Scaled, 8>(
        s.c,
        chroma(pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, cbp4x4, static_cast<int>(ChromaQPU),
               static_cast<int>(ChromaQPV), pQuantTableU, pQuantTableV, bypassFlag != 0),
        kDpcmNone);
    return s.done();
}

MOX_FN moxiReconstructChromaIntra4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                      Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep,
                                                      Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU,
                                                      Mox32u ChromaQPV, Mox8u edgeType, const Mox16s* pQuantTableU,
                                                      const Mox16s* pQuantTableV, Mox8u bypassFlag) {
    return chromaIntraScaled<false>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode,
                                    cbp4x4, ChromaQPU, ChromaQPV, edgeType, pQuantTableU, pQuantTableV, bypassFlag);
}

MOX_FN moxiReconstructChromaIntraHalfs4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                           Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep,
                                                           Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU,
                                                           Mox32u ChromaQPV, Mox8u edgeType, const Mox16s* pQuantTableU,
                                                           const Mox16s* pQuantTableV, Mox8u bypassFlag) {
    return chromaIntraScaled<true>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode,
                                   cbp4x4, ChromaQPU, ChromaQPV, edgeType, pQuantTableU, pQuantTableV, bypassFlag);
}

MOX_FN moxiReconstructChromaIntraHalves4x4MB_H264_16s8u_P2R(Mox16s** ppSrcDstCoeff, Mox8u* pSrcDstUPlane,
                                                            Mox8u* pSrcDstVPlane, Mox32u srcdstUVStep,
                                                            Mox32u intraChromaPredMode, Mox32u cbp4x4, Mox32u ChromaQPU,
                                                            Mox32u ChromaQPV, Mox8u edgeType,
                                                            const Mox16s* pQuantTableU, const Mox16s* pQuantTableV,
                                                            Mox8u bypassFlag) {
    return chromaIntraScaled<true>(ppSrcDstCoeff, pSrcDstUPlane, pSrcDstVPlane, srcdstUVStep, intraChromaPredMode,
                                   cbp4x4, ChromaQPU, ChromaQPV, edgeType, pQuantTableU, pQuantTableV, bypassFlag);
}
