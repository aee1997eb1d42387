// The two bitstream cursors shared by every variable-length decoder and
// encoder of the library.
//
// Word cursor (H.264 Exp-Golomb/CAVLC, generic Huffman): a pointer to the
// current native 32-bit word and the index 31..0 of the next bit in it; the
// stream's first bit is bit 31 of the first word. A read of n bits at offset
// k stays in the word while k - n >= 0 (offset becomes k - n); otherwise it
// takes the low k + 1 bits of this word and the top n - k - 1 bits of the next,
// steps to the next word and leaves the offset at k - n + 32. A read that ends
// exactly on bit 0 therefore leaves the cursor at bit 31 of the next word. The
// word after the last word holding stream bits must be readable: the reader
// keeps the current word and the next one in a 64-bit window and loads the
// word after those only once it has consumed a bit of the second.
//
// Byte cursor (H.261, H.263, MPEG-4): a pointer to the current byte and the
// count 0..7 of its bits already used, most significant bit first. Reading
// loads the bytes that hold the requested bits plus the byte after them (one
// byte beyond the stream must be readable). Writing keeps the used bits of the
// current byte, stores whole bytes and zeroes the unused tail of the last byte
// it touches; it never ORs into a byte beyond the cursor.
//
// The byte cursor has three readers: ByteReader (random peeks and moves in
// both directions), BufferedByteReader (the variable-length decoders' forward
// reader: a 64-bit accumulator refilled a byte at a time, never with a byte
// beyond the last one a fill asks for) and ByteBackReader (the bits before the
// cursor, for the reversible codes read from a block's end).
//
// Every reader works on a private copy of its cursor; commit() hands the new
// position back to the caller, so a decoder that fails simply does not commit.
#pragma once

#include <cstdint>
#include <cstring>

#include "moxvc.h"

namespace mox {

class WordReader {
public:
    // Loads the current word and the one after it: a cursor inside a word
    // that holds stream bits may always read the next word.
    WordReader(const Mox32u* p, int offset) : p_(p), used_(31 - offset) { load(); }

    // Next n bits (1..32), most significant first, without moving.
    uint32_t peek(int n) const { return static_cast<uint32_t>(win_ >> (64 - n)); }
    // Moves past n bits (0..32). The pair of words moves on once a bit of the
    // second word has been consumed, so the word after it is loaded only then.
    // Always inlined: an out-of-line call would take the reader's address and
    // move the caller's whole cursor from registers to memory.
    __attribute__((always_inline)) void skip(int n) {
        used_ += n;
        win_ <<= n;
        moveOn();
    }
    // skip(w & 0xFF) for a look-up entry word whose low byte is a length
    // (0..32): the window shift takes w as it is (a 64-bit shift counts
    // modulo 64), so no mask lies between the entry's load and the shift.
    __attribute__((always_inline)) void skipLowByte(uint32_t w) {
        used_ += static_cast<int>(w & 0xFF);
        win_ <<= (w & 63);
        moveOn();
    }
    uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    // Moves back n bits (0..32), into the previous word when the offset passes 31.
    void giveBack(int n) {
        used_ -= n;
        if (used_ < 0) {
            --p_;
            used_ += 32;
        }
        load();
    }
    // The n bits after the next k, k + n <= 32, without moving.
    uint32_t peekAfter(int k, int n) const { return static_cast<uint32_t>(win_ << k >> (64 - n)); }
    // Leading zero bits before the next 1, counted up to `cap` (0..32). Does not move.
    // (Not clz(win_ | 1 << (63 - cap)): setting the bit with an immediate
    // bit-test-and-set before the bit scan is many times slower on some cores.)
    int leadingZerosUpTo(int cap) const {
        int z = __builtin_clzll(win_ | 1);
        return z < cap ? z : cap;
    }
    // Leading zero bits before the next 1 within the next `limit` (1..32) bits;
    // returns `limit` when they are all zero. Does not move.
    int leadingZeros(int limit) const {
        uint64_t v = win_ >> (64 - limit) << (64 - limit);
        return v ? __builtin_clzll(v) : limit;
    }

    // Unread bits held in the window (32..64): a code of up to this many bits
    // can be looked at whole with peekWindow and handed back with commitAfter.
    int windowBits() const { return 64 - used_; }
    // Next n bits (1..windowBits()), most significant first, without moving.
    uint64_t peekWindow(int n) const { return win_ >> (64 - n); }

    const Mox32u* ptr() const { return p_ + (used_ >> 5); }
    int offset() const { return 31 - (used_ & 31); }
    // Bits consumed since `start` (same stream).
    long long bitsSince(const WordReader& start) const {
        return static_cast<long long>(p_ - start.p_) * 32 + (used_ - start.used_);
    }
    void commit(Mox32u** ppBitStream, int* pBitOffset) const { commitAfter(0, ppBitStream, pBitOffset); }
    // Hands back the position n bits on (0..windowBits()) without moving.
    void commitAfter(int n, Mox32u** ppBitStream, int* pBitOffset) const {
        int used = used_ + n;
        *ppBitStream = const_cast<Mox32u*>(p_ + (used >> 5));
        *pBitOffset = 31 - (used & 31);
    }

private:
    // After a skip: the pair of words moves on once a bit of the second word
    // has been consumed.
    __attribute__((always_inline)) void moveOn() {
        if (__builtin_expect(used_ > 32, 0)) {
            ++p_;
            used_ -= 32;
            load();
        }
    }
    // The pair as one 64-bit load with its halves swapped on little-endian
    // hosts: one load instead of two on the decoders' first code.
    void load() {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        uint64_t pair;
        std::memcpy(&pair, p_, sizeof(pair));
        win_ = (pair << 32 | pair >> 32) << used_;
#else
        win_ = (static_cast<uint64_t>(p_[0]) << 32 | p_[1]) << used_;
#endif
    }

    const Mox32u* p_;
    int used_;      // bits of the pair p_[0], p_[1] consumed (0..32)
    uint64_t win_;  // the pair shifted left by used_: the unread bits, left-aligned
};

class ByteReader {
public:
    ByteReader(const Mox8u* p, int offset) : p_(p), off_(offset) {}

    // Next n bits (1..32) without moving. Loads the bytes holding them and the
    // byte after the last of them.
    uint32_t peek(int n) const {
        int last = (off_ + n - 1) >> 3;  // index of the byte holding the last bit
        uint64_t w = 0;
        for (int i = 0; i <= last + 1; ++i) w = (w << 8) | p_[i];
        int have = (last + 2) * 8;
        return static_cast<uint32_t>((w >> (have - off_ - n)) & ((uint64_t{1} << n) - 1));
    }
    // The eight bits that start at the cursor: the current byte and the next
    // one taken as a 16-bit value, shifted right by 8 - offset.
    uint32_t peek8() const { return ((static_cast<uint32_t>(p_[0]) << 8 | p_[1]) >> (8 - off_)) & 0xFF; }
    void skip(int n) {
        off_ += n;
        p_ += off_ >> 3;
        off_ &= 7;
    }
    uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    // Moves back n bits.
    void giveBack(int n) {
        off_ -= n;
        p_ += off_ >> 3;  // arithmetic shift: steps back whole bytes
        off_ &= 7;
    }
    // Moves to the next byte boundary (no move when already on one).
    void align() {
        if (off_) skip(8 - off_);
    }

    const Mox8u* ptr() const { return p_; }
    int offset() const { return off_; }
    long long bitsSince(const ByteReader& start) const {
        return static_cast<long long>(p_ - start.p_) * 8 + (off_ - start.off_);
    }
    void commit(Mox8u** ppBitStream, int* pBitOffset) const {
        *ppBitStream = const_cast<Mox8u*>(p_);
        *pBitOffset = off_;
    }

private:
    const Mox8u* p_;
    int off_;  // 0..7: bits of *p_ already used
};

// The fill steps shared by the byte readers: R holds `have_` bits and
// loads one more byte with loadByte(). fill(n) makes at least n bits
// available (n up to 57 forward, 32 backward); fillShort(n) does the same
// for n up to 16 while at least n - 16 bits are held, in two loads at most
// and no loop.
template <class R>
class ByteFill {
public:
    void fill(int n) {
        while (have_ < n) self().loadByte();
    }
    void fillShort(int n) {
        if (have_ < n) {
            self().loadByte();
            if (have_ < n) self().loadByte();
        }
    }
    int available() const { return have_; }

protected:
    explicit ByteFill(int have) : have_(have) {}
    int have_;  // unread bits held (0..64)

private:
    R& self() { return static_cast<R&>(*this); }
};

// Forward reader through a 64-bit accumulator holding the unread bits
// left-aligned. fill(n) loads whole bytes, one at a time, while fewer than n
// bits are held, so it never loads a byte past the one holding the n-th bit.
// A decoder that asks for at most eight bits more than it knows the stream
// holds from the cursor (for example the length of its shortest code plus
// eight) therefore stays within the one byte of look-ahead of the cursor rule.
// Constructing the reader loads the cursor's byte.
class BufferedByteReader : public ByteFill<BufferedByteReader> {
public:
    BufferedByteReader(const Mox8u* p, int offset)
        : ByteFill(8 - offset), next_(p + 1), acc_(static_cast<uint64_t>(p[0]) << (56 + offset)) {}

    // The next n (1..32) bits; fill(n) must have been called.
    uint32_t peek(int n) const { return static_cast<uint32_t>(acc_ >> (64 - n)); }
    // The bit at index i (0: the next bit) of those available.
    uint32_t bit(int i) const { return static_cast<uint32_t>(acc_ >> (63 - i)) & 1; }
    // Moves past n (0..57) available bits.
    void skip(int n) {
        acc_ <<= n;
        have_ -= n;
    }
    uint32_t read(int n) {
        fill(n);
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    // Loads the next K (1 to 3) bytes with one read, for the fixed-length
    // fields of an escape. The caller must know that the stream holds bits
    // into the byte before the last of them, so that the last stays within
    // the cursor rule's byte of look-ahead; at most 64 - 8 K bits may be
    // held. The three-byte form reads the byte before them too (already
    // loaded, so never before the cursor's byte).
    template <int K>
    void loadBytes() {
        static_assert(K >= 1 && K <= 3, "one to three bytes");
        if constexpr (K == 1) {
            loadByte();
            return;
        } else if constexpr (K == 2) {
            uint16_t w;
            std::memcpy(&w, next_, 2);
            acc_ |= static_cast<uint64_t>(__builtin_bswap16(w)) << (48 - have_);
        } else {
            uint32_t w;
            std::memcpy(&w, next_ - 1, 4);
            acc_ |= static_cast<uint64_t>(__builtin_bswap32(w) & 0xFFFFFFu) << (40 - have_);
        }
        next_ += K;
        have_ += 8 * K;
    }

    const Mox8u* ptr() const { return next_ - ((have_ + 7) >> 3); }
    int offset() const { return -have_ & 7; }
    void commit(Mox8u** ppBitStream, int* pBitOffset) const {
        *ppBitStream = const_cast<Mox8u*>(ptr());
        *pBitOffset = offset();
    }

private:
    friend class ByteFill<BufferedByteReader>;
    void loadByte() {
        acc_ |= (static_cast<uint64_t>(*next_++) << 56) >> have_;
        have_ += 8;
    }

    const Mox8u* next_;  // first byte not loaded
    uint64_t acc_;       // unread bits, left-aligned; zero below them
};

// The bits before the cursor, read toward the start of the stream, through a
// 64-bit accumulator holding the bits before the cursor right-aligned (the
// nearest one lowest). A read of n bits loads, a byte at a time toward the
// start, only the bytes that hold those n bits, so the reader never looks
// further back than its reads reach; only loadBytes3 loads bytes ahead of a
// read, for a caller that knows the stream's bits reach that far. Copies are
// cheap: a decoder keeps one as a mark to step back to.
class ByteBackReader : public ByteFill<ByteBackReader> {
public:
    // Takes the used bits of the cursor's byte (none when offset is 0: that
    // byte is not read).
    ByteBackReader(const Mox8u* p, int offset)
        : ByteFill(offset), next_(p - 1), acc_(offset ? static_cast<uint64_t>(p[0] >> (8 - offset)) : 0) {}

    // Reads are a fill (ByteFill), then bits() and skip() on what is held.
    // The n (1..32) held bits just before the cursor.
    uint32_t bits(int n) const { return static_cast<uint32_t>(acc_ & ((uint64_t{1} << n) - 1)); }
    // Moves back over n held bits.
    void skip(int n) {
        acc_ >>= n;
        have_ -= n;
    }
    // Loads the three bytes before those held with one read, for the fields
    // of an escape. The read takes the byte after them too, which holds
    // held bits (at least one must be held), so it never passes the cursor's
    // byte; the caller must know that the stream's bits reach into the middle
    // one of the three, so that the farthest is at most the byte before them.
    // At most 40 bits may be held.
    void loadBytes3() {
        uint32_t w;
        std::memcpy(&w, next_ - 2, 4);
        acc_ |= static_cast<uint64_t>(__builtin_bswap32(w) >> 8) << have_;
        next_ -= 3;
        have_ += 24;
    }

    void commit(Mox8u** ppBitStream, int* pBitOffset) const {
        *ppBitStream = const_cast<Mox8u*>(next_ + 1 + (have_ >> 3));
        *pBitOffset = have_ & 7;
    }

private:
    friend class ByteFill<ByteBackReader>;
    void loadByte() {
        acc_ |= static_cast<uint64_t>(*next_--) << have_;
        have_ += 8;
    }

    const Mox8u* next_;  // the next byte to load (toward the start)
    uint64_t acc_;       // the have_ bits before the cursor, the nearest lowest; zero above them
};

class ByteWriter {
public:
    ByteWriter(Mox8u* p, int offset) : p_(p), off_(offset) {}

    // Appends the low n bits (0..32) of v, most significant first. Touches only
    // the bytes that receive bits; the bits after the last written one in the
    // last touched byte become zero.
    void write(uint32_t v, int n) {
        if (n <= 0) return;
        uint64_t bits = n == 32 ? v : (v & ((1u << n) - 1));
        int total = off_ + n;                                                 // bits from the start of *p_
        uint64_t acc = static_cast<uint64_t>(p_[0] >> (8 - off_)) << n | bits;  // kept bits, then v
        int bytes = (total + 7) >> 3;
        acc <<= bytes * 8 - total;  // left-align to whole bytes, zero tail
        for (int i = bytes - 1; i >= 0; --i, acc >>= 8) p_[i] = static_cast<Mox8u>(acc);
        p_ += total >> 3;
        off_ = total & 7;
    }
    void writeBit(int b) { write(b & 1, 1); }

    Mox8u* ptr() const { return p_; }
    int offset() const { return off_; }
    long long bitsSince(const Mox8u* startPtr, int startOffset) const {
        return static_cast<long long>(p_ - startPtr) * 8 + (off_ - startOffset);
    }
    void commit(Mox8u** ppBitStream, int* pBitOffset) const {
        *ppBitStream = p_;
        *pBitOffset = off_;
    }

private:
    Mox8u* p_;
    int off_;
};

}  // namespace mox
