// Argument checks and scan selection shared by the MPEG-4, H.263 and H.261
// coefficient decoders and encoders.
#pragma once

#include "core/check.h"
#include "mpeg4/vlc_tables.h"

namespace mox::mpeg4 {

inline constexpr uint8_t kRasterScan[64] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                            16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31,
                                            32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,
                                            48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};

// Scan argument of intra blocks: 0 zigzag, 1 alternate vertical, 2 alternate
// horizontal, other values raster order.
inline const uint8_t* intraScan(int scan) {
    switch (scan) {
        case 0: return ownvc_Zigzag;
        case 1: return ownvc_AltScanV;
        case 2: return ownvc_AltScanH;
        default: return kRasterScan;
    }
}
// Inter blocks have no alternate-horizontal scan: 2 is raster order too.
inline const uint8_t* interScan(int scan) { return scan == 2 ? kRasterScan : intraScan(scan); }

}  // namespace mox::mpeg4

// After MOX_CHECK_PTRS: the byte pointer behind the cursor, then the bit offset.
#define MPEG4_CHECK_CURSOR(ppBitStream, pBitOffset)          \
    MOX_CHECK(*(ppBitStream) != nullptr, moxStsNullPtrErr);   \
    MOX_CHECK(*(pBitOffset) >= 0 && *(pBitOffset) <= 7, moxStsBitOffsetErr)

#define MPEG4_CHECK_QP(QP) MOX_CHECK((QP) >= 1 && (QP) <= 31, moxStsQPErr)
