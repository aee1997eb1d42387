// Generic prefix-code (Huffman) tables: a caller's list of codes grouped by
// length is built into a multi-level lookup table in library memory, and two
// decoders read one code through the word cursor.
//
// Built table, one array of Mox32u: entry 0 is the width w0 of the first
// level, entries 1 .. 2^w0 its lookup; every further level is a block of
// 1 + 2^w entries whose first entry is its width. A leaf is
// (value << 8) | k, k (< w) the peeked bits that follow the code; a pointer is
// (index of the next block's width entry << 8) | 0x80. Unused slots hold
// 0xF0F101: value 0xF0F1 ("no code"), one bit given back. A code shorter than
// its level fills every slot that begins with it.
//
// The decoders peek a level's width, index, and either descend or skip the
// code's own bits; that lands where reading the whole width and giving k bits
// back would, without ever stepping back a word.
#include <algorithm>
#include <climits>
#include <cstdint>

#include "core/bitstream.h"
#include "core/check.h"

namespace {

using mox::WordReader;

constexpr Mox32s kNoCode = 0xF0F1;
constexpr Mox32u kFiller = static_cast<Mox32u>(kNoCode) << 8 | 1;
constexpr int kMaxCodeLength = 32;
constexpr int kMaxLevels = 32;
constexpr int kMaxLevelWidth = 16;
constexpr int64_t kMaxEntries = int64_t{1} << 24;  // a pointer holds a 24-bit index

// ---------------------------------------------------------------- source

enum class Kind { One, RunLevel };

// Header of a source table: longest code, levels and their widths.
struct Levels {
    int maxLength = 0;
    int count = 0;
    int width[kMaxLevels + 1] = {};
    int first[kMaxLevels + 1] = {};  // first[i]: code bits consumed before level i
    const Mox32s* list = nullptr;    // the first count of the code list
};

bool parseLevels(const Mox32s* src, Levels& lv) {
    lv.maxLength = src[0];
    lv.count = src[1];
    if (lv.maxLength < 1 || lv.maxLength > kMaxCodeLength || lv.count < 1 || lv.count > kMaxLevels) return false;
    for (int i = 0; i < lv.count; ++i) {
        lv.width[i] = src[2 + i];
        if (lv.width[i] < 1 || lv.width[i] > kMaxLevelWidth) return false;
        lv.first[i + 1] = lv.first[i] + lv.width[i];
    }
    lv.list = src + 2 + lv.count;
    return lv.first[lv.count] >= lv.maxLength;
}

// A code left-aligned in 32 bits, its length and its packed value.
struct Code {
    uint32_t bits;
    int32_t length;
    int32_t value;
};

inline uint32_t prefixMask(int length) { return length >= 32 ? ~0u : ~(~0u >> length); }

// Walks the code list, checking every count, code and value, and hands each
// code to `emit`. False for a malformed list.
template <class Emit>
bool walkCodes(const Levels& lv, Kind kind, Emit&& emit) {
    const Mox32s* p = lv.list;
    uint64_t kraft = 0;  // sum of 2^(32 - length): more than 2^32 cannot be a prefix code
    for (int length = 1;; ++length) {
        Mox32s n = *p++;
        if (n < 0) return true;
        if (length > lv.maxLength) return false;
        kraft += static_cast<uint64_t>(n) << (32 - length);
        if (kraft > (uint64_t{1} << 32)) return false;
        for (Mox32s i = 0; i < n; ++i) {
            uint32_t code = static_cast<uint32_t>(p[0]);
            int32_t value;
            if (kind == Kind::One) {
                value = p[1];
                p += 2;
                if (value < -(1 << 23) || value >= (1 << 23)) return false;
            } else {
                Mox32s first = p[1], second = p[2];
                p += 3;
                if (first < -128 || first > 127 || second < -32768 || second > 32767) return false;
                value = static_cast<int32_t>(static_cast<uint32_t>(second) << 8 | (static_cast<uint32_t>(first) & 0xFF));
            }
            if (length < 32 && (code >> length) != 0) return false;
            emit(Code{length < 32 ? code << (32 - length) : code, length, value});
        }
    }
}

// Scratch list from the core allocator (the library throws nothing).
class CodeList {
public:
    explicit CodeList(int64_t n) : n_(n) {
        if (n > 0 && n <= INT_MAX / static_cast<int64_t>(sizeof(Code)))
            p_ = static_cast<Code*>(moxMalloc(static_cast<int>(n * sizeof(Code))));
    }
    ~CodeList() { moxFree(p_); }
    CodeList(const CodeList&) = delete;
    CodeList& operator=(const CodeList&) = delete;
    bool ok() const { return n_ == 0 || p_ != nullptr; }
    Code* begin() const { return p_; }
    Code* end() const { return p_ + n_; }

private:
    int64_t n_;
    Code* p_ = nullptr;
};

// True when no code is a prefix of (or equal to) another. Sorted by bits,
// then length, a prefix comes right before some code it begins, and every
// code between them begins with it too, so neighbours tell.
bool prefixFree(const CodeList& codes) {
    for (const Code* c = codes.begin(); c != codes.end() && c + 1 != codes.end(); ++c)
        if (((c[1].bits ^ c->bits) & prefixMask(c->length)) == 0) return false;
    return true;
}

// Entries the table needs: the first level, plus one block per level for
// every distinct prefix of the codes that reach past it.
int64_t tableEntries(const Levels& lv, const CodeList& codes) {
    int64_t total = 1 + (int64_t{1} << lv.width[0]);
    for (int i = 1; i < lv.count && lv.first[i] < lv.maxLength; ++i) {
        const uint32_t mask = prefixMask(lv.first[i]);
        int64_t blocks = 0;
        bool any = false;
        uint32_t last = 0;
        for (const Code& c : codes) {
            if (c.length <= lv.first[i]) continue;
            if (!any || (c.bits & mask) != last) ++blocks;
            any = true;
            last = c.bits & mask;
        }
        total += blocks * (1 + (int64_t{1} << lv.width[i]));
        if (total > kMaxEntries) return total;
    }
    return total;
}

void placeCodes(const Levels& lv, const CodeList& codes, Mox32u* t) {
    Mox32u next = 1 + (1u << lv.width[0]);
    for (const Code& c : codes) {
        Mox32u base = 0;  // width entry of the current block
        for (int i = 0;; ++i) {
            const int w = lv.width[i], end = lv.first[i + 1];
            const uint32_t slot = (c.bits << lv.first[i]) >> (32 - w);
            if (c.length <= end) {
                const int k = end - c.length;
                const Mox32u leaf = static_cast<Mox32u>(c.value) << 8 | static_cast<Mox32u>(k);
                std::fill_n(t + base + 1 + slot, 1u << k, leaf);
                break;
            }
            Mox32u& e = t[base + 1 + slot];
            if (!(e & 0x80)) {
                t[next] = static_cast<Mox32u>(lv.width[i + 1]);
                e = next << 8 | 0x80;
                next += 1 + (1u << lv.width[i + 1]);
            }
            base = e >> 8;
        }
    }
}

MoxStatus buildTable(const Mox32s* src, Kind kind, Mox32u** ppTable) {
    Levels lv;
    if (!parseLevels(src, lv)) return moxStsBadArgErr;
    int64_t n = 0;
    if (!walkCodes(lv, kind, [&n](const Code&) { ++n; })) return moxStsBadArgErr;
    CodeList codes(n);
    if (!codes.ok()) return moxStsMemAllocErr;
    Code* out = codes.begin();
    walkCodes(lv, kind, [&out](const Code& c) { *out++ = c; });
    std::sort(codes.begin(), codes.end(),
              [](const Code& a, const Code& b) { return a.bits != b.bits ? a.bits < b.bits : a.length < b.length; });
    if (!prefixFree(codes)) return moxStsBadArgErr;
    const int64_t entries = tableEntries(lv, codes);
    if (entries > kMaxEntries) return moxStsMemAllocErr;
    Mox32u* t = static_cast<Mox32u*>(moxMalloc(static_cast<int>(entries * sizeof(Mox32u))));
    if (!t) return moxStsMemAllocErr;
    std::fill_n(t, entries, kFiller);
    t[0] = static_cast<Mox32u>(lv.width[0]);
    placeCodes(lv, codes, t);
    *ppTable = t;
    return moxStsNoErr;
}

// ---------------------------------------------------------------- decoding
constexpr int kMaxDepth = kMaxLevels;

// Leaf entry of the code at the reader, which it leaves just past the code
// (past the peeked bits less one for a pattern that is no code).
inline Mox32u lookup(WordReader& rd, const Mox32u* t) {
    int w = static_cast<int>(t[0]);
    Mox32u e = t[1 + rd.peek(w)];
    for (int depth = 0; (e & 0x80) && depth < kMaxDepth; ++depth) {
        rd.skip(w);
        const Mox32u* block = t + (e >> 8);
        w = static_cast<int>(block[0]);
        e = block[1 + rd.peek(w)];
    }
    rd.skip(w - static_cast<int>(e & 0x7F));
    return e;
}

inline Mox32s valueOf(Mox32u e) { return static_cast<Mox32s>(e) >> 8; }

}  // namespace

MOX_FN moxiHuffmanTableInitAlloc_32s(const Mox32s* pSrcTable, Mox32u** ppDstTable) {
    MOX_CHECK_PTRS(pSrcTable, ppDstTable);
    return buildTable(pSrcTable, Kind::One, ppDstTable);
}

MOX_FN moxiHuffmanRunLevelTableInitAlloc_32s(const Mox32s* pSrcTable, Mox32u** ppDstTable) {
    MOX_CHECK_PTRS(pSrcTable, ppDstTable);
    return buildTable(pSrcTable, Kind::RunLevel, ppDstTable);
}

MOX_FN moxiHuffmanTableFree_32s(Mox32u* pDecodeTable) {
    MOX_CHECK_PTRS(pDecodeTable);
    moxFree(pDecodeTable);
    return moxStsNoErr;
}

// On a pattern that is no code: 0xF0F1 is written and the cursor stays where
// the lookup left it.
MOX_FN moxiDecodeHuffmanOne_1u32s(Mox32u** ppBitStream, int* pBitOffset, Mox32s* pDst, const Mox32u* pDecodeTable) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pDst, pDecodeTable);
    MOX_CHECK_PTRS(*ppBitStream);
    WordReader rd(*ppBitStream, *pBitOffset & 31);
    const Mox32s v = valueOf(lookup(rd, pDecodeTable));
    *pDst = v;
    rd.commit(ppBitStream, pBitOffset);
    return v == kNoCode ? moxStsBitstreamErr : moxStsNoErr;
}

// On a pattern that is no code: nothing is written and the cursor is kept.
MOX_FN moxiDecodeHuffmanPair_1u16s(Mox32u** ppBitStream, int* pBitOffset, const Mox32u* pDecodeTable, Mox8s* pDst1,
                                   Mox16s* pDst2) {
    MOX_CHECK_PTRS(ppBitStream, pBitOffset, pDecodeTable, pDst1, pDst2);
    MOX_CHECK_PTRS(*ppBitStream);
    WordReader rd(*ppBitStream, *pBitOffset & 31);
    const Mox32u e = lookup(rd, pDecodeTable);
    if (valueOf(e) == kNoCode) return moxStsBitstreamErr;
    *pDst1 = static_cast<Mox8s>(e >> 8);
    *pDst2 = static_cast<Mox16s>(e >> 16);
    rd.commit(ppBitStream, pBitOffset);
    return moxStsNoErr;
}
