#include "verify/quiet_moments.h"

#include <gtest/gtest.h>

namespace TALVEK::VERIFY {
namespace {

using TTimes = std::vector<std::int64_t>;

TEST(QuietMomentsTest, AreInTheMiddleOfGapsWiderThanThoseOfAChangeset) {
  CQuietMoments oMoments;
  for (const std::int64_t nTime : {2000, 1000, 2300, 2900})
    oMoments.AddRevision(nTime);
  EXPECT_EQ(oMoments.Pick(9), (TTimes{1500, 2600}));
}

TEST(QuietMomentsTest, AreNotWithinASpan) {
  CQuietMoments oMoments;
  for (const std::int64_t nTime : {1000, 2000, 3000, 4000, 5000})
    oMoments.AddRevision(nTime);
  oMoments.AddSpan(3000, 1000);  // a clock set back
  EXPECT_EQ(oMoments.Pick(9), (TTimes{3500, 4500}));
}

TEST(QuietMomentsTest, AreSpreadOverAllThereAre) {
  CQuietMoments oMoments;
  for (std::int64_t nTime = 0; nTime <= 10000; nTime += 1000)
    oMoments.AddRevision(nTime);
  EXPECT_EQ(oMoments.Pick(2), (TTimes{2500, 7500}));
  EXPECT_EQ(oMoments.Pick(0), TTimes());
}

TEST(QuietMomentsTest, OneTimeHasNone) {
  CQuietMoments oMoments;
  EXPECT_EQ(oMoments.Pick(3), TTimes());
  oMoments.AddRevision(1000);
  EXPECT_EQ(oMoments.Pick(3), TTimes());
}

}  // namespace
}  // namespace TALVEK::VERIFY
