#include "faults/BudgetDuty.h"

#include <gtest/gtest.h>

TEST(BudgetDuty, keepsExactlyWhatTheRuleKeepsInThreeDays) {
    BudgetDuty().run(3);
}
