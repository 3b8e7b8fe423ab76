#include "session/password.h"

#include <gtest/gtest.h>

namespace TALVEK::SESSION {
namespace {

TEST(PasswordTest, IsScrambledAsServersExpectIt) {
  EXPECT_EQ(ScramblePassword(""), "A");
  EXPECT_EQ(ScramblePassword("se cret!"), "AZdrh d,x");
  EXPECT_EQ(ScramblePassword("\n"), std::nullopt);
  EXPECT_EQ(ScramblePassword("\xC3\xA4"), std::nullopt);
}

TEST(PasswordTest, ScramblingTwiceGivesThePasswordBack) {
  std::string strAll;
  for (char ch = ' '; ch <= '~'; ++ch)
    strAll += ch;
  const std::string strScrambled = ScramblePassword(strAll).value().substr(1);
  EXPECT_NE(strScrambled, strAll);
  EXPECT_EQ(ScramblePassword(strScrambled).value().substr(1), strAll);
}

TEST(PasswordTest, IsFoundForTheSamePlaceOnly) {
  const std::string strFile =
      "/1 :pserver:me@host:2401/other Aother\n"
      "/1 :pserver:me@host:2401/cvs Aone d,x\n"
      ":pserver:old@host:/cvs Atwo\n"
      "damaged\n";
  const auto Find = [&strFile](const char* pszRoot) {
    return FindPassword(strFile, ParseRoot(pszRoot).value(), 2401).value_or("(none)");
  };
  EXPECT_EQ(Find(":pserver:me@host:/cvs"), "Aone d,x");
  EXPECT_EQ(Find(":pserver:me@host:2401/cvs/"), "Aone d,x");
  EXPECT_EQ(Find(":pserver:old@host:/cvs"), "Atwo");
  EXPECT_EQ(Find(":pserver:me@host:2402/cvs"), "(none)");
  EXPECT_EQ(Find(":pserver:you@host:/cvs"), "(none)");
}

}  // namespace
}  // namespace TALVEK::SESSION
