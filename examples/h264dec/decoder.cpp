// NAL units, parameter set activation, picture boundaries, picture order
// count, reference marking and output order.
#include <algorithm>
#include <cstring>
#include <string>

#include "internal.h"

namespace h264dec {

void Picture::allocate(int wMbs, int hMbs) {
    widthMbs = wMbs;
    heightMbs = hMbs;
    strideY = wMbs * 16;
    strideC = wMbs * 8;
    size_t lumaSize = size_t(strideY) * size_t(hMbs) * 16;
    size_t chromaSize = size_t(strideC) * size_t(hMbs) * 8;
    buffer.assign(lumaSize + 2 * chromaSize, 0);
    y = buffer.data();
    u = y + lumaSize;
    v = u + chromaSize;
}

int chromaQp(int qpY, int offset) {
    static const uint8_t kTable[22] = {29, 30, 31, 32, 32, 33, 34, 34, 35, 35, 36,
                                       36, 37, 37, 37, 38, 38, 38, 39, 39, 39, 39};
    int qpi = std::min(51, std::max(0, qpY + offset));
    return qpi < 30 ? qpi : kTable[qpi - 30];
}

// ------------------------------------------------------------------ NAL units

namespace {

// Removes the emulation prevention bytes (00 00 03 -> 00 00), clause 7.4.1.
void unescape(const uint8_t* data, size_t size, std::vector<uint8_t>& out) {
    out.clear();
    out.reserve(size);
    int zeros = 0;
    for (size_t i = 0; i < size; ++i) {
        uint8_t b = data[i];
        if (zeros >= 2 && b == 3) {
            zeros = 0;
            continue;
        }
        zeros = b == 0 ? zeros + 1 : 0;
        out.push_back(b);
    }
}

}  // namespace

Status Decoder::Impl::decodeNal(const uint8_t* data, size_t size) {
    if (size < 1) return Status::Ok;
    if (data[0] & 0x80) {
        if (firstError.empty()) firstError = "forbidden_zero_bit set";
        return Status::Corrupt;
    }
    const int nalRefIdc = data[0] >> 5;
    const int nalType = data[0] & 31;
    try {
        switch (nalType) {
        case 1:
        case 5: {
            unescape(data + 1, size - 1, rbsp);
            br.reset(rbsp.data(), rbsp.size());
            const Sps* spsPtrs[32];
            const Pps* ppsPtrs[256];
            for (int i = 0; i < 32; ++i) spsPtrs[i] = spsTable[i].get();
            for (int i = 0; i < 256; ++i) ppsPtrs[i] = ppsTable[i].get();
            SliceHeader h = parseSliceHeader(br, nalType, nalRefIdc, spsPtrs, ppsPtrs);
            if (h.redundantPicCnt > 0) return Status::Ok;  // primary slices are all there
            decodeSlice(h);
            return Status::Ok;
        }
        case 7: {
            unescape(data + 1, size - 1, rbsp);
            br.reset(rbsp.data(), rbsp.size());
            Sps sps = parseSps(br);
            spsTable[sps.id].reset(new Sps(sps));
            return Status::Ok;
        }
        case 8: {
            unescape(data + 1, size - 1, rbsp);
            br.reset(rbsp.data(), rbsp.size());
            Pps p = parsePps(br);
            ppsTable[p.id].reset(new Pps(p));
            return Status::Ok;
        }
        case 2: case 3: case 4:
            throw UnsupportedError("data partitioning (Extended profile)");
        case 20: case 14: case 15:
            throw UnsupportedError("scalable or multiview extensions");
        case 11:  // end of stream
            finishPicture();
            return Status::Ok;
        default:  // SEI, access unit delimiters, filler, ...
            return Status::Ok;
        }
    } catch (const UnsupportedError& e) {
        if (firstError.empty()) firstError = std::string("unsupported: ") + e.what();
        return Status::Unsupported;
    } catch (const DecodeError& e) {
        if (firstError.empty()) firstError = std::string("corrupt stream: ") + e.what();
        return Status::Corrupt;
    }
}

void Decoder::Impl::activateSps(const Sps& sps) {
    if (options.maxMacroblocks > 0 && sps.widthMbs * sps.heightMbs > options.maxMacroblocks)
        throw UnsupportedError("picture larger than the configured limit");
    if (sps.widthMbs * sps.heightMbs > 139264) throw UnsupportedError("picture larger than level 6.2 allows");
    bool sameSize = haveSeq && sps.widthMbs == mbW && sps.heightMbs == mbH;
    if (!sameSize) {
        // A new picture size: output what is pending and start over.
        outputPictures(true);
        dpb.clear();
        mbW = sps.widthMbs;
        mbH = sps.heightMbs;
        numMbs = mbW * mbH;
        mbs.assign(size_t(numMbs), MbInfo());
        const size_t blocks = size_t(numMbs) * 16;
        nzY.assign(blocks, 0);
        nzC[0].assign(size_t(numMbs) * 4, 0);
        nzC[1].assign(size_t(numMbs) * 4, 0);
        refIdx.assign(blocks, -1);
        refPic.assign(blocks, -1);
        mvs.assign(blocks, Mv());
        intraMode.assign(blocks, 2);
    }
    seq = sps;
    haveSeq = true;
}

// ------------------------------------------------------------------ pictures

Picture* Decoder::Impl::freePicture() {
    for (auto& p : dpb)
        if (!p->inUse()) return p.get();
    // Never more than the references, the pictures waiting for output and the
    // current one: a damaged stream cannot make this grow without bound.
    if (dpb.size() > 18) throw DecodeError("no free picture buffer");
    dpb.emplace_back(new Picture());
    dpb.back()->allocate(mbW, mbH);
    return dpb.back().get();
}

void Decoder::Impl::decodeSlice(const SliceHeader& h) {
    const Pps& p = *ppsTable[h.ppsId];
    const Sps& s = *spsTable[p.spsId];
    // A new picture starts at a change of the fields that must stay equal
    // within one picture (clause 7.4.1.2.4), or at macroblock 0.
    bool newPicture = !cur || h.firstMb == 0 || h.frameNum != picHeader.frameNum || h.ppsId != picHeader.ppsId ||
                      (h.nalRefIdc == 0) != (picHeader.nalRefIdc == 0) || h.idr != picHeader.idr ||
                      h.pocLsb != picHeader.pocLsb || (h.idr && h.idrPicId != picHeader.idrPicId);
    if (newPicture) {
        finishPicture();
        if (!haveSeq || s.widthMbs != mbW || s.heightMbs != mbH) {
            if (!h.idr && haveSeq) throw DecodeError("picture size changes without an IDR picture");
            activateSps(s);
        } else {
            seq = s;
        }
        startPicture(h);
    }
    if (h.firstMb >= numMbs) throw DecodeError("first_mb_in_slice outside the picture");
    if (mbs[size_t(h.firstMb)].slice >= 0) throw DecodeError("slice overlaps an earlier one (ASO is not supported)");

    sh = h;
    pps = p;
    ++sliceNum;
    if (sliceNum > 32767) throw DecodeError("too many slices");
    sliceDeblock.push_back({h.disableDeblocking, h.filterOffsetA, h.filterOffsetB, p.chromaQpOffset});
    if (h.type == kSliceP) buildRefList();
    decodeSliceData();
}

void Decoder::Impl::startPicture(const SliceHeader& h) {
    if (h.idr) {
        // All earlier pictures are output before the IDR picture and stop
        // being references.
        outputPictures(true);
        for (auto& p : dpb) p->shortRef = p->longRef = false;
    }
    cur = freePicture();
    cur->isCurrent = true;
    cur->id = nextPictureId++;
    cur->frameNum = h.frameNum;
    cur->shortRef = cur->longRef = false;
    cur->neededForOutput = false;
    picHeader = h;
    computePoc(h, *cur);
    sliceNum = -1;
    sliceDeblock.clear();
    for (MbInfo& m : mbs) m = MbInfo();
}

void Decoder::Impl::computePoc(const SliceHeader& h, Picture& pic) {
    const int maxFrameNum = 1 << seq.log2MaxFrameNum;
    if (seq.pocType == 0) {
        if (h.idr) prevPocMsb = prevPocLsb = 0;
        const int maxLsb = 1 << seq.log2MaxPocLsb;
        int msb = prevPocMsb;
        if (h.pocLsb < prevPocLsb && prevPocLsb - h.pocLsb >= maxLsb / 2)
            msb += maxLsb;
        else if (h.pocLsb > prevPocLsb && h.pocLsb - prevPocLsb > maxLsb / 2)
            msb -= maxLsb;
        pic.poc = msb + h.pocLsb;
        if (h.nalRefIdc) {
            prevPocMsb = msb;
            prevPocLsb = h.pocLsb;
        }
    } else {
        // Type 2: output order is decoding order.
        int frameNumOffset = 0;
        if (!h.idr) {
            int prevOffset = prevHadMmco5 ? 0 : prevFrameNumOffset;
            frameNumOffset = prevFrameNum > h.frameNum ? prevOffset + maxFrameNum : prevOffset;
        }
        int temp = h.idr ? 0 : 2 * (frameNumOffset + h.frameNum) - (h.nalRefIdc ? 0 : 1);
        pic.poc = temp;
        prevFrameNumOffset = frameNumOffset;
        prevFrameNum = h.frameNum;
    }
    prevHadMmco5 = false;
}

// Reference marking after decoding (clause 8.2.5).
void Decoder::Impl::markReferences() {
    const SliceHeader& h = picHeader;
    if (!h.nalRefIdc) return;
    const int maxFrameNum = 1 << seq.log2MaxFrameNum;
    const int maxRefs = std::max(1, seq.maxNumRefFrames);
    if (h.idr) {
        cur->longRef = h.longTermReference;
        cur->shortRef = !h.longTermReference;
        cur->longTermFrameIdx = 0;
        return;
    }
    bool currentIsLong = false;
    if (h.adaptiveMarking) {
        for (auto& p : dpb) {
            if (p->shortRef && !p->isCurrent)
                p->frameNumWrap = p->frameNum > h.frameNum ? p->frameNum - maxFrameNum : p->frameNum;
        }
        for (const MemoryManagementOp& m : h.mmcos) {
            switch (m.op) {
            case 1: {
                long picNum = long(h.frameNum) - long(m.a) - 1;
                for (auto& p : dpb)
                    if (p->shortRef && !p->isCurrent && p->frameNumWrap == picNum) p->shortRef = false;
                break;
            }
            case 2:
                for (auto& p : dpb)
                    if (p->longRef && uint32_t(p->longTermFrameIdx) == m.a) p->longRef = false;
                break;
            case 3: {
                long picNum = long(h.frameNum) - long(m.a) - 1;
                for (auto& p : dpb)
                    if (p->longRef && uint32_t(p->longTermFrameIdx) == m.b) p->longRef = false;
                for (auto& p : dpb) {
                    if (p->shortRef && !p->isCurrent && p->frameNumWrap == picNum) {
                        p->shortRef = false;
                        p->longRef = true;
                        p->longTermFrameIdx = int(m.b);
                    }
                }
                break;
            }
            case 4:
                for (auto& p : dpb)
                    if (p->longRef && uint32_t(p->longTermFrameIdx) >= m.a) p->longRef = false;
                break;
            case 5:
                for (auto& p : dpb)
                    if (!p->isCurrent) p->shortRef = p->longRef = false;
                // The current picture becomes frame_num 0 and POC 0 (clause 8.2.1).
                outputPictures(true);
                cur->frameNum = 0;
                cur->poc = 0;
                prevHadMmco5 = true;
                prevPocMsb = prevPocLsb = 0;
                prevFrameNum = 0;
                break;
            case 6:
                for (auto& p : dpb)
                    if (p->longRef && !p->isCurrent && uint32_t(p->longTermFrameIdx) == m.b) p->longRef = false;
                cur->longRef = true;
                cur->longTermFrameIdx = int(m.b);
                currentIsLong = true;
                break;
            default:
                break;
            }
        }
    }
    if (!currentIsLong) {
        // Sliding window (clause 8.2.5.3); also the safety net for damaged
        // adaptive marking that would leave too many references.
        for (;;) {
            int numShort = 0, numLong = 0;
            Picture* oldest = nullptr;
            for (auto& p : dpb) {
                if (p->isCurrent) continue;
                if (p->shortRef) {
                    ++numShort;
                    int wrap = p->frameNum > cur->frameNum ? p->frameNum - maxFrameNum : p->frameNum;
                    p->frameNumWrap = wrap;
                    if (!oldest || wrap < oldest->frameNumWrap) oldest = p.get();
                }
                if (p->longRef) ++numLong;
            }
            if (numShort + numLong < maxRefs || !oldest) break;
            oldest->shortRef = false;
        }
        cur->shortRef = true;
    }
}

void Decoder::Impl::finishPicture() {
    if (!cur) return;
    deblockPicture();
    markReferences();
    cur->isCurrent = false;
    cur->neededForOutput = true;
    cur = nullptr;
    outputPictures(false);
}

// Outputs pictures in POC order once more are waiting than the stream may
// reorder (all of them when `all`).
void Decoder::Impl::outputPictures(bool all) {
    int delay = seq.numReorderFrames >= 0 ? seq.numReorderFrames : (seq.pocType == 2 || seq.profileIdc == 66 ? 0 : seq.maxNumRefFrames);
    for (;;) {
        Picture* first = nullptr;
        int waiting = 0;
        for (auto& p : dpb) {
            if (!p->neededForOutput) continue;
            ++waiting;
            if (!first || p->poc < first->poc) first = p.get();
        }
        if (!first || (!all && waiting <= delay)) break;
        emit(*first);
        first->neededForOutput = false;
    }
}

void Decoder::Impl::emit(const Picture& pic) {
    ++framesOut;
    if (!output) return;
    Frame f;
    f.width = pic.widthMbs * 16 - seq.cropLeft - seq.cropRight;
    f.height = pic.heightMbs * 16 - seq.cropTop - seq.cropBottom;
    f.plane[0] = pic.y + seq.cropTop * pic.strideY + seq.cropLeft;
    f.plane[1] = pic.u + seq.cropTop / 2 * pic.strideC + seq.cropLeft / 2;
    f.plane[2] = pic.v + seq.cropTop / 2 * pic.strideC + seq.cropLeft / 2;
    f.stride[0] = pic.strideY;
    f.stride[1] = f.stride[2] = pic.strideC;
    f.poc = pic.poc;
    output(f);
}

// ------------------------------------------------------------------ public face

Decoder::Decoder(const Options& options) : impl_(new Impl()) { impl_->options = options; }
Decoder::~Decoder() = default;

void Decoder::setOutput(std::function<void(const Frame&)> output) { impl_->output = std::move(output); }

Status Decoder::decodeNal(const uint8_t* data, size_t size) { return impl_->decodeNal(data, size); }

Status Decoder::decodeStream(const uint8_t* data, size_t size) {
    Status worst = Status::Ok;
    size_t i = 0;
    // Finds the next 00 00 01 at or after `from`; returns size when none.
    auto nextStart = [&](size_t from) {
        for (size_t k = from; k + 2 < size; ++k) {
            if (data[k] == 0 && data[k + 1] == 0 && data[k + 2] == 1) return k;
        }
        return size;
    };
    i = nextStart(0);
    while (i < size) {
        size_t begin = i + 3;
        size_t end = nextStart(begin);
        size_t next = end;
        // Trailing zero bytes belong to the next start code (or are padding).
        while (end > begin && data[end - 1] == 0) --end;
        Status s = impl_->decodeNal(data + begin, end - begin);
        if (s == Status::Unsupported) return s;
        if (s == Status::Corrupt) worst = s;
        i = next;
    }
    return worst;
}

void Decoder::flush() {
    try {
        impl_->finishPicture();
    } catch (const DecodeError& e) {
        if (impl_->firstError.empty()) impl_->firstError = std::string("corrupt stream: ") + e.what();
    }
    impl_->outputPictures(true);
}

const std::string& Decoder::firstError() const { return impl_->firstError; }
int Decoder::framesOut() const { return impl_->framesOut; }

}  // namespace h264dec
