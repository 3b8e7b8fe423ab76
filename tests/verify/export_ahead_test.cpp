#include "verify/export_ahead.h"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace TALVEK::VERIFY {
namespace {

namespace fs = std::filesystem;

TEST(ExportAheadTest, TakesWhatItHasBegunOnce) {
  const TALVEK::TEST::CTempFolder oFolder;
  CExportAhead oAhead(oFolder.Path());
  oAhead.Begin(L"mkdir out", "out");
  ASSERT_TRUE(oAhead.Has(L"mkdir out"));
  const std::optional<fs::path> oTarget = oAhead.Take(L"mkdir out");
  ASSERT_TRUE(oTarget);
  EXPECT_TRUE(fs::is_directory(*oTarget));
  EXPECT_FALSE(oAhead.Take(L"mkdir out"));
}

TEST(ExportAheadTest, FailureIsAsIfNeverBegun) {
  const TALVEK::TEST::CTempFolder oFolder;
  CExportAhead oAhead(oFolder.Path());
  oAhead.Begin(L"false", "out");
  EXPECT_FALSE(oAhead.Take(L"false"));
  oAhead.Begin(L"/no/such/program", "out");
  EXPECT_FALSE(oAhead.Has(L"/no/such/program"));
  EXPECT_FALSE(oAhead.Take(L"false"));
}

TEST(ExportAheadTest, FewRunAtATime) {
  const TALVEK::TEST::CTempFolder oFolder;
  CExportAhead oAhead(oFolder.Path());
  for (const wchar_t* pszCommand : {L"sleep 1000", L"sleep 1001", L"sleep 1002", L"sleep 1003"}) {
    EXPECT_TRUE(oAhead.CanBegin());
    oAhead.Begin(pszCommand, "out");
  }
  EXPECT_FALSE(oAhead.CanBegin());
}  // ends them

}  // namespace
}  // namespace TALVEK::VERIFY
