#include "duty/CrashDuty.h"

#include <gtest/gtest.h>

TEST(CrashDuty, losesNoMoreThanOneWriteInterval_howeverOftenItCrashes) {
    runCrashDuty(15, 2007);
}
