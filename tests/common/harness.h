// Test harness shared by every family's tests.
//
//  * Rng        - fixed-seed random numbers, with an "extreme" mode that mixes
//                 the ends of the range in to provoke saturation and overflow.
//  * Guarded<T> - a 2-D block inside a larger allocation; every byte outside the
//                 block is remembered, so guardsIntact() proves a kernel wrote
//                 nothing outside it. Steps may be padded, misaligned or
//                 negative (bottom-up planes).
//  * expectUntouched - runs a call that must fail and proves every listed
//                 buffer is byte-identical afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <random>
#include <vector>

#include "moxvc.h"

namespace mox::test {

class Rng {
public:
    explicit Rng(uint32_t seed) : gen_(seed) {}
    // Uniform in [lo, hi].
    int64_t range(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(gen_); }
    int uniform(int lo, int hi) { return static_cast<int>(range(lo, hi)); }
    bool coin() { return range(0, 1) != 0; }
    // Uniform in [lo, hi], or with probability 1/4 one of the two ends.
    int64_t extreme(int64_t lo, int64_t hi) {
        switch (range(0, 7)) {
            case 0: return lo;
            case 1: return hi;
            default: return range(lo, hi);
        }
    }
    std::mt19937& engine() { return gen_; }

private:
    std::mt19937 gen_;
};

// How a Guarded block is laid out in its allocation.
struct Layout {
    int padBytes = 0;       // extra bytes between rows beyond the block's width
    int misalign = 0;       // byte offset of the block's first sample from a 64-byte boundary
    bool bottomUp = false;  // negative step: the block's first row is the last in memory
};

inline Layout randomLayout(Rng& r, int elemSize) {
    Layout l;
    l.padBytes = r.uniform(0, 3) * 16 + r.uniform(0, 2) * elemSize;
    l.misalign = r.coin() ? 0 : r.uniform(1, 15) * elemSize;
    l.bottomUp = r.uniform(0, 7) == 0;
    return l;
}

template <class T>
class Guarded {
public:
    static constexpr int kGuard = 64;  // guard bytes before and after, and guard rows

    Guarded(int width, int height, Layout layout = {}, uint8_t fill = 0xA5)
        : width_(width), height_(height), layout_(layout) {
        stride_ = width * static_cast<int>(sizeof(T)) + layout.padBytes;
        size_t bytes = static_cast<size_t>(stride_) * (height + 2) + 2 * kGuard + 64 + layout.misalign;
        mem_.assign(bytes, fill);
        size_t base = kGuard + stride_;  // one whole guard row first
        base += (64 - (reinterpret_cast<uintptr_t>(mem_.data()) + base) % 64) % 64 + layout.misalign;
        first_ = base;
        arm();
    }

    T* ptr() { return reinterpret_cast<T*>(mem_.data() + rowOffset(0)); }
    const T* ptr() const { return reinterpret_cast<const T*>(mem_.data() + rowOffset(0)); }
    int step() const { return layout_.bottomUp ? -stride_ : stride_; }
    int width() const { return width_; }
    int height() const { return height_; }

    T& at(int x, int y) { return reinterpret_cast<T*>(mem_.data() + rowOffset(y))[x]; }
    T at(int x, int y) const { return reinterpret_cast<const T*>(mem_.data() + rowOffset(y))[x]; }

    // Fill the block (not the guards) from a generator, then remember the guards.
    template <class Gen>
    void fill(Gen&& gen) {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) at(x, y) = static_cast<T>(gen());
        arm();
    }
    void fillRandom(Rng& r, int64_t lo, int64_t hi, bool extreme = true) {
        fill([&] { return extreme ? r.extreme(lo, hi) : r.range(lo, hi); });
    }
    // Remember the whole allocation as it is now; guardsIntact() compares against it.
    void arm() { pristine_ = mem_; }

    // True when no byte outside the block changed since arm().
    ::testing::AssertionResult guardsIntact() const {
        for (size_t i = 0; i < mem_.size(); ++i) {
            if (mem_[i] != pristine_[i] && !insideBlock(i))
                return ::testing::AssertionFailure() << "byte " << i << " outside the block was written";
        }
        return ::testing::AssertionSuccess();
    }
    const std::vector<uint8_t>& bytes() const { return mem_; }

    // The block's samples row by row, for comparing two blocks.
    std::vector<T> samples() const {
        std::vector<T> v;
        v.reserve(static_cast<size_t>(width_) * height_);
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) v.push_back(at(x, y));
        return v;
    }

private:
    size_t rowOffset(int y) const {
        int r = layout_.bottomUp ? height_ - 1 - y : y;
        return first_ + static_cast<size_t>(r) * stride_;
    }
    bool insideBlock(size_t i) const {
        if (i < first_) return false;
        size_t off = i - first_;
        size_t r = off / stride_, c = off % stride_;
        return r < static_cast<size_t>(height_) && c < width_ * sizeof(T);
    }

    int width_, height_;
    Layout layout_;
    int stride_ = 0;
    size_t first_ = 0;
    std::vector<uint8_t> mem_, pristine_;
};

// Anything whose bytes can be snapshotted: Guarded blocks and plain vectors.
struct Bytes {
    template <class T>
    Bytes(const Guarded<T>& g) : get([&g] { return g.bytes(); }) {}
    template <class T>
    Bytes(const std::vector<T>& v)
        : get([&v] {
              const uint8_t* b = reinterpret_cast<const uint8_t*>(v.data());
              return std::vector<uint8_t>(b, b + v.size() * sizeof(T));
          }) {}
    std::function<std::vector<uint8_t>()> get;
};

// Runs `call`, expects it to return `status`, and proves every buffer in
// `outputs` is byte-for-byte what it was before the call.
template <class Call>
void expectUntouched(MoxStatus status, Call&& call, std::initializer_list<Bytes> outputs) {
    std::vector<std::vector<uint8_t>> before;
    for (const Bytes& b : outputs) before.push_back(b.get());
    EXPECT_EQ(call(), status);
    size_t i = 0;
    for (const Bytes& b : outputs) EXPECT_EQ(b.get(), before[i++]) << "output " << i - 1 << " changed on failure";
}

}  // namespace mox::test
