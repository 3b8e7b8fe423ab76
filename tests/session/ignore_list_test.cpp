#include "session/ignore_list.h"

#include <gtest/gtest.h>

#include "tests/support/environment_scope.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

using SESSION::CIgnoreList;

TEST(IgnoreListTest, PatternsStandBetweenWhiteSpace) {
  CIgnoreList oList;
  oList.Add(" *.tmp\tcore[0-9]\n\nna?e \\*x\r\n");
  for (const char* pszName : {"a.tmp", ".tmp", "core7", "name", "*x"})
    EXPECT_TRUE(oList.Matches(pszName)) << pszName;
  for (const char* pszName : {"a.tm", "core", "core77", "nae", "ax", "NAME", ""})
    EXPECT_FALSE(oList.Matches(pszName)) << pszName;
}

TEST(IgnoreListTest, ALoneExclamationMarkForgetsWhatStandsBefore) {
  CIgnoreList oList;
  oList.Add("a b ! c !d");
  EXPECT_FALSE(oList.Matches("a"));
  EXPECT_FALSE(oList.Matches("b"));
  EXPECT_TRUE(oList.Matches("c"));
  EXPECT_TRUE(oList.Matches("!d"));
}

TEST(IgnoreListTest, UsersFileAndVariableAddToTheClientsPatterns) {
  const CTempFolder oFolder;
  WriteFile(oFolder / ".cvsignore", "mine");
  const CEnvironmentScope oHome("HOME", oFolder.Path().string());
  const CEnvironmentScope oVariable("CVSIGNORE", "yours");
  const CIgnoreList oList = CIgnoreList::OfUser();
  for (const char* pszName : {"mine", "yours", "CVS", "a.o", "core", ".#a.c.1.4", "a~"})
    EXPECT_TRUE(oList.Matches(pszName)) << pszName;
  EXPECT_FALSE(oList.Matches("a.c"));
}

}  // namespace
}  // namespace TALVEK::TEST
