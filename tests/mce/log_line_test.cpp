#include "mce/import_log.h"

#include <gtest/gtest.h>

#include "tests/support/print.h"

namespace TALVEK::MCE {
namespace {

TEST(LogLineTest, PrefixIsTheSecondWithinTheHour) {
  const struct {
    long long nNow;
    const wchar_t* pszExpected;
  } atCases[] = {{0, L"0: x\n"},
                 {1, L"1: x\n"},
                 {3599, L"3599: x\n"},
                 {1700000000, L"800: x\n"},
                 {4294967296LL + 5, L"1701: x\n"}};
  for (const auto& tCase : atCases)
    EXPECT_EQ(MakeLogLine(L"x", tCase.nNow), tCase.pszExpected) << tCase.nNow;
}

TEST(LogLineTest, FullHourHasThePrefixZero) {
  EXPECT_EQ(MakeLogLine(L"x", 3600), L"0: x\n");
  EXPECT_EQ(MakeLogLine(L"x", 472222LL * 3600), L"0: x\n");
}

TEST(LogLineTest, LinesOfOneSecondOfAnHourCarryTheSamePrefix) {
  EXPECT_EQ(MakeLogLine(L"x", 1000), L"1000: x\n");
  EXPECT_EQ(MakeLogLine(L"x", 1000 + 3600), L"1000: x\n");
}

TEST(LogLineTest, LineFeedIsAddedOnlyWhereItIsMissing) {
  const struct {
    const wchar_t *pszText, *pszExpected;
  } atCases[] = {{L"", L"7: \n"},
                 {L"\n", L"7: \n"},
                 {L"x\n", L"7: x\n"},
                 {L"x\n\n", L"7: x\n\n"},
                 {L"x\ny", L"7: x\ny\n"}};
  for (const auto& tCase : atCases)
    EXPECT_EQ(MakeLogLine(tCase.pszText, 7), tCase.pszExpected);
}

}  // namespace
}  // namespace TALVEK::MCE
