#include "client/command_line.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/support/environment_scope.h"
#include "tests/support/print.h"

namespace TALVEK::CLIENT {
namespace {

using TEST::CEnvironmentScope;

TEST(CommandLineTest, RootGoesInAsItIsAndTheModuleInQuotes) {
  const TModule tModule{L"/my repo", L"my mod"};
  EXPECT_EQ(CCommandLine(L"\"cvs\"", tModule, L"rlog").Module(), L"\"cvs\" -d /my repo rlog \"my mod\"");
}

TEST(CommandLineTest, OptionsComeInTheirOrder) {
  const TModule tModule{L"/repo", L"mod"};
  EXPECT_EQ(CCommandLine(L"\"cvs\"", tModule, L"checkout")
                .Word(L"-r")
                .Word(L"1.4")
                .Quoted(L"-d", L"Main/src")
                .Module(L"/src/main.c"),
            L"\"cvs\" -d /repo checkout -r 1.4 -d \"Main/src\" \"mod/src/main.c\"");
}

TEST(CommandLineTest, QuotesAndBackslashesAreEscaped) {
  const TModule tModule{L"/repo", L"m\"o\\d"};
  EXPECT_EQ(CCommandLine(L"cvs", tModule, L"rlog").Quoted(L"-d", L"a\"b").Module(L"/x"),
            L"cvs -d /repo rlog -d \"a\\\"b\" \"m\\\"o\\\\d/x\"");
}

TEST(CommandLineTest, ModuleThatBeginsWithAHyphenIsNoOption) {
  const TModule tModule{L"/repo", L"-x"};
  EXPECT_EQ(CCommandLine(L"cvs", tModule, L"rlog").Module(), L"cvs -d /repo rlog -- \"-x\"");
}

TEST(CommandLineTest, TextEndsAtItsFirstNul) {
  const VCM::CString strNul(std::wstring_view(L"a\0b", 3));
  const TModule tModule{L"/repo", strNul};
  EXPECT_EQ(CCommandLine(L"cvs", tModule, L"rlog").Word(strNul).Quoted(L"-d", strNul).Module(),
            L"cvs -d /repo rlog a -d \"a\" \"a\"");
}

TEST(UTCDateTimeTest, DatesAreInUtcWhateverTheLocalZone) {
  const struct {
    long long nSeconds;
    const wchar_t* pszExpected;
  } atCases[] = {{0, L"1970/01/01 00:00:00"},
                 {1237014309, L"2009/03/14 07:05:09"},
                 {2147483648LL, L"2038/01/19 03:14:08"},
                 {4294967295LL, L"2106/02/07 06:28:15"},
                 {-1, L"1969/12/31 23:59:59"}};
  const CEnvironmentScope oZone("TZ", "America/New_York");
  for (const auto& tCase : atCases)
    EXPECT_EQ(FormatUTCDateTime(tCase.nSeconds), tCase.pszExpected);
}

}  // namespace
}  // namespace TALVEK::CLIENT
