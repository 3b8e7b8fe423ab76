#include "client/tag_filters.h"

#include <gtest/gtest.h>

#include <string>

#include "core/text_codec.h"

namespace TALVEK::CLIENT {
namespace {

/// The texts of an array, each in brackets.
std::string Bracketed(const VCM::CArray<VCM::CString>& astrTexts) {
  std::string strText;
  for (const VCM::CString& strItem : astrTexts)
    strText += "[" + VCM::ToUtf8(strItem) + "]";
  return strText;
}

TEST(TagFiltersTest, FiltersKeepBlanksAndEmptyPiecesButNoneBehindTheLastComma) {
  const struct {
    const wchar_t* pszValue;
    const char *pszExclude, *pszInclude;
  } atCases[] = {
      {L"", "", "[*]"},
      {L"A", "[A]", "[A]"},
      {L"A, B", "[A][ B]", "[A][ B]"},
      {L"A,,B", "[A][][B]", "[A][][B]"},
      {L"A,", "[A]", "[A]"},
      {L"A,,", "[A]", "[A]"},
      {L",A", "[][A]", "[][A]"},
      {L",", "[]", "[]"},  // the tokenizer's way: delimiters alone are one empty token
      {L",,", "[]", "[]"},
      {L" ", "[ ]", "[ ]"},
      {L"\"A,B\"", "[\"A][B\"]", "[\"A][B\"]"},
      {L"REL*,*_?", "[REL*][*_?]", "[REL*][*_?]"},
  };
  CTagFilters oFilters;
  EXPECT_EQ(Bracketed(oFilters.GetExclude()) + Bracketed(oFilters.GetInclude()), "");
  for (const auto& tCase : atCases) {
    oFilters.Read(tCase.pszValue, tCase.pszValue);
    EXPECT_EQ(Bracketed(oFilters.GetExclude()), tCase.pszExclude) << VCM::ToUtf8(tCase.pszValue);
    EXPECT_EQ(Bracketed(oFilters.GetInclude()), tCase.pszInclude) << VCM::ToUtf8(tCase.pszValue);
  }
}

TEST(TagFiltersTest, FiltersReadAgainReplaceTheOldOnes) {
  CTagFilters oFilters;
  oFilters.Read(L"X,Y", L"A,B,C");
  oFilters.Read(L"", L"D");
  EXPECT_EQ(Bracketed(oFilters.GetExclude()), "[D]");
  EXPECT_EQ(Bracketed(oFilters.GetInclude()), "[*]");
}

TEST(TagFiltersTest, NamePassesWhenItMatchesEveryIncludePatternAndNoExcludePattern) {
  const struct {
    const wchar_t *pszName, *pszInclude, *pszExclude;
    bool bExpected;
  } atCases[] = {
      {L"REL_1", L"REL*,*_1", L"", true}, {L"REL_2", L"REL*,*_1", L"", false},
      {L"REL_1", L"*", L"*", false},      {L"REL_1", L"*", L"REL_?", false},
      {L"rel_1", L"REL*", L"", false},    {L".x", L"*", L"", false},
      {L".x", L".x", L"", false},         {L"x", L"*", L"", true},
  };
  for (const auto& tCase : atCases) {
    CTagFilters oFilters;
    oFilters.Read(tCase.pszInclude, tCase.pszExclude);
    EXPECT_EQ(PassesFilters(tCase.pszName, oFilters.GetInclude(), oFilters.GetExclude()), tCase.bExpected)
        << VCM::ToUtf8(tCase.pszName) << " " << VCM::ToUtf8(tCase.pszInclude);
  }
  EXPECT_TRUE(PassesFilters(L".x", {}, {}));
}

}  // namespace
}  // namespace TALVEK::CLIENT
