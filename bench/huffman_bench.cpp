// Generic Huffman table benchmarks: building (with release) a single-value
// and a run/level table, and decoding one symbol with each decoder from a
// long stream of short codes (1..8 bits, one 8-bit lookup) or of long codes
// (12..24 bits over 8 + 8 + 8-bit levels). Ticks are per call, that is per
// symbol.
#include <vector>

#include "bench_util.h"
#include "moxvc.h"

namespace {

// The codes 0..01 of every length lo..hi and the all-zero code of length hi
// (a complete code when lo is 1).
struct CodeSet {
    std::vector<Mox32s> one, pair;
    std::vector<std::pair<Mox32u, int>> codes;  // (bits, length)
};

CodeSet makeCodes(int lo, int hi, const std::vector<int>& levels) {
    CodeSet c;
    std::vector<Mox32s> head{hi, static_cast<Mox32s>(levels.size())};
    head.insert(head.end(), levels.begin(), levels.end());
    c.one = c.pair = head;
    for (int len = 1; len <= hi; ++len) {
        std::vector<Mox32u> at;
        if (len >= lo) at.push_back(1);
        if (len == hi) at.push_back(0);
        c.one.push_back(static_cast<Mox32s>(at.size()));
        c.pair.push_back(static_cast<Mox32s>(at.size()));
        for (Mox32u b : at) {
            c.codes.push_back({b, len});
            c.one.insert(c.one.end(), {static_cast<Mox32s>(b), len * 3});
            c.pair.insert(c.pair.end(), {static_cast<Mox32s>(b), len, -len * 100});
        }
    }
    c.one.push_back(-1);
    c.pair.push_back(-1);
    return c;
}

// A stream of random symbols (fixed seed), two zero words after it.
std::vector<Mox32u> makeStream(const CodeSet& c, int symbols) {
    std::mt19937 g(5);
    std::vector<Mox32u> w;
    long long bits = 0;
    for (int i = 0; i < symbols; ++i) {
        auto [code, len] = c.codes[g() % c.codes.size()];
        for (int k = len - 1; k >= 0; --k, ++bits) {
            if (bits % 32 == 0) w.push_back(0);
            if ((code >> k) & 1) w.back() |= 1u << (31 - bits % 32);
        }
    }
    w.resize(w.size() + 2, 0);
    return w;
}

const CodeSet& shortCodes() {
    static const CodeSet c = makeCodes(1, 8, {8});
    return c;
}
const CodeSet& longCodes() {
    static const CodeSet c = makeCodes(12, 24, {8, 8, 8});
    return c;
}

template <bool RunLevel>
void BM_HuffmanBuild(benchmark::State& st) {
    const CodeSet& c = longCodes();
    mox::bench::measure(st, [&] {
        Mox32u* t = nullptr;
        if (RunLevel)
            moxiHuffmanRunLevelTableInitAlloc_32s(c.pair.data(), &t);
        else
            moxiHuffmanTableInitAlloc_32s(c.one.data(), &t);
        moxiHuffmanTableFree_32s(t);
    });
}

// Decodes symbol after symbol; the cursor starts over at the end of the stream.
template <bool Pair>
void decodeLoop(benchmark::State& st, const CodeSet& c) {
    Mox32u* t = nullptr;
    if (Pair)
        moxiHuffmanRunLevelTableInitAlloc_32s(c.pair.data(), &t);
    else
        moxiHuffmanTableInitAlloc_32s(c.one.data(), &t);
    std::vector<Mox32u> stream = makeStream(c, 1 << 16);
    Mox32u* const end = stream.data() + stream.size() - 2;
    Mox32u* p = stream.data();
    int offset = 31;
    Mox32s v = 0;
    Mox8s a = 0;
    Mox16s b = 0;
    mox::bench::measure(st, [&] {
        if (Pair)
            moxiDecodeHuffmanPair_1u16s(&p, &offset, t, &a, &b);
        else
            moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, t);
        if (p >= end) {
            p = stream.data();
            offset = 31;
        }
    });
    benchmark::DoNotOptimize(v + a + b);
    moxiHuffmanTableFree_32s(t);
}

void BM_HuffmanDecodeOneShort(benchmark::State& st) { decodeLoop<false>(st, shortCodes()); }
void BM_HuffmanDecodeOneLong(benchmark::State& st) { decodeLoop<false>(st, longCodes()); }
void BM_HuffmanDecodePairShort(benchmark::State& st) { decodeLoop<true>(st, shortCodes()); }
void BM_HuffmanDecodePairLong(benchmark::State& st) { decodeLoop<true>(st, longCodes()); }

}  // namespace

BENCHMARK_TEMPLATE(BM_HuffmanBuild, false)->Name("BM_HuffmanTableInitAllocFree");
BENCHMARK_TEMPLATE(BM_HuffmanBuild, true)->Name("BM_HuffmanRunLevelTableInitAllocFree");
BENCHMARK(BM_HuffmanDecodeOneShort);
BENCHMARK(BM_HuffmanDecodeOneLong);
BENCHMARK(BM_HuffmanDecodePairShort);
BENCHMARK(BM_HuffmanDecodePairLong);
