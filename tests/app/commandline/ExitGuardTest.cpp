#include "app/ExitGuard.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace {
void say(const char* text) {
    std::fputs(text, stderr);
}
} // namespace

TEST(ExitGuardDeathTest, callsItsHandler_andEndsWithTheSameStatus) {
    const auto end = [] {
        const ExitGuard guard([] { say("finished"); });
        std::exit(3);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(3), "^finished$");
}

TEST(ExitGuardDeathTest, callsItsHandlerOnce_whenThatExitsToo) {
    const auto end = [] {
        const ExitGuard guard([] {
            say("finished");
            std::exit(4);
        });
        std::exit(3);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(4), "^finished$");
}

TEST(ExitGuardDeathTest, callsTheHandlerBeforeAnythingStaticIsDestroyed) {
    const auto end = [] {
        std::atexit([] { say("destroyed"); });
        const ExitGuard guard([] { say("finished"); });
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "^finished$");
}

TEST(ExitGuardDeathTest, callsNobody_onceItHasGone) {
    const auto end = [] {
        {
            const ExitGuard guard([] { say("finished"); });
        }
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "^$");
}

TEST(ExitGuardDeathTest, callsNobody_whenAnotherThreadExits) {
    const auto end = [] {
        const ExitGuard guard([] { say("finished"); });
        std::thread([] { std::exit(5); }).join();
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(5), "^$");
}
