// H.264 macroblock reconstruction of the High profiles: the exported wrappers
// for 16-bit samples with 32-bit levels (luma, 4:2:0 and 4:2:2 chroma) and for
// 8-bit 4:2:2 chroma, each reading its macroblock from a record.
#include <type_traits>

#include "core/check.h"
#include "h264/reconstruct_kernels.h"

namespace {

using namespace mox::h264;
using namespace mox::h264::mb;

constexpr bool bitDepthOk(int bitDepth) {
    return bitDepth >= 8 && bitDepth <= 14;
}

// QP' of a bit depth: 0 .. max8 + 6 x (bitDepth - 8).
constexpr bool qpOk(int qp, int max8, int bitDepth) {
    return qp >= 0 && qp <= max8 + 6 * (bitDepth - 8);
}

enum class Luma { Inter4x4, Inter8x8, Intra4x4, Intra8x8, Intra16x16 };

// Halves: edgeType 0x01 and 0x02 are the upper and lower half of the left column.
template <Luma K, bool Halves>
MoxStatus reconstructLuma(Mox32s** pp, const MoxReconstructLuma_H264High* m) {
    constexpr bool withModes = K == Luma::Intra4x4 || K == Luma::Intra8x8;
    MOX_CHECK_PTRS(pp, m);
    MOX_CHECK_PTRS(*pp, m->pSrcDstPlane, m->pQuantTable);
    if constexpr (withModes) MOX_CHECK_PTRS(m->pMBIntraTypes);
    MOX_CHECK(bitDepthOk(m->bitDepth), moxStsOutOfRangeErr);
    MOX_CHECK(qpOk(m->qp, 51, m->bitDepth), moxStsOutOfRangeErr);
    if constexpr (K == Luma::Intra4x4) MOX_CHECK(modesOk(m->pMBIntraTypes, 16), moxStsOutOfRangeErr);
    if constexpr (K == Luma::Intra16x16) {
        MOX_CHECK(!luma16x16Missing(m->intra16x16PredMode, m->edgeType), moxStsIntraNeighbourErr);
        MOX_CHECK(m->intra16x16PredMode <= 3, moxStsOutOfRangeErr);
    }
    const bool intra = K == Luma::Intra4x4 || K == Luma::Intra8x8 || K == Luma::Intra16x16;
    const LumaParams a{m->cbp,     m->qp, intra ? m->edgeType : 0, Halves, m->pQuantTable, m->bypassFlag && m->qp == 0,
                       m->bitDepth};
    Stream<Mox32s> s(pp);
    Mox16u* p = m->pSrcDstPlane;
    const int step = m->srcDstStep;
    if constexpr (K == Luma::Inter4x4) lumaInter4x4<Quant::Scaled>(s.c, p, step, a);
    if constexpr (K == Luma::Inter8x8) lumaInter8x8(s.c, p, step, a);
    if constexpr (K == Luma::Intra16x16)
        lumaIntra16x16<Quant::Scaled>(s.c, p, step, static_cast<int>(m->intra16x16PredMode), a);
    if constexpr (K == Luma::Intra8x8)
        if (!lumaIntra8x8(s.c, p, step, m->pMBIntraTypes, a)) return moxStsOutOfRangeErr;
    if constexpr (K == Luma::Intra4x4)
        return s.done(lumaIntra4x4<Quant::Scaled>(s.c, p, step, m->pMBIntraTypes, a) ? moxStsIntraNeighbourWrn
                                                                                     : moxStsNoErr);
    return s.done();
}

// H: plane height, 8 (4:2:0) or 16 (4:2:2). Rec is the 16- or 8-bit record.
template <int H, bool Intra, bool Halves, class C, class Rec>
MoxStatus reconstructChroma(C** pp, const Rec* m) {
    using P = std::remove_pointer_t<decltype(m->pSrcDstUPlane)>;
    MOX_CHECK_PTRS(pp, m);
    MOX_CHECK_PTRS(*pp, m->pSrcDstUPlane, m->pSrcDstVPlane, m->pQuantTableU, m->pQuantTableV);
    if constexpr (H == 16) MOX_CHECK_PTRS(m->pQuantTableDCU, m->pQuantTableDCV);
    int bitDepth = 8;
    if constexpr (sizeof(P) == 2) {
        bitDepth = m->bitDepth;
        MOX_CHECK(bitDepthOk(bitDepth), moxStsOutOfRangeErr);
    }
    MOX_CHECK(qpOk(m->qpU, 39, bitDepth), moxStsOutOfRangeErr);
    MOX_CHECK(qpOk(m->qpV, 39, bitDepth), moxStsOutOfRangeErr);
    if constexpr (Intra) {
        MOX_CHECK(m->intraChromaPredMode <= 3, moxStsOutOfRangeErr);
        MOX_CHECK(!chromaMissing(m->intraChromaPredMode, m->edgeType, Halves ? 0x03 : 0x01), moxStsIntraNeighbourErr);
    }
    const ChromaParams<P> a{{m->pSrcDstUPlane, m->pSrcDstVPlane},
                            m->srcDstUVStep,
                            m->cbp,
                            {m->qpU, m->qpV},
                            {m->pQuantTableU, m->pQuantTableV},
                            {m->pQuantTableDCU, m->pQuantTableDCV},
                            m->bypassFlag != 0,
                            bitDepth};
    Stream<C> s(pp);
    if constexpr (Intra)
        chromaIntra<Quant::Scaled, H>(s.c, a, static_cast<int>(m->intraChromaPredMode), m->edgeType, Halves);
    else
        chromaResidual<Quant::Scaled, H>(s.c, a, kDpcmNone);
    return s.done();
}

}  // namespace

using Chroma16 = MoxReconstructChroma_H264High;
using Chroma8 = MoxReconstructChroma8u_H264High;
using LumaRec = MoxReconstructLuma_H264High;

MOX_FN moxiReconstructLumaInter4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Inter4x4, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructLumaInter8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Inter8x8, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructLumaIntra4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Intra4x4, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructLumaIntra8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Intra8x8, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructLumaIntra16x16_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Intra16x16, false>(ppSrcDstCoeff, pMB);
}

MOX_FN moxiReconstructChromaInter4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<8, false, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChromaIntra4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<8, true, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422Inter4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<16, false, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422Intra4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<16, true, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422Inter4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const Chroma8* pMB) {
    return reconstructChroma<16, false, false>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422Intra4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const Chroma8* pMB) {
    return reconstructChroma<16, true, false>(ppSrcDstCoeff, pMB);
}

// Half forms: edgeType 0x01 and 0x02 are the upper and lower half of the left column.
MOX_FN moxiReconstructLumaIntraHalf4x4_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Intra4x4, true>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructLumaIntraHalf8x8_H264High_32s16u_IP1R(Mox32s** ppSrcDstCoeff, const LumaRec* pMB) {
    return reconstructLuma<Luma::Intra8x8, true>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChromaIntraHalf4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<8, true, true>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422IntraHalf4x4_H264High_32s16u_IP2R(Mox32s** ppSrcDstCoeff, const Chroma16* pMB) {
    return reconstructChroma<16, true, true>(ppSrcDstCoeff, pMB);
}
MOX_FN moxiReconstructChroma422IntraHalf4x4_H264High_16s8u_IP2R(Mox16s** ppSrcDstCoeff, const Chroma8* pMB) {
    return reconstructChroma<16, true, true>(ppSrcDstCoeff, pMB);
}
