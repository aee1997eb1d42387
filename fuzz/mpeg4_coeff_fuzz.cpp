// Random streams, offsets and modes into every MPEG-4, H.263 and H.261
// coefficient decoder (a selector byte picks one). The stream sits between
// zero paddings at the ends of its allocation: every decoder fails within a
// few bytes of zeros, so AddressSanitizer reports any read that runs away.
// Forward decoders go from the start, the backward ones from the end.
#include <cstring>
#include <vector>

#include "moxvc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    int mode = data[0] % 18, flags = data[1], offset = data[2] & 7;
    data += 3;
    size -= 3;
    constexpr size_t kPad = 16;  // more than any decoder reads into zeros before failing
    std::vector<Mox8u> buf(size + 2 * kPad, 0);
    std::memcpy(buf.data() + kPad, data, size);
    Mox8u* begin = buf.data() + kPad;
    Mox8u* end = begin + size;
    Mox16s coef[64];
    Mox16s dc;
    int last;
    Mox8u matrix[64];
    for (int i = 0; i < 64; ++i) matrix[i] = static_cast<Mox8u>(flags * (i + 1));
    int qp = (flags >> 3) % 31 + 1, scan = flags & 3, f1 = flags >> 2 & 1, f2 = flags >> 3 & 1;
    if (mode == 2 || mode == 3) {  // backward from the end
        Mox8u* p = end;
        int off = offset;
        while (p > begin) {
            MoxStatus st = mode == 2 ? moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&p, &off, coef, &last, f1)
                                     : moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, coef, &last);
            if (st != moxStsNoErr) break;
        }
        return 0;
    }
    Mox8u* p = begin;
    int off = offset;
    while (p < end) {
        MoxStatus st;
        switch (mode) {
            case 0: st = moxiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef, &last, f1, f2, scan); break;
            case 1: st = moxiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, f1, scan); break;
            case 4: st = moxiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, f1); break;
            case 5: st = moxiReconstructCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, f1, scan, qp, f2 ? matrix : nullptr); break;
            case 6: st = moxiDecodeCoeffsInter_H263_1u16s(&p, &off, coef, &last, f1, scan); break;
            case 7: st = moxiDecodeCoeffsIntra_H263_1u16s(&p, &off, coef, &last, f2, f1, scan); break;
            case 8: st = moxiDecodeDCIntra_H263_1u16s(&p, &off, &dc); break;
            case 9: st = moxiReconstructCoeffsInter_H263_1u16s(&p, &off, coef, &last, qp, f1); break;
            case 10: st = moxiReconstructCoeffsIntra_H263_1u16s(&p, &off, coef, &last, qp, flags & 3, f1); break;
            case 11: st = moxiDecodeCoeffsIntra_H261_1u16s(&p, &off, coef, &last); break;
            case 12: st = moxiDecodeCoeffsInter_H261_1u16s(&p, &off, coef, &last); break;
            case 13: st = moxiReconstructCoeffsIntra_H261_1u16s(&p, &off, coef, &last, qp); break;
            case 14: st = moxiReconstructCoeffsInter_H261_1u16s(&p, &off, coef, &last, qp); break;
            default: st = moxiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef, &last, 1, f2, scan); break;
        }
        if (st != moxStsNoErr) break;
    }
    return 0;
}
