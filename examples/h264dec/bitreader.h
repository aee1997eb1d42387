// RBSP bit reader on top of the library's word cursor.
//
// The library's H.264 variable-length decoders read 32-bit words whose most
// significant bit is the earliest bit of the stream. The reader repacks one
// NAL unit's RBSP bytes into such words, followed by zero padding so that a
// library call started inside the payload can never read past the buffer.
// Fixed-length fields are read here; Exp-Golomb codes and residual blocks go
// through the library functions with the same cursor.
#ifndef H264DEC_BITREADER_H
#define H264DEC_BITREADER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "error.h"
#include "moxvc.h"

namespace h264dec {

class BitReader {
public:
    // Zero words after the payload: more than any single library call reads.
    static constexpr size_t kPadWords = 256;

    void reset(const uint8_t* rbsp, size_t size) {
        size_t nWords = (size + 3) / 4;
        words_.assign(nWords + kPadWords, 0);
        for (size_t i = 0; i < size; ++i) words_[i / 4] |= uint32_t(rbsp[i]) << (24 - 8 * (i % 4));
        ptr_ = words_.data();
        off_ = 31;
        sizeBits_ = size * 8;
        // The rbsp_stop_one_bit is the last 1 bit of the payload.
        stopBit_ = 0;
        for (size_t i = size; i-- > 0;) {
            if (rbsp[i]) {
                int tz = 0;
                while (!((rbsp[i] >> tz) & 1)) ++tz;
                stopBit_ = i * 8 + (7 - tz);
                break;
            }
        }
    }

    size_t pos() const { return size_t(ptr_ - words_.data()) * 32 + size_t(31 - off_); }
    size_t sizeBits() const { return sizeBits_; }

    // True while syntax remains before the rbsp_stop_one_bit (clause 7.2).
    bool moreRbspData() const { return pos() < stopBit_; }

    // Throws when the cursor has run past the payload.
    void check() const {
        if (pos() > sizeBits_) throw DecodeError("slice data runs past the end of the NAL unit");
    }

    uint32_t u(int n) {
        if (n == 0) return 0;
        check();
        uint64_t window = (uint64_t(ptr_[0]) << 32) | ptr_[1];
        uint32_t v = uint32_t((window >> (32 + off_ + 1 - n)) & ((uint64_t(1) << n) - 1));
        off_ -= n;
        if (off_ < 0) {
            off_ += 32;
            ++ptr_;
        }
        return v;
    }
    bool flag() { return u(1) != 0; }

    // ue(v); values that do not fit 31 bits are rejected.
    uint32_t ue() {
        Mox32s v = 0;
        check();
        if (moxiDecodeExpGolombOne_H264_1u32s(&ptr_, &off_, &v, 0) != moxStsNoErr || v < 0)
            throw DecodeError("bad Exp-Golomb code");
        return uint32_t(v);
    }
    // ue(v) limited to 0..maxValue.
    uint32_t ue(uint32_t maxValue, const char* what) {
        uint32_t v = ue();
        if (v > maxValue) throw DecodeError(what);
        return v;
    }
    int32_t se() {
        Mox32s v = 0;
        check();
        if (moxiDecodeExpGolombOne_H264_1u32s(&ptr_, &off_, &v, 1) != moxStsNoErr)
            throw DecodeError("bad Exp-Golomb code");
        return v;
    }
    int32_t se(int32_t lo, int32_t hi, const char* what) {
        int32_t v = se();
        if (v < lo || v > hi) throw DecodeError(what);
        return v;
    }

    void byteAlign() {
        int r = int(pos() % 8);
        if (r) u(8 - r);
    }

    // The cursor, for the library's decoders.
    Mox32u** wordPtr() { return &ptr_; }
    int* bitOffset() { return &off_; }

private:
    std::vector<Mox32u> words_;
    Mox32u* ptr_ = nullptr;
    int off_ = 31;
    size_t sizeBits_ = 0;
    size_t stopBit_ = 0;
};

}  // namespace h264dec

#endif
