#include "host/progress.h"

#include <gtest/gtest.h>

namespace TALVEK::HOST {
namespace {

TEST(ProgressTextTest, WhatIsKnownIsShown) {
  EXPECT_EQ(ProgressText("importing", "changesets", 0, 4000, 0), "importing: 0 of 4000 changesets");
  EXPECT_EQ(ProgressText("importing", "changesets", 5, 4000, 0.5), "importing: 5 of 4000 changesets");
  EXPECT_EQ(ProgressText("importing", "changesets", 100, 4000, 10),
            "importing: 100 of 4000 changesets, 10/s, 6:30 left");
  EXPECT_EQ(ProgressText("reading", "files", 250, 0, 2), "reading: 250 files, 125/s");
  EXPECT_EQ(ProgressText("importing", "changesets", 4000, 4000, 10),
            "importing: 4000 of 4000 changesets, 400/s");
}

TEST(ProgressTextTest, SlowWorkHasTenthsAndHours) {
  EXPECT_EQ(ProgressText("importing", "changesets", 5, 10000, 4),
            "importing: 5 of 10000 changesets, 1.3/s, 2:13:16 left");
}

}  // namespace
}  // namespace TALVEK::HOST
