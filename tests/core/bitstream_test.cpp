// The word and byte cursors against a bit-by-bit model of the stream, with
// the stream placed against an unreadable page to prove the look-ahead rules.
#include <algorithm>
#include <vector>

#include "common/guard_page.h"
#include "common/harness.h"
#include "core/bitstream.h"

namespace {

using namespace mox::test;

// Bit i of a word stream: bit 31 - i % 32 of word i / 32.
int wordBit(const Mox32u* w, long long i) { return (w[i / 32] >> (31 - i % 32)) & 1; }
uint32_t wordBits(const Mox32u* w, long long pos, int n) {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = v << 1 | wordBit(w, pos + i);
    return v;
}
// Bit i of a byte stream, most significant bit first.
int byteBit(const Mox8u* b, long long i) { return (b[i / 8] >> (7 - i % 8)) & 1; }
uint32_t byteBits(const Mox8u* b, long long pos, int n) {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = v << 1 | byteBit(b, pos + i);
    return v;
}

TEST(WordCursor, ReadsGiveBacksAndPositionsMatchTheBitModel) {
    Rng r(7);
    constexpr int kWords = 64;
    // kWords words of stream and the one readable word after them.
    GuardPage mem((kWords + 1) * 4);
    Mox32u* w = mem.as<Mox32u>();
    for (int i = 0; i <= kWords; ++i) w[i] = static_cast<Mox32u>(r.range(0, 0xFFFFFFFF));
    for (int trial = 0; trial < 200; ++trial) {
        long long pos = r.uniform(0, 31);
        mox::WordReader rd(w, 31 - static_cast<int>(pos));
        while (true) {
            int n = r.uniform(1, 32);
            if (pos + n > kWords * 32LL) break;
            ASSERT_EQ(rd.peek(n), wordBits(w, pos, n)) << "pos " << pos << " n " << n;
            ASSERT_EQ(rd.read(n), wordBits(w, pos, n));
            pos += n;
            if (r.coin()) {
                int back = r.uniform(0, std::min<long long>(n, 32));
                rd.giveBack(back);
                pos -= back;
            }
            ASSERT_EQ(rd.ptr(), w + pos / 32);
            ASSERT_EQ(rd.offset(), 31 - static_cast<int>(pos % 32));
        }
    }
}

TEST(WordCursor, WorkedRules) {
    alignas(4) Mox32u w[3] = {0x00000001u, 0x80000000u, 0};
    // Offset 0: a one-bit read returns bit 0 and lands on bit 31 of the next word.
    mox::WordReader rd(w, 0);
    EXPECT_EQ(rd.read(1), 1u);
    EXPECT_EQ(rd.ptr(), w + 1);
    EXPECT_EQ(rd.offset(), 31);
    // A read that ends exactly on bit 0 advances too.
    mox::WordReader whole(w, 31);
    EXPECT_EQ(whole.read(32), 1u);
    EXPECT_EQ(whole.ptr(), w + 1);
    EXPECT_EQ(whole.offset(), 31);
    // A code straddling two words reads like the same bits inside one word.
    mox::WordReader straddle(w, 1);
    EXPECT_EQ(straddle.read(3), 0b011u);
    EXPECT_EQ(straddle.ptr(), w + 1);
    EXPECT_EQ(straddle.offset(), 30);
    // Giving back bits that reach into the earlier word moves back onto it.
    straddle.giveBack(2);
    EXPECT_EQ(straddle.ptr(), w);
    EXPECT_EQ(straddle.offset(), 0);
    // Transmission-order bytes 00 00 00 80 are, as a native word, the single
    // set bit at the start of the stream: bytes must be grouped and reversed.
    const Mox8u bytes[4] = {0x00, 0x00, 0x00, 0x80};
    Mox32u word[2] = {};  // the stream word and the readable word after it
    std::memcpy(word, bytes, 4);
    EXPECT_EQ(mox::WordReader(word, 31).peek(1), 1u);
}

TEST(WordCursor, LooksAheadOnlyAsFarAsTheRuleAllows) {
    // Two stream words and the readable word after them, then a fault.
    GuardPage mem(12);
    Mox32u* w = mem.as<Mox32u>();
    w[0] = 0xDEADBEEF;
    w[1] = 0x12345678;
    w[2] = 0x9ABCDEF0;
    mox::WordReader rd(w, 31);
    EXPECT_EQ(rd.read(20), 0xDEADBu);
    EXPECT_EQ(rd.read(12), 0xEEFu);
    // Ending exactly on bit 0 of a word moves to the next without loading the one after it.
    EXPECT_EQ(rd.peek(32), 0x12345678u);
    EXPECT_EQ(rd.leadingZeros(32), 3);
    EXPECT_EQ(rd.read(32), 0x12345678u);
    // On the word after the stream: reads inside it never touch the page behind.
    EXPECT_EQ(rd.peek(31), 0x9ABCDEF0u >> 1);
    EXPECT_EQ(rd.leadingZeros(31), 0);
    EXPECT_EQ(rd.ptr(), w + 2);
    EXPECT_EQ(rd.offset(), 31);
}

TEST(ByteCursor, ReadsMatchTheBitModelAndStayWithinOneByteAhead) {
    Rng r(11);
    constexpr int kBytes = 300;
    GuardPage mem(kBytes + 1);  // the stream and the one readable byte after it
    Mox8u* b = mem.data();
    for (int i = 0; i <= kBytes; ++i) b[i] = static_cast<Mox8u>(r.range(0, 255));
    for (int trial = 0; trial < 200; ++trial) {
        long long pos = r.uniform(0, 7);
        mox::ByteReader rd(b, static_cast<int>(pos));
        while (true) {
            int n = r.uniform(1, trial % 2 ? 8 : 24);
            if (pos + n > kBytes * 8LL) break;
            ASSERT_EQ(rd.peek(n), byteBits(b, pos, n));
            if (n <= 8) {
                ASSERT_EQ(rd.peek8() >> (8 - n), byteBits(b, pos, n));
            }
            ASSERT_EQ(rd.read(n), byteBits(b, pos, n));
            pos += n;
            if (r.coin()) {
                int back = r.uniform(0, n);
                rd.giveBack(back);
                pos -= back;
            }
            ASSERT_EQ(rd.ptr(), b + pos / 8);
            ASSERT_EQ(rd.offset(), static_cast<int>(pos % 8));
        }
    }
    // The buffered reader: reads of up to 32 bits, and the decoders' short
    // look-ahead (up to 8 bits more than the stream is known to hold).
    for (int trial = 0; trial < 200; ++trial) {
        long long pos = r.uniform(0, 7);
        mox::BufferedByteReader rd(b, static_cast<int>(pos));
        while (true) {
            int known = r.uniform(1, 8), n = r.uniform(known, known + 8);
            if (pos + known > kBytes * 8LL) break;
            // The escapes' loads of two or three bytes, the stream known to
            // reach into the byte before the last of them.
            const long long nextByte = (pos + rd.available()) / 8;
            const int k = r.coin() ? 2 : 3;
            if (r.uniform(0, 3) == 0 && rd.available() <= 64 - 8 * k && nextByte + k - 1 <= kBytes) {
                if (k == 2)
                    rd.loadBytes<2>();
                else
                    rd.loadBytes<3>();
                const int m = std::min(32, rd.available());
                ASSERT_EQ(rd.peek(m), byteBits(b, pos, m));
                rd.skip(known);
            } else if (r.coin()) {
                rd.fillShort(n);
                ASSERT_GE(rd.available(), n);
                int m = std::min(n, static_cast<int>(kBytes * 8LL + 8 - pos));
                ASSERT_EQ(rd.peek(m), byteBits(b, pos, m));
                rd.skip(known);
            } else {
                known = static_cast<int>(std::min<long long>(r.uniform(1, 32), kBytes * 8LL - pos));
                ASSERT_EQ(rd.read(known), byteBits(b, pos, known));
            }
            pos += known;
            ASSERT_EQ(rd.ptr(), b + pos / 8);
            ASSERT_EQ(rd.offset(), static_cast<int>(pos % 8));
        }
    }
}

// The backward reader: fills of up to 32 bits and of up to 16 (two loads),
// steps back over what is held, and three-byte loads, toward the start of a
// stream held in exactly its bytes (the sanitizer build reports a look behind
// the bits read), marks kept as copies.
TEST(ByteCursor, BackReaderMatchesTheBitModel) {
    Rng r(12);
    std::vector<Mox8u> bytes(200);
    for (Mox8u& x : bytes) x = static_cast<Mox8u>(r.range(0, 255));
    const Mox8u* b = bytes.data();
    for (int trial = 0; trial < 200; ++trial) {
        long long pos = r.uniform(1, 200 * 8 - 1);  // bits before the cursor
        mox::ByteBackReader rd(b + pos / 8, static_cast<int>(pos % 8));
        const mox::ByteBackReader start = rd;
        const long long startPos = pos;
        while (pos > 0) {
            const int n = static_cast<int>(std::min<long long>(r.uniform(1, 32), pos));
            const int held = rd.available();
            if (r.uniform(0, 3) == 0 && held >= 1 && held <= 40 && pos - held >= 24) {
                // An escape's three bytes at once: the farthest lies in the stream.
                rd.loadBytes3();
                ASSERT_EQ(rd.available(), held + 24);
            }
            if (n <= 16 && r.coin()) {
                // The decoders' form: fillShort, then bits and skip on what is held.
                rd.fillShort(n);
                ASSERT_GE(rd.available(), n);
                ASSERT_EQ(rd.bits(n), byteBits(b, pos - n, n));
                const int m = r.uniform(0, n);
                rd.skip(m);
                pos -= m;
            } else {
                rd.fill(n);
                ASSERT_EQ(rd.bits(n), byteBits(b, pos - n, n));
                const int m = r.uniform(0, n);
                if (r.coin()) {
                    rd.skip(m);
                } else if (m > 0) {
                    rd.fill(m);
                    ASSERT_EQ(rd.bits(m), byteBits(b, pos - m, m));
                    rd.skip(m);
                }
                pos -= m;
            }
            Mox8u* p = nullptr;
            int off = -1;
            rd.commit(&p, &off);
            ASSERT_EQ(p, b + pos / 8);
            ASSERT_EQ(off, static_cast<int>(pos % 8));
        }
        rd = start;
        Mox8u* p = nullptr;
        int off = -1;
        rd.commit(&p, &off);
        ASSERT_EQ(p, b + startPos / 8);
        ASSERT_EQ(off, static_cast<int>(startPos % 8));
    }
}

TEST(ByteCursor, WriterWorkedExample) {
    Mox8u buf[3] = {0xE0, 0x55, 0x77};
    mox::ByteWriter wr(buf, 3);
    wr.write(0xFF, 8);
    EXPECT_EQ(buf[0], 0xFF);
    EXPECT_EQ(buf[1], 0xE0);
    EXPECT_EQ(buf[2], 0x77);
    EXPECT_EQ(wr.ptr(), buf + 1);
    EXPECT_EQ(wr.offset(), 3);
    // At offset 0 a byte is stored whole and nothing after it is touched.
    mox::ByteWriter at0(buf + 2, 0);
    at0.write(0x3C, 8);
    EXPECT_EQ(buf[2], 0x3C);
    EXPECT_EQ(at0.ptr(), buf + 3);
    EXPECT_EQ(at0.offset(), 0);
}

TEST(ByteCursor, WriterKeepsLeadingBitsZeroesTailAndTouchesNothingBeyond) {
    Rng r(13);
    for (int trial = 0; trial < 300; ++trial) {
        Guarded<Mox8u> out(64, 1);
        out.fillRandom(r, 0, 255);
        Mox8u* p = out.ptr();
        std::vector<Mox8u> before(p, p + 64);
        int start = r.uniform(0, 7);
        mox::ByteWriter wr(p, start);
        std::vector<int> bits;
        while (true) {
            int n = r.uniform(0, 32);
            if (start + static_cast<int>(bits.size()) + n > 64 * 8 - 8) break;
            uint32_t v = static_cast<uint32_t>(r.range(0, 0xFFFFFFFF));
            wr.write(v, n);
            for (int i = n - 1; i >= 0; --i) bits.push_back((v >> i) & 1);
        }
        long long end = start + static_cast<long long>(bits.size());
        ASSERT_EQ(wr.ptr(), p + end / 8);
        ASSERT_EQ(wr.offset(), static_cast<int>(end % 8));
        for (long long i = 0; i < start; ++i) ASSERT_EQ(byteBit(p, i), byteBit(before.data(), i));
        for (size_t i = 0; i < bits.size(); ++i) ASSERT_EQ(byteBit(p, start + i), bits[i]) << "bit " << i;
        long long lastByte = (end + 7) / 8;  // first byte not touched
        for (long long i = end; i < lastByte * 8; ++i) ASSERT_EQ(byteBit(p, i), 0) << "tail bit " << i;
        for (long long i = lastByte; i < 64; ++i) ASSERT_EQ(p[i], before[i]) << "byte " << i;
        ASSERT_TRUE(out.guardsIntact());
        // What was written reads back through the reader.
        mox::ByteReader rd(p, start);
        for (size_t i = 0; i < bits.size(); ++i) ASSERT_EQ(static_cast<int>(rd.read(1)), bits[i]);
    }
}

}  // namespace
