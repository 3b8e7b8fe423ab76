#include "core/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/locale_scope.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_view_literals;

TEST(StringTest, NullTextIsTheEmptyText) {
  const wchar_t* pszNull = nullptr;
  CString strText(pszNull);
  EXPECT_EQ(strText, CString());
  EXPECT_TRUE(strText == pszNull);
  strText += pszNull;
  EXPECT_TRUE(strText.IsEmpty());
}

TEST(StringTest, NulIsACharacter) {
  const CString strText(L"a\0b"sv);
  EXPECT_EQ(strText.GetLength(), 3);
  EXPECT_EQ(strText.Find(L'\0'), 1);
  EXPECT_EQ(strText.Mid(1), CString(L"\0b"sv));
  EXPECT_NE(strText, L"a");
}

TEST(StringTest, TextsAreJoined) {
  CString strText = L"a";
  strText += L'b';
  strText += L"cd";
  strText += CString(L"e\0"sv);
  strText += strText;
  EXPECT_EQ(strText, CString(L"abcde\0abcde\0"sv));
  EXPECT_EQ(CString(L"a") + L"b", L"ab");
  EXPECT_EQ(L"a" + CString(L"b"), L"ab");
}

TEST(StringTest, ReleaseGivesTheTextAwayAndLeavesNothing) {
  CString strText = L"a text that is too long to be stored in place";
  EXPECT_EQ(strText.Release(), L"a text that is too long to be stored in place");
  EXPECT_TRUE(strText.IsEmpty());
}

TEST(StringTest, BytesBecomeTheCharactersOfTheirNumbers) {
  std::string strBytes;
  std::wstring strExpected;
  for (int i = 0; i < 256; ++i) {
    strBytes.push_back(static_cast<char>(i));
    strExpected.push_back(static_cast<wchar_t>(i));
  }
  CString strText = L"a longer or a shorter text";
  for (const std::size_t nLength : {std::size_t{256}, std::size_t{17}, std::size_t{0}, std::size_t{40}}) {
    strText.AssignLatin1(std::string_view(strBytes).substr(256 - nLength));
    EXPECT_EQ(strText, CString(std::wstring_view(strExpected).substr(256 - nLength))) << nLength;
  }
}

TEST(StringTest, OrderIsOrdinal) {
  EXPECT_LT(CString(L"B"), CString(L"a"));
  EXPECT_LT(CString(L"a"), CString(L"ab"));
  EXPECT_GT(CString(L"\xE9"), CString(L"z"));
}

TEST(StringTest, FindClipsItsStart) {
  const CString strText = L"abcabc";
  const struct {
    const wchar_t* pszWanted;
    int nStart, nIndex;
  } atCases[] = {{L"b", 0, 1},   {L"b", 2, 4},        {L"b", 5, -1},      {L"b", -3, 1},
                 {L"b", 99, -1}, {L"b", INT_MAX, -1}, {L"bc", 0, 1},      {L"bc", 2, 4},
                 {L"bd", 0, -1}, {L"abcabcd", 0, -1}, {L"bc", INT_MIN, 1}};
  for (const auto& tCase : atCases) {
    EXPECT_EQ(strText.Find(tCase.pszWanted, tCase.nStart), tCase.nIndex) << tCase.nStart;
    if (tCase.pszWanted[1] != L'\0') continue;
    EXPECT_EQ(strText.Find(tCase.pszWanted[0], tCase.nStart), tCase.nIndex) << tCase.nStart;
  }
  EXPECT_EQ(strText.Find(L"", 4), 4);
  EXPECT_EQ(CString().Find(L'a'), -1);
}

TEST(StringTest, ReverseFindGivesTheLastOccurrence) {
  EXPECT_EQ(CString(L"abcabc").ReverseFind(L'b'), 4);
  EXPECT_EQ(CString(L"abc").ReverseFind(L'x'), -1);
  EXPECT_EQ(CString().ReverseFind(L'x'), -1);
}

TEST(StringTest, PartsAreClipped) {
  const CString strText = L"abcde";
  EXPECT_EQ(strText.Left(2), L"ab");
  EXPECT_EQ(strText.Left(0), L"");
  EXPECT_EQ(strText.Left(-1), L"");
  EXPECT_EQ(strText.Left(99), L"abcde");
  EXPECT_EQ(strText.Right(2), L"de");
  EXPECT_EQ(strText.Right(-1), L"");
  EXPECT_EQ(strText.Right(99), L"abcde");
  EXPECT_EQ(strText.Mid(3), L"de");
  EXPECT_EQ(strText.Mid(5), L"");
  EXPECT_EQ(strText.Mid(99), L"");
  EXPECT_EQ(strText.Mid(-1), L"abcde");
  EXPECT_EQ(strText.Mid(1, 2), L"bc");
  EXPECT_EQ(strText.Mid(3, 99), L"de");
  EXPECT_EQ(strText.Mid(1, -1), L"");
  EXPECT_EQ(strText.Mid(99, 1), L"");
}

TEST(StringTest, ComparingWithoutCaseMapsEachCharacterInEveryLocale) {
  const struct {
    const wchar_t* pszLeft;
    const wchar_t* pszRight;
    int nOrder;
  } atCases[] = {{L"abc", L"ABC", 0}, {L"\xC4z", L"\xE4Z", 0}, {L"a", L"B", -1},   {L"b", L"A", 1},
                 {L"a", L"AB", -1},   {L"ab", L"A", 1},        {L"", L"", 0},      {L"", L"a", -1},
                 {L"\xDF", L"SS", 1}, {L"Z", L"_", 1},         {L"\x130", L"i", 0}};
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const TEST::CLocaleScope oScope(pszLocale);
    for (const auto& tCase : atCases) {
      const CString strLeft = tCase.pszLeft;
      EXPECT_EQ(strLeft.CompareNoCase(tCase.pszRight), tCase.nOrder) << testing::PrintToString(strLeft);
      EXPECT_EQ(strLeft.EqualsNoCase(tCase.pszRight), tCase.nOrder == 0) << testing::PrintToString(strLeft);
    }
  }
}

TEST(StringTest, TrimTakesTheSixWhiteSpaceCharactersOnly) {
  CString strText =
      L" \t\n\v\f\r\xA0"
      L"a b \xA0\r\f\v\n\t ";
  strText.TrimLeft();
  EXPECT_EQ(strText,
            L"\xA0"
            L"a b \xA0\r\f\v\n\t ");
  strText.TrimRight();
  EXPECT_EQ(strText,
            L"\xA0"
            L"a b \xA0");
  CString strBlank = L" \t ";
  CString strOther = strBlank;
  strBlank.TrimLeft();
  strOther.TrimRight();
  EXPECT_EQ(strBlank, L"");
  EXPECT_EQ(strOther, L"");
}

TEST(StringTest, MakeLowerMapsEachCharacter) {
  CString strText = L"A\xC9\x416\xDC80z";
  strText.MakeLower();
  EXPECT_EQ(strText, L"a\xE9\x436\xDC80z");
}

}  // namespace
}  // namespace TALVEK::VCM
