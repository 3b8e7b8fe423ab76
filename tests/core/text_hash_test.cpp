#include "core/text_hash.h"

#include <cstdint>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace TALVEK::VCM {
namespace {

// Longer than what is hashed at a time, with characters of every kind.
constexpr std::wstring_view LOWER = L"[@`{a message of z\xE4hlbare length, \x44F too} \x1F600 with an end";
constexpr std::wstring_view UPPER = L"[@`{A MESSAGE OF Z\xC4HLBARE LENGTH, \x42F TOO} \x1F600 WITH AN END";

TEST(TextHashTest, CaseCountsOnlyWhereItIsAskedFor) {
  for (std::size_t nLength = 0; nLength <= LOWER.size(); ++nLength) {
    const std::wstring_view strLower = LOWER.substr(0, nLength);
    const std::wstring_view strUpper = UPPER.substr(0, nLength);
    EXPECT_EQ(CTextHash().AddNoCase(strLower).Get(), CTextHash().AddNoCase(strUpper).Get()) << nLength;
    EXPECT_EQ(CTextHash().Add(strLower).Get() == CTextHash().Add(strUpper).Get(), strLower == strUpper)
        << nLength;
  }
}

TEST(TextHashTest, OnlyLettersHaveCase) {
  std::set<std::uint64_t> anHashes;
  for (wchar_t ch = 0; ch < 0x80; ++ch)
    anHashes.insert(CTextHash().AddNoCase(std::wstring(1, ch)).Get());
  EXPECT_EQ(anHashes.size(), 128U - 26U);
}

TEST(TextHashTest, EveryCharacterAndTheLengthCount) {
  std::set<std::uint64_t> anHashes;
  for (std::size_t nLength = 0; nLength < 40; ++nLength)
    anHashes.insert(CTextHash().Add(std::wstring(nLength, L'\0')).Get());
  for (std::size_t i = 0; i < LOWER.size(); ++i) {
    std::wstring strOther(LOWER);
    strOther[i] = L'#';
    anHashes.insert(CTextHash().Add(strOther).Get());
  }
  EXPECT_EQ(anHashes.size(), 40U + LOWER.size());
}

TEST(TextHashTest, TwoTextsAreNotOneTextCutElsewhere) {
  EXPECT_NE(CTextHash().Add(L"user").Add(L"comment").Get(), CTextHash().Add(L"userc").Add(L"omment").Get());
  EXPECT_NE(CTextHash().Add(L"").Add(L"text").Get(), CTextHash().Add(L"text").Add(L"").Get());
}

TEST(TextHashTest, NamesThatAreCountedUpSpreadOverBothHalves) {
  std::set<std::uint32_t> anHigh;
  std::set<std::uint32_t> anLow;
  for (int i = 0; i < 4096; ++i) {
    const CTextHash oHash = CTextHash().Add(L"REL_" + std::to_wstring(i));
    anHigh.insert(oHash.GetHigh() % 65536);
    anLow.insert(oHash.GetLow() % 65536);
  }
  // Of 4096 random numbers below 65536, 3971 differ.
  EXPECT_GT(anHigh.size(), 3900U);
  EXPECT_GT(anLow.size(), 3900U);
}

}  // namespace
}  // namespace TALVEK::VCM
