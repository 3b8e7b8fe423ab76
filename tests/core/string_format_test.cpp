#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cwchar>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "core/string.h"
#include "tests/support/locale_scope.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_view_literals;

template <class... TArguments>
CString Formatted(const wchar_t* pszFormat, TArguments... arguments) {
  CString strText;
  strText.Format(pszFormat, arguments...);
  return strText;
}

/// The C library's result. Its "%s" takes bytes, so formats for both functions must use "%ls".
template <class... TArguments>
CString FormattedByLibrary(const wchar_t* pszFormat, TArguments... arguments) {
  std::wstring strText(20000, L'\0');
  const int nLength = std::swprintf(strText.data(), strText.size(), pszFormat, arguments...);
  return CString(std::wstring_view(strText).substr(0, nLength < 0 ? 0 : static_cast<std::size_t>(nLength)));
}

TEST(StringFormatTest, TextsAreWideUnlessAskedFor) {
  EXPECT_EQ(Formatted(L"%s|%S|%ls|%hs", L"wide", L"wide", L"wide", "bytes"), L"wide|wide|wide|bytes");
  EXPECT_EQ(Formatted(L"%c|%C|%lc|%hc", L'\x416', L'\x416', L'\x416', 'b'), L"\x416|\x416|\x416|b");
}

TEST(StringFormatTest, WidthAndPrecisionHoldForTexts) {
  EXPECT_EQ(Formatted(L"[%5s][%-5s][%.2s][%5.1s]", L"abc", L"abc", L"abc", L"abc"),
            L"[  abc][abc  ][ab][    a]");
  EXPECT_EQ(Formatted(L"[%*s][%-*s][%*s]", 4, L"a", 4, L"b", -4, L"c"), L"[   a][b   ][c   ]");
  EXPECT_EQ(Formatted(L"[%.*s][%.*s][%.s]", 1, L"abc", -1, L"abc", L"abc"), L"[a][abc][]");
  EXPECT_EQ(Formatted(L"[%3c][%-3c]", L'a', L'b'), L"[  a][b  ]");
}

TEST(StringFormatTest, PrecisionAllowsATextWithoutAnEnd) {
  const wchar_t szWide[] = {L'a', L'b'};
  EXPECT_EQ(Formatted(L"%.2s|%.*s", szWide, 1, szWide), L"ab|a");
}

TEST(StringFormatTest, PositionsChooseTheArguments) {
  EXPECT_EQ(Formatted(L"%2$s %1$d %2$s", 7, L"a"), L"a 7 a");
  EXPECT_EQ(Formatted(L"[%2$*1$d][%3$.*1$s]", 3, 7, L"abcd"), L"[  7][abc]");
  EXPECT_EQ(Formatted(L"%3$s %1$d", 1, 2, L"third"), L"third 1");
}

TEST(StringFormatTest, PercentSignIsWrittenTwice) {
  EXPECT_EQ(Formatted(L"100%% %d%%", 5), L"100% 5%");
}

// "%n" would write through a pointer, which a format from outside must not be able to do.
TEST(StringFormatTest, CountDirectiveStandsAsTextAndReadsNoArgument) {
  for (const wchar_t* pszCount : {L"%n", L"%ln", L"%hhn", L"%1$n", L"%*n", L"%.*n", L"%-5n", L"%2$*1$n"}) {
    const CString strFormat = CString(L"%d ") + pszCount + L" %d";
    EXPECT_EQ(Formatted(strFormat.c_str(), 1, 2), CString(L"1 ") + pszCount + L" 2");
  }
  EXPECT_EQ(Formatted(L"%%n %d", 1), L"%n 1");
}

TEST(StringFormatTest, WhatIsNoDirectiveStandsAsText) {
  for (const wchar_t* pszFormat : {L"%", L"a%", L"%5", L"%-", L"%l", L"%.", L"%*", L"%1$", L"%y", L"%ly|",
                                   L"%99999999999999999999d", L"%.99999999999d", L"%0$d"}) {
    EXPECT_EQ(Formatted(pszFormat, 1, 2), pszFormat);
  }
  EXPECT_EQ(Formatted(L"%y%d", 5), L"%y5");
  EXPECT_EQ(Formatted(L""), L"");
  EXPECT_EQ(Formatted(nullptr), L"");
}

TEST(StringFormatTest, MissingTextIsShownAsTheLibraryShowsIt) {
  const wchar_t* pszNull = nullptr;
  EXPECT_EQ(Formatted(L"%s|%8s|%.3s|%hs", pszNull, pszNull, pszNull, pszNull), L"(null)|  (null)||(null)");
}

TEST(StringFormatTest, NulsAndEscapedBytesSurviveInEveryLocale) {
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const TEST::CLocaleScope oScope(pszLocale);
    EXPECT_EQ(Formatted(L"<%s%c%s>", L"\xDC80\xDCFF", L'\0', L"\x10FFFF"),
              CString(L"<\xDC80\xDCFF\0\x10FFFF>"sv));
    for (wchar_t ch = 0xDC80; ch <= 0xDCFF; ++ch) {
      const wchar_t szText[] = {ch, L'\0'};
      EXPECT_EQ(Formatted(L"%ls%lc", szText, static_cast<wint_t>(ch)), CString(szText) + szText);
    }
  }
}

TEST(StringFormatTest, ResultMayBeOfAnyLength) {
  const std::wstring strLong(3000000, L'x');
  EXPECT_EQ(Formatted(L"<%s>", strLong.c_str()), CString(L"<" + strLong + L">"));
  EXPECT_EQ(Formatted(L"%100000d", 7), CString(std::wstring(99999, L' ') + L"7"));
  EXPECT_EQ(Formatted(L"%.100000d", 7), CString(std::wstring(99999, L'0') + L"7"));
  EXPECT_EQ(Formatted(L"%*s", 100000, L"x"), CString(std::wstring(99999, L' ') + L"x"));
  EXPECT_EQ(Formatted(L"%.3Lf", std::numeric_limits<long double>::max()).GetLength(), 4937);
}

TEST(StringFormatTest, ArgumentsMayBeTheTextItself) {
  CString strText = L"a text that is too long to be stored in place";
  strText.Format(L"%s, %s", strText.c_str(), strText.c_str());
  EXPECT_EQ(strText,
            L"a text that is too long to be stored in place, a text that is too long to be stored in place");
}

TEST(StringFormatTest, MemoryOfALongResultGoesWithTheNextOne) {
  CString strText;
  strText.Format(L"%s", std::wstring(3000000, L'x').c_str());
  strText.Format(L"short");
  EXPECT_LT(strText.Release().capacity(), 5000U);
}

TEST(StringFormatTest, ErrorTextIsThatOfTheCaller) {
  errno = ENOENT;
  EXPECT_EQ(Formatted(L"%d: %m", 2), L"2: No such file or directory");
}

/// One of `apszChoices`, at random.
std::wstring Pick(std::mt19937& oRandom, std::initializer_list<const wchar_t*> apszChoices) {
  return apszChoices.begin()[oRandom() % apszChoices.size()];
}

TEST(StringFormatTest, RandomDirectivesAreAsTheLibraryWritesThem) {
  std::mt19937 oRandom(4);
  const int nTarget = 0;
  for (int nRound = 0; nRound < 20000; ++nRound) {
    const auto Directive = [&](const wchar_t* pszKinds) {
      const std::wstring strKinds = pszKinds;
      return L"%" + Pick(oRandom, {L"", L"-", L"+", L" ", L"0", L"#", L"-+", L"'", L"0+"}) +
             Pick(oRandom, {L"", L"1", L"9", L"70", L"1500"}) +
             Pick(oRandom, {L"", L".", L".0", L".3", L".90"}) + strKinds[oRandom() % strKinds.size()];
    };
    const std::wstring strText = L"%%" + Directive(L"diouxX") + L", " + Directive(L"aAeEfFgG") + L" " + L"%" +
                                 Pick(oRandom, {L"", L"-", L"20", L"-7", L"2.3", L".4"}) + L"ls|%" +
                                 Pick(oRandom, {L"", L"-4", L"3"}) + L"lc %" +
                                 Pick(oRandom, {L"", L"-30", L"30"}) + L"p";
    const int nInteger = static_cast<int>(oRandom()) >> (oRandom() % 32);
    const double fNumber = std::ldexp(static_cast<int>(oRandom()), static_cast<int>(oRandom() % 200) - 100);
    const void* pPointer = oRandom() % 5 ? &nTarget : nullptr;
    ASSERT_EQ(Formatted(strText.c_str(), nInteger, fNumber, L"some text", L'\xE9', pPointer),
              FormattedByLibrary(strText.c_str(), nInteger, fNumber, L"some text", L'\xE9', pPointer))
        << testing::PrintToString(CString(strText));
  }
}

}  // namespace
}  // namespace TALVEK::VCM
