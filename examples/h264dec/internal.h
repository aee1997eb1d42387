// Decoder state shared by the parsing, prediction, deblocking and picture
// management files.
#ifndef H264DEC_INTERNAL_H
#define H264DEC_INTERNAL_H

#include <cstdint>
#include <memory>
#include <vector>

#include "bitreader.h"
#include "error.h"
#include "h264dec.h"
#include "params.h"

namespace h264dec {

// ------------------------------------------------------------------ pictures
struct Picture {
    int id = 0;  // unique per decoded picture: tells reference pictures apart
    int widthMbs = 0, heightMbs = 0;
    std::vector<uint8_t> buffer;
    uint8_t* y = nullptr;
    uint8_t* u = nullptr;
    uint8_t* v = nullptr;
    int strideY = 0, strideC = 0;

    int frameNum = 0;
    int frameNumWrap = 0;
    int poc = 0;
    bool shortRef = false;
    bool longRef = false;
    int longTermFrameIdx = 0;
    bool neededForOutput = false;
    bool isCurrent = false;

    bool isRef() const { return shortRef || longRef; }
    bool inUse() const { return isRef() || neededForOutput || isCurrent; }
    void allocate(int wMbs, int hMbs);
};

// ------------------------------------------------------------------ slice header
struct RefListModification {
    int idc;
    uint32_t value;
};

struct MemoryManagementOp {
    int op;
    uint32_t a = 0, b = 0;
};

enum SliceType { kSliceP = 0, kSliceI = 2 };

struct SliceHeader {
    int nalType = 0;
    int nalRefIdc = 0;
    bool idr = false;
    int firstMb = 0;
    int type = kSliceI;
    int ppsId = 0;
    int frameNum = 0;
    int idrPicId = 0;
    int pocLsb = 0;
    int redundantPicCnt = 0;
    int numRefIdxActive = 0;
    std::vector<RefListModification> refListMods;
    bool longTermReference = false;
    bool adaptiveMarking = false;
    std::vector<MemoryManagementOp> mmcos;
    int qp = 26;
    int disableDeblocking = 0;
    int filterOffsetA = 0, filterOffsetB = 0;
};

SliceHeader parseSliceHeader(BitReader& br, int nalType, int nalRefIdc, const Sps* const* spsTable,
                             const Pps* const* ppsTable);

// ------------------------------------------------------------------ per-macroblock records
// What deblocking and later macroblocks need to know about a decoded macroblock.
struct MbInfo {
    int16_t slice = -1;  // slice number within the picture, -1 before decoding
    bool intra = false;
    uint8_t qp = 0;      // QPY for deblocking (0 for I_PCM)
    bool oneMotion = false;  // inter with a single vector (P_Skip, P_L0_16x16)
    uint16_t nzMask = 0;     // luma 4x4 blocks with coefficients, bit 4 * row + column
};

struct Mv {
    int16_t x = 0, y = 0;
};

// Deblocking controls of one slice.
struct SliceDeblock {
    int disable = 0;
    int offsetA = 0, offsetB = 0;
    int chromaQpOffset = 0;
};

// ------------------------------------------------------------------ the decoder
struct Decoder::Impl {
    Options options;
    std::function<void(const Frame&)> output;
    std::string firstError;
    int framesOut = 0;

    std::unique_ptr<Sps> spsTable[32];
    std::unique_ptr<Pps> ppsTable[256];

    // Active sequence: picture size in macroblocks and the pictures.
    Sps seq;
    bool haveSeq = false;
    int mbW = 0, mbH = 0, numMbs = 0;
    std::vector<std::unique_ptr<Picture>> dpb;
    int nextPictureId = 1;

    // The picture being decoded.
    Picture* cur = nullptr;
    SliceHeader picHeader;  // first slice's header
    Pps pps;                // parameter set of the current slice
    int sliceNum = -1;
    std::vector<SliceDeblock> sliceDeblock;

    // Per-picture macroblock data; 4x4 block grids are (mbW * 4) wide.
    std::vector<MbInfo> mbs;
    std::vector<uint8_t> nzY;     // TotalCoeff of each luma 4x4 block
    std::vector<uint8_t> nzC[2];  // TotalCoeff of each chroma 4x4 block, (mbW * 2) wide
    std::vector<int8_t> refIdx;   // per luma 4x4 block, -1 intra
    std::vector<int32_t> refPic;  // id of the reference picture, -1 intra
    std::vector<Mv> mvs;
    std::vector<int8_t> intraMode;  // Intra4x4 modes for mode prediction (see macroblock.cpp)

    // Slice state.
    SliceHeader sh;
    std::vector<Picture*> refList;
    int qp = 26;

    // Picture order count state (clause 8.2.1).
    int prevPocMsb = 0, prevPocLsb = 0;
    int prevFrameNumOffset = 0, prevFrameNum = 0;
    bool prevHadMmco5 = false;

    BitReader br;
    std::vector<uint8_t> rbsp;

    // decoder.cpp
    Status decodeNal(const uint8_t* data, size_t size);
    void activateSps(const Sps& sps);
    void startPicture(const SliceHeader& h);
    void finishPicture();
    void computePoc(const SliceHeader& h, Picture& pic);
    void markReferences();
    void outputPictures(bool all);
    void emit(const Picture& pic);
    Picture* freePicture();
    void decodeSlice(const SliceHeader& h);

    // slice.cpp
    void buildRefList();
    // macroblock.cpp
    void decodeSliceData();
    void decodeMacroblock(int mbAddr);
    void decodeSkip(int mbAddr);
    // deblock.cpp
    void deblockPicture();
};

// Chroma quantiser for a luma quantiser plus chroma_qp_index_offset (Table 8-15).
int chromaQp(int qpY, int offset);

}  // namespace h264dec

#endif
