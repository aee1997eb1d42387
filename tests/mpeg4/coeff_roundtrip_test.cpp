// The MPEG-4 and H.263 encoders against the decoders: random blocks of every
// kind (all run and level ranges, every escape, last flags, all scans, intra
// and inter, reversible codes read forward and backward) written back to back
// decode exactly, each ending where the encoder ended it, and decoding never
// reads past the byte after the last one written (a guard page follows it).
// Hand-built strings pin which escape the encoders choose.
#include <algorithm>

#include "common/guard_page.h"
#include "common/harness.h"
#include "mpeg4/decode_check.h"

namespace {

using namespace mox::test;

using Encoder = std::function<MoxStatus(Mox8u**, int*, const Mox16s*)>;

struct Family {
    const char* name;
    Encoder encode;
    BlockDecoder decode;
    int start;             // scan position before the first coded one
    std::vector<int> scan;  // scan position -> raster position
    int maxLevel;          // largest magnitude the family can code
    int minLevel;          // most negative level
};

std::vector<int> scanFor(int scan, bool intra) {
    return scanOf([=](Mox8u** p, int* o, Mox16s* c, int* l) {
        return intra ? moxiDecodeCoeffsIntra_MPEG4_1u16s(p, o, c, l, 0, 0, scan)
                     : moxiDecodeCoeffsInter_MPEG4_1u16s(p, o, c, l, 0, scan);
    });
}

std::vector<Family> families() {
    std::vector<Family> f;
    for (int scan = 0; scan < 4; ++scan) {
        for (int rvlc = 0; rvlc < 2; ++rvlc) {
            for (int dc = 0; dc < 2; ++dc)
                f.push_back({"MPEG-4 intra",
                             [=](Mox8u** p, int* o, const Mox16s* c) {
                                 return moxiEncodeCoeffsIntra_MPEG4_16s1u(p, o, c, rvlc, dc, scan);
                             },
                             [=](Mox8u** p, int* o, Mox16s* c, int* l) {
                                 return moxiDecodeCoeffsIntra_MPEG4_1u16s(p, o, c, l, rvlc, dc, scan);
                             },
                             dc ? 0 : -1, scanFor(scan, true), 2047, -2047});
            f.push_back({"MPEG-4 inter",
                         [=](Mox8u** p, int* o, const Mox16s* c) {
                             return moxiEncodeCoeffsInter_MPEG4_16s1u(p, o, c, rvlc, scan);
                         },
                         [=](Mox8u** p, int* o, Mox16s* c, int* l) {
                             return moxiDecodeCoeffsInter_MPEG4_1u16s(p, o, c, l, rvlc, scan);
                         },
                         -1, scanFor(scan, false), 2047, -2047});
        }
        for (int modQ = 0; modQ < 2; ++modQ) {
            for (int adv = 0; adv < 2; ++adv)
                f.push_back({"H.263 intra",
                             [=](Mox8u** p, int* o, const Mox16s* c) {
                                 return moxiEncodeCoeffsIntra_H263_16s1u(p, o, c, adv, modQ, scan);
                             },
                             [=](Mox8u** p, int* o, Mox16s* c, int* l) {
                                 return moxiDecodeCoeffsIntra_H263_1u16s(p, o, c, l, adv, modQ, scan);
                             },
                             adv ? -1 : 0, scanFor(scan, true), modQ ? 1023 : 127, modQ ? -1024 : -127});
            f.push_back({"H.263 inter",
                         [=](Mox8u** p, int* o, const Mox16s* c) {
                             return moxiEncodeCoeffsInter_H263_16s1u(p, o, c, modQ, scan);
                         },
                         [=](Mox8u** p, int* o, Mox16s* c, int* l) {
                             return moxiDecodeCoeffsInter_H263_1u16s(p, o, c, l, modQ, scan);
                         },
                         -1, scanFor(scan, false), modQ ? 1023 : 127, modQ ? -1024 : -127});
        }
    }
    return f;
}

// A level: mostly table codes, often just beyond LMAX (escape 1), sometimes
// anywhere in the family's range (escape 3, Annex T, RVLC escape).
int randomLevel(Rng& r, const Family& f) {
    int mag;
    switch (r.uniform(0, 9)) {
        case 0: mag = r.uniform(1, f.maxLevel); break;
        case 1: mag = r.uniform(1, std::min(f.maxLevel, 60)); break;
        case 2:
        case 3: mag = r.uniform(1, 30); break;
        default: mag = r.uniform(1, 3); break;
    }
    if (r.uniform(0, 40) == 0) return r.coin() ? f.maxLevel : f.minLevel;
    return r.coin() ? mag : -mag;
}

// A block in raster order; coefficient 0 of a block whose DC is kept is
// outside the coded range and left random.
std::vector<Mox16s> randomBlock(Rng& r, const Family& f) {
    std::vector<Mox16s> b(64, 0);
    int first = f.start + 1;
    switch (r.uniform(0, 4)) {
        case 0:  // dense
            for (int pos = first; pos < 64; ++pos)
                if (r.uniform(0, 3)) b[f.scan[pos]] = static_cast<Mox16s>(randomLevel(r, f));
            break;
        case 1:  // one coefficient anywhere, long runs (escape 2)
            b[f.scan[r.uniform(first, 63)]] = static_cast<Mox16s>(r.coin() ? 1 : randomLevel(r, f));
            break;
        default:  // sparse
            for (int n = r.uniform(1, 8); n > 0; --n) b[f.scan[r.uniform(first, 63)]] = static_cast<Mox16s>(randomLevel(r, f));
            break;
    }
    if (first) b[0] = static_cast<Mox16s>(r.uniform(-2000, 2000));
    return b;
}

int lastPosition(const std::vector<Mox16s>& b, const Family& f) {
    int last = f.start;
    for (int pos = f.start + 1; pos < 64; ++pos)
        if (b[f.scan[pos]]) last = pos;
    return last;
}

struct Written {
    std::vector<std::vector<Mox16s>> blocks;
    std::vector<long long> ends;  // bit position after each block
    std::vector<Mox8u> bytes;     // up to the byte holding the last bit
    int offset;
};

Written writeBlocks(Rng& r, const Family& f, int count) {
    Written w;
    w.offset = r.uniform(0, 7);
    std::vector<Mox8u> buf(count * 200 + 16);
    for (Mox8u& b : buf) b = static_cast<Mox8u>(r.uniform(0, 255));
    Mox8u lead = buf[0];
    Mox8u* p = buf.data();
    int off = w.offset;
    for (int i = 0; i < count; ++i) {
        w.blocks.push_back(randomBlock(r, f));
        long long before = bitPos(buf.data(), p, off);
        EXPECT_EQ(f.encode(&p, &off, w.blocks.back().data()), moxStsNoErr);
        long long after = bitPos(buf.data(), p, off);
        if (lastPosition(w.blocks.back(), f) == f.start) {
            EXPECT_EQ(after, before);  // empty: nothing written
        }
        w.ends.push_back(after);
    }
    // The bits before the first written one are kept, those after the last are zero.
    EXPECT_EQ(buf[0] >> (8 - w.offset), lead >> (8 - w.offset));
    if (off) {
        EXPECT_EQ(p[0] & (0xFF >> off), 0);
    }
    w.bytes.assign(buf.data(), p + (off ? 1 : 0));
    return w;
}

TEST(Mpeg4RoundTrip, RandomBlocksEveryFamilyScanAndEscape) {
    Rng r(41);
    for (const Family& f : families()) {
        SCOPED_TRACE(f.name);
        for (int trial = 0; trial < 12; ++trial) {
            Written w = writeBlocks(r, f, 10);
            // One byte past the last written byte is readable, nothing more.
            GuardPage mem(w.bytes.size() + 1);
            std::copy(w.bytes.begin(), w.bytes.end(), mem.data());
            mem.data()[w.bytes.size()] = 0xA5;
            Mox8u* p = mem.data();
            int off = w.offset;
            for (size_t i = 0; i < w.blocks.size(); ++i) {
                const std::vector<Mox16s>& want = w.blocks[i];
                int last = lastPosition(want, f);
                if (last == f.start) continue;  // an empty block is not coded
                Mox16s got[64];
                std::fill(got, got + 64, 0x4444);
                got[0] = want[0];  // a kept DC
                int lastGot = -99;
                ASSERT_EQ(f.decode(&p, &off, got, &lastGot), moxStsNoErr) << "block " << i;
                EXPECT_EQ(std::vector<Mox16s>(got, got + 64), want) << "block " << i;
                EXPECT_EQ(lastGot, last);
                ASSERT_EQ(bitPos(mem.data(), p, off), w.ends[i]) << "block " << i;
            }
        }
    }
}

// Bits of a block's last code: that event alone, as the first of a block.
int lastCodeBits(const std::vector<Mox16s>& b, const Family& f) {
    int last = lastPosition(b, f), before = f.start;
    for (int pos = f.start + 1; pos < last; ++pos)
        if (b[f.scan[pos]]) before = pos;
    std::vector<Mox16s> one(64, 0);
    one[f.scan[f.start + last - before]] = b[f.scan[last]];
    Mox8u buf[16] = {};
    Mox8u* p = buf;
    int off = 0;
    EXPECT_EQ(f.encode(&p, &off, one.data()), moxStsNoErr);
    return static_cast<int>(bitPos(buf, p, off));
}

TEST(Mpeg4RoundTrip, ReversibleBlocksReadBackward) {
    Rng r(42);
    for (int intra = 0; intra < 2; ++intra) {
        for (int dc = 0; dc <= intra; ++dc) {
            Family f{"RVLC",
                     [=](Mox8u** p, int* o, const Mox16s* c) {
                         return intra ? moxiEncodeCoeffsIntra_MPEG4_16s1u(p, o, c, 1, dc, 3)
                                      : moxiEncodeCoeffsInter_MPEG4_16s1u(p, o, c, 1, 3);
                     },
                     [=](Mox8u** p, int* o, Mox16s* c, int* l) {
                         return intra ? moxiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(p, o, c, l, dc)
                                      : moxiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(p, o, c, l);
                     },
                     dc ? 0 : -1, scanFor(3, intra), 2047, -2047};
            for (int trial = 0; trial < 30; ++trial) {
                Written w = writeBlocks(r, f, 12);
                // Each call reads back from a block's end to the previous block's
                // last code and may load one byte before that code, no further:
                // an unreadable page comes before that byte.
                for (size_t i = w.blocks.size() - 1; i >= 1; --i) {
                    const std::vector<Mox16s>& want = w.blocks[i];
                    int last = lastPosition(want, f);
                    if (last == f.start) continue;
                    // The block is preceded by the last non-empty block before it.
                    size_t k = i - 1;
                    while (k > 0 && lastPosition(w.blocks[k], f) == f.start) --k;
                    long long lastCode = w.ends[k] - lastCodeBits(w.blocks[k], f);
                    ASSERT_GE(lastCode, w.offset) << "block " << i;
                    long long from = lastCode / 8 - 1;  // the byte the decoder may load before that code
                    std::vector<Mox8u> bytes(w.bytes.begin() + std::max(from, 0LL), w.bytes.end());
                    if (from < 0) bytes.insert(bytes.begin(), 0xFF);
                    bytes.push_back(0);
                    GuardPage mem(bytes.size(), GuardPage::kAfterPage);
                    std::copy(bytes.begin(), bytes.end(), mem.data());
                    long long end = w.ends[i] - from * 8;
                    Mox8u* p = mem.data() + end / 8;
                    int off = static_cast<int>(end % 8);
                    Mox16s got[64];
                    std::fill(got, got + 64, 0x4444);
                    got[0] = want[0];
                    int lastGot = -99;
                    ASSERT_EQ(f.decode(&p, &off, got, &lastGot), moxStsNoErr) << "block " << i;
                    EXPECT_EQ(std::vector<Mox16s>(got, got + 64), want) << "block " << i;
                    EXPECT_EQ(lastGot, last);
                    ASSERT_EQ(bitPos(mem.data(), p, off), w.ends[i - 1] - from * 8) << "block " << i;
                }
            }
        }
    }
}

TEST(Mpeg4RoundTrip, IntraDcEveryValue) {
    for (int type = 0; type < 2; ++type) {
        std::vector<Mox8u> buf(8192 * 3);
        Mox8u* p = buf.data();
        int off = 3;
        for (int v = -4095; v <= 4095; ++v) ASSERT_EQ(moxiEncodeDCIntra_MPEG4_16s1u(&p, &off, static_cast<Mox16s>(v), type), moxStsNoErr);
        Mox8u* end = p;
        int endOff = off;
        p = buf.data();
        off = 3;
        for (int v = -4095; v <= 4095; ++v) {
            Mox16s dc = 0;
            ASSERT_EQ(moxiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, type), moxStsNoErr);
            ASSERT_EQ(dc, v);
        }
        EXPECT_EQ(bitPos(buf.data(), p, off), bitPos(buf.data(), end, endOff));
    }
    std::vector<Mox8u> buf(300);
    Mox8u* p = buf.data();
    int off = 5;
    for (int v = 1; v <= 254; ++v) ASSERT_EQ(moxiEncodeDCIntra_H263_16s1u(&p, &off, static_cast<Mox16s>(v)), moxStsNoErr);
    p = buf.data();
    off = 5;
    for (int v = 1; v <= 254; ++v) {
        Mox16s dc = 0;
        ASSERT_EQ(moxiDecodeDCIntra_H263_1u16s(&p, &off, &dc), moxStsNoErr);
        ASSERT_EQ(dc, v);
    }
    EXPECT_EQ(p, buf.data() + 254);
}

// Encodes one block at every offset and compares with the hand-built string.
void expectEncoded(const Encoder& enc, const std::vector<std::pair<int, int>>& coefs, const BitString& bits) {
    std::vector<Mox16s> block(64, 0);
    for (auto [raster, v] : coefs) block[raster] = static_cast<Mox16s>(v);
    for (int offset = 0; offset < 8; ++offset) {
        std::vector<Mox8u> buf = BitString().bytes(offset, bits.size() / 8 + 8, 1);
        std::fill(buf.begin() + 1, buf.end(), 0xC3);  // bytes after the cursor's are overwritten or left
        Mox8u* p = buf.data();
        int off = offset;
        ASSERT_EQ(enc(&p, &off, block.data()), moxStsNoErr);
        std::vector<Mox8u> want = bits.bytes(offset, 0, 1);
        ASSERT_EQ(bitPos(buf.data(), p, off), offset + bits.size());
        EXPECT_EQ(std::vector<Mox8u>(buf.begin(), buf.begin() + want.size()), want) << "offset " << offset;
        EXPECT_EQ(buf[want.size()], 0xC3);
    }
}

Encoder mpeg4InterEnc(int rvlc) {
    return [=](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsInter_MPEG4_16s1u(p, o, c, rvlc, 3); };
}

TEST(Mpeg4Encode, EscapesChosenInTheStandardsOrder) {
    // 0 0 13: escape 1 (LMAX 12) with 0 0 1; 0 27 -1: escape 2 (RMAX + 1 = 27) with 0 0 1; 1 0 1: table.
    expectEncoded(mpeg4InterEnc(0), {{0, 13}, {28, -1}, {29, 1}}, "0000011 0 10 0  0000011 10 10 1  0111 0");
    // 1 5 2: escape 1 with 1 5 1 "0010 011"; 1 0 100: escape 3.
    expectEncoded(mpeg4InterEnc(0), {{5, -2}}, "0000011 0 0010011 1");
    expectEncoded(mpeg4InterEnc(0), {{0, -100}}, "0000011 11 1 000000 1 111110011100 1");
    // Intra with the DC kept: coefficient 0 is not coded.
    expectEncoded([](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsIntra_MPEG4_16s1u(p, o, c, 0, 1, 3); },
                  {{0, 55}, {1, 27}, {2, 1}}, "000001010010 0  0111 0");
    // Reversible: table code, else the 30-bit escape.
    expectEncoded(mpeg4InterEnc(1), {{0, 2}, {2, -100}}, "0001 0  00001 1 000001 1 00001100100 1 0000 1");
    // H.263: Annex T extended level 200 (low 01000, high 000110), then 1 0 1.
    expectEncoded([](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsInter_H263_16s1u(p, o, c, 1, 3); },
                  {{0, 200}, {1, 1}}, "0000011 0 000000 10000000 01000 000110  0111 0");
    expectEncoded([](Mox8u** p, int* o, const Mox16s* c) { return moxiEncodeCoeffsIntra_H263_16s1u(p, o, c, 1, 0, 3); },
                  {{0, -2}, {14, 1}, {15, 1}}, "110 1  00000100000 0  0111 0");
}

TEST(Mpeg4Encode, DcCodes) {
    auto dc = [](int v, int type, const BitString& bits) {
        std::vector<Mox8u> buf(8, 0xFF);
        Mox8u* p = buf.data();
        int off = 2;
        ASSERT_EQ(moxiEncodeDCIntra_MPEG4_16s1u(&p, &off, static_cast<Mox16s>(v), type), moxStsNoErr);
        std::vector<Mox8u> want = bits.bytes(2, 0, 1);
        EXPECT_EQ(std::vector<Mox8u>(buf.begin(), buf.begin() + want.size()), want) << v;
        EXPECT_EQ(bitPos(buf.data(), p, off), 2 + bits.size());
    };
    dc(0, 0, "011");
    dc(-5, 0, "010 010");
    dc(300, 1, "000000001 100101100 1");
    dc(-1, 1, "10 0");
}

TEST(Mpeg4Encode, UncodableLevelsAndBadArgumentsWriteNothing) {
    std::vector<Mox8u> buf(64, 0x5A);
    std::vector<Mox8u*> ptr(1, buf.data() + 3);
    std::vector<int> off(1, 4);
    std::vector<Mox16s> block(64, 0);
    auto check = [&](MoxStatus st, auto call) { expectUntouched(st, call, {buf, ptr, off}); };
    block[10] = 2048;
    check(moxStsOutOfRangeErr, [&] { return moxiEncodeCoeffsInter_MPEG4_16s1u(ptr.data(), off.data(), block.data(), 0, 0); });
    block[10] = -2048;
    check(moxStsOutOfRangeErr, [&] { return moxiEncodeCoeffsIntra_MPEG4_16s1u(ptr.data(), off.data(), block.data(), 1, 0, 0); });
    block[10] = 128;
    check(moxStsOutOfRangeErr, [&] { return moxiEncodeCoeffsInter_H263_16s1u(ptr.data(), off.data(), block.data(), 0, 0); });
    block[10] = 1024;
    check(moxStsOutOfRangeErr, [&] { return moxiEncodeCoeffsIntra_H263_16s1u(ptr.data(), off.data(), block.data(), 1, 1, 0); });
    block[0] = 3000;  // kept DC: not coded, not checked
    block[10] = 1;
    for (int v : {4096, -4096})
        check(moxStsOutOfRangeErr, [&] { return moxiEncodeDCIntra_MPEG4_16s1u(ptr.data(), off.data(), static_cast<Mox16s>(v), 0); });
    for (int v : {0, 255, -3})
        check(moxStsOutOfRangeErr, [&] { return moxiEncodeDCIntra_H263_16s1u(ptr.data(), off.data(), static_cast<Mox16s>(v)); });
    check(moxStsNullPtrErr, [&] { return moxiEncodeCoeffsIntra_H263_16s1u(ptr.data(), off.data(), nullptr, 0, 0, 0); });
    check(moxStsNullPtrErr, [&] { return moxiEncodeCoeffsInter_MPEG4_16s1u(nullptr, off.data(), block.data(), 0, 0); });
    check(moxStsNullPtrErr, [&] { return moxiEncodeDCIntra_H263_16s1u(ptr.data(), nullptr, 5); });
    Mox8u* nullByte = nullptr;
    check(moxStsNullPtrErr, [&] { return moxiEncodeDCIntra_MPEG4_16s1u(&nullByte, off.data(), 5, 0); });
    off[0] = 8;
    block[10] = 5000;  // the offset is checked before the levels
    check(moxStsBitOffsetErr, [&] { return moxiEncodeCoeffsIntra_MPEG4_16s1u(ptr.data(), off.data(), block.data(), 0, 1, 0); });
    check(moxStsBitOffsetErr, [&] { return moxiEncodeDCIntra_H263_16s1u(ptr.data(), off.data(), 0); });
    off[0] = -1;
    check(moxStsBitOffsetErr, [&] { return moxiEncodeCoeffsInter_H263_16s1u(ptr.data(), off.data(), block.data(), 0, 0); });
}

}  // namespace
