#include "jobsettings/jobdate.h"

#include <limits>

#include <gtest/gtest.h>

namespace kesto {
namespace {

TEST(JobDate, CountsDaysAndFractionsInThirtyTwoBits) {
  EXPECT_EQ(daysSince1899(1794861480), 46342.859375F);  // 2026-11-16 20:38:00
  EXPECT_EQ(daysSince1899(43200), 25569.5F);            // 1970-01-01 12:00:00
  EXPECT_EQ(daysSince1899(951782400), 36585.0F);        // 2000-02-29
  EXPECT_EQ(daysSince1899(1709251199), 45352.0F);       // 2024-02-29 23:59:59 rounds to the next day
  EXPECT_EQ(daysSince1899(4107542400), 73110.0F);       // 2100-03-01, after a February of 28 days
}

TEST(JobDate, CountsOneDayLessBeforeTheLeapDayThatNeverWas) {
  EXPECT_EQ(daysSince1899(-2203977600), 60.0F);  // 1900-02-28
  EXPECT_EQ(daysSince1899(-2204064000), 58.0F);  // 1900-02-27
}

TEST(JobDate, HoldsOutAgainstAnAbsurdClock) {
  EXPECT_EQ(daysSince1899(std::numeric_limits<std::time_t>::max()), 0.0F);
  EXPECT_EQ(daysSince1899(std::numeric_limits<std::time_t>::min()), 0.0F);
}

}  // namespace
}  // namespace kesto
