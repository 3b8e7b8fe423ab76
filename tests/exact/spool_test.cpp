#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "exact/name_places.h"
#include "exact/spool.h"
#include "exact/text_table.h"
#include "tests/support/environment_scope.h"

namespace TALVEK::EXACT::TEST {

// Small limits, so that most bytes lie in the file: what is read may lie in the file, in memory, or across
// both.
TEST(SpoolTest, GivesBackBytesFromFileAndMemory) {
  CSpool oSpool(10);
  std::string strAll;
  for (int n = 0; n < 300000; ++n) {
    const std::string strPart = std::to_string(n) + ",";
    EXPECT_EQ(strAll.size(), oSpool.Append(strPart.data(), strPart.size()));
    strAll += strPart;
  }
  EXPECT_EQ(strAll.size(), oSpool.Size());
  std::string strRead(strAll.size(), ' ');
  oSpool.Read(0, strRead.data(), strRead.size());
  EXPECT_TRUE(strAll == strRead);
  for (std::size_t nOffset = 0; nOffset + 1000 < strAll.size(); nOffset += 9973) {
    std::string strPart(1000, ' ');
    oSpool.Read(nOffset, strPart.data(), strPart.size());
    EXPECT_EQ(strAll.substr(nOffset, 1000), strPart);
  }
}

TEST(SpoolTest, WithoutItsFolderItGoesToTmp) {
  const TALVEK::TEST::CEnvironmentScope oTmpDir("TMPDIR", "/nowhere/at/all");
  CSpool oSpool(1);
  oSpool.Append("first", 5);
  oSpool.Append("second", 6);  // what was there before is in the file now
  std::string strRead(11, ' ');
  oSpool.Read(0, strRead.data(), strRead.size());
  EXPECT_EQ(strRead, "firstsecond");
}

TEST(NamePlacesTest, GivesEachNamesPlacesInOrderOfFilesOverAllRuns) {
  CNamePlaces oPlaces(7);
  for (TIndex nFile = 0; nFile < 50; ++nFile) {
    for (TIndex nName = nFile % 3; nName < 5; ++nName)
      oPlaces.Append(nName, {nFile, nFile * 10 + nName, NONE});
  }
  oPlaces.Finish();
  for (TIndex nName = 0; nName < 6; ++nName) {
    std::vector<std::pair<TIndex, TIndex>> nExpected, nFound;
    for (TIndex nFile = 0; nFile < 50; ++nFile) {
      if (nFile % 3 <= nName && nName < 5) nExpected.emplace_back(nFile, nFile * 10 + nName);
    }
    oPlaces.ForEach(nName, [&](const TNamePlace& t) { nFound.emplace_back(t.nFile, t.nRevision); });
    EXPECT_EQ(nExpected, nFound);
  }
}

TEST(TextTableTest, EqualTextsHaveOneNumber) {
  CTextTable oTexts;
  for (int nRound = 0; nRound < 2; ++nRound) {
    for (TIndex n = 0; n < 5000; ++n)
      EXPECT_EQ(n, oTexts.Add(n == 0 ? "" : std::to_string(n)));
  }
  EXPECT_EQ(5000U, oTexts.Count());
  EXPECT_EQ("", oTexts.Get(0));
  EXPECT_EQ("4999", oTexts.Get(4999));
  EXPECT_EQ(17U, oTexts.Find("17"));
  EXPECT_EQ(NONE, oTexts.Find("x"));
}

}  // namespace TALVEK::EXACT::TEST
