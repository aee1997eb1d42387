// Random code sets through both table builders and random streams through
// both decoders. The input gives the levels, up to 64 (length, code, value)
// records, usually a valid prefix code but often not (bad widths, lengths
// beyond word 0, codes wider than their length, prefixes, values out of
// range), then the stream. The source is always properly terminated; the
// stream is followed by zero words enough for the widest lookup (4 levels of
// at most 17 bits) and the word after it, then the end of the allocation.
#include <algorithm>
#include <cstring>
#include <vector>

#include "moxvc.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t byte() { return n ? (--n, *p++) : 0; }
    uint32_t word() { return byte() | byte() << 8 | byte() << 16 | byte() << 24; }
};

struct Record {
    int length;
    Mox32s code, value, first, second;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in{data, size};
    const uint32_t flags = in.byte();
    const bool runLevel = flags & 1, raw = (flags & 6) == 6;
    const int levels = 1 + static_cast<int>(in.byte() % 4);
    std::vector<Mox32s> widths;
    int sum = 0;
    for (int i = 0; i < levels; ++i) {
        uint32_t b = in.byte();
        widths.push_back(raw ? static_cast<Mox32s>(b % 18) : 1 + static_cast<Mox32s>(b % 12));
        sum += widths.back();
    }
    std::vector<Record> recs(in.byte() % 65);
    for (Record& r : recs) {
        uint32_t len = in.byte();
        r.length = 1 + static_cast<int>(len % std::max(1, std::min(sum, 32)));
        uint32_t code = in.word();
        if (r.length < 32 && !(raw && (len & 0x80))) code &= (1u << r.length) - 1;
        r.code = static_cast<Mox32s>(code);
        r.value = static_cast<Mox32s>(in.word()) >> (raw ? 0 : 9);
        r.first = static_cast<int8_t>(in.byte());
        r.second = static_cast<int16_t>(in.byte() | in.byte() << 8);
        if (raw && (len & 0x40)) r.first += 200;
    }
    std::stable_sort(recs.begin(), recs.end(), [](const Record& a, const Record& b) { return a.length < b.length; });
    int longest = 1;
    for (const Record& r : recs) longest = std::max(longest, r.length);
    std::vector<Mox32s> src{raw ? static_cast<Mox32s>(flags >> 3) : longest, levels};
    src.insert(src.end(), widths.begin(), widths.end());
    size_t k = 0;
    for (int len = 1; len <= longest; ++len) {
        size_t countAt = src.size();
        src.push_back(0);
        for (; k < recs.size() && recs[k].length == len; ++k) {
            ++src[countAt];
            src.push_back(recs[k].code);
            if (runLevel) {
                src.push_back(recs[k].first);
                src.push_back(recs[k].second);
            } else {
                src.push_back(recs[k].value);
            }
        }
    }
    src.push_back(-1);

    Mox32u* table = nullptr;
    MoxStatus st = runLevel ? moxiHuffmanRunLevelTableInitAlloc_32s(src.data(), &table)
                            : moxiHuffmanTableInitAlloc_32s(src.data(), &table);
    if (st != moxStsNoErr) return 0;

    const size_t streamWords = (in.n + 3) / 4;
    constexpr size_t kPadWords = 4;
    std::vector<Mox32u> words(streamWords + kPadWords, 0);
    std::memcpy(words.data(), in.p, in.n);
    Mox32u* p = words.data();
    Mox32u* const end = words.data() + streamWords;
    int offset = static_cast<int>(flags >> 3);  // any value: only its low 5 bits count
    for (int i = 0; p < end && i < 4096; ++i) {
        if (runLevel) {
            Mox8s a;
            Mox16s b;
            st = moxiDecodeHuffmanPair_1u16s(&p, &offset, table, &a, &b);
        } else {
            Mox32s v;
            st = moxiDecodeHuffmanOne_1u32s(&p, &offset, &v, table);
        }
        if (st != moxStsNoErr) break;
    }
    moxiHuffmanTableFree_32s(table);
    return 0;
}
