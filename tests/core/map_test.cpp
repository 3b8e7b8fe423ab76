#include "core/map.h"

#include <gtest/gtest.h>

#include <string>

#include "core/string.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using CNumberMap = CMap<int, int>;

std::string Dump(const CNumberMap& oMap) {
  std::string strDump;
  for (int i = 0; i < oMap.GetCount(); ++i)
    strDump += std::to_string(oMap.GetKeyAt(i)) + "=" + std::to_string(oMap.GetValueAt(i)) + " ";
  return strDump;
}

TEST(MapTest, PairsAreKeptInKeyOrder) {
  CNumberMap oMap;
  EXPECT_EQ(oMap.SetAt(5, 50), 0);
  EXPECT_EQ(oMap.SetAt(9, 90), 1);
  EXPECT_EQ(oMap.SetAt(1, 10), 0);
  EXPECT_EQ(Dump(oMap), "1=10 5=50 9=90 ");
}

TEST(MapTest, SetAtReplacesTheValueOfAKeyThatIsThere) {
  CNumberMap oMap;
  oMap.SetAt(1, 10);
  oMap.SetAt(2, 20);
  EXPECT_EQ(oMap.SetAt(2, 21), 1);
  EXPECT_EQ(Dump(oMap), "1=10 2=21 ");
}

TEST(MapTest, SearchGivesTheIndexOrMinusOneOrTheInsertionPosition) {
  CNumberMap oMap;
  EXPECT_EQ(oMap.Search(1, false), -1);
  EXPECT_EQ(oMap.Search(1, true), 0);
  for (const int nKey : {10, 20, 30})
    oMap.SetAt(nKey, 0);
  const struct {
    int nKey, nIndex, nPosition;
  } atCases[] = {{5, -1, 0}, {10, 0, 0}, {15, -1, 1}, {20, 1, 1}, {25, -1, 2}, {30, 2, 2}, {35, -1, 3}};
  for (const auto& tCase : atCases) {
    EXPECT_EQ(oMap.Search(tCase.nKey, false), tCase.nIndex) << tCase.nKey;
    EXPECT_EQ(oMap.Search(tCase.nKey, true), tCase.nPosition) << tCase.nKey;
  }
}

TEST(MapTest, SeventeenthKeyGrowsTheMapToThirtyTwoAndKeepsItSorted) {
  CNumberMap oMap;
  EXPECT_EQ(oMap.GetCapacity(), 16);
  std::string strExpected;
  for (int nKey = 16; nKey >= 1; --nKey)
    oMap.SetAt(nKey, nKey);
  EXPECT_EQ(oMap.GetCapacity(), 16);
  EXPECT_EQ(oMap.SetAt(0, 0), 0);
  EXPECT_EQ(oMap.GetCapacity(), 32);
  for (int nKey = 0; nKey <= 16; ++nKey)
    strExpected += std::to_string(nKey) + "=" + std::to_string(nKey) + " ";
  EXPECT_EQ(Dump(oMap), strExpected);
}

TEST(MapTest, CopyHasRoomForSixteenDoubledAsOftenAsItsPairsNeed) {
  const struct { int nCount, nCapacity; } atCases[] = {{0, 16}, {1, 16}, {16, 16}, {17, 32}, {65, 128}};
  for (const auto& tCase : atCases) {
    CNumberMap oMap;
    for (int nKey = 0; nKey < tCase.nCount; ++nKey)
      oMap.SetAt(nKey, -nKey);
    const CNumberMap oCopy = oMap;
    EXPECT_EQ(oCopy.GetCapacity(), tCase.nCapacity);
    EXPECT_EQ(Dump(oCopy), Dump(oMap));
    CNumberMap oAssigned;
    oAssigned = oMap;
    EXPECT_EQ(oAssigned.GetCapacity(), tCase.nCapacity);
    EXPECT_EQ(Dump(oAssigned), Dump(oMap));
  }
}

TEST(MapTest, TextKeysAreOrdinalAndCaseSensitive) {
  CMap<CString, int> oMap;
  for (const wchar_t* pszKey : {L"b", L"B", L"a", L"\xE9", L"ab", L""})
    oMap.SetAt(pszKey, 0);
  CString strKeys;
  for (int i = 0; i < oMap.GetCount(); ++i) {
    strKeys += oMap.GetKeyAt(i);
    strKeys += L',';
  }
  EXPECT_EQ(strKeys, L",B,a,ab,b,\xE9,");
}

TEST(MapTest, IndexOutsideTheMapThrowsWithItsNumber) {
  CNumberMap oMap;
  oMap.SetAt(1, 1);
  for (const int nIndex : {-1, 1}) {
    CString strExpected;
    strExpected.Format(L"Map index (%d) out of range", nIndex);
    try {
      oMap.GetValueAt(nIndex) = 0;
      FAIL() << nIndex << " was accepted";
    } catch (const EMapIndexOutOfRange& oError) {
      EXPECT_EQ(oError.GetErrorMessage(), strExpected);
    }
    EXPECT_THROW(oMap.GetKeyAt(nIndex), EMapIndexOutOfRange);
    EXPECT_THROW(oMap.RemoveAt(nIndex), EMapIndexOutOfRange);
  }
}

TEST(MapTest, RemoveAtAndRemoveAll) {
  CNumberMap oMap;
  for (const int nKey : {1, 2, 3})
    oMap.SetAt(nKey, nKey);
  oMap.RemoveAt(1);
  EXPECT_EQ(Dump(oMap), "1=1 3=3 ");
  oMap.RemoveAll();
  EXPECT_EQ(oMap.GetCount(), 0);
}

}  // namespace
}  // namespace TALVEK::VCM
