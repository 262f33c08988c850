#include "duty/AllDayDuty.h"

#include <gtest/gtest.h>

TEST(AllDayDuty, goesOnWithoutALostFrame_whereAFileWouldPassTwoGibibytes) {
    runAllDayDuty(3.3 * 3600.0);
}
