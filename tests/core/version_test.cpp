#include <cstring>
#include <string>

#include "common/harness.h"

TEST(Version, RecordIsConstantAndExact) {
    const MoxLibraryVersion* v = moxvcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, moxvcGetLibVersion());
    EXPECT_EQ(v->major, 6);
    EXPECT_EQ(v->minor, 1);
    EXPECT_EQ(v->majorBuild, 137);
    EXPECT_EQ(v->build, 799);
    EXPECT_EQ(std::memcmp(v->targetCpu, "y8\0\0", 4), 0);
    EXPECT_STREQ(v->Version, "6.1 build 137.56");
    EXPECT_STREQ(v->BuildDate, "Mar 17 2010");
    // The name carries "+" exactly when the core library reports AVX2.
    EXPECT_STREQ(v->Name, ownGetFeature(MOX_CPU_AVX2) ? "libmoxvcy8.so.6.1+" : "libmoxvcy8.so.6.1");
}

TEST(Core, MallocIsAlignedAndRejectsEmptyLengths) {
    EXPECT_EQ(moxMalloc(0), nullptr);
    EXPECT_EQ(moxMalloc(-5), nullptr);
    for (int n : {1, 63, 64, 65, 4096, 1 << 20}) {
        void* p = moxMalloc(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        std::memset(p, 0x5A, n);
        moxFree(p);
    }
    moxFree(nullptr);
}

TEST(Core, FeaturesThreadsAndCache) {
    // The library is built for SSE4.1, so a machine that runs this test has it.
    EXPECT_TRUE(ownGetFeature(MOX_CPU_SSE2 | MOX_CPU_SSE41));
    EXPECT_TRUE(ownGetFeature(0));
    if (ownGetFeature(MOX_CPU_AVX2)) {
        EXPECT_TRUE(ownGetFeature(MOX_CPU_AVX));
    }
    EXPECT_GE(ownGetNumThreads(), 1);
    int size = 0;
    EXPECT_EQ(moxGetMaxCacheSizeB(&size), moxStsNoErr);
    EXPECT_GE(size, 16 * 1024);
    EXPECT_EQ(moxGetMaxCacheSizeB(nullptr), moxStsNullPtrErr);
}
