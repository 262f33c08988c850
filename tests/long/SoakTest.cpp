#include "system/SoakDuty.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {
double numberFromEnvironment(const char* name, double otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::atof(text);
}
} // namespace

/// VELMORATIDE_SOAK_SECONDS sets its length, VELMORATIDE_SOAK_SEED what goes wrong and when.
TEST(Soak, holdsNoMoreAtItsEndThanAtItsBegin_whateverGoesWrong) {
    if (const std::string why = PrivateDisk::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
        GTEST_SKIP() << why;
    SoakDuty duty(static_cast<unsigned>(numberFromEnvironment("VELMORATIDE_SOAK_SEED", 20071024.0)));
    ASSERT_NO_FATAL_FAILURE(duty.run(numberFromEnvironment("VELMORATIDE_SOAK_SECONDS", 7200.0)));
    duty.expectSteady();
}
