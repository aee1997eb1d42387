// Generic Huffman tables: random prefix codes of many shapes (complete and
// incomplete, up to 32-bit codes, one to several lookup levels) are built and
// random symbol streams decode back exactly with the exact final cursor;
// patterns that are no code fail as each decoder promises; malformed sources
// and bad arguments give their status with everything untouched.
#include "common/guard_page.h"
#include "common/harness.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace mox::test;

constexpr Mox32u kFiller = 0xF0F101;

// ---------------------------------------------------------------- codes and sources

struct Code {
    uint32_t bits;  // right-aligned
    int length;
    int value;   // single-value tables
    int first;   // run/level tables
    int second;
};

// A random prefix code: a binary tree grown by splitting leaves (sometimes
// the deepest, to reach long codes), all leaves used or, for an incomplete
// code, some left out.
std::vector<Code> randomCode(Rng& r, int maxLength, int symbols, bool complete) {
    std::vector<std::pair<uint32_t, int>> leaves{{0, 1}, {1, 1}};
    while (static_cast<int>(leaves.size()) < symbols) {
        std::vector<int> open;
        for (int i = 0; i < static_cast<int>(leaves.size()); ++i)
            if (leaves[i].second < maxLength) open.push_back(i);
        if (open.empty()) break;
        int pick = open[r.uniform(0, static_cast<int>(open.size()) - 1)];
        if (r.uniform(0, 3) == 0)
            for (int i : open)
                if (leaves[i].second > leaves[pick].second) pick = i;
        auto [bits, len] = leaves[pick];
        leaves[pick] = {bits << 1, len + 1};
        leaves.push_back({bits << 1 | 1, len + 1});
    }
    std::vector<Code> codes;
    for (auto [bits, len] : leaves) {
        if (!complete && codes.size() > 1 && r.uniform(0, 4) == 0) continue;
        codes.push_back({bits, len, int(r.extreme(-(1 << 23), (1 << 23) - 1)), int(r.extreme(-128, 127)),
                         int(r.extreme(-32768, 32767))});
        // Keep clear of the invalid mark.
        if (codes.back().value == 0xF0F1) codes.back().value = 0;
        if (codes.back().first == -15 && codes.back().second == 240) codes.back().second = 0;
    }
    return codes;
}

int longest(const std::vector<Code>& codes) {
    int m = 1;
    for (const Code& c : codes) m = std::max(m, c.length);
    return m;
}

// Widths 1..16 whose sum reaches maxLength.
std::vector<int> randomLevels(Rng& r, int maxLength) {
    std::vector<int> w;
    int sum = 0;
    while (sum < maxLength) {
        w.push_back(r.uniform(0, 2) == 0 ? r.uniform(1, 3) : r.uniform(1, 16));
        sum += w.back();
    }
    return w;
}

std::vector<Mox32s> source(const std::vector<Code>& codes, const std::vector<int>& levels, bool runLevel,
                           int word0 = 0) {
    int maxLength = longest(codes);
    std::vector<Mox32s> s{word0 ? word0 : maxLength, static_cast<Mox32s>(levels.size())};
    s.insert(s.end(), levels.begin(), levels.end());
    for (int len = 1; len <= maxLength; ++len) {
        size_t countAt = s.size();
        s.push_back(0);
        for (const Code& c : codes) {
            if (c.length != len) continue;
            ++s[countAt];
            s.push_back(static_cast<Mox32s>(c.bits));
            if (runLevel) {
                s.push_back(c.first);
                s.push_back(c.second);
            } else {
                s.push_back(c.value);
            }
        }
    }
    s.push_back(-1);
    return s;
}

// A built table, freed on scope exit.
struct Table {
    Mox32u* p = nullptr;
    MoxStatus status;
    Table(const std::vector<Mox32s>& src, bool runLevel)
        : status(runLevel ? moxiHuffmanRunLevelTableInitAlloc_32s(src.data(), &p)
                          : moxiHuffmanTableInitAlloc_32s(src.data(), &p)) {}
    ~Table() {
        if (p) {
            EXPECT_EQ(moxiHuffmanTableFree_32s(p), moxStsNoErr);
        }
    }
};

// ---------------------------------------------------------------- streams

// Bits appended most significant first into native words (bit 31 first).
struct BitWriter {
    std::vector<Mox32u> words;
    long long bits = 0;
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i, ++bits) {
            if (bits % 32 == 0) words.push_back(0);
            if ((v >> i) & 1) words.back() |= 1u << (31 - bits % 32);
        }
    }
    // Room the decoders may look at beyond the last code.
    void pad() {
        words.push_back(0);
        words.push_back(0);
    }
};

struct Cursor {
    Mox32u* p;
    int offset;
    long long bit(const Mox32u* base) const { return (p - base) * 32 + 31 - offset; }
};

Cursor cursorAt(std::vector<Mox32u>& w, long long bit) {
    return {w.data() + bit / 32, 31 - static_cast<int>(bit % 32)};
}

// ---------------------------------------------------------------- round trips

// Encodes a random symbol stream after a random number of leading bits and
// decodes it back with both decoders, symbol by symbol.
void roundTrip(Rng& r, const std::vector<Code>& codes, const std::vector<int>& levels, const std::string& what) {
    Table one(source(codes, levels, false), false), pair(source(codes, levels, true), true);
    ASSERT_EQ(one.status, moxStsNoErr) << what;
    ASSERT_EQ(pair.status, moxStsNoErr) << what;
    BitWriter bw;
    int lead = r.uniform(0, 40);
    bw.put(r.uniform(0, 255), std::min(lead, 8));
    for (int i = 8; i < lead; ++i) bw.put(0, 1);
    std::vector<int> symbols;
    std::vector<long long> ends;
    for (int i = 0, n = r.uniform(1, 300); i < n; ++i) {
        symbols.push_back(r.uniform(0, static_cast<int>(codes.size()) - 1));
        bw.put(codes[symbols.back()].bits, codes[symbols.back()].length);
        ends.push_back(bw.bits);
    }
    bw.pad();
    Cursor c1 = cursorAt(bw.words, lead), c2 = c1;
    for (size_t i = 0; i < symbols.size(); ++i) {
        const Code& want = codes[symbols[i]];
        Mox32s v = 0;
        Mox8s first = 0;
        Mox16s second = 0;
        ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&c1.p, &c1.offset, &v, one.p), moxStsNoErr) << what << " symbol " << i;
        ASSERT_EQ(v, want.value) << what << " symbol " << i;
        ASSERT_EQ(c1.bit(bw.words.data()), ends[i]) << what << " symbol " << i;
        ASSERT_EQ(moxiDecodeHuffmanPair_1u16s(&c2.p, &c2.offset, pair.p, &first, &second), moxStsNoErr) << what;
        ASSERT_EQ(first, want.first) << what << " symbol " << i;
        ASSERT_EQ(second, want.second) << what << " symbol " << i;
        ASSERT_EQ(c2.bit(bw.words.data()), ends[i]) << what << " symbol " << i;
    }
}

TEST(HuffmanTable, RandomCodesDecodeBack) {
    Rng r(52);
    for (int trial = 0; trial < 400; ++trial) {
        int maxLength = trial % 4 == 0 ? 32 : r.uniform(1, 24);
        int symbols = r.uniform(2, trial % 3 == 0 ? 400 : 40);
        bool complete = r.coin();
        std::vector<Code> codes = randomCode(r, maxLength, symbols, complete);
        std::vector<int> levels = randomLevels(r, longest(codes));
        roundTrip(r, codes, levels,
                  "trial " + std::to_string(trial) + (complete ? " complete" : " incomplete") + " longest " +
                      std::to_string(longest(codes)) + " levels " + std::to_string(levels.size()));
    }
}

// Every code of length n at once, with one level of n bits or split levels.
TEST(HuffmanTable, FixedLengthCodes) {
    Rng r(3);
    for (int n : {1, 2, 7, 8, 12}) {
        std::vector<Code> codes;
        for (uint32_t b = 0; b < (1u << n); ++b) codes.push_back({b, n, int(b) * 3 - 7, int(b % 200) - 100, -int(b)});
        roundTrip(r, codes, {n}, "one level " + std::to_string(n));
        roundTrip(r, codes, {1, 16}, "1+16 " + std::to_string(n));
        if (n > 1) roundTrip(r, codes, {n / 2, n - n / 2}, "split " + std::to_string(n));
    }
}

// ---------------------------------------------------------------- built layout

TEST(HuffmanTable, BuiltLayout) {
    // 1 -> 5 (length 1), 01 -> 6, 0001 -> 7, 00001 -> -2 over levels 2 + 3.
    std::vector<Code> codes{{1, 1, 5, 0, 0}, {1, 2, 6, 0, 0}, {1, 4, 7, 0, 0}, {1, 5, -2, 0, 0}};
    Table t(source(codes, {2, 3}, false), false);
    ASSERT_EQ(t.status, moxStsNoErr);
    const Mox32u* e = t.p;
    EXPECT_EQ(e[0], 2u);
    // 1x: two slots, one bit given back; 01: one slot, none given back.
    EXPECT_EQ(e[1 + 2], 5u << 8 | 1);
    EXPECT_EQ(e[1 + 3], 5u << 8 | 1);
    EXPECT_EQ(e[1 + 1], 6u << 8 | 0);
    // 00: pointer to the one second-level block right after the first level.
    EXPECT_EQ(e[1 + 0], 5u << 8 | 0x80);
    EXPECT_EQ(e[5], 3u);
    // Under 00: 01x -> 0001 (gives back 1), 001 -> 00001; 1xx and 000 are no code.
    EXPECT_EQ(e[6 + 2], 7u << 8 | 1);
    EXPECT_EQ(e[6 + 3], 7u << 8 | 1);
    EXPECT_EQ(e[6 + 1], static_cast<Mox32u>(-2) << 8);
    for (int i : {0, 4, 5, 6, 7}) EXPECT_EQ(e[6 + i], kFiller) << i;
}

// ---------------------------------------------------------------- give-back and cursor edges

TEST(HuffmanTable, GiveBackAcrossWords) {
    // A 1-bit code in an 8-bit first level gives back 7 bits.
    std::vector<Code> codes{{1, 1, 11, 1, 11}, {1, 2, 22, 2, 22}, {0, 2, 33, 3, 33}};
    Table one(source(codes, {8}, false), false);
    ASSERT_EQ(one.status, moxStsNoErr);
    // The code 1 at bit 1 of word 0; the 8-bit read reaches 6 bits into word 1.
    Mox32u words[3] = {0x00000002u, 0xFFFFFFFFu, 0};
    Mox32u* p = words;
    int offset = 1;
    Mox32s v = 0;
    ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, one.p), moxStsNoErr);
    EXPECT_EQ(v, 11);
    EXPECT_EQ(p, words);
    EXPECT_EQ(offset, 0);
    // The code 01 at bits 0 and 31: the cursor moves into word 1.
    words[0] = 0;
    words[1] = 0x80000000u;
    offset = 0;
    ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, one.p), moxStsNoErr);
    EXPECT_EQ(v, 22);
    EXPECT_EQ(p, words + 1);
    EXPECT_EQ(offset, 30);
    // Only the low 5 bits of the offset are used: 32 + 30 reads at 30.
    p = words + 1;
    words[1] = 0x40000000u;
    offset = 62;
    ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, one.p), moxStsNoErr);
    EXPECT_EQ(v, 11);
    EXPECT_EQ(offset, 29);
}

// The lookup touches at most the word after the current one: a code near the
// end of the last stream word decodes with only one more word readable, even
// when its 16-bit lookup reaches into that word.
TEST(HuffmanTable, ReadsAtMostOneWordAhead) {
    std::vector<Code> codes{{1, 1, 1, 1, 1}, {0, 1, 2, 2, 2}};
    Table wide(source(codes, {16}, false), false), narrow(source(codes, {1}, false), false);
    ASSERT_EQ(wide.status, moxStsNoErr);
    ASSERT_EQ(narrow.status, moxStsNoErr);
    GuardPage page(8);
    Mox32u* w = page.as<Mox32u>();
    w[0] = 0x55555555u;
    w[1] = 0;
    for (const Table* t : {&wide, &narrow}) {
        for (int start = 31; start >= 0; --start) {
            Mox32u* p = w;
            int offset = start;
            Mox32s v = 0;
            ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, t->p), moxStsNoErr);
            EXPECT_EQ(v, start % 2 ? 2 : 1);
            EXPECT_EQ(p, start ? w : w + 1);
            EXPECT_EQ(offset, start ? start - 1 : 31);
        }
    }
}

// ---------------------------------------------------------------- patterns that are no code

// Bits consumed by a failed lookup: the widths down to the level whose slot
// is empty, less the one bit given back.
long long failedLookupBits(const std::vector<Code>& codes, const std::vector<int>& levels, uint64_t pattern,
                           int patternBits) {
    int end = 0;
    for (int w : levels) {
        end += w;
        bool deeper = false;  // some longer code shares the first `end` bits
        for (const Code& c : codes)
            if (c.length > end && (uint64_t{c.bits} >> (c.length - end)) == (pattern >> (patternBits - end)))
                deeper = true;
        if (!deeper) return end - 1;
    }
    return -1;
}

// A random pattern of `bits` bits (at least the longest code) that begins with no code.
bool randomInvalid(Rng& r, const std::vector<Code>& codes, int bits, uint64_t& pattern) {
    for (int tries = 0; tries < 200; ++tries) {
        pattern = static_cast<uint64_t>(r.range(0, INT64_MAX)) & ((uint64_t{1} << bits) - 1);
        bool ok = true;
        for (const Code& c : codes)
            if ((pattern >> (bits - c.length)) == c.bits) ok = false;
        if (ok) return true;
    }
    return false;
}

TEST(HuffmanTable, NoCodeFailsAsEachDecoderPromises) {
    Rng r(404);
    int tested = 0;
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Code> codes = randomCode(r, r.uniform(2, 32), r.uniform(2, 200), false);
        std::vector<int> levels = randomLevels(r, longest(codes));
        int total = 0;
        for (int w : levels) total += w;
        uint64_t pattern;
        if (!randomInvalid(r, codes, total, pattern)) continue;
        ++tested;
        Table one(source(codes, levels, false), false), pair(source(codes, levels, true), true);
        ASSERT_EQ(one.status, moxStsNoErr);
        ASSERT_EQ(pair.status, moxStsNoErr);
        BitWriter bw;
        int lead = r.uniform(0, 31);
        bw.put(0, lead);
        bw.put(static_cast<uint32_t>(pattern >> 32), total - 32 > 0 ? total - 32 : 0);
        bw.put(static_cast<uint32_t>(pattern), std::min(total, 32));
        bw.pad();
        const long long consumed = failedLookupBits(codes, levels, pattern, total);
        ASSERT_GE(consumed, 0);
        Cursor c = cursorAt(bw.words, lead);
        Mox32s v = 0;
        ASSERT_EQ(moxiDecodeHuffmanOne_1u32s(&c.p, &c.offset, &v, one.p), moxStsBitstreamErr) << trial;
        EXPECT_EQ(v, 0xF0F1);
        EXPECT_EQ(c.bit(bw.words.data()), lead + consumed) << trial;

        const Cursor start = cursorAt(bw.words, lead);
        c = start;
        Mox8s first = 99;
        Mox16s second = 999;
        ASSERT_EQ(moxiDecodeHuffmanPair_1u16s(&c.p, &c.offset, pair.p, &first, &second), moxStsBitstreamErr);
        EXPECT_EQ(c.p, start.p);
        EXPECT_EQ(c.offset, start.offset);
        EXPECT_EQ(first, 99);
        EXPECT_EQ(second, 999);
    }
    EXPECT_GT(tested, 100);
}

// A listed code with the value 0xF0F1 (a run/level pair packing to it) decodes as invalid.
TEST(HuffmanTable, ListedInvalidCode) {
    std::vector<Code> codes{{1, 1, 0xF0F1, -15, 240}, {0, 1, 4, 4, 4}};
    Table one(source(codes, {4}, false), false), pair(source(codes, {4}, true), true);
    Mox32u words[2] = {0x80000000u, 0};
    Mox32u* p = words;
    int offset = 31;
    Mox32s v = 0;
    EXPECT_EQ(moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, one.p), moxStsBitstreamErr);
    EXPECT_EQ(offset, 30);
    Mox8s a = 0;
    Mox16s b = 0;
    p = words;
    offset = 31;
    EXPECT_EQ(moxiDecodeHuffmanPair_1u16s(&p, &offset, pair.p, &a, &b), moxStsBitstreamErr);
    EXPECT_EQ(offset, 31);
}

// ---------------------------------------------------------------- builder statuses

TEST(HuffmanTable, BuilderRejectsMalformedSources) {
    // word 0 (longest length), levels, widths, then lengths 1, 2, ...
    const std::vector<Mox32s> good{2, 1, 2, 1, 1, 10, 1, 0, 20, -1};
    const std::vector<Mox32s> goodPairs{2, 1, 2, 1, 1, 1, 10, 1, 0, 2, 20, -1};
    const std::vector<std::pair<std::string, std::vector<Mox32s>>> bad{
        {"longest 0", {0, 1, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"longest 33", {33, 1, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"code longer than word 0", {1, 1, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"no levels", {2, 0, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"33 levels", {2, 33, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"width 0", {2, 2, 0, 2, 1, 1, 10, 1, 0, 20, -1}},
        {"width 17", {2, 1, 17, 1, 1, 10, 1, 0, 20, -1}},
        {"widths too short", {3, 1, 2, 1, 1, 10, 1, 0, 20, 0, -1}},
        {"code above its length", {2, 1, 2, 1, 2, 10, 1, 0, 20, -1}},
        {"negative code", {2, 1, 2, 1, -1, 10, 1, 0, 20, -1}},
        {"duplicate", {2, 1, 2, 0, 2, 1, 10, 1, 20, -1}},
        {"prefix", {2, 1, 2, 1, 1, 10, 1, 3, 20, -1}},
        {"too many codes", {2, 1, 2, 3, 0, 1, 1, 2, 0, 3, -1}},
        {"value 2^23", {2, 1, 2, 1, 1, 1 << 23, 1, 0, 20, -1}},
        {"value below -2^23", {2, 1, 2, 1, 1, -(1 << 23) - 1, 1, 0, 20, -1}},
    };
    Mox32u* const sentinel = reinterpret_cast<Mox32u*>(uintptr_t{0x1234});
    for (const auto& [what, src] : bad) {
        Mox32u* out = sentinel;
        EXPECT_EQ(moxiHuffmanTableInitAlloc_32s(src.data(), &out), moxStsBadArgErr) << what;
        EXPECT_EQ(out, sentinel) << what;
    }
    const std::vector<std::pair<std::string, std::vector<Mox32s>>> badPairs{
        {"first 128", {2, 1, 2, 1, 1, 128, 10, 1, 0, 2, 20, -1}},
        {"first -129", {2, 1, 2, 1, 1, -129, 10, 1, 0, 2, 20, -1}},
        {"second 32768", {2, 1, 2, 1, 1, 1, 32768, 1, 0, 2, 20, -1}},
        {"second -32769", {2, 1, 2, 1, 1, 1, -32769, 1, 0, 2, 20, -1}},
        {"prefix", {2, 1, 2, 1, 1, 1, 10, 1, 2, 2, 20, -1}},
    };
    for (const auto& [what, src] : badPairs) {
        Mox32u* out = sentinel;
        EXPECT_EQ(moxiHuffmanRunLevelTableInitAlloc_32s(src.data(), &out), moxStsBadArgErr) << what;
        EXPECT_EQ(out, sentinel) << what;
    }
    {
        Table a(good, false), b(goodPairs, true);
        EXPECT_EQ(a.status, moxStsNoErr);
        EXPECT_EQ(b.status, moxStsNoErr);
        // word 0 may exceed the longest code; an empty code set builds a table of fillers.
        Table c({5, 2, 3, 2, 1, 1, 10, -1}, false), d({4, 1, 4, -1}, false);
        EXPECT_EQ(c.status, moxStsNoErr);
        ASSERT_EQ(d.status, moxStsNoErr);
        EXPECT_EQ(d.p[0], 4u);
        for (int i = 1; i <= 16; ++i) EXPECT_EQ(d.p[i], kFiller);
    }
}

TEST(HuffmanTable, BuilderStatusesInOrder) {
    const std::vector<Mox32s> good{1, 1, 1, 2, 0, 3, 1, 4, -1};
    Mox32u* out = nullptr;
    for (auto fn : {moxiHuffmanTableInitAlloc_32s, moxiHuffmanRunLevelTableInitAlloc_32s}) {
        EXPECT_EQ(fn(nullptr, &out), moxStsNullPtrErr);
        EXPECT_EQ(fn(good.data(), nullptr), moxStsNullPtrErr);
        EXPECT_EQ(out, nullptr);
    }
    // 32-bit codes with distinct 16-bit prefixes over levels 16 + 16 need one
    // second-level block of 2^16 + 1 entries each: 254 fit in 2^24 entries, 255 do not.
    auto wide = [](int codes) {
        std::vector<Mox32s> s{32, 2, 16, 16};
        s.insert(s.end(), 31, 0);
        s.push_back(codes);
        for (int i = 0; i < codes; ++i) {
            s.push_back(static_cast<Mox32s>(static_cast<uint32_t>(i) << 16));
            s.push_back(i);
        }
        s.push_back(-1);
        return s;
    };
    EXPECT_EQ(moxiHuffmanTableInitAlloc_32s(wide(255).data(), &out), moxStsMemAllocErr);
    EXPECT_EQ(out, nullptr);
    Table t(wide(254), false);
    EXPECT_EQ(t.status, moxStsNoErr);
    EXPECT_EQ(moxiHuffmanTableFree_32s(nullptr), moxStsNullPtrErr);
}

// ---------------------------------------------------------------- decoder checks

TEST(HuffmanTable, DecoderNullPointers) {
    Table one({1, 1, 1, 2, 0, 3, 1, 4, -1}, false), pair({1, 1, 1, 2, 0, 3, 3, 1, 4, 4, -1}, true);
    std::vector<Mox32u> words{0xFFFFFFFFu, 0};
    std::vector<Mox32u*> ptr{words.data()};
    std::vector<int> offset{31};
    std::vector<Mox32s> v{-1};
    std::vector<Mox8s> a{-1};
    std::vector<Mox16s> b{-1};
    const std::vector<Mox32u*> nullStream{nullptr};
    std::vector<Mox32u*> np = nullStream;
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanOne_1u32s(nullptr, offset.data(), v.data(), one.p); }, {offset, v});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanOne_1u32s(ptr.data(), nullptr, v.data(), one.p); }, {ptr, v});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanOne_1u32s(ptr.data(), offset.data(), nullptr, one.p); }, {ptr, offset});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanOne_1u32s(ptr.data(), offset.data(), v.data(), nullptr); }, {ptr, offset, v});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanOne_1u32s(np.data(), offset.data(), v.data(), one.p); }, {np, offset, v});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(nullptr, offset.data(), pair.p, a.data(), b.data()); }, {offset, a, b});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(ptr.data(), nullptr, pair.p, a.data(), b.data()); }, {ptr, a, b});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(ptr.data(), offset.data(), nullptr, a.data(), b.data()); }, {ptr, offset, a, b});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(ptr.data(), offset.data(), pair.p, nullptr, b.data()); }, {ptr, offset, b});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(ptr.data(), offset.data(), pair.p, a.data(), nullptr); }, {ptr, offset, a});
    expectUntouched(moxStsNullPtrErr, [&] { return moxiDecodeHuffmanPair_1u16s(np.data(), offset.data(), pair.p, a.data(), b.data()); }, {np, offset, a, b});
    EXPECT_EQ(moxiDecodeHuffmanPair_1u16s(ptr.data(), offset.data(), pair.p, a.data(), b.data()), moxStsNoErr);
    EXPECT_EQ(a[0], 4);
    EXPECT_EQ(b[0], 4);
}

}  // namespace
