// Bit access for the MPEG-4, H.263 and H.261 coefficient decoders, on top of
// the byte cursor of core/bitstream.h.
//
// BitAccumulator reads forward through a 64-bit accumulator that is refilled a
// byte at a time, and only with the bytes that hold the bits asked for: a
// decoder that peeks at most as far as its longest possible code reaches no
// further than one byte past the byte holding a block's last bit.
// BackReader reads the bits before the cursor, toward the start of the stream,
// for the reversible codes.
// Both work on a copy of the cursor; the caller commits the end position only
// on success.
#pragma once

#include <cstdint>

#include "core/bitstream.h"

namespace mox::mpeg4 {

class BitAccumulator {
public:
    BitAccumulator(const Mox8u* p, int offset)
        : base_(p), next_(p + 1), acc_(static_cast<uint64_t>(p[0]) << (56 + offset)), have_(8 - offset) {}

    // Makes at least 8 bits available: one byte is enough while the count of
    // unread bits is never negative.
    void need8() {
        if (have_ < 8) {
            acc_ |= static_cast<uint64_t>(*next_++) << (56 - have_);
            have_ += 8;
        }
    }
    // Makes at least n (1..32) bits available.
    void need(int n) {
        while (have_ < n) {
            acc_ |= static_cast<uint64_t>(*next_++) << (56 - have_);
            have_ += 8;
        }
    }
    // The next n (1..32) bits; need(n) must have been called.
    uint32_t peek(int n) const { return static_cast<uint32_t>(acc_ >> (64 - n)); }
    // The bit at index i (0: next bit) of those made available.
    uint32_t bit(int i) const { return static_cast<uint32_t>(acc_ >> (63 - i)) & 1; }
    void skip(int n) {
        acc_ <<= n;
        have_ -= n;
    }
    uint32_t read(int n) {
        need(n);
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    // The cursor of the next unread bit.
    ByteReader position() const {
        long long bit = static_cast<long long>(next_ - base_) * 8 - have_;
        ByteReader r(base_, 0);
        r.skip(static_cast<int>(bit));
        return r;
    }
    void commit(Mox8u** ppBitStream, int* pBitOffset) const { position().commit(ppBitStream, pBitOffset); }

private:
    const Mox8u* base_;
    const Mox8u* next_;  // next byte to load
    uint64_t acc_;       // unread bits, left-aligned
    int have_;           // number of unread bits in acc_
};

class BackReader {
public:
    BackReader(const Mox8u* p, int offset) : base_(p), pos_(offset) {}

    // The n (1..32) bits just before the cursor as a number (the bit nearest
    // the cursor least significant); loads only the bytes that hold them.
    uint32_t peek(int n) const {
        long long first = floorDiv(pos_ - n), last = floorDiv(pos_ - 1);
        uint64_t w = 0;
        for (long long b = first; b <= last; ++b) w = w << 8 | base_[b];
        int tail = static_cast<int>((last + 1) * 8 - pos_);
        return static_cast<uint32_t>((w >> tail) & ((uint64_t{1} << n) - 1));
    }
    void back(int n) { pos_ -= n; }
    uint32_t read(int n) {
        uint32_t v = peek(n);
        pos_ -= n;
        return v;
    }
    long long mark() const { return pos_; }
    void reset(long long mark) { pos_ = mark; }
    void commit(Mox8u** ppBitStream, int* pBitOffset) const {
        ByteReader r(base_ + floorDiv(pos_), static_cast<int>(pos_ & 7));
        r.commit(ppBitStream, pBitOffset);
    }

private:
    static long long floorDiv(long long bit) { return bit >> 3; }  // arithmetic shift: rounds down

    const Mox8u* base_;
    long long pos_;  // bit position of the cursor from the most significant bit of *base_
};

}  // namespace mox::mpeg4
