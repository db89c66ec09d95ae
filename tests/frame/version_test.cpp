// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include "common.hpp"
#include "core/zelcore_own.h"

TEST(Version, RecordFollowsTheFeature) {
    const ZelLibraryVersion* v = zelsrGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zelsrGetLibVersion());  // a constant of the library
    EXPECT_EQ(v->major, 6);
    EXPECT_EQ(v->minor, 0);
    EXPECT_EQ(v->majorBuild, 167);
    EXPECT_EQ(v->build, 651);
    EXPECT_EQ(memcmp(v->targetCpu, "p8\0\0", 4), 0);
    EXPECT_STREQ(v->Version, "6.0 build 167.26");
    EXPECT_STREQ(v->BuildDate, "Sep 25 2008");
    EXPECT_STREQ(v->Name, ownGetFeature(0x80) ? "zelsrp8-6.0.dll+" : "zelsrp8-6.0.dll");
}

TEST(Core, AllocationIsAlignedAndZeroSizeIsNull) {
    EXPECT_EQ(zelMalloc(0), nullptr);
    for (size_t n : {1u, 3u, 64u, 1000u}) {
        void* p = zelMalloc(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        memset(p, 1, n);
        zelFree(p);
    }
    zelFree(nullptr);
    EXPECT_GE(ownGetNumThreads(), 1);
}
