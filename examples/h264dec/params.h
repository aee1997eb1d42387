// Sequence and picture parameter sets (clauses 7.3.2.1 and 7.3.2.2).
#ifndef H264DEC_PARAMS_H
#define H264DEC_PARAMS_H

#include <cstdint>

#include "bitreader.h"

namespace h264dec {

struct Sps {
    int profileIdc = 0;
    int levelIdc = 0;
    int id = 0;
    int log2MaxFrameNum = 4;
    int pocType = 0;
    int log2MaxPocLsb = 4;
    int maxNumRefFrames = 0;
    bool gapsInFrameNumAllowed = false;
    int widthMbs = 0;
    int heightMbs = 0;
    // Cropped output rectangle in luma samples.
    int cropLeft = 0, cropRight = 0, cropTop = 0, cropBottom = 0;
    // From the VUI bitstream restriction, -1 when absent.
    int numReorderFrames = -1;
};

struct Pps {
    int id = 0;
    int spsId = 0;
    bool bottomFieldPicOrderPresent = false;
    int numRefIdxL0Default = 1;
    int picInitQp = 26;
    int chromaQpOffset = 0;
    bool deblockingControlPresent = false;
    bool constrainedIntraPred = false;
    bool redundantPicCntPresent = false;
};

// Both throw DecodeError for malformed and UnsupportedError for valid but
// unsupported parameter sets.
Sps parseSps(BitReader& br);
Pps parsePps(BitReader& br);

}  // namespace h264dec

#endif
