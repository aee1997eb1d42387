// SSE4.1 load/store helpers for the block kernels: rows of 2, 4, 8 or 16
// bytes, unaligned, through signed steps, short rows gathered into one
// register, and short row copies.
#pragma once

#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "core/pixel.h"

namespace mox::simd {

// Loads `bytes` (2, 4, 8 or 16) bytes into the low lanes; the rest are zero.
template <int bytes>
inline __m128i load(const void* p) {
    if constexpr (bytes == 16) {
        return _mm_loadu_si128(static_cast<const __m128i*>(p));
    } else if constexpr (bytes == 8) {
        return _mm_loadl_epi64(static_cast<const __m128i*>(p));
    } else {
        uint32_t v = 0;
        std::memcpy(&v, p, bytes);
        return _mm_cvtsi32_si128(static_cast<int>(v));
    }
}

// Stores the low `bytes` (2, 4, 8 or 16) bytes of v.
template <int bytes>
inline void store(void* p, __m128i v) {
    if constexpr (bytes == 16) {
        _mm_storeu_si128(static_cast<__m128i*>(p), v);
    } else if constexpr (bytes == 8) {
        _mm_storel_epi64(static_cast<__m128i*>(p), v);
    } else {
        uint32_t x = static_cast<uint32_t>(_mm_cvtsi128_si32(v));
        std::memcpy(p, &x, bytes);
    }
}

// Two 8-byte rows in one register, the first in the low half (movq + movhps).
inline __m128i load8x2(const void* lo, const void* hi) {
    return _mm_castps_si128(_mm_loadh_pi(_mm_castsi128_ps(load<8>(lo)), static_cast<const __m64*>(hi)));
}

// The low 8 bytes of v to lo, the high 8 bytes to hi (movq + movhps).
inline void store8x2(void* lo, void* hi, __m128i v) {
    _mm_storel_epi64(static_cast<__m128i*>(lo), v);
    _mm_storeh_pi(static_cast<__m64*>(hi), _mm_castsi128_ps(v));
}

// Four 4-byte rows in one register, the first in the lowest lanes.
inline __m128i load4x4(const void* a, const void* b, const void* c, const void* d) {
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(load<4>(a), load<4>(b)), _mm_unpacklo_epi32(load<4>(c), load<4>(d)));
}

// n bytes (n up to a few dozen), in overlapping 16-, 8- or 4-byte pieces
// that stay within the n bytes.
inline void copyRow(Mox8u* d, const Mox8u* s, int n) {
    if (n >= 16) {
        for (int i = 0; i + 16 <= n; i += 16) store<16>(d + i, load<16>(s + i));
        if (n & 15) store<16>(d + n - 16, load<16>(s + n - 16));
    } else if (n >= 8) {
        store<8>(d, load<8>(s));
        store<8>(d + n - 8, load<8>(s + n - 8));
    } else if (n >= 4) {
        store<4>(d, load<4>(s));
        store<4>(d + n - 4, load<4>(s + n - 4));
    } else {
        for (int i = 0; i < n; ++i) d[i] = s[i];
    }
}

}  // namespace mox::simd
