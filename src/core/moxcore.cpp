// libmoxcore: aligned allocation, CPU feature query, thread count, cache size.
#include <cpuid.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "moxvc.h"

namespace {

constexpr size_t kAlign = 64;

struct CpuidRegs {
    unsigned a = 0, b = 0, c = 0, d = 0;
};

CpuidRegs cpuid(unsigned leaf, unsigned sub = 0) {
    CpuidRegs r;
    if (!__get_cpuid_count(leaf, sub, &r.a, &r.b, &r.c, &r.d)) r = CpuidRegs{};
    return r;
}

// The YMM state is usable only when the OS enables it in XCR0.
bool osSavesYmm() {
    CpuidRegs r = cpuid(1);
    if (!(r.c & bit_OSXSAVE)) return false;
    unsigned lo, hi;
    __asm__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (lo & 0x6) == 0x6;
}

Mox32u features() {
    CpuidRegs r1 = cpuid(1);
    Mox32u f = 0;
    if (r1.d & bit_SSE2) f |= MOX_CPU_SSE2;
    if (r1.c & bit_SSE3) f |= MOX_CPU_SSE3;
    if (r1.c & bit_SSSE3) f |= MOX_CPU_SSSE3;
    if (r1.c & bit_SSE4_1) f |= MOX_CPU_SSE41;
    if (r1.c & bit_SSE4_2) f |= MOX_CPU_SSE42;
    if (r1.c & bit_POPCNT) f |= MOX_CPU_POPCNT;
    bool ymm = osSavesYmm();
    if ((r1.c & bit_AVX) && ymm) f |= MOX_CPU_AVX;
    if (cpuid(0).a >= 7 && (cpuid(7).b & bit_AVX2) && ymm) f |= MOX_CPU_AVX2;
    return f;
}

// Largest cache from the deterministic cache-parameter leaves (leaf 4, or
// leaf 0x8000001D where leaf 4 is empty; both share one layout).
long cacheFromCpuid() {
    unsigned leaf = 4;
    if (cpuid(0x80000000).a >= 0x8000001D && !(cpuid(0).a >= 4 && (cpuid(4).a & 0x1F))) leaf = 0x8000001D;
    long best = 0;
    for (unsigned i = 0; i < 16; ++i) {
        CpuidRegs r = cpuid(leaf, i);
        unsigned type = r.a & 0x1F;
        if (type == 0) break;
        if (type == 2) continue;  // instruction cache
        long ways = ((r.b >> 22) & 0x3FF) + 1, parts = ((r.b >> 12) & 0x3FF) + 1;
        long line = (r.b & 0xFFF) + 1, sets = static_cast<long>(r.c) + 1;
        long size = ways * parts * line * sets;
        if (size > best) best = size;
    }
    return best;
}

long cacheFromSysfs() {
    long best = 0;
    for (int i = 0; i < 8; ++i) {
        char path[96];
        std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/size", i);
        FILE* f = std::fopen(path, "r");
        if (!f) continue;
        long v = 0;
        char unit = 0;
        if (std::fscanf(f, "%ld%c", &v, &unit) >= 1) {
            if (unit == 'K') v *= 1024;
            if (unit == 'M') v *= 1024 * 1024;
            if (v > best) best = v;
        }
        std::fclose(f);
    }
    return best;
}

}  // namespace

extern "C" {

MOXAPI void* moxMalloc(int length) {
    if (length <= 0) return nullptr;
    size_t n = (static_cast<size_t>(length) + kAlign - 1) & ~(kAlign - 1);
    return std::aligned_alloc(kAlign, n);
}

MOXAPI void moxFree(void* ptr) { std::free(ptr); }

MOXAPI int ownGetFeature(Mox32u featureMask) { return (features() & featureMask) == featureMask ? 1 : 0; }

MOXAPI int ownGetNumThreads(void) {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int n = CPU_COUNT(&set);
        if (n > 0) return n;
    }
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<int>(n) : 1;
}

MOXAPI MoxStatus moxGetMaxCacheSizeB(int* pSizeByte) {
    if (!pSizeByte) return moxStsNullPtrErr;
    long size = cacheFromCpuid();
    if (size <= 0) size = cacheFromSysfs();
    if (size <= 0 || size > 0x7FFFFFFF) size = 2 * 1024 * 1024;
    *pSizeByte = static_cast<int>(size);
    return moxStsNoErr;
}

}  // extern "C"
