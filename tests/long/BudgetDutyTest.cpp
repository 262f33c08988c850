#include "faults/BudgetDuty.h"

#include <gtest/gtest.h>

TEST(LongBudgetDuty, keepsExactlyWhatTheRuleKeepsInSixtyDays) {
    BudgetDuty().run(60);
}
