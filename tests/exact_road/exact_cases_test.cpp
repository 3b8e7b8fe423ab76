// Histories that are hard to import, one test each: what comes out equals what the client gives.

#include <gtest/gtest.h>

#include "tests/exact_road/cases.h"
#include "tests/exact_road/exact_check.h"
#include "tests/exact_road/exact_import.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

int CountTrunkCommits(const std::filesystem::path& oGit) {
  return std::stoi(
      ShellOutput("git --git-dir " + ShellQuote(oGit.string()) + " rev-list --count refs/heads/main"));
}

class ExactCaseTest : public ::testing::TestWithParam<TCase> {};

TEST_P(ExactCaseTest, ImportEqualsTheRepository) {
  CCvsWorld oWorld;
  GetParam().pfnMake(oWorld);
  const TCvsModule tModule = {oWorld.Root(), oWorld.Module()};
  const CTempFolder oFolder;
  const TShellResult tImport = ImportModule(tModule, EXACT_PROVIDER, oFolder / "git");
  ASSERT_EQ(tImport.nStatus, 0) << tImport.strOutput;
  EXPECT_EQ(Show(CompareAll(tModule, oFolder / "git")), "");
  if (GetParam().nTrunkChanges != 0) {
    EXPECT_EQ(CountTrunkCommits(oFolder / "git"), GetParam().nTrunkChanges);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ExactCaseTest, ::testing::ValuesIn(CASES, CASES + CASE_COUNT),
                         [](const auto& tInfo) { return std::string(tInfo.param.pszName); });

}  // namespace
}  // namespace TALVEK::TEST
