#include "verify/fact.h"

#include <gtest/gtest.h>

namespace {

TEST(Fact, StatusNamesAreTheReportWords) {
  EXPECT_STREQ(fact_status_name(FactStatus::kConfirmed), "confirmed");
  EXPECT_STREQ(fact_status_name(FactStatus::kCorrected), "corrected");
  EXPECT_STREQ(fact_status_name(FactStatus::kAdded), "added");
  EXPECT_STREQ(fact_status_name(FactStatus::kUnchecked), "unchecked");
}

}  // namespace
