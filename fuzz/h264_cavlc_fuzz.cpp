// Random streams, offsets and contexts into every H.264 entropy decoder.
// The stream is followed by zero padding and then the end of the allocation:
// AddressSanitizer reports any read past the padding, and decoding stops
// once the cursor leaves the fuzzed bytes.
#include <cstring>
#include <vector>

#include "moxvc.h"

namespace {
constexpr Mox32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
constexpr int kPadWords = 64;  // more than any one block can consume before failing
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    int mode = data[0] % 5, nC = data[1] % 20, offset = data[2] & 31;
    bool copyTables = (data[0] / 5) & 1;
    data += 3;
    size -= 3;
    size_t streamWords = (size + 3) / 4;
    std::vector<Mox32u> words(streamWords + kPadWords, 0);
    std::memcpy(words.data(), data, size);
    // The library's own arrays take the decoders' look-up path, a copy of
    // them the walk through the packed tables.
    const MoxCAVLCTables_H264 copy = *moxiGetCAVLCTables_H264();
    const MoxCAVLCTables_H264* t = copyTables ? &copy : moxiGetCAVLCTables_H264();
    // One block's room; each call writes at most one block.
    Mox32s coeffs[16];
    Mox16s coeffs16[16];
    Mox32u* p = words.data();
    Mox32u* end = words.data() + streamWords;
    for (int i = 0; p < end && i < 4096; ++i) {
        Mox16s num;
        Mox32s v;
        Mox32s* out = coeffs;
        Mox16s* out16 = coeffs16;
        MoxStatus st;
        switch (mode) {
            case 0: st = moxiDecodeExpGolombOne_H264_1u32s(&p, &offset, &v, i & 1); break;
            case 1:
                st = moxiDecodeCAVLCCoeffs_H264_1u32s(&p, &offset, &num, &out, nC, static_cast<Mox16s>(15 + (i & 1)),
                                                      t->coeffToken, t->totalZeros, t->runBefore, kZigzag);
                break;
            case 2:
                st = moxiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &offset, &num, &out, t->coeffTokenChromaDc,
                                                              t->totalZerosChromaDc, t->runBefore);
                break;
            case 3:
                st = moxiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&p, &offset, &num, &out, t->coeffTokenChroma422Dc,
                                                                 t->totalZerosChroma422Dc, t->runBefore);
                break;
            default:
                st = moxiDecodeCAVLCCoeffs_H264_1u16s(&p, &offset, &num, &out16, nC, 16, t->coeffToken, t->totalZeros,
                                                      t->runBefore, kZigzag);
                break;
        }
        if (st != moxStsNoErr) break;
    }
    return 0;
}
