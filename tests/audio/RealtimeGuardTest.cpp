#include "base/Realtime.h"

#include <gtest/gtest.h>
#include <memory>

namespace {
[[maybe_unused]] void allocateInACycle() {
    const RealtimeScope scope;
    ::operator delete(::operator new(8)); // unlike a new expression, not to be optimised away
}
} // namespace

TEST(RealtimeGuardDeathTest, aborts_whenACycleAllocates) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own allocation functions take the place of the guard";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(allocateInACycle(), "allocation inside an I/O cycle");
#endif
}

TEST(RealtimeScopeTest, isNotActive_whileItIsExempt) {
    EXPECT_FALSE(RealtimeScope::active());
    const RealtimeScope scope;
    EXPECT_TRUE(RealtimeScope::active());
    {
        const RealtimeScope::Exempt exempt;
        EXPECT_FALSE(RealtimeScope::active());
        EXPECT_NE(std::make_unique<int>(3), nullptr);
    }
    EXPECT_TRUE(RealtimeScope::active());
}
