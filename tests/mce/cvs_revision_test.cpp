#include "mce/cvs_revision.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace TALVEK::MCE {
namespace {

using TComponents = std::vector<std::uint32_t>;

TComponents Parse(const wchar_t* pszText) {
  TComponents anComponents;
  for (const std::uint32_t nComponent : TCVSRevision(pszText))
    anComponents.push_back(nComponent);
  return anComponents;
}

TCVSRevision Number(const TComponents& anComponents) {
  TCVSRevision oRevision;
  for (const std::uint32_t nComponent : anComponents)
    oRevision.Add(nComponent);
  return oRevision;
}

TEST(CVSRevisionTest, EveryTextGivesANumber) {
  const struct {
    const wchar_t* pszText;
    TComponents anExpected;
  } atCases[] = {
      {L"", {}},
      {L"1.2", {1, 2}},
      {L"1.2.0.4", {1, 2, 0, 4}},
      {L"1.1.1.1", {1, 1, 1, 1}},
      {L"1..3", {1, 0, 3}},
      {L"1.5.", {1, 5}},
      {L"1.5...", {1, 5}},
      {L".5", {0, 5}},
      {L"x.7", {0, 7}},
      {L"1.x7", {1, 0}},
      {L"1.7x", {1, 7}},
      {L"1.5\tlocked by: joe;", {1, 5}},
      {L" 1.4", {1, 4}},
      {L"1. 4", {1, 4}},
      {L"1.+4", {1, 4}},
      {L"1.4 ", {1, 4}},
      {L"...", {0}},
      {L".", {0}},
      {L"..5..", {0, 0, 5}},
      {L"1.\x00e9", {1, 0}},
      {L"1.4\xdce9", {1, 0}},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Parse(tCase.pszText), tCase.anExpected) << tCase.pszText;
}

TEST(CVSRevisionTest, ComponentBeyond32BitsKeepsItsLowBits) {
  EXPECT_EQ(Parse(L"1.4294967296"), (TComponents{1, 0}));
  EXPECT_EQ(Parse(L"1.4294967301"), (TComponents{1, 5}));
  EXPECT_EQ(Parse(L"4294967295"), (TComponents{4294967295U}));
}

TEST(CVSRevisionTest, ComponentBeyond64BitsIsTheLargestLongsLowBits) {
  EXPECT_EQ(Parse(L"99999999999999999999"), (TComponents{4294967295U}));
}

TEST(CVSRevisionTest, MinusOneIsTheLargestComponent) {
  EXPECT_EQ(Parse(L"-1"), (TComponents{4294967295U}));
}

TEST(CVSRevisionTest, TextHasSignedComponents) {
  EXPECT_TRUE(Number({1, 2, 2, 10}).GetText() == L"1.2.2.10");
  EXPECT_TRUE(Number({4294967295U, 0}).GetText() == L"-1.0");
  EXPECT_TRUE(TCVSRevision().GetText().IsEmpty());
}

// Linear time: an algorithm that is quadratic in a run of dots would take minutes.
TEST(CVSRevisionTest, MillionsOfComponentsAndDotsAreRead) {
  constexpr int COUNT = 4000000;
  std::wstring strNumber = L"1", strWords = L"x";
  for (int i = 1; i < COUNT; ++i) {
    strNumber += L".1";
    strWords += L".x";
  }
  EXPECT_EQ(TCVSRevision(VCM::CString(std::wstring_view(strNumber))).GetCount(), COUNT);
  EXPECT_EQ(TCVSRevision(VCM::CString(std::wstring_view(strWords))).GetCount(), COUNT);
  const std::wstring strDots(COUNT, L'.');
  EXPECT_EQ(TCVSRevision(VCM::CString(strDots + L"2")).GetCount(), COUNT + 1);
  EXPECT_EQ(TCVSRevision(VCM::CString(std::wstring_view(strDots))).GetCount(), 1);
}

TEST(CVSRevisionTest, OrderIsNeverEqual) {
  const struct {
    TComponents anLeft, anRight;
    int nExpected;
  } atCases[] = {
      {{1, 2}, {1, 2}, 1},
      {{1, 2}, {1, 2, 2, 1}, -1},
      {{1, 2, 2, 1}, {1, 2}, 1},
      {{1, 2, 2, 1}, {1, 3}, -1},
      {{1, 3}, {1, 2, 2, 1}, 1},
      {{1, 10}, {1, 9}, 1},
      {{1, 9}, {1, 10}, -1},
      {{}, {1}, -1},
      {{}, {}, 1},
      {{1}, {}, 1},
      {{1, 4294967295U}, {1, 2}, 1},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(CompareRevisions(Number(tCase.anLeft), Number(tCase.anRight)), tCase.nExpected)
        << ::testing::PrintToString(tCase.anLeft) << " and " << ::testing::PrintToString(tCase.anRight);
  }
}

TEST(CVSRevisionTest, PrefixMeansTheFirstComponentsAreEqual) {
  EXPECT_TRUE(Number({1, 2}).IsPrefixOf(Number({1, 2, 2, 1})));
  EXPECT_TRUE(Number({1, 2}).IsPrefixOf(Number({1, 2})));
  EXPECT_TRUE(Number({}).IsPrefixOf(Number({1, 2})));
  EXPECT_FALSE(Number({1, 2, 2}).IsPrefixOf(Number({1, 2})));
  EXPECT_FALSE(Number({1, 3}).IsPrefixOf(Number({1, 2, 2, 1})));
}

}  // namespace
}  // namespace TALVEK::MCE
