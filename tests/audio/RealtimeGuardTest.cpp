#include "support/RealtimeGuard.h"

#include "base/Realtime.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <samplerate.h>

namespace {
constexpr const char* complaint = "allocation inside an I/O cycle";

/// Not known to the compiler, which else may leave an allocation out.
volatile std::size_t bytes = 8;

/// `function` as something that the compiler knows nothing about: of the C library's functions it knows that
/// they look at no scope.
template <typename Function>
Function* opaque(Function& function) {
    Function* volatile pointer = &function;
    return pointer;
}

template <typename Allocate>
void inACycle(Allocate allocate) {
    const RealtimeScope scope;
    allocate();
}

void allocateInALibrary() {
    int error = 0;
    src_delete(src_new(SRC_SINC_FASTEST, 1, &error));
}

class RealtimeGuardDeathTest : public testing::Test {
protected:
    RealtimeGuardDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};
} // namespace

TEST_F(RealtimeGuardDeathTest, aborts_whenACycleAllocates) {
    if (!RealtimeGuard::seesNew())
        GTEST_SKIP() << "the thread sanitizer needs the allocation functions for itself";
    EXPECT_DEATH(inACycle([] { ::operator delete(::operator new(bytes)); }), complaint);
    EXPECT_DEATH(inACycle([] { ::operator delete[](::operator new[](bytes)); }), complaint);
    EXPECT_DEATH(inACycle([] { ::operator delete(::operator new(bytes, std::nothrow)); }), complaint);
    constexpr std::align_val_t alignment{64};
    EXPECT_DEATH(inACycle([] { ::operator delete(::operator new(bytes, alignment), alignment); }), complaint);
}

TEST_F(RealtimeGuardDeathTest, aborts_whenTheStandardLibraryAllocatesInACycle) {
    if (!RealtimeGuard::seesNew())
        GTEST_SKIP() << "the thread sanitizer needs the allocation functions for itself";
    EXPECT_DEATH(inACycle([] { std::string(bytes * 100, 'x').append(bytes * 100, 'y'); }), complaint);
}

TEST_F(RealtimeGuardDeathTest, aborts_whenACycleCallsMalloc) {
    if (!RealtimeGuard::seesMalloc())
        GTEST_SKIP() << "a sanitizer needs malloc for itself";
    void* const memory = std::malloc(bytes);
    EXPECT_DEATH(inACycle([] { std::free(opaque(std::malloc)(bytes)); }), complaint);
    EXPECT_DEATH(inACycle([] { std::free(opaque(std::calloc)(bytes, 2)); }), complaint);
    EXPECT_DEATH(inACycle([&] { std::free(opaque(std::realloc)(memory, bytes * 1000)); }), complaint);
    EXPECT_DEATH(inACycle([] { std::free(opaque(std::aligned_alloc)(64, bytes * 8)); }), complaint);
    std::free(memory);
}

TEST_F(RealtimeGuardDeathTest, aborts_whenALibraryAllocatesInACycle) {
    if (!RealtimeGuard::seesMalloc())
        GTEST_SKIP() << "a sanitizer needs malloc for itself";
    EXPECT_DEATH(inACycle(allocateInALibrary), complaint);
}

TEST(RealtimeGuardTest, leavesAllocationOutsideOfACycleAlone) {
    const auto text = std::make_unique<std::string>(bytes * 100, 'x');
    EXPECT_EQ(text->size(), 800U);
    void* const zeros = std::calloc(bytes, 4);
    ASSERT_NE(zeros, nullptr);
    constexpr char expected[32] = {};
    EXPECT_EQ(std::memcmp(zeros, expected, sizeof expected), 0);
    std::free(zeros);
    allocateInALibrary();
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
